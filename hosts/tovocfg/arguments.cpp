#include "tovocfg/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

#include "tovocfg/suggestion.h"

namespace tovocfg {

namespace {

constexpr const char* kFooter =
    "First steps:\n"
    "  tovocfg where                    which files are in use\n"
    "  tovocfg doctor                   is anything wrong, and what to do about it\n"
    "  tovocfg list                     all options; list Tax: those of one section\n"
    "  tovocfg get Tax Rate1            what is known about one option\n"
    "  tovocfg set Tax Rate1 5.125 --dry-run\n"
    "                                   shows a change; without --dry-run it is saved\n\n"
    "'tovocfg COMMAND --help' explains a command and gives an example.\n"
    "Exit codes: 0 done, 1 error reported by the library, 2 wrong arguments, 3 value refused,\n"
    "4 no such option, 5 data folder or INI file not found, 6 library not found; of check and\n"
    "doctor: 0 all well, 1 problems found, 2 not (all) checked; of diff: 0 the same,\n"
    "1 differences, 2 not compared.";

constexpr std::array<std::pair<const char*, Command>, 15> kCommands = {
    {{"list", Command::kList},
     {"get", Command::kGet},
     {"set", Command::kSet},
     {"export", Command::kExport},
     {"import", Command::kImport},
     {"diff", Command::kDiff},
     {"exists", Command::kExists},
     {"delete", Command::kDelete},
     {"comment", Command::kComment},
     {"uncomment", Command::kUncomment},
     {"disable", Command::kDisable},
     {"reports", Command::kReports},
     {"where", Command::kWhere},
     {"check", Command::kCheck},
     {"doctor", Command::kDoctor}}};

// "list, get ... or check".
std::string CommandNames() {
  std::string names;
  for (std::size_t i = 0; i < kCommands.size(); ++i) {
    if (i > 0) names += i + 1 == kCommands.size() ? " or " : ", ";
    names += kCommands[i].first;
  }
  return names;
}

// The parser takes a word in square brackets for a list and splits it at its commas, and swallows
// two plus signs as the end of a command. A character that nobody types keeps such words as they
// are until they have passed it.
constexpr char kGuard = '\x01';

void GuardWords(std::vector<std::string>& arguments) {
  for (std::string& argument : arguments)
    if (argument == "++" || argument.starts_with('[')) argument.insert(argument.begin(), kGuard);
}

// As far as that can be told of a command line that cannot be understood.
bool AsksForJson(const std::vector<std::string>& arguments) {
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  return std::find(arguments.begin(), end, "--json") != end;
}

void RemoveGuards(std::string& text) { std::erase(text, kGuard); }

void RemoveGuards(Request& request) {
  RemoveGuards(request.data_folder);
  RemoveGuards(request.ini_file);
  RemoveGuards(request.library_file);
  RemoveGuards(request.section);
  RemoveGuards(request.table);
  RemoveGuards(request.layout);
  RemoveGuards(request.file);
  RemoveGuards(request.with_data);
  RemoveGuards(request.with_ini);
  if (request.comment) RemoveGuards(*request.comment);
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

void AddJson(CLI::App& command, Request& request) {
  command.add_flag("--json", request.json, "Writes JSON for programs, values exactly");
}

void AddScope(CLI::App& command, Request& request) {
  command.add_flag("--local", request.local_only, "Only options of the local file");
  command.add_flag("--global", request.global_only, "Only options of the global file");
}

void AddList(CLI::App& app, Request& request) {
  CLI::App* list = app.add_subcommand("list", "Shows the options as a table");
  list->add_option("--section,section", request.section, "Only the options of one section")
      ->type_name("NAME");
  AddJson(*list, request);
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
      ->type_name("WORDS");
  AddJson(*get, request);
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
  AddJson(*set, request);
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

void AddSection(CLI::App& command, Request& request) {
  command.add_option("--section", request.section, "Only the options of one section")
      ->type_name("NAME");
  AddScope(command, request);
}

void AddExchange(CLI::App& app, Request& request) {
  CLI::App* write = app.add_subcommand("export", "Writes the values of options as JSON");
  write->add_option("file", request.file, "File to write; standard output without it, or with -")
      ->type_name("FILE");
  AddJson(*write, request);
  write->add_flag("--force", request.force, "Replaces the file if it exists");
  AddSection(*write, request);
  write->group("Commands");
  write->footer(
      "Examples:\n"
      "  tovocfg export C:\\SAVED\\shop.json\n"
      "  tovocfg export --section Tax\n\n"
      "The file is for 'import' and 'diff', and stays the same but for its time while the options\n"
      "do. A key that its INI file does not hold is null.");
  CLI::App* read = app.add_subcommand("import", "Checks and saves the values of an export");
  read->add_option("file", request.file, "The export; - reads it from standard input")
      ->required()
      ->type_name("FILE");
  AddJson(*read, request);
  read->add_flag("--dry-run", request.dry_run, "Checks and shows the changes, saves nothing");
  read->add_flag("--skip-unknown", request.skip_unknown, "Leaves out options unknown here");
  AddSection(*read, request);
  read->group("Commands");
  read->footer(
      "Examples:\n"
      "  tovocfg import C:\\SAVED\\shop.json --dry-run\n"
      "  tovocfg import C:\\SAVED\\shop.json --global\n"
      "  type C:\\SAVED\\shop.json | tovocfg import -\n\n"
      "Everything is checked first, and nothing is saved when any value is refused. Options that\n"
      "the file does not name, or names with null, stay as they are. Options are found by file,\n"
      "section and key; those of each site by the key of the site here.");
  CLI::App* diff = app.add_subcommand("diff", "Compares values with defaults or those elsewhere");
  diff->add_option("file", request.file,
                   "An export to compare with; - reads it from standard input")
      ->type_name("FILE");
  diff->add_flag("--defaults", request.defaults,
                 "Compares with the defaults, as without any of these");
  diff->add_option("--with-data", request.with_data, "Compares with another data folder")
      ->type_name("FOLDER");
  diff->add_option("--with-ini", request.with_ini, "Compares with another local INI file")
      ->type_name("FILE");
  AddJson(*diff, request);
  AddSection(*diff, request);
  diff->group("Commands");
  diff->footer(
      "Examples:\n"
      "  tovocfg diff --section Tax\n"
      "  tovocfg diff C:\\SAVED\\shop.json\n"
      "  tovocfg diff --with-data D:\\OTHER\\DATA --with-ini D:\\OTHER\\TOVO.INI\n\n"
      "Numbers are compared by their value, yes/no values by their truth. Exit codes: 0 the same,\n"
      "1 differences, 2 not compared (wrong arguments, no such file or folder, any error).");
}

void AddOptionName(CLI::App& command, Request& request) {
  command.add_option("option", request.words, "SECTION KEY, or the option's ID")
      ->required()
      ->type_name("WORDS");
  AddJson(command, request);
  AddScope(command, request);
}

void AddDefinitions(CLI::App& app, Request& request) {
  CLI::App* exists = app.add_subcommand("exists", "Tells whether there is a definition");
  exists->add_option("key", request.words, "SECTION KEY, as the table DEFAULTS has them")
      ->required()
      ->type_name("WORDS");
  AddJson(*exists, request);
  AddScope(*exists, request);
  exists->group("Commands");
  exists->footer(
      "Example:\n"
      "  tovocfg exists Tax Rate1\n\n"
      "Shows file and ID of each. Exit code 4 when there is none.");
  CLI::App* remove = app.add_subcommand("delete", "Deletes an option's definition and its key");
  AddOptionName(*remove, request);
  remove->add_flag("--dry-run", request.dry_run, "Shows what would be deleted");
  remove->group("Commands");
  remove->footer(
      "Example:\n"
      "  tovocfg delete ShopSupplies Percent --dry-run\n\n"
      "The definition goes for all sites; key and comment go from the INI file in use here. The\n"
      "last key of a section takes its section along.");
}

void AddComments(CLI::App& app, Request& request) {
  CLI::App* comment = app.add_subcommand("comment", "Writes what options mean into INI files");
  comment->add_option("file", request.file, "INI file, instead of both that are in use")
      ->type_name("FILE");
  AddJson(*comment, request);
  AddScope(*comment, request);
  comment->group("Commands");
  comment->footer(
      "Example:\n"
      "  tovocfg comment --local\n\n"
      "Above each key stands its definition's comment then. Lines that are neither section, key\n"
      "nor comment are dropped.");
  CLI::App* uncomment = app.add_subcommand("uncomment", "Removes comments from INI files");
  uncomment->add_option("file", request.file, "INI file, instead of both that are in use")
      ->type_name("FILE");
  uncomment->add_flag("--all", request.all_comments, "Every comment, disabled keys included");
  uncomment->add_option("--text", request.comment, "Only comments of exactly this text")
      ->type_name("TEXT");
  AddJson(*uncomment, request);
  AddScope(*uncomment, request);
  uncomment->group("Commands");
  uncomment->footer(
      "Examples:\n"
      "  tovocfg uncomment --text \"First tax rate.\"\n"
      "  tovocfg uncomment C:\\SHOP\\TOVO.INI --all");
  CLI::App* disable = app.add_subcommand("disable", "Makes a comment of an option's key");
  AddOptionName(*disable, request);
  disable->group("Commands");
  disable->footer(
      "Example:\n"
      "  tovocfg disable Tax Rate2\n\n"
      "The line stays in the file behind a semicolon, below one that says who did it and when.");
}

void AddReports(CLI::App& app, Request& request) {
  CLI::App* reports = app.add_subcommand("reports", "Shows the invoice layouts, or chooses one");
  AddJson(*reports, request);
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
  AddJson(*use, request);
  use->footer(
      "Example:\n"
      "  tovocfg reports use INV2\n\n"
      "The choice is written into section InvoiceControl of the local INI file at once.");
}

void AddWhere(CLI::App& app, Request& request) {
  CLI::App* where =
      app.add_subcommand("where", "Shows which files, library and table access are in use");
  AddJson(*where, request);
  where->group("Commands");
  where->footer(
      "Example:\n"
      "  tovocfg where --ini C:\\SHOP\\TOVO.INI");
}

void AddCheck(CLI::App& app, Request& request) {
  CLI::App* check = app.add_subcommand("check", "Verifies the tables of the data folder");
  check->add_option("table", request.table, "Only this table")->type_name("TABLE");
  AddJson(*check, request);
  check->group("Commands");
  check->footer(
      "Examples:\n"
      "  tovocfg check\n"
      "  tovocfg check Numbers --data C:\\SHOP\\DATA\n\n"
      "Rows, memo values and index keys must agree with each other. Files are only read, and\n"
      "others may go on working. Exit codes: 0 all well, 1 problems found, 2 not (all) checked.");
}

void AddDoctor(CLI::App& app, Request& request) {
  CLI::App* doctor =
      app.add_subcommand("doctor", "Tells what is wrong with files and folders, and what to do");
  AddJson(*doctor, request);
  doctor->group("Commands");
  doctor->footer(
      "Examples:\n"
      "  tovocfg doctor\n"
      "  tovocfg doctor --ini C:\\SHOP\\WORKSTATION\\TOVO.INI\n\n"
      "Looks at the INI files, the data folder, its tables, the library, who may write, and what\n"
      "an interrupted save has left. Each line is ok, a warning, a problem, or not checked, with\n"
      "what to do below it. Nothing is changed. Exit codes: 0 all well (warnings included),\n"
      "1 problems found, 2 not (all) checked.");
}

// What the parser's help of a command leaves out: the options of the program.
void AddGeneralFooter(CLI::App& command) {
  command.footer(command.get_footer() +
                 "\n\n--ini FILE, --data FOLDER, --library FILE and --colour WHEN go with every "
                 "command:\nsee 'tovocfg --help'.");
  for (CLI::App* inner : command.get_subcommands({})) AddGeneralFooter(*inner);
}

// Absent for a word that is none of the wishes.
std::optional<ColourWish> ColourWishOf(const std::string& word) {
  if (word == "auto") return ColourWish::kAuto;
  if (word == "always") return ColourWish::kAlways;
  if (word == "never") return ColourWish::kNever;
  return std::nullopt;
}

ParsedArguments Refused(std::string text) {
  ParsedArguments parsed;
  parsed.exit_code = ExitCode::kUsage;
  parsed.text = std::move(text);
  return parsed;
}

Command CommandOf(const CLI::App& app) {
  for (const auto& [name, command] : kCommands)
    if (app.got_subcommand(name)) return command;
  return Command::kNone;
}

std::string TooManyWords(const std::string& command, std::size_t words) {
  return command + ": name one option by SECTION KEY or by its ID; found " + std::to_string(words) +
         " words.\nPut a name with blanks in quotation marks.";
}

// How many of the things that can be compared with are named.
int KindsOfComparison(const Request& request) {
  const bool elsewhere = !request.with_data.empty() || !request.with_ini.empty();
  return (request.file.empty() ? 0 : 1) + (request.defaults ? 1 : 0) + (elsewhere ? 1 : 0);
}

// What the words of a command lack; empty when nothing does.
std::string WhatIsMissing(const Request& request) {
  const std::size_t words = request.words.size();
  switch (request.command) {
    case Command::kGet:
      if (words == 0)
        return "get: name the option by SECTION KEY or by its ID, for example: get Tax Rate1";
      if (words > 2) return TooManyWords("get", words);
      break;
    case Command::kSet:
      if (words == 0 || words % 3 != 0)
        return "set: changes are given as SECTION KEY VALUE, three words each; found " +
               (words == 0 ? "none" : std::to_string(words) + (words == 1 ? " word" : " words")) +
               ".\nPut a value with blanks in quotation marks.";
      break;
    case Command::kExists:
      if (words > 2) return TooManyWords("exists", words);
      if (words != 2)
        return "exists: name the definition by SECTION KEY, for example: exists Tax Rate1";
      break;
    case Command::kDelete:
    case Command::kDisable:
      if (words == 0) return "name the option by SECTION KEY or by its ID";
      if (words > 2) return TooManyWords(NameOf(request.command), words);
      break;
    case Command::kUncomment:
      if (request.all_comments == request.comment.has_value())
        return "uncomment: say either --all, for every comment, or --text, for those of one text";
      break;
    case Command::kUseReport:
      if (request.layout.empty()) return "reports use: name the layout by its code or its name";
      break;
    case Command::kImport:
      if (request.file.empty())
        return "import: name the file that 'tovocfg export' wrote, for example: import shop.json";
      break;
    case Command::kDiff:
      if (KindsOfComparison(request) > 1)
        return "diff: compare with one thing: a file, --defaults, or --with-data and --with-ini";
      break;
    default:
      break;
  }
  return {};
}

ParsedArguments Checked(const CLI::App& app, Request request) {
  request.command = CommandOf(app);
  if (request.command == Command::kNone)
    return Refused("name a command: " + CommandNames() + "; --help explains them");
  if (request.command == Command::kReports && app.get_subcommand("reports")->got_subcommand("use"))
    request.command = Command::kUseReport;
  if (request.local_only && request.global_only)
    return Refused("--local and --global exclude each other");
  if (const std::string missing = WhatIsMissing(request); !missing.empty()) return Refused(missing);
  ParsedArguments parsed;
  parsed.request = std::move(request);
  return parsed;
}

// "; did you mean list?"; empty when none of the candidates is close.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string meant = Closest(word, candidates);
  return meant.empty() ? std::string() : "; did you mean " + meant + "?";
}

std::string NoSuchCommand(const std::string& word) {
  std::vector<std::string> names;
  names.reserve(kCommands.size());
  for (const auto& [name, command] : kCommands) names.emplace_back(name);
  const std::string meant = DidYouMean(word, names);
  return "there is no command " + word +
         (meant.empty() ? "; use " + CommandNames() + "; --help explains them"
                        : meant + " 'tovocfg --help' explains the commands");
}

// The options of a command with their hyphens, and those of the program.
std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent())
    for (const CLI::Option* option : app->get_options())
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

// Why there is no place for a word of the command line.
std::string NotExpected(const CLI::App& app, const std::string& word) {
  const bool is_option = word.size() > 1 && word.starts_with('-');
  const CLI::App* command = &app;
  std::string name;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    name += (name.empty() ? "" : " ") + command->get_name();
  }
  if (name.empty() && !is_option) return NoSuchCommand(word);
  const std::string& program = app.get_name();
  const std::string help =
      "'" + program + (name.empty() ? "" : " " + name) + " --help' lists what it takes";
  const bool takes_values = name == "set" || name == "get";
  if (name.empty()) name = program;
  if (!is_option)
    return name + ": there is one word too many, " + word + "; " + help +
           ".\nPut a name with blanks in quotation marks.";
  const std::string meant = DidYouMean(word.substr(0, word.find('=')), OptionNames(*command));
  return name + ": there is no option " + word + (meant.empty() ? "; " : meant + " ") + help + "." +
         (takes_values ? "\nWhere it is a name or a value, write -- in front of SECTION." : "");
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
  const std::vector<std::string> left = app.remaining(true);
  return Refused(left.empty() ? problems.str() : NotExpected(app, left.front()));
}

}  // namespace

std::string NameOf(Command command) {
  if (command == Command::kUseReport) return "reports use";
  for (const auto& [name, known] : kCommands)
    if (known == command) return name;
  return {};
}

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
  std::string colour = "auto";
  app.add_option("--colour,--color", colour,
                 "auto (on a terminal, unless NO_COLOR is set), always or never")
      ->type_name("WHEN");
  AddList(app, request);
  AddGet(app, request);
  AddSet(app, request);
  AddExchange(app, request);
  AddDefinitions(app, request);
  AddComments(app, request);
  AddReports(app, request);
  AddWhere(app, request);
  AddCheck(app, request);
  AddDoctor(app, request);
  for (CLI::App* command : app.get_subcommands({})) AddGeneralFooter(*command);
  const bool wants_json = AsksForJson(arguments);
  SpellHelp(arguments);
  GuardWords(arguments);
  try {
    // The parser takes the arguments from the back.
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    ParsedArguments parsed = Ended(app, error, request);
    RemoveGuards(parsed.text);
    parsed.request.json = wants_json;
    return parsed;
  }
  RemoveGuards(request);
  const std::optional<ColourWish> wish = ColourWishOf(colour);
  request.colour = wish.value_or(ColourWish::kAuto);
  ParsedArguments parsed =
      wish ? Checked(app, request)
           : Refused("--colour: there is no " + colour + "; use auto, always or never");
  parsed.request.json = request.json;
  parsed.request.colour = request.colour;
  return parsed;
}

}  // namespace tovocfg
