// The catalogue of configurable options: what a host creates, initialises, reads, edits and saves.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/value.h"
#include "platform/platform.h"
#include "records/INIOption.h"
#include "records/cChoices.h"
#include "records/collection.h"
#include "reports/Reports.h"
#include "search/data_folder_search.h"
#include "support/location_state.h"
#include "tables/table_access.h"

namespace tdefault::catalogue {

class IniBackup;
class ProcessingModules;
struct StoredDefinition;

// What a catalogue tells its host while it works. Called on the host's thread.
class OptionsEvents {
 public:
  virtual ~OptionsEvents() = default;

  virtual void Modified() = 0;                                  // a save succeeded
  virtual void Status(const std::wstring& program_status) = 0;  // empty text clears the display
  virtual void DLLError(std::int32_t number, const std::wstring& description) = 0;
};

// What a new definition is made from.
struct NewOption {
  bool local_ini = false;
  std::wstring section;
  std::wstring key;
  std::wstring linkedfield;
  records::KEY_TYPE option_type = records::KEY_TYPE::STRING_VALUE;
  std::wstring choices;  // lines ITEM|DESCRIPTION
  std::wstring comment;
  std::int16_t minimum = 0;
  std::int16_t maximum = 0;
  std::int16_t decimals = 0;
  std::wstring default_value;
};

// An ordered collection of INIOption, keyed by ID without regard to case. Empty until Initialize.
// One thread only; the platform, the table access and the location state outlive it.
class Options {
 public:
  Options(platform::Platform& platform, tables::TableAccess& tables,
          support::LocationState& location);
  ~Options();

  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  // Not owned; null for none.
  void ListenTo(OptionsEvents* events) noexcept { events_ = events; }

  // Where the objects come from that options name to be run after a save. Not owned; null for none,
  // when each is told to the user as one that cannot be created.
  void RunModulesOf(ProcessingModules* modules) noexcept { modules_ = modules; }

  // How the user looks for a missing data folder. Not owned; null for not at all.
  void SearchWith(search::DataFolderSearch* search) noexcept { search_ = search; }

  // Finds data folder and table, loads the catalogue and the reports. False when the data folder
  // is missing (the user has been told, and may have looked for it); throws when the table is
  // missing, not writable or cannot be loaded.
  bool Initialize();

  [[nodiscard]] std::wstring DataPath() const;
  void SetDataPath(const std::wstring& path);
  [[nodiscard]] std::wstring INIFile() const;
  // Throws 53 when the file is not there; loads the catalogue again otherwise.
  void SetINIFile(const std::wstring& name);
  [[nodiscard]] std::wstring GlobalIni() const;
  [[nodiscard]] std::int32_t Location() const;

  // Loads catalogue and reports again. Throws what loading throws.
  void Refresh();

  // By position from 1 or by ID. Throws InvalidArgument when there is none.
  [[nodiscard]] std::shared_ptr<records::INIOption> Item(const Value& index) const;
  // 16 bits: throws Overflow above 32,767.
  [[nodiscard]] std::int16_t Count() const;
  // In catalogue order.
  [[nodiscard]] const std::vector<std::shared_ptr<records::INIOption>>& elements() const noexcept {
    return options_.elements();
  }

  // Adds an option with a new ID, in memory only.
  std::shared_ptr<records::INIOption> Add(const NewOption& definition);

  // Writes every option to its INI file with its side effects, tells Modified and loads again.
  // False when something failed; then the INI files are as before, and an error, if there was one,
  // has been told through DLLError. Throws only what loading again throws, after a save that
  // succeeded.
  bool Save();

  // Null before Initialize.
  [[nodiscard]] std::shared_ptr<reports::Reports> ReportTypes() const noexcept { return reports_; }

  // "major.minor.revision" of the library.
  [[nodiscard]] std::wstring Version() const;

  // The text a module left to explain its failure.
  void SetAddtnlProcError(std::wstring text) { addtnl_proc_error_ = std::move(text); }

  // These rewrite a whole INI file in one step. False, with the file as before, when it is not
  // there or anything fails; nothing is thrown.

  // Writes each key's comment from its definition above it, unless it stands there already.
  bool CommentFile(const std::wstring& ini_file);
  // Removes every comment line.
  bool ClearIniComments(const std::wstring& ini_file);
  // Removes the comment lines of exactly that text, in any case, without its semicolon.
  bool RemoveIniComment(const std::wstring& ini_file, const std::wstring& comment);
  // Turns the key of that option into a comment, wherever it stands in the option's file. False
  // also when no definition has that ID.
  bool CommentINIKey(const std::wstring& id);

  // Whether there is a definition of that section and key, in any case, in that file; its ID is
  // given back then. False also when the table cannot be read.
  bool SectionKeyExists(const std::wstring& section, const std::wstring& key, bool local_ini,
                        std::wstring& record_id);
  // Deletes the definition, loads the catalogue again, and removes the key from its INI file: with
  // its comments, or with its whole section when it is the last key there. False when there was
  // none, or when something failed; what was done until then stays done.
  bool DeleteOption(const std::wstring& id);

 private:
  // loading.cpp. True, or throws with source "InitOptCollection" and the failing step in the text.
  bool InitOptCollection();

  // lookup_lists.cpp. What could be read before an error, which is not raised.
  [[nodiscard]] std::shared_ptr<records::cChoices> InsuranceTypes() const;

  // start_up.cpp. False when the data folder is missing; the user has been told then.
  bool VerifyDataPath();

  // definitions.cpp. What a deleted definition has in its INI file.
  void RemoveEntry(const StoredDefinition& definition);

  // saving.cpp
  bool SaveChanges();
  bool WriteOptions(IniBackup& local, IniBackup& global);
  bool WriteOption(const records::INIOption& option, const std::wstring& ini_file);
  bool RunSideEffect(const records::INIOption& option);
  void RunAdditionalProcs();
  void TellError(const Error& error);

  // numbering.cpp. True when the counters are as they should be, also where the site has none.
  bool WOInvoiceNumAdjust(bool same_number);

  // kit_defaults.cpp. Brings table Need into line with the choice, by statements or, where one is
  // registered, by running a program. False when that failed.
  bool SetDefKits(const std::wstring& kit_choice);
  void UpdateKits(const std::wstring& kit_choice);
  bool RunKitProgram(const std::wstring& command);
  // The registered program, and its parameters behind a NUL; empty when there is none.
  [[nodiscard]] std::wstring KitProgramCommand() const;
  // Whether the program was started; returns when it has ended.
  bool RunAndWait(const std::wstring& command);
  void TellStatus(const std::wstring& text);

  // additional_processing.cpp. Every outcome is told to the user, none to the caller.
  void RunAdditionalProc(const std::wstring& module_text);

  platform::Platform& platform_;
  tables::TableAccess& tables_;
  support::LocationState& location_;
  OptionsEvents* events_ = nullptr;
  search::DataFolderSearch* search_ = nullptr;
  ProcessingModules* modules_ = nullptr;
  records::Collection<records::INIOption> options_;
  std::shared_ptr<reports::Reports> reports_;
  std::wstring addtnl_proc_error_;
};

}  // namespace tdefault::catalogue
