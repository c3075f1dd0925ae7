#include "tovocfg/export_command.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "tovocfg/disk_file.h"
#include "tovocfg/exchange_file.h"
#include "tovocfg/json_text.h"
#include "tovocfg/paths.h"
#include "tovocfg/session.h"

namespace tovocfg {

namespace {

// "2026-01-31T08:00:00Z".
std::string UniversalTime() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ", now.wYear, now.wMonth,
                now.wDay, now.wHour, now.wMinute, now.wSecond);
  return text.data();
}

void WriteToFile(const std::string& path, const std::string& json, const Request& request) {
  const std::string problem =
      WriteDiskFile(path, json, request.force ? IfExists::kReplace : IfExists::kRefuse);
  if (!problem.empty()) throw Stop{ExitCode::kLibraryError, path + " was not written: " + problem};
}

void WriteToOutput(const std::string& json) {
  std::cout << json << std::flush;
  if (!std::cout)
    throw Stop{ExitCode::kLibraryError, "standard output could not be written; it is incomplete"};
}

std::string Exported(const std::vector<const Option*>& options, const std::string& path,
                     bool as_json) {
  const auto not_set = std::count_if(options.begin(), options.end(),
                                     [](const Option* option) { return !IsSet(*option); });
  if (as_json) {
    Json document = JsonDocument("export");
    document["path"] = path;
    document["options"] = options.size();
    document["notSet"] = not_set;
    return Written(document);
  }
  return "Exported " + std::to_string(options.size()) +
         (options.size() == 1 ? " option" : " options") +
         (not_set == 0 ? "" : ", " + std::to_string(not_set) + " of them not set,") + " to " +
         path + "\n";
}

}  // namespace

ExitCode Export(const Request& request) {
  const bool to_output = request.file.empty() || request.file == "-";
  const std::string path = to_output ? std::string() : FullPath(request.file);
  if (!to_output && !request.force && IsFile(path))
    throw Stop{ExitCode::kUsage, path + " exists already; replace it with --force"};
  const Session session(request);
  const std::vector<const Option*> chosen =
      OptionsOf(session.options(), request.section, ScopeOf(request));
  if (chosen.empty() && !request.section.empty())
    throw Stop{ExitCode::kOptionNotFound, NoSuchSection(session.options(), request.section)};
  RequireIniFiles(session.where(), chosen);
  ExchangeFile file;
  file.exported = UniversalTime();
  file.product_version = session.where().library_version;
  file.data_folder = session.where().data_folder;
  file.site = session.where().location;
  if (!request.section.empty()) file.only_section = chosen.front()->section;
  file.only_file = ScopeOf(request);
  file.options = SortedSettings(chosen);
  if (to_output) {
    WriteToOutput(ExchangeToJson(file, Letters::kEscaped));
  } else {
    WriteToFile(path, ExchangeToJson(file, Letters::kUtf8), request);
    std::cout << Exported(chosen, path, request.json);
  }
  return ExitCode::kOk;
}

}  // namespace tovocfg
