#include "tovocfg/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace tovocfg {

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 error reported by the library, 2 wrong arguments, 3 value refused,\n"
    "4 no such option, 5 data folder or INI file not found, 6 library not found.\n"
    "'tovocfg COMMAND --help' explains a command and gives an example.";

// The parser takes a word in square brackets for a list and splits it at its commas, and swallows
// two plus signs as the end of a command. A character that nobody types keeps such words as they
// are until they have passed it.
constexpr char kGuard = '\x01';

void GuardWords(std::vector<std::string>& arguments) {
  for (std::string& argument : arguments)
    if (argument == "++" || argument.starts_with('[')) argument.insert(argument.begin(), kGuard);
}

void RemoveGuards(std::string& text) { std::erase(text, kGuard); }

void RemoveGuards(Request& request) {
  RemoveGuards(request.data_folder);
  RemoveGuards(request.ini_file);
  RemoveGuards(request.library_file);
  RemoveGuards(request.section);
  RemoveGuards(request.table);
  RemoveGuards(request.layout);
  for (std::string& word : request.words) RemoveGuards(word);
}

bool MeansHelp(const std::string& word) { return word == "/?" || word == "-?"; }

// Other ways to ask for help, as the parser knows it. Behind a command they count only where they
// are all there is: in a change they are a value.
void SpellHelp(std::vector<std::string>& arguments) {
  if (arguments.empty()) return;
  if (arguments.front() == "help") {
    arguments.erase(arguments.begin());
    arguments.emplace_back("--help");
  } else if (arguments.size() <= 2 && MeansHelp(arguments.back())) {
    arguments.back() = "--help";
  }
}

void AddScope(CLI::App& command, Request& request) {
  command.add_flag("--local", request.local_only, "Only options of the local file");
  command.add_flag("--global", request.global_only, "Only options of the global file");
}

void AddList(CLI::App& app, Request& request) {
  CLI::App* list = app.add_subcommand("list", "Shows the options as a table");
  list->add_option("--section,section", request.section, "Only the options of one section")
      ->type_name("NAME");
  list->add_flag("--json", request.json, "Writes JSON with every property, values exactly");
  AddScope(*list, request);
  list->group("Commands");
  list->footer(
      "Example:\n"
      "  tovocfg list --section Tax\n\n"
      "A key that its file does not hold reads (not set); in JSON it reads \"Not found\".");
}

void AddGet(CLI::App& app, Request& request) {
  CLI::App* get = app.add_subcommand("get", "Shows one option with all that is known about it");
  get->add_option("option", request.words, "SECTION KEY, or the option's ID")
      ->required()
      ->type_name("WORDS")
      ->expected(1, 2);
  get->add_flag("--json", request.json, "Writes JSON with every property, values exactly");
  AddScope(*get, request);
  get->group("Commands");
  get->footer(
      "Examples:\n"
      "  tovocfg get Tax Rate1\n"
      "  tovocfg get 6DE00E4F-8055-4487-917F-E3B3DE57253A --json");
}

void AddSet(CLI::App& app, Request& request) {
  CLI::App* set = app.add_subcommand("set", "Checks new values and saves them together");
  set->add_option("changes", request.words, "SECTION KEY VALUE, as often as there are changes")
      ->required()
      ->type_name("WORDS");
  set->add_flag("--dry-run", request.dry_run, "Checks and shows the changes, saves nothing");
  AddScope(*set, request);
  set->group("Commands");
  set->footer(
      "Examples:\n"
      "  tovocfg set Tax Rate1 5.125 Invoices DueDays 14\n"
      "  tovocfg set Windows ColourScheme Night --dry-run\n"
      "  tovocfg set -- WorkOrders Terms3 --none--\n\n"
      "A choice may be given by its value or by its description. Nothing is saved when any\n"
      "value is refused. Write -- before words that begin with a hyphen; numbers need none.\n"
      "The previous files are kept beside the new ones with the ending .old.");
}

void AddReports(CLI::App& app, Request& request) {
  CLI::App* reports = app.add_subcommand("reports", "Shows the invoice layouts, or chooses one");
  reports->add_flag("--json", request.json, "Writes JSON");
  reports->require_subcommand(0, 1);
  reports->group("Commands");
  reports->footer(
      "Examples:\n"
      "  tovocfg reports\n"
      "  tovocfg reports use INV2 --hide-prices\n\n"
      "The layout in use is marked with a star.");
  CLI::App* use = reports->add_subcommand("use", "Makes a layout the one in use");
  use->add_option("layout", request.layout, "Its code or its name")
      ->required()
      ->type_name("LAYOUT");
  use->add_flag("--hide-prices", request.hide_prices,
                "Chooses the form of the layout without prices");
  use->footer(
      "Example:\n"
      "  tovocfg reports use INV2\n\n"
      "The choice is written into section InvoiceControl of the local INI file at once.");
}

void AddWhere(CLI::App& app, Request& request) {
  CLI::App* where =
      app.add_subcommand("where", "Shows which files, library and table access are in use");
  where->add_flag("--json", request.json, "Writes JSON");
  where->group("Commands");
  where->footer(
      "Example:\n"
      "  tovocfg where --ini C:\\SHOP\\TOVO.INI");
}

void AddCheck(CLI::App& app, Request& request) {
  CLI::App* check = app.add_subcommand("check", "Verifies the tables of the data folder");
  check->add_option("table", request.table, "Only this table")->type_name("TABLE");
  check->group("Commands");
  check->footer(
      "Examples:\n"
      "  tovocfg check\n"
      "  tovocfg check Numbers --data C:\\SHOP\\DATA\n\n"
      "Rows, memo values and index keys must agree with each other. Files are only read, and\n"
      "others may go on working. Exit codes: 0 all well, 1 problems found, 2 not (all) checked.");
}

ParsedArguments Refused(std::string text) {
  ParsedArguments parsed;
  parsed.exit_code = ExitCode::kUsage;
  parsed.text = std::move(text);
  return parsed;
}

ParsedArguments Checked(const CLI::App& app, Request request) {
  if (app.got_subcommand("list")) request.command = Command::kList;
  if (app.got_subcommand("get")) request.command = Command::kGet;
  if (app.got_subcommand("set")) request.command = Command::kSet;
  if (app.got_subcommand("reports")) {
    const bool use = app.get_subcommand("reports")->got_subcommand("use");
    request.command = use ? Command::kUseReport : Command::kReports;
    if (use && request.layout.empty())
      return Refused("reports use: name the layout by its code or its name");
  }
  if (app.got_subcommand("where")) request.command = Command::kWhere;
  if (app.got_subcommand("check")) request.command = Command::kCheck;
  if (request.command == Command::kNone)
    return Refused("name a command: list, get, set, reports, where or check; --help explains them");
  if (request.local_only && request.global_only)
    return Refused("--local and --global exclude each other");
  const std::size_t words = request.words.size();
  if (request.command == Command::kGet && words == 0)
    return Refused("get: name the option by SECTION KEY or by its ID, for example: get Tax Rate1");
  if (request.command == Command::kSet && (words == 0 || words % 3 != 0)) {
    return Refused(
        "set: changes are given as SECTION KEY VALUE, three words each; found " +
        (words == 0 ? "none" : std::to_string(words) + (words == 1 ? " word" : " words")) +
        ".\nPut a value with blanks in quotation marks.");
  }
  ParsedArguments parsed;
  parsed.request = std::move(request);
  return parsed;
}

// What the parser raised, in words of this program where its own do not help.
ParsedArguments Ended(const CLI::App& app, const CLI::ParseError& error, const Request& request) {
  // No words behind get or set: the checks tell what belongs there.
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError))
    return Checked(app, request);
  std::ostringstream out;
  std::ostringstream problems;
  ParsedArguments parsed;
  if (app.exit(error, out, problems) == 0) {
    parsed.text = out.str();
    return parsed;
  }
  const std::vector<std::string> left = app.remaining();
  if (app.get_subcommands().empty() && !left.empty() && !left.front().starts_with('-'))
    return Refused("there is no command " + left.front() +
                   "; use list, get, set, reports, where or check; --help explains them");
  return Refused(problems.str());
}

}  // namespace

ParsedArguments ParseArguments(std::vector<std::string> arguments) {
  Request request;
  CLI::App app("Shows and changes the configuration options of the Tovo suite.", "tovocfg");
  app.set_version_flag("--version", std::string("tovocfg ") + TOVOCFG_VERSION,
                       "Shows the program's version");
  // On Windows the parser would take a value such as /h for an option. Commands inherit this.
  app.allow_windows_style_options(false);
  app.require_subcommand(0, 1);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.fallthrough();
  app.footer(kFooter);
  app.add_option("--data", request.data_folder,
                 "Data folder, instead of the one the local INI file names")
      ->type_name("FOLDER");
  app.add_option("--ini", request.ini_file, "Local INI file, instead of TOVO.INI")
      ->type_name("FILE");
  app.add_option("--library", request.library_file,
                 "tdefault.dll to load, instead of the registered one")
      ->type_name("FILE");
  AddList(app, request);
  AddGet(app, request);
  AddSet(app, request);
  AddReports(app, request);
  AddWhere(app, request);
  AddCheck(app, request);
  SpellHelp(arguments);
  GuardWords(arguments);
  try {
    // The parser takes the arguments from the back.
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    ParsedArguments parsed = Ended(app, error, request);
    RemoveGuards(parsed.text);
    return parsed;
  }
  RemoveGuards(request);
  return Checked(app, std::move(request));
}

}  // namespace tovocfg
