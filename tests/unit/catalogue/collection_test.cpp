#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "base/error.h"
#include "catalogue/version_text.h"
#include "unit/catalogue/shop.h"
#include "version.h"

using namespace tdefault;
using catalogue::NewOption;
using records::KEY_TYPE;
using testing::ErrorOf;
using testing::kLocalIni;
using testing::NumberOf;
using testing::Shop;

namespace {

void LoadTwo(Shop& shop) {
  shop.Define({L"abc-1", false, L"S", 0, L"k"});
  shop.Define({L"abc-2", false, L"S", 0, L"l"});
  REQUIRE(shop.options.Initialize());
}

}  // namespace

TEST_CASE("an option is found by its ID in another letter case") {
  Shop shop;
  LoadTwo(shop);
  CHECK(shop.options.Item(std::wstring(L"ABC-2"))->Key() == L"l");
}

TEST_CASE("position 1 is the first row of the table") {
  Shop shop;
  LoadTwo(shop);
  CHECK(shop.options.Item(1)->ID() == L"abc-1");
  CHECK(shop.options.Item(2.5)->ID() == L"abc-2");
  CHECK(shop.options.Item(1.5)->ID() == L"abc-2");
  CHECK(shop.options.Item(Currency{20000})->ID() == L"abc-2");
}

TEST_CASE("the stored record itself is handed out") {
  Shop shop;
  LoadTwo(shop);
  shop.options.Item(1)->SetNewValue(L"v");
  CHECK(shop.options.Item(std::wstring(L"abc-1"))->NewValue() == L"v");
  CHECK(shop.options.Item(1) == shop.options.Item(std::wstring(L"abc-1")));
  CHECK(shop.options.elements()[0] == shop.options.Item(1));
}

TEST_CASE("a position out of range and an unknown ID are invalid arguments") {
  Shop shop;
  LoadTwo(shop);
  for (const Value& index :
       {Value(0), Value(3), Value(-1), Value(std::wstring(L"abc-3")), Value(std::wstring(L"1")),
        Value(std::wstring()), Value(true), Value(2.6)}) {
    const auto error = ErrorOf([&] { return shop.options.Item(index); });
    REQUIRE(error);
    CHECK(error->number() == 5);
    CHECK(error->source() == L":Item");
    CHECK(error->description() == L"Invalid procedure call or argument");
  }
}

TEST_CASE("an index that is no number and no text is refused") {
  Shop shop;
  LoadTwo(shop);
  CHECK(NumberOf([&] { return shop.options.Item(Null()); }) == 94);
  CHECK(NumberOf([&] { return shop.options.Item(Bytes{1}); }) == 13);
  CHECK(NumberOf([&] { return shop.options.Item(1e12); }) == 6);
}

TEST_CASE("a catalogue of more than 32767 options overflows its count but not its positions") {
  Shop shop;
  for (int i = 0; i < 32767; ++i) shop.Define({L"ID" + std::to_wstring(i), false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Count() == 32767);
  shop.options.Add({});
  const auto error = ErrorOf([&] { return shop.options.Count(); });
  REQUIRE(error);
  CHECK(error->number() == 6);
  CHECK(error->source() == L":Count");
  CHECK(shop.options.Item(32768) == shop.options.elements().back());
}

TEST_CASE("an added option has its arguments, a new ID and nothing else") {
  Shop shop;
  LoadTwo(shop);
  NewOption definition;
  definition.local_ini = true;
  definition.section = L"NEW";
  definition.key = L"Color";
  definition.linkedfield = L"LINK";
  definition.option_type = KEY_TYPE::CHOICE_VALUE;
  definition.choices = L"a|Alpha\r\nb";
  definition.comment = L"what it is";
  definition.minimum = 1;
  definition.maximum = 9;
  definition.decimals = 2;
  definition.default_value = L"a";
  const auto option = shop.options.Add(definition);
  CHECK(option->ID().size() == 36);
  CHECK(option->LocalINI());
  CHECK(option->Section() == L"NEW");
  CHECK(option->Key() == L"Color");
  CHECK(option->Linkedfield() == L"LINK");
  CHECK(option->OptionType() == KEY_TYPE::CHOICE_VALUE);
  REQUIRE(option->Choices()->Count() == 2);
  CHECK(option->Choices()->Item(1)->Description() == L"Alpha");
  CHECK(option->Comment() == L"what it is");
  CHECK(option->Minimum() == 1);
  CHECK(option->Maximum() == 9);
  CHECK(option->Decimals() == 2);
  CHECK(option->Default() == L"a");
  CHECK(option->CurrentValue().empty());
  CHECK(option->NewValue().empty());
  CHECK(option->AdditionalProc().empty());
  CHECK(shop.options.Count() == 3);
  CHECK(shop.options.elements().back() == option);
  CHECK(shop.options.Item(ToLower(option->ID())) == option);
}

TEST_CASE("adding an option touches no file and no table") {
  Shop shop;
  LoadTwo(shop);
  shop.tables.store.log.clear();
  const auto files = shop.machine.AllFiles();
  shop.options.Add({});
  CHECK(shop.tables.store.log.empty());
  CHECK(shop.machine.AllFiles() == files);
}

TEST_CASE("two additions of the same arguments are two options") {
  Shop shop;
  const auto first = shop.options.Add({});
  const auto second = shop.options.Add({});
  CHECK(first->ID() != second->ID());
  CHECK(shop.options.Count() == 2);
}

TEST_CASE("an added per-site key gets the location number without being trimmed first") {
  Shop shop;
  NewOption definition;
  definition.option_type = KEY_TYPE::PRINTER_VALUE;
  definition.key = L"Printer";
  CHECK(shop.options.Add(definition)->Key() == L"Printer3");
  definition.key = L"Printer ";
  CHECK(shop.options.Add(definition)->Key() == L"Printer 3");
  definition.key = L"reportDEVICE";
  CHECK(shop.options.Add(definition)->Key() == L"reportDEVICE");
  definition.option_type = KEY_TYPE::STRING_VALUE;
  definition.key = L"Printer";
  CHECK(shop.options.Add(definition)->Key() == L"Printer");
}

TEST_CASE("an added per-site key without a numeric location stays as it is") {
  Shop shop;
  shop.machine.PutFile(kLocalIni, "");
  NewOption definition;
  definition.option_type = KEY_TYPE::PRINTER_VALUE;
  definition.key = L"Printer";
  CHECK(shop.options.Add(definition)->Key() == L"Printer");
}

TEST_CASE("an added business-type option takes its choices from its text") {
  Shop shop;
  NewOption definition;
  definition.option_type = KEY_TYPE::INSURANCE_VALUE;
  definition.choices = L"x|y";
  const auto option = shop.options.Add(definition);
  REQUIRE(option->Choices()->Count() == 1);
  CHECK(option->Choices()->Item(1)->Item() == L"x");
  CHECK(shop.tables.store.log.empty());
}

TEST_CASE("without a new identifier nothing is added") {
  Shop shop;
  shop.machine.SetGuidSourceFailing(true);
  const auto error = ErrorOf([&] { return shop.options.Add({}); });
  REQUIRE(error);
  CHECK(error->source() == L":Add");
  CHECK(shop.options.Count() == 0);
}

TEST_CASE("an added option is gone after the next load") {
  Shop shop;
  LoadTwo(shop);
  shop.options.Add({});
  shop.options.Refresh();
  CHECK(shop.options.Count() == 2);
}

TEST_CASE("the version is major, minor and revision") {
  Shop shop;
  CHECK(shop.options.Version() == std::to_wstring(TDEFAULT_VERSION_MAJOR) + L"." +
                                      std::to_wstring(TDEFAULT_VERSION_MINOR) + L"." +
                                      std::to_wstring(TDEFAULT_VERSION_REVISION));
}

TEST_CASE("file version 1.3.0.1 is shown as 1.3.1") {
  CHECK(catalogue::VersionText(1, 3, 1) == L"1.3.1");
  CHECK(catalogue::VersionText(10, 0, 257) == L"10.0.257");
}
