#include "tovocfg/import_plan.h"

#include <doctest/doctest.h>

#include "sample_options.h"

namespace tovocfg {

namespace {

ImportPlan Planned(const std::vector<Setting>& settings, const std::vector<Option>& options,
                   const ImportRules& rules = {}) {
  ExchangeFile file;
  file.options = settings;
  return PlanImport(file, options, rules, {{"INV1", "INV2"}, nullptr});
}

Setting With(Setting setting, const std::optional<std::string>& value) {
  setting.value = value;
  return setting;
}

// The value that the only change sets.
std::string NewValue(const ImportPlan& plan) {
  CHECK(plan.refusals.empty());
  REQUIRE(plan.changes.size() == 1);
  return plan.changes.front().new_value;
}

}  // namespace

TEST_CASE("what was exported from here changes nothing") {
  const std::vector<Option> options = {RateOption("5.000"), ColourOption("2"),
                                       FontOption("Arial|9|0|0|0|0|0"), PrinterOption("3", "Laser"),
                                       MakeOption("Tax", "Rate3", KeyType::kNumeric, kNotFound)};
  std::vector<Setting> settings;
  for (const Option& option : options) settings.push_back(SettingOf(option));
  const ImportPlan plan = Planned(settings, options);
  CHECK(plan.in_scope == 5);
  CHECK(plan.changes.empty());
  CHECK(plan.kept.empty());
  CHECK(plan.refusals.empty());
}

TEST_CASE("a value that is here already is not checked, since nothing would be changed") {
  const std::vector<Option> options = {RateOption("99")};
  CHECK(Planned({SettingOf(options[0])}, options).refusals.empty());
}

TEST_CASE("an accepted value is stored as the file has it") {
  const std::vector<Option> number = {RateOption("5")};
  CHECK(NewValue(Planned({With(SettingOf(number[0]), "05.10")}, number)) == "05.10");
  const std::vector<Option> flag = {MakeOption("S", "K", KeyType::kBoolean, "0")};
  CHECK(NewValue(Planned({With(SettingOf(flag[0]), "True")}, flag)) == "True");
  std::vector<Option> choice = {ColourOption("2")};
  choice[0].choices = {{"L", "Labour"}, {"P", "Parts"}};
  CHECK(NewValue(Planned({With(SettingOf(choice[0]), "l")}, choice)) == "l");
  CHECK(NewValue(Planned({With(SettingOf(choice[0]), "Parts")}, choice)) == "P");
}

TEST_CASE("every refusal is told, with the option's own bounds, choices and comment") {
  const std::vector<Option> options = {RateOption("5"), ColourOption("2")};
  const ImportPlan plan =
      Planned({With(SettingOf(options[0]), "31"), With(SettingOf(options[1]), "9"),
               SettingOf(MakeOption("Tax", "Gone", KeyType::kString, "x"))},
              options);
  CHECK(plan.refusals ==
        "Tax / Rate1: 31 is out of range; allowed is 0 to 30, at most 3 decimals\n"
        "  First tax rate.\n"
        "Windows / ColourScheme: \"9\" is not one of the choices; allowed is one of: 0 (Standard), "
        "2 (Night)\n"
        "Tax / Gone (global): there is no such option here\n"
        "Options that do not exist here can be left out with --skip-unknown.\n");
}

TEST_CASE("options that are unknown here are left out when asked for, and named") {
  const std::vector<Option> options = {RateOption("5")};
  ImportRules rules;
  rules.skip_unknown = true;
  const ImportPlan plan =
      Planned({SettingOf(MakeOption("Tax", "Gone", KeyType::kString, "x"))}, options, rules);
  CHECK(plan.refusals.empty());
  CHECK(FormatImportNotes(plan, 3, 3) == "Skipped, no such option here: Tax / Gone (global)\n");
}

TEST_CASE("an unknown option whose ID is known is told as renamed") {
  const std::vector<Option> options = {RateOption("5")};
  Setting renamed = SettingOf(options[0]);
  renamed.key = "OldRate";
  CHECK(Planned({renamed}, options).refusals.find("its ID belongs to Tax / Rate1 (global)") !=
        std::string::npos);
}

TEST_CASE("an ID of another option here is refused, an unknown one is only noted") {
  const std::vector<Option> options = {RateOption("5"), ColourOption("2")};
  Setting setting = With(SettingOf(options[0]), "6");
  setting.id = options[1].id;
  CHECK(Planned({setting}, options)
            .refusals.find("its ID belongs to Windows / ColourScheme (local) here") !=
        std::string::npos);
  setting.id = "elsewhere";
  const ImportPlan plan = Planned({setting}, options);
  CHECK(NewValue(plan) == "6");
  CHECK(FormatImportNotes(plan, 3, 3) ==
        "1 option with another ID than in the file, found by section and key\n");
}

TEST_CASE("an option that stands in the file twice is refused") {
  const std::vector<Option> options = {RateOption("5")};
  const Setting setting = With(SettingOf(options[0]), "6");
  CHECK(Planned({setting, setting}, options).refusals ==
        "Tax / Rate1 (global): it stands in the file twice; keep one of them\n");
}

TEST_CASE("definitions that share a key take one value from the file, not two") {
  std::vector<Option> options = {RateOption("5"), RateOption("5")};
  options[1].id = "second";
  const Setting first = With(SettingOf(options[0]), "6");
  CHECK(Planned({first, With(SettingOf(options[1]), "6")}, options).changes.size() == 2);
  CHECK(Planned({first, With(SettingOf(options[1]), "7")}, options)
            .refusals.find("twice, with different values") != std::string::npos);
}

TEST_CASE("an option without a value in the file stays as it is, and is named") {
  const std::vector<Option> options = {RateOption("5")};
  const ImportPlan plan = Planned({With(SettingOf(options[0]), std::nullopt)}, options);
  CHECK(plan.changes.empty());
  CHECK(FormatImportNotes(plan, 3, 3) == "Tax / Rate1: \"5\" stays; the file has no value\n");
}

TEST_CASE("an empty value is set, also where there was no key") {
  const std::vector<Option> options = {MakeOption("S", "K", KeyType::kString, kNotFound)};
  CHECK(NewValue(Planned({With(SettingOf(options[0]), "")}, options)).empty());
}

TEST_CASE("section and file restrict what is imported, and what is checked") {
  const std::vector<Option> options = {RateOption("5"), ColourOption("2")};
  const std::vector<Setting> settings = {With(SettingOf(options[0]), "99"),
                                         With(SettingOf(options[1]), "0")};
  CHECK(NewValue(Planned(settings, options, {"", Scope::kLocal, false})) == "0");
  CHECK(NewValue(Planned(settings, options, {"WINDOWS", Scope::kBoth, false})) == "0");
  CHECK(Planned(settings, options, {"Windows", Scope::kGlobal, false}).in_scope == 0);
}

TEST_CASE("a font is restored with all its parts") {
  const std::vector<Option> options = {FontOption("Arial|9|0|0|0|0|0")};
  Setting setting = SettingOf(FontOption("Arial|12|0|0|0|1|0"));
  CHECK(NewValue(Planned({setting}, options)) == "Arial|12|0|0|0|1|0");
  setting.font.clear();
  CHECK(Planned({setting}, options).changes.empty());
  setting.value = "Verdana";
  CHECK(Planned({setting}, options).refusals.find("a font has 7 parts") != std::string::npos);
  setting.value = "Verdana|8|0|0|0|0|0";
  CHECK(NewValue(Planned({setting}, options)) == "Verdana|8|0|0|0|0|0");
}

TEST_CASE("the key of another site becomes that of the site here, which is told") {
  const std::vector<Option> options = {PrinterOption("5", "Old")};
  const ImportPlan plan = Planned({SettingOf(PrinterOption("3", "Laser"))}, options);
  CHECK(NewValue(plan) == "Laser");
  CHECK(plan.changes.front().option == &options[0]);
  CHECK(FormatImportNotes(plan, 3, 5) == "1 option of site 3, taken for site 5\n");
}

}  // namespace tovocfg
