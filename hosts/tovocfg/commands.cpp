#include "tovocfg/commands.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tovocfg/checks.h"
#include "tovocfg/comment_commands.h"
#include "tovocfg/definition_commands.h"
#include "tovocfg/library.h"
#include "tovocfg/output.h"
#include "tovocfg/paths.h"
#include "tovocfg/report_commands.h"
#include "tovocfg/selection.h"
#include "tovocfg/session.h"
#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

std::string DataFolderProblem(const std::string& path) {
  if (!IsFolder(path)) return "there is no folder " + path;
  return IsFile(path + "\\defaults.dbf") ? std::string() : path + " holds no defaults.dbf";
}

ExitCode List(const Request& request) {
  const Session session(request);
  const std::vector<const Option*> chosen =
      OptionsOf(session.options(), request.section, ScopeOf(request));
  if (chosen.empty() && !request.section.empty())
    throw Stop{ExitCode::kOptionNotFound, NoSuchSection(session.options(), request.section)};
  std::cout << (request.json ? OptionsToJson(chosen, session.where()) : FormatTable(chosen));
  return ExitCode::kOk;
}

ExitCode Get(const Request& request) {
  const Session session(request);
  const Option& option = session.Named(request);
  std::cout << (request.json ? OptionToJson(option, session.where())
                             : FormatDetails(option, session.where()));
  return ExitCode::kOk;
}

ExitCode Where(const Request& request) {
  const auto library = OpenLibrary(request);
  Locate(*library, request);
  const Whereabouts where = WhereaboutsOf(*library);
  std::cout << (request.json ? WhereaboutsToJson(where) : FormatWhereabouts(where));
  return where.data_folder_exists ? ExitCode::kOk : ExitCode::kFolderNotFound;
}

// The changes that were asked for. Throws Stop when any value is refused; all refusals are told.
std::vector<Change> CheckedChanges(Session& session, const Request& request) {
  std::vector<std::string> codes;
  for (const Layout& layout : session.library().Layouts()) codes.push_back(layout.code);
  const Surroundings surroundings{codes, FitsSystemCodePage, DataFolderProblem};
  std::vector<Change> changes;
  std::string refusals;
  for (std::size_t word = 0; word + 2 < request.words.size(); word += 3) {
    const Option& option = session.Find(request.words[word], request.words[word + 1], request);
    const auto same_option = [&](const Change& change) { return change.option == &option; };
    if (std::any_of(changes.begin(), changes.end(), same_option))
      throw Stop{ExitCode::kUsage, Title(option) + " is given twice"};
    // The library leaves out the options of a file that it does not find.
    if (option.local_ini && session.where().local_ini.empty()) {
      throw Stop{ExitCode::kFolderNotFound,
                 Title(option) +
                     " belongs to the local file, but there is no TOVO.INI on the "
                     "search path; name one with --ini\nNothing was saved."};
    }
    const CheckedValue checked = CheckValue(option, request.words[word + 2], surroundings);
    changes.push_back({&option, checked.value});
    if (!checked.accepted())
      refusals.append(Title(option)).append(": ").append(checked.refusal).append("\n");
  }
  if (!refusals.empty()) throw Stop{ExitCode::kValueRefused, refusals + "Nothing was saved."};
  return changes;
}

// The name that Save gives the previous version of a file.
std::string PreviousFile(const std::string& file) {
  return file.substr(0, file.size() - 3) + "old";
}

// A font's value is spread over several keys, so it reads back as its first part.
std::string ReadBack(const Change& change) {
  if (change.option->type != KeyType::kFont) return change.new_value;
  return change.new_value.substr(0, change.new_value.find('|'));
}

// What the options read now, after the save, where that is not what was set. Options that a change
// of the data folder or of the site has led to another file or key tell nothing about the save.
std::string Differences(const Session& session, const std::vector<Change>& changes) {
  std::string differences;
  const std::vector<Option> now = session.library().Options();
  const bool same_folder = SameText(session.library().DataPath(), session.where().data_folder);
  for (const Change& change : changes) {
    const Option* option = FindById(now, change.option->id).option;
    if (option == nullptr || !SameText(option->key, change.option->key)) continue;
    if (!option->local_ini && !same_folder) continue;
    if (!SameText(option->current_value, ReadBack(change)))
      differences += Title(*option) + " reads \"" + option->current_value + "\" after the save\n";
  }
  return differences;
}

// Why nothing was saved.
Stop NotSaved(const SaveOutcome& outcome) {
  Stop stop{ExitCode::kLibraryError,
            {},
            outcome.errors,
            "Nothing was saved; the INI files are as before."};
  if (outcome.errors.empty())
    stop.text = "the library could not write a value or finish what goes with it";
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
}

ExitCode SaveChanges(Session& session, const Request& request, const std::vector<Change>& changes,
                     Saving saving) {
  if (request.json)
    session.library().OnStatus(
        [&saving](const std::string& text) { saving.status.push_back(text); });
  for (const Change& change : changes)
    session.library().SetNewValue(change.option->id, change.new_value);
  const SaveOutcome outcome = session.library().Save();
  if (!outcome.saved) throw NotSaved(outcome);
  if (!session.where().local_ini.empty())
    saving.previous_files.push_back(PreviousFile(session.where().local_ini));
  saving.previous_files.push_back(PreviousFile(session.where().global_ini));
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

ExitCode Set(const Request& request) {
  Session session(request);
  const std::vector<Change> changes = CheckedChanges(session, request);
  if (!request.json)
    for (const Change& change : changes) std::cout << FormatChange(change, request.output);
  Saving saving;
  saving.dry_run = request.dry_run;
  const auto changed = static_cast<std::size_t>(
      std::count_if(changes.begin(), changes.end(), [](const Change& c) { return c.IsChange(); }));
  if (!request.dry_run && changed != 0) {
    saving.saved = changed;
    return SaveChanges(session, request, changes, saving);
  }
  if (request.json) {
    std::cout << SavingToJson(changes, session.where(), saving);
  } else {
    std::cout << (request.dry_run ? "Dry run: nothing was saved.\n"
                                  : "Every option has this value already; nothing was saved.\n");
  }
  return ExitCode::kOk;
}

// Tells why a command ended without its result.
ExitCode Ended(const Request& request, const Stop& stop) {
  std::cout << std::flush;
  std::cerr << (request.json ? StopToJson(stop, NameOf(request.command))
                             : FormatStop(stop, request.errors));
  return stop.exit_code;
}

ExitCode RunCommand(const Request& request) {
  switch (request.command) {
    case Command::kList:
      return List(request);
    case Command::kGet:
      return Get(request);
    case Command::kSet:
      return Set(request);
    case Command::kExists:
      return Exists(request);
    case Command::kDelete:
      return Delete(request);
    case Command::kDisable:
      return Disable(request);
    case Command::kComment:
      return CommentFiles(request);
    case Command::kUncomment:
      return UncommentFiles(request);
    case Command::kReports:
      return ListReports(request);
    case Command::kUseReport:
      return UseReport(request);
    case Command::kWhere:
      return Where(request);
    case Command::kCheck:
    case Command::kDoctor:
    case Command::kNone:
      break;
  }
  return ExitCode::kUsage;
}

}  // namespace

ExitCode Run(const Request& request) {
  try {
    return RunCommand(request);
  } catch (const Stop& stop) {
    return Ended(request, stop);
  } catch (const LibraryError& error) {
    return Ended(request, Stop{ExitCode::kLibraryError, {}, {error.report()}});
  }
}

}  // namespace tovocfg
