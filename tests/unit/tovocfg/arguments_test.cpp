#include "tovocfg/arguments.h"

#include <doctest/doctest.h>

namespace tovocfg {

TEST_CASE("options of the program are taken before and after the command") {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--data", "C:\\D", "list", "--section", "Tax"},
        std::vector<std::string>{"list", "--section", "Tax", "--data", "C:\\D"}}) {
    const ParsedArguments parsed = ParseArguments(arguments);
    CHECK(parsed.request.command == Command::kList);
    CHECK(parsed.request.data_folder == "C:\\D");
    CHECK(parsed.request.section == "Tax");
  }
}

TEST_CASE("set takes words in threes and its options anywhere") {
  const ParsedArguments parsed =
      ParseArguments({"set", "Tax", "Rate1", "5", "Tax", "Name1", "G S T", "--dry-run"});
  CHECK(parsed.request.command == Command::kSet);
  CHECK(parsed.request.dry_run);
  CHECK(parsed.request.words ==
        std::vector<std::string>{"Tax", "Rate1", "5", "Tax", "Name1", "G S T"});
}

TEST_CASE("words reach set as they were typed") {
  for (const std::string value :
       {"", "-12.5", "[a,b]", "a=b", "list", "%1", "C:\\A B\\", "#x", "/h", "/x", "/?", "/json",
        "/dry-run", "/tmp/x", "++", "+", "help"}) {
    CAPTURE(value);
    const ParsedArguments parsed = ParseArguments({"set", "Tax", "Name1", value});
    CHECK(parsed.text.empty());
    CHECK(parsed.request.words == std::vector<std::string>{"Tax", "Name1", value});
    CHECK_FALSE(parsed.request.dry_run);
  }
}

TEST_CASE("a value that begins with a hyphen is taken behind two hyphens") {
  const ParsedArguments parsed = ParseArguments({"set", "--dry-run", "--", "Tax", "Name1", "-x"});
  CHECK(parsed.request.words == std::vector<std::string>{"Tax", "Name1", "-x"});
  CHECK(parsed.request.dry_run);
}

TEST_CASE("the section to list is named with or without its option") {
  CHECK(ParseArguments({"list", "Tax"}).request.section == "Tax");
  CHECK(ParseArguments({"list", "--section", "Tax"}).request.section == "Tax");
  CHECK(ParseArguments({"list", "Tax", "Rate1"}).exit_code == ExitCode::kUsage);
}

TEST_CASE("get and set without words say what belongs there") {
  CHECK(ParseArguments({"get"}).text ==
        "get: name the option by SECTION KEY or by its ID, for example: get Tax Rate1");
  CHECK(ParseArguments({"set"}).text.find("SECTION KEY VALUE, three words each; found none") !=
        std::string::npos);
}

TEST_CASE("an unknown command is named and answered with the commands there are") {
  CHECK(ParseArguments({"frobnicate", "x"}).text ==
        "there is no command frobnicate; use list, get, set, export, import, diff, exists, delete, "
        "comment, uncomment, disable, reports, where, check or doctor; --help explains them");
  CHECK(ParseArguments({"--frobnicate"}).text ==
        "tovocfg: there is no option --frobnicate; 'tovocfg --help' lists what it takes.");
}

TEST_CASE("a misspelt command or option is answered with the one that may be meant") {
  CHECK(ParseArguments({"improt", "shop.json"}).text ==
        "there is no command improt; did you mean import? 'tovocfg --help' explains the commands");
  CHECK(ParseArguments({"list", "--sectoin", "Tax"}).text ==
        "list: there is no option --sectoin; did you mean --section? 'tovocfg list --help' lists "
        "what it takes.");
  CHECK(ParseArguments({"list", "--sectoin=Tax"}).text.find("did you mean --section?") !=
        std::string::npos);
  CHECK(ParseArguments({"where", "--libary", "x"}).text.find("did you mean --library?") !=
        std::string::npos);
  CHECK(ParseArguments({"reports", "use", "INV2", "--hide-price"})
            .text.find("did you mean --hide-prices?") != std::string::npos);
}

TEST_CASE("a word for which there is no place is named") {
  CHECK(ParseArguments({"list", "Tax", "Rate1"}).text ==
        "list: there is one word too many, Rate1; 'tovocfg list --help' lists what it takes.\n"
        "Put a name with blanks in quotation marks.");
  CHECK(ParseArguments({"set", "Tax", "Name1", "-x"}).text ==
        "set: there is no option -x; 'tovocfg set --help' lists what it takes.\n"
        "Where it is a name or a value, write -- in front of SECTION.");
  CHECK(ParseArguments({"list", "[a,b]", "[c]"}).text.find("too many, [c];") != std::string::npos);
}

TEST_CASE("commands about one option take section and key, or the ID alone") {
  for (const auto& [word, command] :
       {std::pair("get", Command::kGet), std::pair("delete", Command::kDelete),
        std::pair("disable", Command::kDisable)}) {
    CAPTURE(word);
    const ParsedArguments by_key = ParseArguments({word, "Tax", "[Rate]"});
    CHECK(by_key.request.command == command);
    CHECK(by_key.request.words == std::vector<std::string>{"Tax", "[Rate]"});
    CHECK(ParseArguments({word, "AAAA"}).request.words == std::vector<std::string>{"AAAA"});
    CHECK(ParseArguments({word}).exit_code == ExitCode::kUsage);
    CHECK(ParseArguments({word, "a", "b", "c"}).exit_code == ExitCode::kUsage);
  }
  CHECK(ParseArguments({"exists", "Tax", "Rate1"}).request.command == Command::kExists);
  CHECK(ParseArguments({"exists", "Tax"}).text ==
        "exists: name the definition by SECTION KEY, for example: exists Tax Rate1");
  CHECK(ParseArguments({"delete", "Tax", "Rate1", "--dry-run"}).request.dry_run);
}

TEST_CASE("uncomment says which comments go, all or those of one text") {
  const ParsedArguments all = ParseArguments({"uncomment", "C:\\A.INI", "--all"});
  CHECK(all.request.command == Command::kUncomment);
  CHECK(all.request.file == "C:\\A.INI");
  CHECK(all.request.all_comments);
  CHECK_FALSE(all.request.comment);
  CHECK(ParseArguments({"uncomment", "--text", ""}).request.comment == "");
  CHECK(ParseArguments({"uncomment", "--text", "[x]"}).request.comment == "[x]");
  CHECK(ParseArguments({"uncomment"}).exit_code == ExitCode::kUsage);
  CHECK(ParseArguments({"uncomment", "--all", "--text", "x"}).exit_code == ExitCode::kUsage);
  CHECK(ParseArguments({"comment", "--local"}).request.local_only);
}

TEST_CASE("reports shows the layouts, reports use takes one") {
  CHECK(ParseArguments({"reports", "--json"}).request.command == Command::kReports);
  const ParsedArguments use = ParseArguments({"reports", "use", "INV2", "--hide-prices"});
  CHECK(use.request.command == Command::kUseReport);
  CHECK(use.request.layout == "INV2");
  CHECK(use.request.hide_prices);
  CHECK(ParseArguments({"reports", "use"}).text ==
        "reports use: name the layout by its code or its name");
}

TEST_CASE("export writes to a file or to standard output, and is told to replace") {
  CHECK(ParseArguments({"export"}).request.command == Command::kExport);
  CHECK(ParseArguments({"export"}).request.file.empty());
  CHECK(ParseArguments({"export", "-"}).request.file == "-");
  const ParsedArguments parsed =
      ParseArguments({"export", "[a,b].json", "--force", "--section", "Tax", "--global"});
  CHECK(parsed.request.file == "[a,b].json");
  CHECK(parsed.request.force);
  CHECK(parsed.request.section == "Tax");
  CHECK(parsed.request.global_only);
}

TEST_CASE("import needs a file") {
  const ParsedArguments parsed =
      ParseArguments({"import", "a.json", "--skip-unknown", "--dry-run"});
  CHECK(parsed.request.command == Command::kImport);
  CHECK(parsed.request.file == "a.json");
  CHECK(parsed.request.skip_unknown);
  CHECK(parsed.request.dry_run);
  CHECK(ParseArguments({"import", "-"}).request.file == "-");
  CHECK(ParseArguments({"diff", "-", "--section", "Tax"}).request.file == "-");
  CHECK(ParseArguments({"import"}).exit_code == ExitCode::kUsage);
  CHECK(ParseArguments({"import"}).text.find("name the file") != std::string::npos);
}

TEST_CASE("diff compares with one thing, by itself with the defaults") {
  CHECK(ParseArguments({"diff"}).request.command == Command::kDiff);
  CHECK(ParseArguments({"diff", "a.json"}).request.file == "a.json");
  const ParsedArguments other =
      ParseArguments({"diff", "--with-data", "C:\\D", "--with-ini", "[x].INI", "--json"});
  CHECK(other.request.with_data == "C:\\D");
  CHECK(other.request.with_ini == "[x].INI");
  CHECK(other.request.json);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"diff", "a.json", "--defaults"},
        std::vector<std::string>{"diff", "a.json", "--with-data", "C:\\D"},
        std::vector<std::string>{"diff", "--defaults", "--with-ini", "a.INI"}}) {
    CHECK(ParseArguments(arguments).exit_code == ExitCode::kUsage);
    CHECK(ParseArguments(arguments).text.find("one thing") != std::string::npos);
  }
}

TEST_CASE("set with an incomplete change is a wrong use that says what is missing") {
  const ParsedArguments parsed = ParseArguments({"set", "Tax", "Rate1"});
  CHECK(parsed.request.command == Command::kNone);
  CHECK(parsed.exit_code == ExitCode::kUsage);
  CHECK(parsed.text.find("found 2 words") != std::string::npos);
}

TEST_CASE("wrong arguments end with the exit code for wrong use") {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, std::vector<std::string>{"frobnicate"},
        std::vector<std::string>{"list", "--frobnicate"}, std::vector<std::string>{"get"},
        std::vector<std::string>{"get", "A", "B", "C"}, std::vector<std::string>{"set"},
        std::vector<std::string>{"list", "--local", "--global"},
        std::vector<std::string>{"list", "get", "Tax", "Rate1"},
        std::vector<std::string>{"list", "--section"}}) {
    const ParsedArguments parsed = ParseArguments(arguments);
    CHECK(parsed.request.command == Command::kNone);
    CHECK(parsed.exit_code == ExitCode::kUsage);
    CHECK_FALSE(parsed.text.empty());
  }
}

TEST_CASE("help names the commands and the exit codes") {
  const ParsedArguments parsed = ParseArguments({"--help"});
  CHECK(parsed.exit_code == ExitCode::kOk);
  for (const char* word : {"list", "get", "set", "where", "--data", "--ini", "Exit codes"})
    CHECK(parsed.text.find(word) != std::string::npos);
}

TEST_CASE("help is found in the usual spellings") {
  for (const char* word : {"-h", "help", "/?", "-?"}) {
    CAPTURE(word);
    CHECK(ParseArguments({word}).text == ParseArguments({"--help"}).text);
    CHECK(ParseArguments({word}).exit_code == ExitCode::kOk);
  }
  const std::string of_set = ParseArguments({"set", "--help"}).text;
  CHECK(ParseArguments({"help", "set"}).text == of_set);
  CHECK(ParseArguments({"set", "/?"}).text == of_set);
}

TEST_CASE("the help of each command has an example") {
  for (const char* command : {"list", "get", "set", "export", "import", "diff", "where"}) {
    const ParsedArguments parsed = ParseArguments({command, "--help"});
    CHECK(parsed.exit_code == ExitCode::kOk);
    CHECK(parsed.text.find(std::string("  tovocfg ") + command) != std::string::npos);
  }
}

TEST_CASE("the version is that of the project") {
  CHECK(ParseArguments({"--version"}).text.find(TOVOCFG_VERSION) != std::string::npos);
}

TEST_CASE("every command writes JSON when asked for it") {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"list"},
                                                    {"get", "Tax", "Rate1"},
                                                    {"set", "Tax", "Rate1", "5"},
                                                    {"exists", "Tax", "Rate1"},
                                                    {"delete", "Tax", "Rate1"},
                                                    {"disable", "Tax", "Rate1"},
                                                    {"comment"},
                                                    {"uncomment", "--all"},
                                                    {"reports"},
                                                    {"reports", "use", "INV1"},
                                                    {"where"},
                                                    {"check"},
                                                    {"doctor"}}) {
    CAPTURE(arguments.back());
    CHECK_FALSE(ParseArguments(arguments).request.json);
    std::vector<std::string> asking = arguments;
    asking.emplace_back("--json");
    const ParsedArguments parsed = ParseArguments(asking);
    CHECK(parsed.text.empty());
    CHECK(parsed.request.json);
    CHECK_FALSE(NameOf(parsed.request.command).empty());
  }
}

TEST_CASE("a refusal is told as JSON when that was asked for") {
  CHECK(ParseArguments({"frobnicate", "--json"}).request.json);
  CHECK(ParseArguments({"set", "Tax", "--json"}).request.json);
  CHECK(ParseArguments({"list", "--json", "--local", "--global"}).request.json);
  CHECK_FALSE(ParseArguments({"set", "Tax", "--", "--json"}).request.json);
}

TEST_CASE("colours are asked for in either spelling, and a wrong word is refused") {
  CHECK(ParseArguments({"list"}).request.colour == ColourWish::kAuto);
  CHECK(ParseArguments({"list", "--colour", "always"}).request.colour == ColourWish::kAlways);
  CHECK(ParseArguments({"--color=never", "list"}).request.colour == ColourWish::kNever);
  CHECK(ParseArguments({"list", "--colour", "red"}).text ==
        "--colour: there is no red; use auto, always or never");
}

TEST_CASE("a newcomer is told what to do first, and each command has an example") {
  CHECK(ParseArguments({"help"}).text.find("First steps:\n  tovocfg where ") != std::string::npos);
  for (const char* command : {"list", "get", "set", "exists", "delete", "disable", "comment",
                              "uncomment", "reports", "where", "check", "doctor"}) {
    CAPTURE(command);
    const ParsedArguments parsed = ParseArguments({command, "--help"});
    CHECK(parsed.exit_code == ExitCode::kOk);
    CHECK(parsed.text.find(std::string("  tovocfg ") + command) != std::string::npos);
    CHECK(parsed.text.find("--json") != std::string::npos);
  }
}

}  // namespace tovocfg
