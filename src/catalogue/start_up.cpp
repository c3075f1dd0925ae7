// Finding and checking the data folder, the table and the INI files.
#include <algorithm>

#include "base/error.h"
#include "catalogue/Options.h"
#include "support/ini_values.h"
#include "support/locations.h"
#include "support/paths.h"

namespace tdefault::catalogue {
namespace {

// Opens the file for writing and leaves it as it is.
bool CanOpenForWrite(platform::Files& files, std::wstring path) {
  if (path.empty()) return false;
  std::erase(path, L'\'');
  return files.Open(path, platform::FileAccess::kWrite, platform::FileShare::kReadWrite).ok();
}

}  // namespace

Options::Options(platform::Platform& platform, tables::TableAccess& tables,
                 support::LocationState& location)
    : platform_(platform), tables_(tables), location_(location) {}

Options::~Options() = default;

bool Options::Initialize() {
  if (!VerifyDataPath()) return false;
  const std::wstring table = DataPath() + L"\\DEFAULTS.dbf";
  if (!support::FileExists(platform_.files, table))
    throw Error(error_number::kFileNotFound,
                platform_.session.HostExecutableName() + L":Class_Initialize",
                L"the table, '" + support::ProperCasePath(table) + L"' was not found.");
  if (!CanOpenForWrite(platform_.files, table))
    throw Error(error_number::kTableNotWritable, L"TDefault:Initialize",
                L"The file " + table +
                    L" can not bo opened for write access. Make sure this file is not "
                    L"read only and is located on a drive you have write access to");
  if (!InitOptCollection())
    throw Error(error_number::kLoadFailed, L"Options:Class_Initialize",
                L" options initialization, 'InitOptCollection' failed.");
  reports_ = std::make_shared<reports::Reports>(platform_, tables_, location_);
  return true;
}

bool Options::VerifyDataPath() {
  const std::wstring path = DataPath();
  if (support::FolderExists(platform_.files, path)) return true;
  const auto answer = platform_.dialogs.AskYesNoCancel(
      L"Tovo Data Path Not Found", L"The data path, '" + path + L"' was not found.\r\n\r\n" +
                                       L"Do you want " + platform_.session.HostTitle() +
                                       L" to seach for the path?");
  // Whatever is chosen, this start-up has failed: the folder is for the host to set as DataPath.
  if (answer == platform::MessageAnswer::kYes && search_ != nullptr) search_->Show();
  return false;
}

void Options::Refresh() {
  InitOptCollection();
  reports_.reset();
  reports_ = std::make_shared<reports::Reports>(platform_, tables_, location_);
}

std::wstring Options::DataPath() const { return support::GetDataPath(platform_, location_); }

void Options::SetDataPath(const std::wstring& path) { support::SetDataPath(location_, path); }

std::wstring Options::INIFile() const {
  return support::GetIniPath(platform_, location_, support::LocalIniName(location_));
}

void Options::SetINIFile(const std::wstring& name) {
  // A bare name is looked for in the current folder here, and by the system's file search later.
  if (!name.empty() && !support::IsListed(platform_.files, name))
    throw Error(error_number::kFileNotFound,
                platform_.session.HostExecutableName() + L":SetINIFile", L"File not found");
  location_.local_ini_name = name;
  InitOptCollection();
}

std::wstring Options::GlobalIni() const {
  return support::GetIniPath(platform_, location_, support::kGlobalMarker);
}

std::int32_t Options::Location() const {
  const std::wstring number =
      support::ReadIniValue(platform_.profile_files, L"Companyname", L"Location", INIFile());
  return ParseNumber(number) ? ToLong(number, L":Location") : 0;
}

}  // namespace tdefault::catalogue
