#include "tovocfg/saving.h"

#include <algorithm>
#include <iostream>
#include <string>

#include "tovocfg/disk_file.h"
#include "tovocfg/library.h"
#include "tovocfg/paths.h"
#include "tovocfg/selection.h"
#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

std::string DataFolderProblem(const std::string& path) {
  if (!IsFolder(path)) return "there is no folder " + path;
  return IsFile(path + "\\defaults.dbf") ? std::string() : path + " holds no defaults.dbf";
}

// The name that Save gives the previous version of a file.
std::string PreviousFile(const std::string& file) {
  return file.substr(0, file.size() - 3) + "old";
}

// Numbers and the rest come back as they were written; of a font, parts may be written in more than
// one way.
bool ReadsBack(const Option& now, const Change& change) {
  const bool all_parts = !now.font.empty() && change.new_value.find('|') != std::string::npos;
  return SameText(
      all_parts ? now.font : now.current_value,
      all_parts ? change.new_value
                : change.new_value.substr(0, now.type == KeyType::kFont ? change.new_value.find('|')
                                                                        : std::string::npos));
}

// What the options read now, after the save, where that is not what was set. Options that a change
// of the data folder or of the site has led to another file or key tell nothing about the save.
std::string Differences(const Session& session, const std::vector<Change>& changes) {
  std::string differences;
  const std::vector<Option> now = session.ReadAgain();
  const bool same_folder = SameText(session.library().DataPath(), session.where().data_folder);
  for (const Change& change : changes) {
    const Option* option = FindById(now, change.option->id).option;
    if (option == nullptr || !SameText(option->key, change.option->key)) continue;
    if (!option->local_ini && !same_folder) continue;
    if (!ReadsBack(*option, change))
      differences += Title(*option) + " reads \"" + WholeValue(*option) + "\" after the save\n";
  }
  return differences;
}

struct FileBefore {
  std::string path;
  FileContent content;
};

std::vector<FileBefore> FilesBefore(const Whereabouts& where) {
  std::vector<FileBefore> files;
  for (const std::string& path : {where.local_ini, where.global_ini})
    if (!path.empty()) files.push_back({path, ReadDiskFile(path)});
  return files;
}

// By comparison with what it held before the save, whatever the library told.
std::string StateOf(const FileBefore& before) {
  const FileContent now = ReadDiskFile(before.path);
  const std::string& then = before.content.problem;
  if (now.is_missing && before.content.is_missing) return "does not exist";
  if (!now.problem.empty())
    return "could not be read " + std::string(then.empty() ? "" : "before or ") +
           "after the save: " + now.problem;
  if (!then.empty()) return "could not be read before the save: " + then;
  const std::string problem = WritingProblem(before.path);
  return (now.bytes == before.content.bytes
              ? "as before the save"
              : "not as before the save; 'tovocfg doctor' tells where its content from before is") +
         (problem.empty() ? std::string() : "; it cannot be written: " + problem);
}

// Leaves the files alone where a save would write "Not found" over values.
void RefuseToLose(const LossesOfSaving& losses, const Whereabouts& where) {
  if (losses.unread == nullptr) return;
  const Option& option = *losses.unread;
  throw Stop{ExitCode::kLibraryError,
             (option.local_ini ? where.local_ini : where.global_ini) +
                 " could not be read when the options were loaded: " + Title(option) +
                 " has a value there and looks as if it were not set. A save would write \"Not "
                 "found\" over it. Close the program that has the file open and try again.",
             {},
             "Nothing was saved."};
}

// Why nothing was saved, and in which state the files are.
Stop NotSaved(const SaveOutcome& outcome, const std::vector<FileBefore>& before) {
  Stop stop{ExitCode::kLibraryError, {}, outcome.errors, "Nothing was saved. The INI files:"};
  if (outcome.errors.empty())
    stop.text =
        "the library could not write a value or finish what goes with it; see whether both INI "
        "files can be written, and with 'tovocfg check' whether the tables are sound";
  for (const FileBefore& file : before) stop.consequence += "\n" + file.path + ": " + StateOf(file);
  return stop;
}

void TellSaved(const Request& request, const Session& session, const std::vector<Change>& changes,
               const Saving& saving) {
  if (request.json) {
    std::cout << SavingToJson(changes, session.where(), saving);
    return;
  }
  std::cout << "Saved " << saving.saved << (saving.saved == 1 ? " option" : " options")
            << ". Previous files:\n";
  for (const std::string& file : saving.previous_files) std::cout << "  " << file << "\n";
  for (const NamedOption& option : saving.shortened)
    std::cout << option.section << " / " << option.key << " (" << option.file
              << "): the value was longer than " << kValueCharacters
              << " characters; its end is in the previous file only.\n";
}

ExitCode SaveChanges(Session& session, const Request& request, const std::vector<Change>& changes,
                     Saving saving) {
  if (request.json)
    session.library().OnStatus(
        [&saving](const std::string& text) { saving.status.push_back(text); });
  const std::vector<FileBefore> before = FilesBefore(session.where());
  const LossesOfSaving losses = session.Losses();
  RefuseToLose(losses, session.where());
  for (const Option* option : losses.shortened) {
    const bool is_set = std::any_of(changes.begin(), changes.end(),
                                    [option](const Change& c) { return c.option == option; });
    if (!is_set) saving.shortened.push_back({option->section, option->key, FileWord(*option)});
  }
  for (const Change& change : changes)
    session.library().SetNewValue(change.option->id, change.new_value);
  const SaveOutcome outcome = session.library().Save();
  if (!outcome.saved) throw NotSaved(outcome, before);
  for (const FileBefore& file : before) saving.previous_files.push_back(PreviousFile(file.path));
  TellSaved(request, session, changes, saving);
  if (outcome.reload_error) {
    throw Stop{
        ExitCode::kLibraryError, "reading the options again failed:", {*outcome.reload_error}};
  }
  const std::string differences = Differences(session, changes);
  if (!differences.empty()) throw Stop{ExitCode::kLibraryError, differences};
  if (!outcome.modified_told)
    throw Stop{ExitCode::kLibraryError, "the event Modified did not come"};
  return ExitCode::kOk;
}

}  // namespace

Surroundings SurroundingsOf(const Session& session) {
  std::vector<std::string> codes;
  for (const Layout& layout : session.library().Layouts()) codes.push_back(layout.code);
  return {codes, FitsSystemCodePage, DataFolderProblem};
}

ExitCode SaveOrTell(Session& session, const Request& request, const std::vector<Change>& changes,
                    Saving saving, const std::string& already) {
  if (!request.json)
    for (const Change& change : changes) std::cout << FormatChange(change, request.output);
  saving.dry_run = request.dry_run;
  const auto changed = static_cast<std::size_t>(
      std::count_if(changes.begin(), changes.end(), [](const Change& c) { return c.IsChange(); }));
  if (!request.dry_run && changed != 0) {
    saving.saved = changed;
    return SaveChanges(session, request, changes, saving);
  }
  if (request.json)
    std::cout << SavingToJson(changes, session.where(), saving);
  else
    std::cout << (request.dry_run ? "Dry run: nothing was saved.\n" : already);
  return ExitCode::kOk;
}

}  // namespace tovocfg
