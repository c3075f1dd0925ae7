#include "tovocfg/check_command.h"

#include <windows.h>

#include <iostream>
#include <string>

#include "base/text.h"
#include "platform/win32/win32_platform.h"
#include "support/location_state.h"
#include "support/locations.h"
#include "tovocfg/failure.h"
#include "tovocfg/output.h"
#include "tovocfg/paths.h"
#include "tovocfg/table_check.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

namespace support = tdefault::support;

// As the library finds them, so that check looks where the other commands look.
Whereabouts WhereaboutsOf(tdefault::platform::Platform& platform,
                          const support::LocationState& location) {
  Whereabouts where;
  where.data_folder = ToUtf8(support::GetDataPath(platform, location));
  where.data_folder_exists = !where.data_folder.empty() && IsFolder(where.data_folder);
  where.local_ini =
      ToUtf8(support::GetIniPath(platform, location, support::LocalIniName(location)));
  return where;
}

}  // namespace

int Check(const Request& request) {
  const auto not_checked = [&request](const std::string& text) {
    const Stop stop{static_cast<ExitCode>(CheckOutcome::kNotChecked), text};
    std::cerr << (request.json ? StopToJson(stop, NameOf(request.command))
                               : FormatStop(stop, request.errors));
    return static_cast<int>(CheckOutcome::kNotChecked);
  };
  tdefault::platform::win32::Win32Platform system;
  support::LocationState location;
  if (!request.data_folder.empty())
    support::SetDataPath(location, ToWide(FullPath(request.data_folder)));
  if (!request.ini_file.empty()) {
    const std::string file = FullPath(request.ini_file);
    if (!IsFile(file)) return not_checked(NoSuchIniFile(file));
    location.local_ini_name = ToWide(file);
  }
  const Whereabouts where = WhereaboutsOf(system.platform(), location);
  if (!where.data_folder_exists)
    return not_checked(MissingFolder(where, !request.data_folder.empty()));
  const std::wstring folder = ToWide(where.data_folder);
  std::string problem;
  const CheckOutcome outcome =
      request.json ? CheckTablesToJson(system.platform(), folder, request.table, std::cout, problem)
                   : CheckTables(system.platform(), folder, request.table, std::cout, problem,
                                 request.output);
  return problem.empty() ? static_cast<int>(outcome) : not_checked(problem);
}

}  // namespace tovocfg
