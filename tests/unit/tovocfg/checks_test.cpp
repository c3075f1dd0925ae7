#include "tovocfg/checks.h"

#include <doctest/doctest.h>

namespace tovocfg {

namespace {

Option OfType(KeyType type) {
  Option option;
  option.section = "Tax";
  option.key = "Rate1";
  option.type = type;
  return option;
}

Option Number(int minimum, int maximum, int decimals) {
  Option option = OfType(KeyType::kNumeric);
  option.minimum = minimum;
  option.maximum = maximum;
  option.decimals = decimals;
  return option;
}

Option Colours() {
  Option option = OfType(KeyType::kChoice);
  option.choices = {{"0", "Standard"}, {"2", "Night"}, {"AUTO", ""}};
  return option;
}

CheckedValue Checked(const Option& option, const std::string& value) {
  return CheckValue(option, value, {{"INV1", "INV2"}, nullptr});
}

bool Accepts(const Option& option, const std::string& value) {
  return Checked(option, value).accepted();
}

std::string Refusal(const Option& option, const std::string& value) {
  return Checked(option, value).refusal;
}

}  // namespace

TEST_CASE("a number within its bounds is accepted as it was written") {
  CHECK(Checked(Number(0, 30, 3), "9.975").value == "9.975");
  CHECK(Checked(Number(0, 30, 3), " 09.5 ").value == "09.5");
  CHECK(Accepts(Number(0, 30, 3), "0"));
  CHECK(Accepts(Number(0, 30, 3), "30.000"));
  CHECK(Accepts(Number(-60, 60, 1), "-12.5"));
  CHECK(Accepts(Number(-60, 60, 1), "+.5"));
  CHECK(Accepts(Number(-60, -10, 0), "-60"));
}

TEST_CASE("a number out of its bounds is refused, naming the bounds") {
  CHECK(Refusal(Number(0, 30, 3), "30.001") ==
        "30.001 is out of range; allowed is 0 to 30, at most 3 decimals");
  CHECK_FALSE(Accepts(Number(0, 30, 3), "-0.001"));
  CHECK_FALSE(Accepts(Number(0, 30, 0), "100"));
  CHECK_FALSE(Accepts(Number(-60, -10, 0), "-9"));
  CHECK_FALSE(Accepts(Number(-60, -10, 0), "-61"));
  CHECK_FALSE(Accepts(Number(1, 9, 0), "99999999999999999999999"));
}

TEST_CASE("bounds of zero and zero do not limit a number") {
  CHECK(Accepts(Number(0, 0, 0), "123456"));
  CHECK(Accepts(Number(0, 0, 0), "-1"));
}

TEST_CASE("a number with more decimals than allowed is refused") {
  CHECK(Refusal(Number(0, 30, 2), "1.125") ==
        "1.125 has 3 decimals; allowed is 0 to 30, at most 2 decimals");
  CHECK(Refusal(Number(0, 30, 0), "1.0") == "1.0 has 1 decimal; allowed is 0 to 30, whole numbers");
}

TEST_CASE("text that is no plain decimal number is refused") {
  for (const char* text : {"", "abc", "1,5", "1e3", "--1", "-", ".", "1.2.3", "&H10", "1 0"}) {
    CAPTURE(text);
    CHECK(Refusal(Number(0, 0, 2), text).find("is not a number") != std::string::npos);
  }
}

TEST_CASE("a yes/no value takes the spelling that the file uses now") {
  Option option = OfType(KeyType::kBoolean);
  option.current_value = "1";
  CHECK(Checked(option, "true").value == "1");
  CHECK(Checked(option, "No").value == "0");
  option.current_value = "-1";
  CHECK(Checked(option, "yes").value == "-1");
  option.current_value = "False";
  CHECK(Checked(option, "1").value == "True");
}

TEST_CASE("a yes/no value without a usable current value takes the spelling of the default") {
  Option option = OfType(KeyType::kBoolean);
  option.current_value = kNotFound;
  option.default_value = "N";
  CHECK(Checked(option, "TRUE").value == "Y");
  option.default_value.clear();
  CHECK(Checked(option, "off").value == "False");
}

TEST_CASE("a word that is neither yes nor no is refused") {
  CHECK(Refusal(OfType(KeyType::kBoolean), "maybe") ==
        "\"maybe\" is neither yes nor no; write True or False");
}

TEST_CASE("a choice may be given by its value or by its description") {
  CHECK(Checked(Colours(), "2").value == "2");
  CHECK(Checked(Colours(), "night").value == "2");
  CHECK(Checked(Colours(), "auto").value == "AUTO");
}

TEST_CASE("a value that is not among the choices is refused, naming them") {
  CHECK(Refusal(Colours(), "7") ==
        "\"7\" is not one of the choices; allowed is one of: 0 (Standard), 2 (Night), AUTO");
  CHECK_FALSE(Accepts(Colours(), ""));
}

TEST_CASE("a refusal because of the definition carries the definition's comment below it") {
  Option option = Number(0, 30, 3);
  option.comment = "First tax rate.\r\nIn percent.";
  CHECK(RefusalLines(option, Checked(option, "31")) ==
        "Tax / Rate1: 31 is out of range; allowed is 0 to 30, at most 3 decimals\n"
        "  First tax rate.\n"
        "  In percent.\n");
  CHECK(RefusalLines(option, Checked(option, "\"5\"")) ==
        "Tax / Rate1: the quotation marks around the value would be lost; leave them out\n");
}

TEST_CASE("a character that the INI file cannot hold is named") {
  const auto is_ascii = [](const std::string& text) {
    return text.find_first_of("\xD0\xC3") == std::string::npos;
  };
  const Option option = OfType(KeyType::kString);
  CHECK(CheckValue(option,
                   "ab\xD0\x9F"
                   "c",
                   {{}, is_ascii})
            .refusal ==
        "the value contains the character \xD0\x9F, which the code page of the INI file does not "
        "have");
  CHECK(CheckValue(option, "abc", {{}, is_ascii}).accepted());
}

TEST_CASE("a choice option without a list takes any value") {
  CHECK(Accepts(OfType(KeyType::kChoice), "anything"));
}

TEST_CASE("a business type is refused where the site has no list") {
  CHECK_FALSE(Accepts(OfType(KeyType::kInsurance), "30"));
}

TEST_CASE("a path is refused for characters that no path has") {
  CHECK(Accepts(OfType(KeyType::kPath), "\\\\SERVER\\SHARE\\a b"));
  CHECK(Accepts(OfType(KeyType::kPath), ""));
  for (const char* path : {"C:\\A|B", "C:\\A?", "C:\\*", "<C:>"}) {
    CAPTURE(path);
    CHECK_FALSE(Accepts(OfType(KeyType::kPath), path));
  }
}

TEST_CASE("a report layout must be one of the shop's and takes its spelling") {
  CHECK(Checked(OfType(KeyType::kReport), "inv2").value == "INV2");
  CHECK(Refusal(OfType(KeyType::kReport), "INV9") ==
        "\"INV9\" is not a report layout; allowed is one of: INV1, INV2");
}

TEST_CASE("a new data folder is refused when it cannot be one, because no program would start") {
  Option path = OfType(KeyType::kPath);
  path.section = "defaults";
  path.key = "DATAPATH";
  path.local_ini = true;
  path.current_value = "C:\\Gone";
  const auto refusal = [&](const std::string& value) {
    const auto problem = [](const std::string& folder) -> std::string {
      return folder == "C:\\Shop" || folder == "\\\\SERVER\\Shop" ? ""
                                                                  : "there is no folder " + folder;
    };
    return CheckValue(path, value, {{}, nullptr, problem}).refusal;
  };
  const std::string reason = "; without its data folder no program of this workstation would start";
  CHECK(refusal("C:\\Shop").empty());
  CHECK(refusal("\\\\SERVER\\Shop").empty());
  CHECK(refusal("Z:\\nowhere") == "there is no folder Z:\\nowhere" + reason);
  CHECK(refusal("") == "no folder is named" + reason);
  CHECK(refusal("Shop") == "Shop is not a full path" + reason);
  CHECK(refusal("C:Shop") == "C:Shop is not a full path" + reason);
  CHECK(refusal("c:\\gone").empty());  // as it was
  path.key = "ScratchPath";
  CHECK(refusal("Z:\\nowhere").empty());
}

TEST_CASE("a font needs exactly seven well-formed parts") {
  const Option font = OfType(KeyType::kFont);
  CHECK(Accepts(font, "Arial|10|0|0|0|1|0"));
  CHECK(Accepts(font, "Arial|9.5|False|False|False|True|-2147483640"));
  for (const char* value : {"Arial", "Arial|10|0|0|0|1", "Arial|10|0|0|0|1|0|x", "|10|0|0|0|1|0",
                            "Arial|0|0|0|0|1|0", "Arial|ten|0|0|0|1|0", "Arial|10|2|0|0|1|0",
                            "Arial|10|0|0|0|1|red", "Arial|10|0|0|0|1|0.5"}) {
    CAPTURE(value);
    CHECK_FALSE(Accepts(font, value));
  }
}

TEST_CASE("a value longer than a record holds is refused instead of being cut") {
  const Option text = OfType(KeyType::kString);
  CHECK(Accepts(text, std::string(80, 'x')));
  CHECK(Refusal(text, std::string(81, 'x')) == "the value has 81 characters; at most 80");
  std::string accents;
  for (int count = 0; count < 80; ++count) accents += "\xC3\xA9";
  CHECK(Accepts(text, accents));
}

TEST_CASE("values that an INI file cannot give back are refused") {
  const Option text = OfType(KeyType::kString);
  CHECK_FALSE(Accepts(text, "two\r\nlines"));
  CHECK_FALSE(Accepts(text, "a\tb"));
  CHECK_FALSE(Accepts(text, "\"quoted\""));
  CHECK_FALSE(Accepts(text, "'quoted'"));
  CHECK_FALSE(Accepts(text, "NOT FOUND"));
  CHECK(Accepts(text, "it's"));
  CHECK(Accepts(text, "\""));
  CHECK(Accepts(text, "'a' and 'b"));
}

TEST_CASE("a value with a character outside the code page is refused") {
  const Surroundings surroundings{{}, [](const std::string& value) { return value == "fits"; }};
  CHECK(CheckValue(OfType(KeyType::kString), "fits", surroundings).accepted());
  CHECK_FALSE(CheckValue(OfType(KeyType::kString), "\xE6\x96\x87", surroundings).accepted());
}

TEST_CASE("blanks around a value are not kept") {
  CHECK(Checked(OfType(KeyType::kString), "  Merci  ").value == "Merci");
}

TEST_CASE("what is allowed is told in one line") {
  CHECK(AllowedValues(Number(0, 30, 3)) == "0 to 30, at most 3 decimals");
  CHECK(AllowedValues(Number(0, 0, 0)) == "whole numbers");
  CHECK(AllowedValues(Colours()) == "one of: 0 (Standard), 2 (Night), AUTO");
  CHECK(AllowedValues(OfType(KeyType::kString)).empty());
}

}  // namespace tovocfg
