#include "tovocfg/selection.h"

#include <doctest/doctest.h>

namespace tovocfg {

namespace {

Option Make(const std::string& section, const std::string& key, bool local, const std::string& id,
            KeyType type = KeyType::kString) {
  Option option;
  option.section = section;
  option.key = key;
  option.local_ini = local;
  option.id = id;
  option.type = type;
  return option;
}

std::vector<Option> Shop() {
  return {Make("Tax", "Rate1", false, "AAAA"),
          Make("Printers", "Invoice3", true, "BBBB", KeyType::kPrinter),
          Make("tax", "Rate2", false, "CCCC"), Make("Both", "Key", true, "DDDD"),
          Make("Both", "Key", false, "EEEE")};
}

std::string IdOf(const Selection& selection) {
  return selection.option == nullptr ? "" : selection.option->id;
}

}  // namespace

TEST_CASE("an option is found by section and key in any letter case") {
  const std::vector<Option> shop = Shop();
  CHECK(IdOf(FindByKey(shop, "TAX", "rate1", 3, Scope::kBoth)) == "AAAA");
  CHECK(IdOf(FindByKey(shop, " Tax ", " Rate2 ", 3, Scope::kBoth)) == "CCCC");
}

TEST_CASE("a printer option is found without the site's number") {
  const std::vector<Option> shop = Shop();
  CHECK(IdOf(FindByKey(shop, "Printers", "Invoice", 3, Scope::kBoth)) == "BBBB");
  CHECK(IdOf(FindByKey(shop, "Printers", "Invoice3", 3, Scope::kBoth)) == "BBBB");
  CHECK(IdOf(FindByKey(shop, "Printers", "Invoice", 5, Scope::kBoth)).empty());
}

TEST_CASE("an option of exactly the key is preferred to a printer's with the site's number") {
  std::vector<Option> shop = Shop();
  shop.push_back(Make("Printers", "Check3", true, "FFFF", KeyType::kPrinter));
  shop.push_back(Make("Printers", "Check", true, "GGGG"));
  CHECK(IdOf(FindByKey(shop, "Printers", "Check", 3, Scope::kBoth)) == "GGGG");
  CHECK(IdOf(FindByKey(shop, "Printers", " Check3 ", 3, Scope::kBoth)) == "FFFF");
  CHECK(IdOf(FindByKey(shop, "Printers", " invoice ", 3, Scope::kBoth)) == "BBBB");
  shop.push_back(Make("Printers", "Invoice3", false, "HHHH", KeyType::kPrinter));
  CHECK(FindByKey(shop, "Printers", "Invoice", 3, Scope::kBoth).ambiguous);
  CHECK(IdOf(FindByKey(shop, "Printers", "Invoice", 3, Scope::kGlobal)) == "HHHH");
}

TEST_CASE("an unknown section is answered with the sections there are") {
  const std::vector<Option> shop = Shop();
  CHECK(FindByKey(shop, "Nope", "Key", 3, Scope::kBoth).problem ==
        "there is no section Nope; sections: Tax, Printers, Both");
}

TEST_CASE("a section of the other file is told apart from one that does not exist") {
  CHECK(NoSuchSection(Shop(), "PRINTERS") == "section Printers has options of the local file only");
  CHECK(NoSuchSection(Shop(), "Nope") == "there is no section Nope; sections: Tax, Printers, Both");
}

TEST_CASE("an option of the other file is told apart from one that does not exist") {
  const std::vector<Option> shop = Shop();
  CHECK(FindByKey(shop, "Tax", "rate1", 3, Scope::kLocal).problem ==
        "Tax / Rate1 is an option of the global file; leave out --local");
  CHECK(FindByKey(shop, "Printers", "Invoice3", 3, Scope::kGlobal).problem ==
        "Printers / Invoice3 is an option of the local file; leave out --global");
}

TEST_CASE("an unknown key is answered with the section's keys") {
  const std::vector<Option> shop = Shop();
  const Selection selection = FindByKey(shop, "Tax", "Rate9", 3, Scope::kBoth);
  CHECK(selection.problem == "section Tax has no option Rate9; it has: Rate1, Rate2");
  CHECK_FALSE(selection.ambiguous);
}

TEST_CASE("a key that both files hold is ambiguous until a file is chosen") {
  const std::vector<Option> shop = Shop();
  const Selection both = FindByKey(shop, "Both", "Key", 3, Scope::kBoth);
  CHECK(both.option == nullptr);
  CHECK(both.ambiguous);
  CHECK(IdOf(FindByKey(shop, "Both", "Key", 3, Scope::kLocal)) == "DDDD");
  CHECK(IdOf(FindByKey(shop, "Both", "Key", 3, Scope::kGlobal)) == "EEEE");
}

TEST_CASE("an option is found by its ID, with or without braces") {
  const std::vector<Option> shop = Shop();
  CHECK(IdOf(FindById(shop, "{bbbb}")) == "BBBB");
  CHECK(FindById(shop, "FFFF").problem == "there is no option with the ID FFFF");
}

TEST_CASE("a section where an ID is expected is answered with its keys") {
  CHECK(FindById(Shop(), "tax").problem ==
        "tax is a section; name one of its options too: Rate1, Rate2");
}

TEST_CASE("options are listed section by section in the order of their first option") {
  const std::vector<Option> shop = Shop();
  std::string order;
  for (const Option* option : OptionsOf(shop, "", Scope::kBoth)) order += option->id.substr(0, 1);
  CHECK(order == "ACBDE");
  CHECK(OptionsOf(shop, "", Scope::kLocal).size() == 2);
  CHECK(OptionsOf(shop, "TAX", Scope::kBoth).size() == 2);
  CHECK(OptionsOf(shop, "Nope", Scope::kBoth).empty());
}

}  // namespace tovocfg
