#include "tovocfg/commands.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tovocfg/checks.h"
#include "tovocfg/comment_commands.h"
#include "tovocfg/definition_commands.h"
#include "tovocfg/diff_command.h"
#include "tovocfg/export_command.h"
#include "tovocfg/import_command.h"
#include "tovocfg/library.h"
#include "tovocfg/output.h"
#include "tovocfg/report_commands.h"
#include "tovocfg/saving.h"
#include "tovocfg/selection.h"
#include "tovocfg/session.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

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
  const Surroundings surroundings = SurroundingsOf(session);
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
    if (!checked.accepted()) refusals += RefusalLines(option, checked);
  }
  if (!refusals.empty()) throw Stop{ExitCode::kValueRefused, refusals + "Nothing was saved."};
  return changes;
}

ExitCode Set(const Request& request) {
  Session session(request);
  const std::vector<Change> changes = CheckedChanges(session, request);
  return SaveOrTell(session, request, changes, {},
                    "Every option has this value already; nothing was saved.\n");
}

// Tells why a command ended without its result.
ExitCode Ended(const Request& request, Stop stop) {
  // Exit code 1 of diff means differences.
  if (request.command == Command::kDiff) stop.exit_code = ExitCode::kNotCompared;
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
    case Command::kExport:
      return Export(request);
    case Command::kImport:
      return Import(request);
    case Command::kDiff:
      return Diff(request);
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
