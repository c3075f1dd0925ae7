#include "tovocfg/doctor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <span>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "support/location_state.h"
#include "support/locations.h"
#include "support/paths.h"
#include "tables/foxpro/table_check.h"
#include "tovocfg/output.h"

namespace tovocfg {

namespace {

using tdefault::EqualIgnoringCase;
using tdefault::ToUtf8;
using tdefault::platform::FileAccess;
using tdefault::platform::FileShare;
namespace foxpro = tdefault::tables::foxpro;
namespace support = tdefault::support;
namespace system_code = tdefault::platform::system_code;

constexpr const wchar_t* kDefinitions = L"defaults.dbf";

// The folders of the search, each once.
std::vector<SearchFolder> SearchFolders(const Examination& examination) {
  std::set<std::wstring, tdefault::LessIgnoringCase> known;
  std::vector<SearchFolder> folders;
  for (SearchFolder folder : examination.circumstances().search_folders) {
    while (!folder.path.empty() && folder.path.back() == L'\\') folder.path.pop_back();
    if (!folder.path.empty() && known.insert(folder.path).second) folders.push_back(folder);
  }
  return folders;
}

// " (Windows folder)"; empty for a folder that is not searched.
std::string SearchedAs(const Examination& examination, const std::wstring& file) {
  for (const SearchFolder& folder : SearchFolders(examination))
    if (EqualIgnoringCase(folder.path, FolderOf(file))) return " (" + folder.name + ")";
  return {};
}

std::wstring FoundBySearch(const Examination& examination) {
  const auto found =
      examination.platform().files.Locate(support::kLocalIniDefaultName, support::kPathCapacity);
  return found.ok() ? found.value() : std::wstring();
}

void ExamineNamedIni(Examination& examination, const std::wstring& file) {
  if (!examination.IsFile(file)) return;  // told with what can restore it
  examination.Add(Health::kOk, Topic::kLocalIni, ToUtf8(file) + ", named by --ini");
  const std::wstring found = FoundBySearch(examination);
  if (found.empty() || EqualIgnoringCase(found, file)) return;
  examination.Add(
      Health::kOk, Topic::kLocalIni,
      "programs that are not told a file use " + ToUtf8(found) + SearchedAs(examination, found));
}

// The copies of a bare name that the search passes over.
void ExamineOtherCopies(Examination& examination, const std::wstring& used) {
  for (const SearchFolder& folder : SearchFolders(examination)) {
    const std::wstring copy = folder.path + L"\\" + support::kLocalIniDefaultName;
    if (EqualIgnoringCase(copy, used) || !examination.IsFile(copy)) continue;
    examination.Add(Health::kWarning, Topic::kLocalIni,
                    "another TOVO.INI is " + ToUtf8(copy) + " (" + folder.name + "); " +
                        ToUtf8(used) + " is used instead of it",
                    "A program in another folder may find the other one. Keep one of them, or "
                    "name the file in full wherever it is used (--ini FILE).");
  }
}

// The data folder of a bare name comes from the Windows folder, whatever the search finds.
void ExamineWindowsCopy(Examination& examination, const std::wstring& used) {
  if (!examination.circumstances().data_folder.empty()) return;
  const std::wstring copy =
      examination.circumstances().windows_folder + L"\\" + support::kLocalIniDefaultName;
  if (EqualIgnoringCase(copy, used)) return;
  const bool exists = examination.IsFile(copy);
  examination.Add(
      exists ? Health::kWarning : Health::kProblem, Topic::kLocalIni,
      "the data folder is not taken from " + ToUtf8(used) +
          ": for a file name without a folder the system reads the key DataPath from " +
          ToUtf8(copy) + (exists ? "" : ", which does not exist"),
      "Move the file to the Windows folder, or name it in full wherever it is used (--ini FILE).");
}

void ExamineSearchedIni(Examination& examination, const std::wstring& found) {
  if (!found.empty()) {
    examination.Add(
        Health::kOk, Topic::kLocalIni,
        ToUtf8(found) + ", found by the system's search" + SearchedAs(examination, found));
    ExamineOtherCopies(examination, found);
    ExamineWindowsCopy(examination, found);
    return;
  }
  std::vector<Step> steps;
  std::string folders;
  for (const SearchFolder& folder : SearchFolders(examination)) {
    folders += "\n  " + ToUtf8(folder.path) + " (" + folder.name + ")";
    const std::wstring file = folder.path + L"\\" + support::kLocalIniDefaultName;
    const std::wstring previous = PreviousVersionOf(file);
    if (examination.IsFile(previous))
      steps.push_back(
          CopyStep("to restore it from the previous version, " + examination.ChangedAt(previous),
                   previous, file));
  }
  const bool needed = examination.circumstances().data_folder.empty();
  examination.Add(needed ? Health::kProblem : Health::kWarning, Topic::kLocalIni,
                  needed ? "there is no TOVO.INI on the search path, so the data folder is not "
                           "known either"
                         : "there is no TOVO.INI on the search path; the options of this "
                           "workstation read \"Not found\" and are not saved",
                  "Name the file with --ini FILE, or put it into one of the folders that are "
                  "searched:" +
                      folders,
                  steps);
}

bool IsFullPath(const std::wstring& path) {
  return path.starts_with(L"\\\\") || (path.size() > 2 && path[1] == L':' && path[2] == L'\\');
}

std::string FolderSource(const Examination& examination, const Located& located) {
  if (!examination.circumstances().data_folder.empty()) return "named by --data";
  return "key DataPath of section [Defaults]" +
         (located.local_ini.empty() ? std::string() : " in " + ToUtf8(located.local_ini));
}

void ExamineDataFolder(Examination& examination, const Located& located) {
  const bool named = !examination.circumstances().data_folder.empty();
  if (!named && !examination.IsFile(located.local_ini)) {
    examination.Add(Health::kNotChecked, Topic::kDataFolder,
                    "not known, because the local INI file names it and is missing",
                    "Name the folder with --data.");
    return;
  }
  const std::string folder = ToUtf8(located.data_folder);
  const std::string source = FolderSource(examination, located);
  const std::string advice = named ? "Name the folder that holds defaults.dbf."
                                   : "Correct the key, or name the folder with --data.";
  if (located.data_folder.empty()) {
    examination.Add(Health::kProblem, Topic::kDataFolder,
                    "none is named: " + source + " is missing or empty",
                    "Write the key (DataPath=FOLDER), or name the folder with --data.");
    return;
  }
  if (!located.data_folder_exists) {
    const bool is_file = examination.IsFile(located.data_folder);
    examination.Add(
        Health::kProblem, Topic::kDataFolder,
        (is_file ? folder + " is a file, not a folder (" : "there is no folder " + folder + " (") +
            source + ")",
        is_file ? advice : advice + " If it is a share, see whether its drive is connected.");
    return;
  }
  examination.Add(Health::kOk, Topic::kDataFolder, folder + ", " + source);
  if (!IsFullPath(located.data_folder))
    examination.Add(Health::kWarning, Topic::kDataFolder,
                    folder +
                        " counts from each program's current folder, so that programs may "
                        "use different ones",
                    "Write it with its drive and all folders.");
}

void ExamineOtherGlobals(Examination& examination, const Located& located) {
  std::vector<SearchFolder> folders = SearchFolders(examination);
  if (!located.local_ini.empty())
    folders.push_back({"beside the local INI file", FolderOf(located.local_ini)});
  std::set<std::wstring, tdefault::LessIgnoringCase> told = {located.global_ini};
  for (const SearchFolder& folder : folders) {
    const std::wstring copy = folder.path + L"\\" + support::kGlobalIniName;
    if (!examination.IsFile(copy) || !told.insert(copy).second) continue;
    examination.Add(Health::kWarning, Topic::kGlobalIni,
                    "another TOVOGBL.INI is " + ToUtf8(copy) + " (" + folder.name +
                        "); only the one in the data folder is used",
                    "Delete it, or rename it, so that nobody changes it by mistake.");
  }
}

// The names with commas, and other words before the last one.
std::string Listed(const std::vector<std::string>& names, const std::string& before_last) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i != 0) text += i + 1 == names.size() ? before_last : ", ";
    text += names[i];
  }
  return text;
}

// One line for each table with findings, and one for all.
void ExamineEachTable(Examination& examination, const Located& located) {
  std::vector<foxpro::TableIdentity> tables;
  auto& platform = examination.platform();
  try {
    tables = foxpro::FindTables(platform.files, located.data_folder);
  } catch (const tdefault::Error& error) {
    examination.Add(Health::kNotChecked, Topic::kTables, ToUtf8(error.description()));
    return;
  }
  const foxpro::CheckSettings settings{.ansi_code_page = platform.session.AnsiCodePage()};
  std::vector<std::string> whole;
  for (const foxpro::TableIdentity& table : tables) {
    const foxpro::CheckedTable checked =
        foxpro::CheckTable(platform.files, platform.clock, table, settings);
    const std::string name = ToUtf8(table.name);
    if (checked.findings.empty()) {
      whole.push_back(name);
      continue;
    }
    const Health health = checked.problems != 0    ? Health::kProblem
                          : checked.unchecked != 0 ? Health::kNotChecked
                                                   : Health::kWarning;
    const std::uint64_t more = checked.problems + checked.warnings + checked.unchecked - 1;
    const auto kind = checked.problems != 0    ? foxpro::FindingKind::kProblem
                      : checked.unchecked != 0 ? foxpro::FindingKind::kUnchecked
                                               : foxpro::FindingKind::kWarning;
    const auto first =
        std::find_if(checked.findings.begin(), checked.findings.end(),
                     [kind](const foxpro::Finding& finding) { return finding.kind == kind; });
    std::string text = first == checked.findings.end() ? "Table " + name : ToUtf8(first->text);
    if (more != 0) text += " (and " + std::to_string(more) + " more)";
    examination.Add(health, Topic::kTables, text, {},
                    {{"to see everything",
                      "tovocfg check " + name + " --data " + Quoted(located.data_folder)}});
  }
  if (whole.empty()) return;
  examination.Add(Health::kOk, Topic::kTables,
                  std::to_string(whole.size()) + (whole.size() == 1 ? " table is" : " tables are") +
                      " whole: " + Listed(whole, ", "));
}

// What stands in the way of writing; empty when nothing does. 0: may be written.
struct Refusal {
  std::uint32_t code = 0;
  bool read_only = false;
  [[nodiscard]] bool any() const { return code != 0 || read_only; }
  [[nodiscard]] bool held() const {
    return code == system_code::kSharingViolation || code == system_code::kLockViolation;
  }
};

Refusal RefusalToWrite(const Examination& examination, const std::wstring& file) {
  const auto opened =
      examination.platform().files.Open(file, FileAccess::kWrite, FileShare::kReadWrite);
  const auto facts = examination.circumstances().facts_of(file);
  return {opened.ok() ? 0 : opened.code(), facts && facts->read_only};
}

void TellRefusal(Examination& examination, const std::wstring& file, const Refusal& refusal,
                 Health health, const std::string& consequence) {
  const std::string path = ToUtf8(file);
  if (refusal.read_only) {
    examination.Add(health, Topic::kWriteAccess, path + " is marked read-only; " + consequence,
                    "Take the mark off, unless it was set on purpose.",
                    {{"to take it off", "attrib -r " + Quoted(file)}});
    return;
  }
  examination.Add(
      health, Topic::kWriteAccess,
      path + " cannot be opened for writing: " + Reason(refusal.code) + "; " + consequence,
      refusal.held() ? "Close the program that has the file open."
                     : "Ask for write access to the file and its folder.");
}

// Whether all of it can be written.
bool ExamineIniWriting(Examination& examination, const IniFile& file) {
  bool all = true;
  if (examination.IsFile(file.path)) {
    const Refusal refusal = RefusalToWrite(examination, file.path);
    if (refusal.any()) {
      TellRefusal(examination, file.path, refusal, Health::kProblem,
                  "no save succeeds as long as that is so");
      all = false;
    }
  }
  const std::wstring folder = FolderOf(file.path);
  if (const std::uint32_t code = examination.circumstances().adding_files(folder); code != 0) {
    examination.Add(Health::kProblem, Topic::kWriteAccess,
                    "no files can be made in " + ToUtf8(folder) + ": " + Reason(code) +
                        "; a save keeps a copy there, so none succeeds",
                    "Ask for the right to make and delete files in the folder.");
    all = false;
  }
  return all;
}

// The files of the tables: only the definitions must be writable for programs to start.
bool ExamineTableWriting(Examination& examination, const Located& located) {
  bool all = true;
  for (const wchar_t* pattern : {L"*.dbf", L"*.fpt", L"*.cdx"}) {
    for (const std::wstring& name : examination.NamesIn(located.data_folder, pattern)) {
      const std::wstring file = located.data_folder + L"\\" + name;
      const Refusal refusal = RefusalToWrite(examination, file);
      if (!refusal.any()) continue;
      all = false;
      if (EqualIgnoringCase(name, kDefinitions)) {
        TellRefusal(examination, file, refusal, Health::kProblem,
                    "no program starts as long as that is so");
      } else {
        TellRefusal(examination, file, refusal, Health::kWarning,
                    "what changes this table will fail");
      }
    }
  }
  return all;
}

}  // namespace

std::vector<IniFile> Located::IniFiles() const {
  std::vector<IniFile> files;
  if (!local_ini.empty()) files.push_back({Topic::kLocalIni, local_ini});
  if (!global_ini.empty()) files.push_back({Topic::kGlobalIni, global_ini});
  return files;
}

Located ExamineLocations(Examination& examination) {
  const Circumstances& circumstances = examination.circumstances();
  auto& platform = examination.platform();
  support::LocationState state;
  if (!circumstances.data_folder.empty()) support::SetDataPath(state, circumstances.data_folder);
  state.local_ini_name = circumstances.ini_file;
  Located located;
  located.local_ini = support::GetIniPath(platform, state, support::LocalIniName(state));
  if (circumstances.ini_file.empty()) {
    ExamineSearchedIni(examination, located.local_ini);
  } else {
    ExamineNamedIni(examination, located.local_ini);
  }
  located.data_folder = support::GetDataPath(platform, state);
  located.data_folder_exists = support::FolderExists(platform.files, located.data_folder);
  // Without a local file that it could come from, the folder has been told of already.
  if (!located.data_folder.empty() || !located.local_ini.empty())
    ExamineDataFolder(examination, located);
  if (located.data_folder_exists)
    located.global_ini = support::GetIniPath(platform, state, support::kGlobalMarker);
  return located;
}

std::vector<ReadIni> ExamineIniFiles(Examination& examination, const Located& located) {
  const std::vector<IniFile> files = located.IniFiles();
  const std::vector<Leftover> leftovers = FindLeftovers(examination, files);
  std::vector<ReadIni> read;
  for (std::size_t which = 0; which < files.size(); ++which) {
    if (files[which].topic == Topic::kGlobalIni && examination.IsFile(files[which].path))
      examination.Add(Health::kOk, Topic::kGlobalIni,
                      ToUtf8(files[which].path) + ", in the data folder");
    if (std::optional<IniText> text = ExamineIniFile(examination, files, which, leftovers))
      read.push_back({files[which], std::move(*text)});
    if (files[which].topic == Topic::kGlobalIni) ExamineOtherGlobals(examination, located);
  }
  if (!files.empty()) ExamineLeftovers(examination, files, leftovers);
  return read;
}

void ExamineTables(Examination& examination, Located& located) {
  if (!located.data_folder_exists) return;
  const std::wstring definitions = located.data_folder + L"\\" + kDefinitions;
  located.has_definitions = examination.IsFile(definitions);
  if (!located.has_definitions)
    examination.Add(Health::kProblem, Topic::kTables,
                    "there is no " + ToUtf8(definitions) +
                        ", the table of the option definitions; no program starts without it",
                    "See whether this is the right data folder. If it is, restore defaults.dbf and "
                    "defaults.fpt from a backup.");
  ExamineEachTable(examination, located);
}

bool ExamineTableAccess(Examination& examination) {
  const Circumstances& circumstances = examination.circumstances();
  const std::string access =
      DescribeTables(circumstances.tables_setting, circumstances.provider_registered);
  if (access.starts_with("none")) {
    examination.Add(Health::kProblem, Topic::kTableAccess, access);
    return false;
  }
  const std::string provider = circumstances.provider_registered
                                   ? "VFPOLEDB.1 is registered for programs of this bitness"
                                   : "VFPOLEDB.1 is not registered for programs of this bitness";
  examination.Add(Health::kOk, Topic::kTableAccess,
                  access + "; " +
                      (circumstances.tables_setting.empty()
                           ? provider
                           : "the environment variable TDEFAULT_TABLES is " +
                                 circumstances.tables_setting + ", and " + provider));
  return true;
}

void ExamineWriteAccess(Examination& examination, const Located& located) {
  bool all = true;
  std::vector<std::string> writable;
  for (const IniFile& file : located.IniFiles()) {
    all = ExamineIniWriting(examination, file) && all;
    if (examination.IsFile(file.path)) writable.push_back(ToUtf8(NameOf(file.path)));
  }
  if (!writable.empty()) writable.emplace_back("the folders of both");
  if (writable.size() == 2) writable.back() = "its folder";
  if (located.has_definitions) {
    all = ExamineTableWriting(examination, located) && all;
    writable.emplace_back("the tables");
  }
  if (all && !writable.empty())
    examination.Add(Health::kOk, Topic::kWriteAccess,
                    Listed(writable, " and ") + " can be written");
}

std::optional<int> BitsOf(const Examination& examination, const std::wstring& file) {
  const auto opened =
      examination.platform().files.Open(file, FileAccess::kRead, FileShare::kReadWrite);
  if (!opened.ok()) return std::nullopt;
  const auto number_at = [&](std::uint64_t offset, std::size_t size) {
    std::array<std::uint8_t, 4> bytes{};
    const auto count = opened.value()->ReadAt(offset, std::span(bytes).first(size));
    std::uint32_t number = 0;
    if (!count.ok() || count.value() != size) return number;
    for (std::size_t i = size; i > 0; --i) number = number << 8U | bytes.at(i - 1);
    return number;
  };
  constexpr std::uint32_t kSignature = 0x4550;  // "PE", two zero bytes
  constexpr std::uint64_t kPlaceOfHeader = 0x3C;
  const std::uint64_t header = number_at(kPlaceOfHeader, 4);
  if (header == 0 || number_at(header, 4) != kSignature) return std::nullopt;
  switch (number_at(header + 4, 2)) {
    case 0x014C:
      return 32;
    case 0x8664:
    case 0xAA64:
      return 64;
    default:
      return std::nullopt;
  }
}

}  // namespace tovocfg
