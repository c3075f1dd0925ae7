#include "tovocfg/output.h"

#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

Option Rate() {
  Option option;
  option.id = "AAAA";
  option.section = "Tax";
  option.key = "Rate1";
  option.type = KeyType::kNumeric;
  option.maximum = 30;
  option.decimals = 3;
  option.default_value = "0.000";
  option.current_value = "5.000";
  option.comment = "First tax rate.\r\nIn percent.";
  return option;
}

Option ColourScheme() {
  Option option;
  option.id = "BBBB";
  option.local_ini = true;
  option.section = "Windows";
  option.key = "ColourScheme";
  option.type = KeyType::kChoice;
  option.choices = {{"0", "Standard"}, {"2", "Night"}};
  option.current_value = "2";
  return option;
}

Whereabouts Somewhere() {
  Whereabouts where;
  where.data_folder = "C:\\D";
  where.data_folder_exists = true;
  where.local_ini = "C:\\W\\TOVO.INI";
  where.global_ini = "C:\\D\\TOVOGBL.INI";
  where.global_ini_exists = true;
  where.location = 3;
  where.tables = "embedded engine";
  where.library_version = "1.0.0";
  where.library_file = "C:\\P\\tdefault.dll";
  where.program_version = "1.0.0";
  return where;
}

}  // namespace

TEST_CASE("the table is aligned, shows a choice's description and counts its rows") {
  const Option rate = Rate();
  const Option colour = ColourScheme();
  CHECK(FormatTable({&rate, &colour}) ==
        "Section  Key           Type    Value      Default  File\n"
        "-------  ------------  ------  ---------  -------  ------\n"
        "Tax      Rate1         number  5.000      0.000    global\n"
        "Windows  ColourScheme  choice  2 (Night)           local\n"
        "\n"
        "2 options\n");
}

TEST_CASE("the table says not set for a key its file does not hold, and counts those") {
  Option rate = Rate();
  rate.current_value = kNotFound;
  const std::string table = FormatTable({&rate});
  CHECK(table.find("(not set)") != std::string::npos);
  CHECK(table.find(kNotFound) == std::string::npos);
  CHECK(table.find("1 option, 1 not set\n") != std::string::npos);
}

TEST_CASE("no line of the table is wider than a console of 120 characters") {
  Option wide = Rate();
  wide.type = KeyType::kInsurance;
  wide.section = wide.key = wide.default_value = std::string(30, 'w');
  wide.current_value.clear();
  for (int count = 0; count < 80; ++count) wide.current_value += "\xC3\xA9";
  for (const std::string& line : Lines(FormatTable({&wide}))) CHECK(CountCharacters(line) <= 120);
}

TEST_CASE("the details of a number tell its bounds, file and comment line by line") {
  CHECK(FormatDetails(Rate(), Somewhere()) ==
        "Tax / Rate1\n"
        "  value     5.000\n"
        "  default   0.000\n"
        "  type      number (NUMERIC_VALUE)\n"
        "  allowed   0 to 30, at most 3 decimals\n"
        "  file      global, C:\\D\\TOVOGBL.INI\n"
        "  comment   First tax rate.\n"
        "            In percent.\n"
        "  id        AAAA\n");
}

TEST_CASE("the details of a choice list the choices and mark the current one") {
  CHECK(FormatDetails(ColourScheme(), Somewhere()) ==
        "Windows / ColourScheme\n"
        "  value     2 (Night)\n"
        "  type      choice (CHOICE_VALUE)\n"
        "  choices     0  Standard\n"
        "            * 2  Night\n"
        "  file      local, C:\\W\\TOVO.INI\n"
        "  id        BBBB\n");
}

TEST_CASE("the details of a local option say when there is no local file") {
  Whereabouts where = Somewhere();
  where.local_ini.clear();
  CHECK(FormatDetails(ColourScheme(), where).find("  file      local (no file found)\n") !=
        std::string::npos);
}

TEST_CASE("JSON is exact: Not found stays Not found, and accents are escapes") {
  Option rate = Rate();
  rate.current_value = kNotFound;
  rate.comment = "\xC3\xA9t\xC3\xA9";
  const auto json = nlohmann::json::parse(OptionsToJson({&rate}, Somewhere()));
  CHECK(json["dataFolder"] == "C:\\D");
  const auto& option = json["options"][0];
  CHECK(option["value"] == "Not found");
  CHECK(option["set"] == false);
  CHECK(option["type"] == "NUMERIC_VALUE");
  CHECK(option["file"] == "global");
  CHECK(option["path"] == "C:\\D\\TOVOGBL.INI");
  CHECK(option["maximum"] == 30);
  CHECK(option["comment"] == "\xC3\xA9t\xC3\xA9");
  CHECK(OptionsToJson({&rate}, Somewhere()).find("\\u00e9t\\u00e9") != std::string::npos);
}

TEST_CASE("JSON of a choice lists items and descriptions") {
  const auto json = nlohmann::json::parse(OptionToJson(ColourScheme(), Somewhere()));
  CHECK(json["choices"].size() == 2);
  CHECK(json["choices"][1]["item"] == "2");
  CHECK(json["choices"][1]["description"] == "Night");
}

TEST_CASE("JSON survives a byte that is not UTF-8") {
  Option rate = Rate();
  rate.comment = "a\xE9";
  CHECK(nlohmann::json::parse(OptionToJson(rate, Somewhere()))["comment"] == "a\xEF\xBF\xBD");
}

TEST_CASE("a change shows old and new value, and a change without a difference says so") {
  const Option rate = Rate();
  CHECK(FormatChange({&rate, "5.125"}) == "Tax / Rate1: \"5.000\" -> \"5.125\"\n");
  CHECK(FormatChange({&rate, "5.000"}) == "Tax / Rate1: 5.000 (unchanged)\n");
  Option unset = Rate();
  unset.current_value = kNotFound;
  CHECK(FormatChange({&unset, "1"}) == "Tax / Rate1: (not set) -> \"1\"\n");
}

TEST_CASE("whereabouts name everything in use and what is missing") {
  CHECK(FormatWhereabouts(Somewhere()) ==
        "Data folder      C:\\D\n"
        "Local INI file   C:\\W\\TOVO.INI\n"
        "Global INI file  C:\\D\\TOVOGBL.INI\n"
        "Location         3\n"
        "Tables           embedded engine\n"
        "Library          C:\\P\\tdefault.dll 1.0.0 (not registered)\n"
        "Program          tovocfg 1.0.0\n");
  Whereabouts lost = Somewhere();
  lost.data_folder_exists = lost.global_ini_exists = false;
  lost.local_ini.clear();
  const std::string text = FormatWhereabouts(lost);
  CHECK(text.find("C:\\D  (not found)") != std::string::npos);
  CHECK(text.find("(not found: no TOVO.INI)") != std::string::npos);
  CHECK(text.find("TOVOGBL.INI  (not found)") != std::string::npos);
  lost.data_folder.clear();
  CHECK(FormatWhereabouts(lost).find("Global INI file  (none: it lies in the data folder)") !=
        std::string::npos);
}

TEST_CASE("the table access follows the environment variable as the library reads it") {
  CHECK(DescribeTables("", false) == "embedded engine");
  CHECK(DescribeTables("", true) == "provider VFPOLEDB.1");
  for (const bool registered : {false, true}) {
    CHECK(DescribeTables("Embedded", registered) == "embedded engine");
    CHECK(DescribeTables("ado", registered) ==
          "none: TDEFAULT_TABLES is ado; remove it or set it to embedded");
  }
  CHECK(DescribeTables("Provider", true) == "provider VFPOLEDB.1");
  CHECK(DescribeTables("provider", false) ==
        "none: TDEFAULT_TABLES is provider, but VFPOLEDB.1 is not registered for this bitness; "
        "remove it or set it to embedded");
}

TEST_CASE("errors show number, source, description and what to do") {
  CHECK(FormatError({static_cast<std::int32_t>(0x800A0035), "tovocfg:Class_Initialize",
                     "the table, 'C:\\D\\Defaults.Dbf' was not found."}) ==
        "tovocfg: error 53 from tovocfg:Class_Initialize\n"
        "  the table, 'C:\\D\\Defaults.Dbf' was not found.\n"
        "  Hint: Check the data folder with 'tovocfg where'; name another with --data.\n");
  CHECK(FormatError({-2147467259, "Load", "damaged"}) ==
        "tovocfg: error -2147467259 (0x80004005) from Load\n"
        "  damaged\n");
  CHECK(FormatError({53, "", "The specified kit update program, 'x.exe' was not found"})
            .ends_with("  Hint: Install it, or correct or delete the registry key "
                       "HKEY_CURRENT_USER\\Software\\VB and VBA Program "
                       "Settings\\Tovo\\Modules\\KitProgram.\n"));
  CHECK(FormatError({7, "", "text"}) == "tovocfg: error 7\n  text\n");
}

TEST_CASE("error numbers of the automation run-time are shown short, others as they are") {
  CHECK(ErrorNumber(static_cast<std::int32_t>(0x800A0035)) == "53");
  CHECK(ErrorNumber(-2147221501) == "-2147221501");
  CHECK(ErrorNumber(53) == "53");
}

TEST_CASE("every JSON begins with its format and its command") {
  const Option rate = Rate();
  for (const auto& [text, command] :
       {std::pair<std::string, std::string>{OptionsToJson({&rate}, Somewhere()), "list"},
        {OptionToJson(rate, Somewhere()), "get"},
        {WhereaboutsToJson(Somewhere()), "where"},
        {SavingToJson({}, Somewhere(), {}), "set"}})
    CHECK(text.starts_with("{\n  \"format\": 1,\n  \"command\": \"" + command + "\",\n"));
}

TEST_CASE("changes in JSON have the exact values from before and after") {
  Option rate = Rate();
  rate.current_value = kNotFound;
  const Saving saving{.saved = 1,
                      .previous_files = {"C:\\D\\TOVOGBL.old"},
                      .status = {"busy"},
                      .shortened = {{"Tax", "Name1", "global"}}};
  const auto json = nlohmann::json::parse(SavingToJson({{&rate, "7"}}, Somewhere(), saving));
  CHECK(json["dryRun"] == false);
  CHECK(json["saved"] == 1);
  CHECK(json["previousFiles"][0] == "C:\\D\\TOVOGBL.old");
  CHECK(json["status"][0] == "busy");
  CHECK(json["shortened"][0]["key"] == "Name1");
  const auto& change = json["changes"][0];
  CHECK(change["id"] == "AAAA");
  CHECK(change["from"] == "Not found");
  CHECK(change["to"] == "7");
  CHECK(change["changed"] == true);
  CHECK(change["path"] == "C:\\D\\TOVOGBL.INI");
}

}  // namespace tovocfg
