#include "tovocfg/exchange_file.h"

#include <doctest/doctest.h>

#include "sample_options.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

// The only problem of a file.
std::string ProblemOf(const std::string& json) {
  const ReadExchange read = ReadExchangeFile(json);
  REQUIRE(read.problems.size() == 1);
  return read.problems.front();
}

std::string WithOptions(const std::string& options) {
  return R"({"format": "tovocfg export", "formatVersion": 1, "options": [)" + options + "]}";
}

std::string WithOption(const std::string& members) {
  return WithOptions(R"({"section": "Tax", "key": "Rate1", "file": "global", )" + members + "}");
}

}  // namespace

TEST_CASE("what is written reads back the same") {
  Letters letters = Letters::kUtf8;
  SUBCASE("in UTF-8") {}
  SUBCASE("in ASCII") { letters = Letters::kEscaped; }
  const Option rate = RateOption("5.000");
  const Option colour = ColourOption("2");
  const Option font = FontOption("Arial|9|0|0|0|0|0");
  const Option printer = PrinterOption("3", "\\\\S\\\"L\" \xC3\xA9\xD0\x9F");
  const Option absent = MakeOption("Tax", "Rate3", KeyType::kString, kNotFound);
  const Option empty = MakeOption("Tax", "Name", KeyType::kString, "");
  ExchangeFile file;
  file.exported = "2026-01-31T08:00:00Z";
  file.product_version = "1.2.3";
  file.data_folder = "C:\\D";
  file.site = 3;
  file.only_section = "Tax";
  file.only_file = Scope::kLocal;
  file.options = SortedSettings({&rate, &colour, &font, &printer, &absent, &empty});
  const ReadExchange read = ReadExchangeFile(ExchangeToJson(file, letters));
  CHECK(read.problems.empty());
  CHECK(read.file.exported == file.exported);
  CHECK(read.file.product_version == file.product_version);
  CHECK(read.file.data_folder == file.data_folder);
  CHECK(read.file.site == 3);
  CHECK(read.file.only_section == "Tax");
  CHECK(read.file.only_file == Scope::kLocal);
  REQUIRE(read.file.options.size() == file.options.size());
  for (std::size_t at = 0; at < file.options.size(); ++at) {
    const Setting& was = file.options[at];
    const Setting& is = read.file.options[at];
    CHECK(is.id == was.id);
    CHECK(is.local_ini == was.local_ini);
    CHECK(is.section == was.section);
    CHECK(is.key == was.key);
    CHECK(is.key_without_site == was.key_without_site);
    CHECK(is.type == was.type);
    CHECK(is.value == was.value);
    CHECK(is.font == was.font);
    CHECK(is.description == was.description);
  }
}

TEST_CASE("the options are sorted whatever the order of the definitions is") {
  const Option a = MakeOption("tax", "Alpha", KeyType::kString, "1");
  const Option b = MakeOption("Tax", "beta", KeyType::kString, "2");
  const Option c = MakeOption("Windows", "Alpha", KeyType::kString, "3");
  Option local = b;
  local.local_ini = true;
  const std::vector<Setting> sorted = SortedSettings({&c, &local, &b, &a});
  REQUIRE(sorted.size() == 4);
  CHECK(sorted[0].key == "Alpha");
  CHECK(sorted[0].section == "tax");
  CHECK(sorted[1].value == "2");
  CHECK_FALSE(sorted[1].local_ini);
  CHECK(sorted[2].local_ini);
  CHECK(sorted[3].section == "Windows");
}

TEST_CASE("the file has one member on each line, and null for a key that is absent") {
  const Option colour = ColourOption("2");
  const Option absent = RateOption(kNotFound);
  ExchangeFile file;
  file.exported = "2026-01-31T08:00:00Z";
  file.product_version = "1.0.0";
  file.data_folder = "C:\\D";
  file.options = SortedSettings({&absent, &colour});
  CHECK(ExchangeToJson(file, Letters::kUtf8) == R"({
  "format": "tovocfg export",
  "formatVersion": 1,
  "productVersion": "1.0.0",
  "exported": "2026-01-31T08:00:00Z",
  "dataFolder": "C:\\D",
  "site": 0,
  "options": [
    {
      "section": "Tax",
      "key": "Rate1",
      "file": "global",
      "type": "NUMERIC_VALUE",
      "value": null,
      "id": "Tax-Rate1"
    },
    {
      "section": "Windows",
      "key": "ColourScheme",
      "file": "local",
      "type": "CHOICE_VALUE",
      "value": "2",
      "description": "Night",
      "id": "Windows-ColourScheme"
    }
  ]
}
)");
}

TEST_CASE("characters outside ASCII stand in the file as they are, or as escapes") {
  const Option printer = PrinterOption("3", "\xC3\xA9\xF0\x9F\x9A\x97");
  ExchangeFile file;
  file.options = SortedSettings({&printer});
  CHECK(ExchangeToJson(file, Letters::kUtf8).find("\"\xC3\xA9\xF0\x9F\x9A\x97\"") !=
        std::string::npos);
  CHECK(ExchangeToJson(file, Letters::kEscaped).find(R"("\u00e9\ud83d\ude97")") !=
        std::string::npos);
}

TEST_CASE("UTF-16 reads as UTF-8 does, with and without a mark") {
  const std::string text = WithOption("\"value\": \"\xC3\xA9\"");
  std::string low_first;
  std::string high_first;
  for (const char32_t character : Characters(text)) {
    low_first += {static_cast<char>(character & 0xFFU), static_cast<char>(character >> 8U)};
    high_first += {static_cast<char>(character >> 8U), static_cast<char>(character & 0xFFU)};
  }
  for (const std::string& bytes :
       {low_first, high_first, "\xFF\xFE" + low_first, "\xFE\xFF" + high_first}) {
    CAPTURE(bytes.size());
    const ReadExchange read = ReadExchangeFile(bytes);
    CHECK(read.problems.empty());
    REQUIRE(read.file.options.size() == 1);
    CHECK(read.file.options.front().value == "\xC3\xA9");
  }
  CHECK(ProblemOf("\xFF\xFE" + low_first.substr(0, 21)).starts_with("line 1, column "));
}

TEST_CASE("text of another encoding is told, with what to do") {
  CHECK(ProblemOf(WithOption("\"value\": \"Montr\xE9"
                             "al\""))
            .ends_with(": a character is not UTF-8; save the file as UTF-8"));
}

TEST_CASE("however long or deep damaged JSON is, what is told of it is short") {
  CHECK(ProblemOf("{\"format\": \"" + std::string(1000000, 'x')).size() < 300);
  const std::string deep = std::string(200000, '[') + std::string(200000, ']');
  CHECK(ProblemOf(deep).starts_with("this is no file of 'tovocfg export'"));
  CHECK(ProblemOf(WithOption("\"value\": " + deep)) ==
        "option 1 of the file, Tax / Rate1: \"value\" is a list; it must be a text in quotation "
        "marks, or null");
  CHECK(ProblemOf(WithOption("\"value\": {\"a\": 1}")).find("\"value\" is an object;") !=
        std::string::npos);
}

TEST_CASE("a site that no shop can have is refused") {
  for (const char* site : {"5000000000", "-5000000000", "18446744073709551615", "3.5", "\"3\""}) {
    CAPTURE(site);
    CHECK(ProblemOf(std::string(R"({"format": "tovocfg export", "formatVersion": 1, "site": )") +
                    site + R"(, "options": []})") == "\"site\" must be the site's number");
  }
}

TEST_CASE("damaged JSON is told with line and column in characters") {
  CHECK(ProblemOf("{\n  \"format\": \"\xC3\xA9\", x}")
            .starts_with("line 2, column 18: this is not well-formed JSON: "));
  CHECK(ProblemOf("").starts_with("line 1, column 1: "));
  const std::string whole = WithOption(R"("value": "5")");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    CAPTURE(size);
    CHECK(ProblemOf(whole.substr(0, size)).starts_with("line 1, column "));
  }
  CHECK(ProblemOf(whole + "}").starts_with("line 1, column "));
  CHECK(ProblemOf(WithOption("\"value\": \"\xFF\"")).starts_with("line 1, column "));
}

TEST_CASE("a file of another kind is told apart from a damaged one") {
  for (const char* other :
       {"[]", "1", "{}", R"({"options": []})",
        R"({"format": "other", "formatVersion": 1, "options": []})", R"({"format": 1})"}) {
    CAPTURE(other);
    CHECK(ProblemOf(other).starts_with("this is no file of 'tovocfg export'"));
  }
}

TEST_CASE("the mark of UTF-8 in front is no damage") {
  CHECK(ReadExchangeFile("\xEF\xBB\xBF" + WithOption(R"("value": "5")")).problems.empty());
}

TEST_CASE("a file of a newer format is refused, naming both versions") {
  CHECK(ProblemOf(R"({"format": "tovocfg export", "formatVersion": 2, "options": []})") ==
        "the file has format version 2, and this program knows 1; use the tovocfg that wrote it, "
        "or a newer one than this");
  for (const char* version : {"0", "-1", "\"1\"", "1.5", "null"}) {
    CAPTURE(version);
    CHECK(ProblemOf(std::string(R"({"format": "tovocfg export", "formatVersion": )") + version +
                    R"(, "options": []})")
              .starts_with("the member \"formatVersion\""));
  }
}

TEST_CASE(
    "a member that stands twice in an object is refused, as one of its values would be lost") {
  CHECK(ProblemOf(WithOption(R"("value": "5", "value": "6")")) ==
        "the member \"value\" stands twice in one object; keep one of them");
}

TEST_CASE("everything that an option of the file lacks is told, with its place") {
  const ReadExchange read = ReadExchangeFile(WithOptions(
      R"(1, {"key": "K", "file": "both", "value": 5}, {"section": "S", "key": "K", "file": "local"})"));
  CHECK(read.problems ==
        std::vector<std::string>{
            "option 1 of the file: it is no object in braces",
            "option 2 of the file: \"section\" is missing",
            "option 2 of the file: \"file\" is \"both\"; it must be \"local\" or \"global\"",
            "option 2 of the file: \"value\" is 5; it must be a text in quotation marks, or null",
            "option 3 of the file, S / K: \"value\" is missing; write null where there is none"});
  CHECK(ProblemOf(WithOption(R"("value": "5", "id": 7)")) ==
        "option 1 of the file, Tax / Rate1: \"id\" must be a text in quotation marks");
  CHECK(ProblemOf(R"({"format": "tovocfg export", "formatVersion": 1})").find("\"options\"") !=
        std::string::npos);
}

TEST_CASE("a font whose name differs from the value is refused, as one of them would be lost") {
  CHECK(ProblemOf(WithOption(R"("value": "Arial", "font": "Verdana|9|0|0|0|0|0")"))
            .find("differ; make them agree") != std::string::npos);
  CHECK(ReadExchangeFile(WithOption(R"("value": "Arial", "font": "Arial|9|0|0|0|0|0")"))
            .problems.empty());
}

TEST_CASE("members that this version does not know are passed over") {
  CHECK(ReadExchangeFile(WithOption(R"("value": "5", "note": {"a": [1, 2]})")).problems.empty());
}

TEST_CASE("a setting is found by file, section and key without regard to case") {
  Option local = RateOption("1");
  local.local_ini = true;
  local.id = "local";
  const std::vector<Option> options = {local, RateOption("2")};
  Setting setting;
  setting.section = "TAX";
  setting.key = "rate1";
  CHECK(FindSetting(options, setting).option == &options[1]);
  setting.local_ini = true;
  CHECK(FindSetting(options, setting).option == &options[0]);
  setting.key = "Rate2";
  CHECK(FindSetting(options, setting).option == nullptr);
  CHECK(FindSetting(options, setting).problem.empty());
}

TEST_CASE("a key with a site's number is found as the key of the site here") {
  const std::vector<Option> options = {PrinterOption("5", "Laser")};
  CHECK(FindSetting(options, SettingOf(PrinterOption("3", "x"))).option == &options[0]);
  Setting by_hand = SettingOf(PrinterOption("5", "x"));
  by_hand.key_without_site.clear();
  CHECK(FindSetting(options, by_hand).option == &options[0]);
  by_hand.key = "Invoice";
  CHECK(FindSetting(options, by_hand).option == &options[0]);
  by_hand.key = "Invoice3";
  CHECK(FindSetting(options, by_hand).option == nullptr);
}

TEST_CASE("of several options with one key, that with the ID of the file counts") {
  std::vector<Option> options = {RateOption("1"), RateOption("1")};
  options[0].id = "first";
  options[1].id = "second";
  Setting setting = SettingOf(options[1]);
  CHECK(FindSetting(options, setting).option == &options[1]);
  setting.id = "third";
  CHECK(FindSetting(options, setting).option == nullptr);
  CHECK(FindSetting(options, setting).ambiguous);
}

}  // namespace tovocfg
