#include "tovocfg/comparison.h"

#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "sample_options.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

SideFacts Here() { return {"catalogue", "", "", "C:\\D", "C:\\W\\TOVO.INI", 3}; }

SideFacts Defaults() { return {"defaults", "", "", "", "", 0}; }

Setting With(const Option& option, const std::optional<std::string>& value) {
  Setting setting = SettingOf(option);
  setting.value = value;
  return setting;
}

}  // namespace

TEST_CASE("values that mean the same are no difference") {
  const Option rate = RateOption("7.50");
  const Option flag = MakeOption("S", "K", KeyType::kBoolean, "1");
  const Comparison comparison = Compare({&rate, &flag}, {With(rate, "7.5"), With(flag, "True")});
  CHECK(comparison.compared == 2);
  CHECK(comparison.differences.empty());
  CHECK(FormatComparison(comparison, Here(), Defaults()) ==
        "Here:  C:\\D (site 3), C:\\W\\TOVO.INI\n"
        "There: the defaults of the definitions\n"
        "\n"
        "No differences: 2 options compared.\n");
}

TEST_CASE("an absent key is another value than an empty one") {
  const Option absent = MakeOption("S", "K", KeyType::kString, kNotFound);
  const Option empty = MakeOption("S", "K", KeyType::kString, "");
  CHECK(Compare({&absent}, {With(empty, "")}).differences.size() == 1);
  CHECK(Compare({&empty}, {With(empty, std::nullopt)}).differences.size() == 1);
  CHECK(Compare({&absent}, {With(empty, std::nullopt)}).differences.empty());
  CHECK(Compare({&empty}, {With(empty, "")}).differences.empty());
}

TEST_CASE("the defaults of the definitions are one side, the values the other") {
  const Option rate = RateOption("5");
  const Option colour = ColourOption("0");
  const Option font = FontOption("Arial|9|0|0|0|1|0");
  const std::vector<const Option*> options = {&rate, &colour, &font};
  const Comparison comparison = Compare(options, DefaultsOf(options));
  REQUIRE(comparison.differences.size() == 2);
  CHECK(comparison.differences[0].there.value == "0.000");
  CHECK(comparison.differences[1].there.value == "Arial|9|0|0|0|0|0");
  CHECK(comparison.differences[1].here.value == "Arial|9|0|0|0|1|0");
}

TEST_CASE("options of one side alone are differences") {
  const Option rate = RateOption("5");
  const Option name = MakeOption("Tax", "Name", KeyType::kString, "TPS");
  const Comparison comparison = Compare({&rate}, {SettingOf(name)});
  CHECK(comparison.compared == 2);
  REQUIRE(comparison.differences.size() == 2);
  CHECK(comparison.differences[0].here.has_option);
  CHECK_FALSE(comparison.differences[0].there.has_option);
  CHECK_FALSE(comparison.differences[1].here.has_option);
  CHECK(comparison.differences[1].there.value == "TPS");
}

TEST_CASE("differences stand section by section in aligned columns, with what choices are called") {
  const Option colour = ColourOption("2");
  const Option rate = RateOption(kNotFound);
  const Option printer = PrinterOption("3", "Laser");
  const Option gone = MakeOption("Windows", "Old", KeyType::kString, "");
  const Comparison comparison = Compare(
      {&colour, &rate, &printer},
      {With(colour, "0"), With(rate, "5"), SettingOf(PrinterOption("5", "Ink")), SettingOf(gone)});
  CHECK(FormatComparison(comparison, Here(),
                         {"export", "C:\\a.json", "2026-01-31T08:00:00Z", "D:\\D", "", 5}) ==
        "Here:  C:\\D (site 3), C:\\W\\TOVO.INI\n"
        "There: export C:\\a.json of 2026-01-31T08:00:00Z from D:\\D (site 5)\n"
        "\n"
        "  Key                        Here              There           File\n"
        "[Windows]\n"
        "  ColourScheme               \"2\" (Night)       \"0\" (Standard)  local\n"
        "  Old                        (no such option)  \"\"              global\n"
        "[Tax]\n"
        "  Rate1                      (not set)         \"5\"             global\n"
        "[Printers]\n"
        "  Invoice3 (there Invoice5)  \"Laser\"           \"Ink\"           local\n"
        "\n"
        "4 of 4 options differ.\n");
}

TEST_CASE("no value is cut, however long it is") {
  const Option here = MakeOption("S", "K", KeyType::kString, std::string(80, 'a'));
  const Comparison comparison = Compare({&here}, {With(here, std::string(79, 'a') + "b")});
  const std::string text = FormatComparison(comparison, Here(), Defaults());
  CHECK(text.find(std::string(80, 'a')) != std::string::npos);
  CHECK(text.find(std::string(79, 'a') + "b") != std::string::npos);
}

TEST_CASE("the JSON form tells absent keys, absent options and differing values apart") {
  const Option rate = RateOption("5");
  const Option absent = MakeOption("S", "K", KeyType::kString, kNotFound);
  const Option gone = MakeOption("S", "Old", KeyType::kString, "x");
  const Comparison comparison = Compare({&rate, &absent}, {With(absent, ""), SettingOf(gone)});
  const auto json = nlohmann::json::parse(ComparisonToJson(comparison, Here(), Defaults()));
  CHECK(json["here"]["kind"] == "catalogue");
  CHECK(json["here"]["site"] == 3);
  CHECK(json["there"] == nlohmann::json{{"kind", "defaults"}});
  CHECK(json["compared"] == 3);
  REQUIRE(json["differences"].size() == 3);
  CHECK(json["differences"][0]["difference"] == "onlyHere");
  CHECK_FALSE(json["differences"][0].contains("there"));
  CHECK(json["differences"][1]["difference"] == "value");
  CHECK(json["differences"][1]["here"].is_null());
  CHECK(json["differences"][1]["there"] == "");
  CHECK(json["differences"][2]["difference"] == "onlyThere");
  CHECK_FALSE(json["differences"][2].contains("here"));
}

TEST_CASE("an export is told with what is known of it") {
  const SideFacts here = {"catalogue", "", "", "C:\\D", "C:\\W\\TOVO.INI", 3};
  const auto told = [&](const SideFacts& there) {
    return Split(FormatComparison(Comparison{}, here, there), '\n').at(1);
  };
  CHECK(told({"export", "C:\\a.json", "2026-01-31T08:00:00Z", "C:\\E", "", 5}) ==
        "There: export C:\\a.json of 2026-01-31T08:00:00Z from C:\\E (site 5)");
  CHECK(told({"export", "C:\\a.json", "", "", "", 0}) == "There: export C:\\a.json");
  CHECK(told({"export", kStandardInput, "2026-01-31T08:00:00Z", "", "", 0}) ==
        "There: export on standard input of 2026-01-31T08:00:00Z");
}

}  // namespace tovocfg
