#include "tovocfg/session.h"

#include <windows.h>

#include <algorithm>

#include "platform/win32/win32_platform.h"
#include "tables/ado/ado_table_access.h"
#include "tovocfg/disk_file.h"
#include "tovocfg/paths.h"
#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

// The library takes a file that it cannot read for one without keys.
void RequireReadable(const std::string& ini_file) {
  const std::string problem = ReadDiskFile(ini_file).problem;
  if (problem.empty()) return;
  throw Stop{ExitCode::kLibraryError,
             ini_file + " cannot be read: " + problem +
                 " Its options would look as if they were not set. Close the program that has the "
                 "file open and try again."};
}

const Option& Found(const Selection& selection) {
  if (selection.option != nullptr) return *selection.option;
  throw Stop{selection.ambiguous ? ExitCode::kUsage : ExitCode::kOptionNotFound, selection.problem};
}

}  // namespace

std::string EnvironmentValue(const wchar_t* name) {
  const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
  if (size == 0) return {};
  std::wstring value(size, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), size));
  return ToUtf8(value);
}

Scope ScopeOf(const Request& request) {
  if (request.local_only) return Scope::kLocal;
  return request.global_only ? Scope::kGlobal : Scope::kBoth;
}

std::unique_ptr<Library> OpenLibrary(const Request& request) {
  try {
    return std::make_unique<Library>(request.library_file.empty() ? std::string()
                                                                  : FullPath(request.library_file));
  } catch (const LibraryError& error) {
    std::string text = error.report().description;
    if (request.library_file.empty()) {
      text = "the library is not registered, and " + text +
             " Put tdefault.dll beside tovocfg.exe, register it with regsvr32, or name it with "
             "--library.";
    }
    throw Stop{ExitCode::kNoLibrary, text};
  }
}

// The library looks for a bare INI name in the current folder only, so it gets a full path. Setting
// the name also loads the options; that error is left to Initialize, which reports it better.
void Locate(Library& library, const Request& request) {
  if (!request.data_folder.empty()) library.SetDataPath(FullPath(request.data_folder));
  if (request.ini_file.empty()) return;
  const std::string file = FullPath(request.ini_file);
  if (!IsFile(file)) throw Stop{ExitCode::kFolderNotFound, NoSuchIniFile(file)};
  try {
    library.SetIniFile(file);
  } catch (const LibraryError&) {
    if (!SameText(library.IniFile(), file)) throw;
  }
}

Whereabouts WhereaboutsOf(const Library& library) {
  Whereabouts where;
  where.data_folder = library.DataPath();
  where.data_folder_exists = !where.data_folder.empty() && IsFolder(where.data_folder);
  where.local_ini = library.IniFile();
  where.global_ini = library.GlobalIni();
  where.global_ini_exists = IsFile(where.global_ini);
  where.location = library.Location();
  where.tables = DescribeTables(EnvironmentValue(L"TDEFAULT_TABLES"),
                                tdefault::tables::ado::IsProviderRegistered());
  where.library_version = library.Version();
  where.library_file = library.LibraryFile();
  where.library_registered = library.registered();
  where.program_version = TOVOCFG_VERSION;
  return where;
}

void RequireIniFiles(const Whereabouts& where, const std::vector<const Option*>& options) {
  for (const bool local : {true, false}) {
    const auto is_meant = [local](const Option* option) { return option->local_ini == local; };
    if (std::none_of(options.begin(), options.end(), is_meant)) continue;
    const std::string& path = local ? where.local_ini : where.global_ini;
    if (!IsFile(path)) {
      throw Stop{ExitCode::kFolderNotFound,
                 local ? "there is no TOVO.INI on the search path, so local options have no "
                         "values; name one with --ini, or use --global"
                       : "there is no global INI file " + path +
                             ", so global options have no values; check the data folder, or use "
                             "--local"};
    }
    RequireReadable(path);
  }
}

Session::Session(const Request& request) : library_(OpenLibrary(request)) {
  Locate(*library_, request);
  where_ = WhereaboutsOf(*library_);
  if (where_.data_folder.empty() && !where_.local_ini.empty()) RequireReadable(where_.local_ini);
  if (!where_.data_folder_exists)
    throw Stop{ExitCode::kFolderNotFound, MissingFolder(where_, !request.data_folder.empty())};
  if (!library_->Initialize())
    throw Stop{ExitCode::kFolderNotFound, "the library found no data folder"};
  local_ini_name_ = request.ini_file.empty() ? "TOVO.INI" : where_.local_ini;
  options_ = ReadAgain();
}

IniFiles Session::Files() const {
  return {ToWide(local_ini_name_), ToWide(where_.local_ini), ToWide(where_.global_ini)};
}

LossesOfSaving Session::Losses() const {
  tdefault::platform::win32::Win32Platform system;
  return FindLosses(system.platform().profile_files, Files(), options_);
}

std::vector<Option> Session::ReadAgain() const {
  std::vector<Option> options = library_->Options();
  tdefault::platform::win32::Win32Platform system;
  AddFileFacts(system.platform().profile_files, Files(), options);
  return options;
}

const Option& Session::Find(const std::string& section, const std::string& key,
                            const Request& request) const {
  return Found(FindByKey(options_, section, key, where_.location, ScopeOf(request)));
}

const Option& Session::Find(const std::string& id) const { return Found(FindById(options_, id)); }

const Option& Session::Named(const Request& request) const {
  return request.words.size() == 1 ? Find(request.words[0])
                                   : Find(request.words[0], request.words[1], request);
}

}  // namespace tovocfg
