#include "tovocfg/doctor_command.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/win32/version_resource.h"
#include "platform/win32/win32_platform.h"
#include "tables/ado/ado_table_access.h"
#include "tovocfg/doctor.h"
#include "tovocfg/library.h"
#include "tovocfg/paths.h"
#include "tovocfg/session.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

constexpr int kBitsOfProgram = static_cast<int>(8 * sizeof(void*));

// The text that a system call puts into a buffer and tells the size of.
template <typename Call>
std::wstring TextOf(const Call& call) {
  std::wstring text(MAX_PATH, L'\0');
  DWORD used = call(text.data(), static_cast<DWORD>(text.size()));
  if (used > text.size()) {
    text.resize(used);
    used = call(text.data(), used);
  }
  text.resize(used);
  return text;
}

std::wstring WindowsFolder() {
  return TextOf([](wchar_t* text, DWORD size) { return GetSystemWindowsDirectoryW(text, size); });
}

// In the usual order of the system's search for a file without a folder.
std::vector<SearchFolder> SearchFolders() {
  const std::wstring windows = WindowsFolder();
  std::vector<SearchFolder> folders = {
      {"program folder", FolderOf(tdefault::platform::win32::HostExecutablePath())},
      {"current folder",
       TextOf([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); })},
      {"system folder",
       TextOf([](wchar_t* text, DWORD size) { return GetSystemDirectoryW(text, size); })},
      {"16-bit system folder", windows + L"\\system"},
      {"Windows folder", windows}};
  const std::wstring path = ToWide(EnvironmentValue(L"PATH"));
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find(L';', start), path.size());
    folders.push_back({"PATH", path.substr(start, end - start)});
    start = end + 1;
  }
  return folders;
}

std::string LocalTime(const FILETIME& time) {
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  if (!FileTimeToSystemTime(&time, &universal) ||
      !SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local))
    return {};
  const auto padded = [](unsigned number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
  };
  return padded(local.wYear, 4) + "-" + padded(local.wMonth, 2) + "-" + padded(local.wDay, 2) +
         " " + padded(local.wHour, 2) + ":" + padded(local.wMinute, 2);
}

std::optional<FileFacts> FactsOf(const std::wstring& file) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data) ||
      (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
    return std::nullopt;
  const FILETIME& time = data.ftLastWriteTime;
  return FileFacts{(data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0, LocalTime(time),
                   std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime};
}

// Opening a folder for it asks for the right to make files there, and makes none.
std::uint32_t AddingFiles(const std::wstring& folder) {
  const HANDLE opened = CreateFileW(folder.c_str(), FILE_ADD_FILE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return GetLastError();
  CloseHandle(opened);
  return 0;
}

Circumstances CircumstancesOf(const Request& request) {
  Circumstances circumstances;
  if (!request.ini_file.empty()) circumstances.ini_file = ToWide(FullPath(request.ini_file));
  if (!request.data_folder.empty())
    circumstances.data_folder = ToWide(FullPath(request.data_folder));
  circumstances.search_folders = SearchFolders();
  circumstances.windows_folder = WindowsFolder();
  const std::wstring local_data = ToWide(EnvironmentValue(L"LOCALAPPDATA"));
  if (!local_data.empty()) circumstances.diverted_folder = local_data + L"\\VirtualStore";
  circumstances.tables_setting = EnvironmentValue(L"TDEFAULT_TABLES");
  circumstances.provider_registered = tdefault::tables::ado::IsProviderRegistered();
  circumstances.facts_of = FactsOf;
  circumstances.adding_files = AddingFiles;
  return circumstances;
}

std::string BitsText(int bits) { return std::to_string(bits) + "-bit"; }

// Whether the class is registered at all, and its file for programs of this bitness.
struct Registration {
  bool has_class = false;
  std::wstring file;
};

// The unnamed value of a key of HKEY_CLASSES_ROOT; empty when there is none.
std::wstring RegisteredText(const std::wstring& key) {
  std::array<wchar_t, 1024> text{};
  DWORD size = sizeof(text);
  const LSTATUS status = RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ,
                                      nullptr, text.data(), &size);
  return status == ERROR_SUCCESS ? std::wstring(text.data()) : std::wstring();
}

Registration RegistrationOfLibrary() {
  Registration registration;
  const std::wstring class_id = RegisteredText(L"TovoDefaults.Options\\CLSID");
  registration.has_class = !class_id.empty();
  if (!registration.has_class) return registration;
  registration.file = RegisteredText(L"CLSID\\" + class_id + L"\\InprocServer32");
  std::erase(registration.file, L'"');
  return registration;
}

constexpr const char* kHowToRegister =
    "Put tdefault.dll beside tovocfg.exe, register it with regsvr32, or name it with --library.";

// Tells of a library's file; whether it can be loaded.
bool ExamineLibraryFile(Examination& examination, const std::wstring& file,
                        const std::string& how) {
  const std::string name = ToUtf8(file);
  if (!FactsOf(file)) {
    examination.Add(Health::kProblem, Topic::kLibrary,
                    "there is no file " + name + " (" + how + ")", kHowToRegister);
    return false;
  }
  const std::optional<int> bits = BitsOf(examination, file);
  if (!bits) {
    examination.Add(Health::kProblem, Topic::kLibrary,
                    name + " is no program library, or cannot be read (" + how + ")",
                    "Install tdefault.dll again.");
    return false;
  }
  if (*bits != kBitsOfProgram) {
    examination.Add(Health::kProblem, Topic::kLibrary,
                    name + " is " + BitsText(*bits) + " (" + how + "); this program is " +
                        BitsText(kBitsOfProgram) + " and cannot load it",
                    "Use the " + BitsText(kBitsOfProgram) + " tdefault.dll, or the " +
                        BitsText(*bits) + " tovocfg.exe.");
    return false;
  }
  const std::string version =
      ToUtf8(tdefault::platform::win32::VersionResourceText(file, L"ProductVersion"));
  examination.Add(
      Health::kOk, Topic::kLibrary,
      name + (version.empty() ? "" : ", version " + version) + ", " + BitsText(*bits) + ", " + how);
  return true;
}

// Tells which library would be loaded; whether one can be.
bool ExamineLibrary(Examination& examination, const Request& request) {
  if (!request.library_file.empty())
    return ExamineLibraryFile(examination, ToWide(FullPath(request.library_file)),
                              "named by --library");
  const std::wstring beside =
      FolderOf(tdefault::platform::win32::HostExecutablePath()) + L"\\tdefault.dll";
  const Registration registration = RegistrationOfLibrary();
  if (!registration.file.empty()) {
    if (FactsOf(registration.file))
      return ExamineLibraryFile(examination, registration.file, "registered");
    examination.Add(Health::kProblem, Topic::kLibrary,
                    "registered is " + ToUtf8(registration.file) +
                        ", which does not exist; programs that create the library by its name fail",
                    "Register the file where it is now.",
                    FactsOf(beside) ? std::vector<Step>{{"to register the one beside this program",
                                                         "regsvr32 " + Quoted(beside)}}
                                    : std::vector<Step>());
  } else if (registration.has_class) {
    examination.Add(Health::kWarning, Topic::kLibrary,
                    "the library is not registered for " + BitsText(kBitsOfProgram) +
                        " programs, but for others",
                    "Register the " + BitsText(kBitsOfProgram) + " tdefault.dll as well.");
  }
  return ExamineLibraryFile(
      examination, beside,
      "beside the program" + std::string(registration.has_class ? "" : ", not registered"));
}

void TellVersions(Examination& examination, const Library& library) {
  const std::string version = library.Version();
  if (version != TOVOCFG_VERSION)
    examination.Add(
        Health::kWarning, Topic::kLibrary,
        "the library calls itself version " + version + ", this program is " + TOVOCFG_VERSION,
        "Install both from the same package.");
}

// The options as the library loads them; absent, after telling why, when it does not.
std::optional<std::vector<Option>> LoadOptions(Examination& examination, const Request& request) {
  std::string why;
  std::string advice;
  try {
    const std::unique_ptr<Library> library = OpenLibrary(request);
    TellVersions(examination, *library);
    Locate(*library, request);
    if (library->Initialize()) return library->Options();
    why = "the library found no data folder";
  } catch (const Stop& stop) {
    why = stop.text;
  } catch (const LibraryError& error) {
    why = "error " + ErrorNumber(error.report().number) + ": " + error.report().description;
    advice = HintFor(error.report());
  }
  examination.Add(Health::kProblem, Topic::kOptions, "the library does not load them: " + why,
                  advice);
  return std::nullopt;
}

void TellOptions(Examination& examination, const std::vector<Option>& options) {
  std::size_t absent = 0;
  for (const Option& option : options)
    if (!IsSet(option)) ++absent;
  examination.Add(Health::kOk, Topic::kOptions,
                  std::to_string(options.size()) + " options loaded, " + std::to_string(absent) +
                      " of them without a key in their file");
}

void ExamineAll(Examination& examination, const Request& request) {
  examination.Add(Health::kOk, Topic::kProgram,
                  std::string("tovocfg ") + TOVOCFG_VERSION + ", " + BitsText(kBitsOfProgram));
  const bool has_library = ExamineLibrary(examination, request);
  Located located = ExamineLocations(examination);
  const std::vector<ReadIni> files = ExamineIniFiles(examination, located);
  ExamineTables(examination, located);
  const bool has_access = ExamineTableAccess(examination);
  ExamineWriteAccess(examination, located);
  // Without its folder the library would ask the user with a message box.
  std::optional<std::vector<Option>> options;
  const bool has_local_ini = located.local_ini.empty() || examination.IsFile(located.local_ini);
  if (has_library && has_local_ini && has_access && located.data_folder_exists &&
      located.has_definitions) {
    options = LoadOptions(examination, request);
  } else {
    examination.Add(Health::kNotChecked, Topic::kOptions,
                    "not loaded, because of the problems above");
  }
  for (const ReadIni& each : files) ExamineValueLengths(examination, each.file, each.text, options);
  if (options) TellOptions(examination, *options);
}

}  // namespace

int Doctor(const Request& request) {
  tdefault::platform::win32::Win32Platform system;
  Examination examination(system.platform(), CircumstancesOf(request));
  ExamineAll(examination, request);
  const std::vector<Diagnosis> diagnoses = Ordered(examination.diagnoses());
  std::cout << (request.json ? DiagnosesToJson(diagnoses)
                             : FormatDiagnoses(diagnoses, request.output));
  return ExitCodeOf(diagnoses);
}

}  // namespace tovocfg
