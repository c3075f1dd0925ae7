// When a save runs the side effects of options, and for which site.
#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "integration/definition_shop.h"

using namespace tdefault;
using testing::DefinitionShop;
using testing::kShopFolder;
using testing::kShopGlobalIni;

namespace {

constexpr const wchar_t* kNumberingKey = L"MAKEWOANDINVOICESAMENUMBER";
const std::wstring kNumbersQuery = L"1 2 SELECT * FROM Numbers WHERE Location = ";

// A shop with one global choice option of that section, key and value.
void LoadChoice(DefinitionShop& shop, const std::wstring& section, const std::wstring& key,
                const std::string& value) {
  shop.Define(L"1", false, section, key, L"");
  shop.Run(L"UPDATE DEFAULTS SET type = 3");
  shop.machine.PutFile(kShopGlobalIni,
                       "[" + ToUtf8(section) + "]\r\n" + ToUtf8(key) + "=" + value + "\r\n");
  REQUIRE(shop.options.Initialize());
}

// The statements on table Numbers of a save with that new value.
std::vector<std::wstring> NumbersStatements(DefinitionShop& shop, const wchar_t* new_value) {
  shop.options.Item(1)->SetNewValue(new_value);
  shop.tables.calls.log.clear();
  CHECK(shop.options.Save());
  std::vector<std::wstring> statements = shop.tables.calls.Statements();
  statements.erase(
      std::remove_if(statements.begin(), statements.end(),
                     [](const auto& text) { return !text.starts_with(kNumbersQuery); }),
      statements.end());
  return statements;
}

}  // namespace

TEST_CASE("a side effect runs after its own option is written") {
  struct Case {
    const wchar_t* section;
    const wchar_t* key;
    const char* before;
    const wchar_t* after;
    const wchar_t* table;
  };
  for (const Case& side_effect : {Case{L"OPTIONS", L"KITCHOICE", "1", L"2", L"need.dbf"},
                                  {L"OPTIONS", L"KITCHOICE1", "1", L"2", L"need.dbf"},
                                  {L"Any", kNumberingKey, "False", L"True", L"numbers.dbf"}}) {
    CAPTURE(side_effect.key);
    DefinitionShop shop;
    LoadChoice(shop, side_effect.section, side_effect.key, side_effect.before);
    shop.options.Item(1)->SetNewValue(side_effect.after);
    const auto first = static_cast<std::ptrdiff_t>(shop.machine.call_count());
    CHECK(shop.options.Save());
    const auto& calls = shop.machine.calls();
    const auto written = std::find_if(calls.begin() + first, calls.end(), [](const auto& call) {
      return call.operation == "WriteEntry";
    });
    const auto opened = std::find_if(calls.begin() + first, calls.end(), [&](const auto& call) {
      return call.operation == "Open" &&
             EqualIgnoringCase(call.path, kShopFolder + L"\\" + side_effect.table);
    });
    REQUIRE(written != calls.end());
    REQUIRE(opened != calls.end());
    CHECK(written < opened);
  }
}

TEST_CASE("the counters are those of the site in the local file that the search order finds") {
  DefinitionShop shop;
  LoadChoice(shop, L"Any", kNumberingKey, "False");
  CHECK(NumbersStatements(shop, L"True") == std::vector<std::wstring>{kNumbersQuery + L"3"});
  // Profile calls look for a bare name in the Windows folder only.
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", "[Companyname]\r\nLocation=4\r\n");
  CHECK(NumbersStatements(shop, L"False") == std::vector<std::wstring>{kNumbersQuery + L"4"});
}

TEST_CASE("a numbering option that differs in letter case only changes no counter") {
  DefinitionShop shop;
  LoadChoice(shop, L"Any", kNumberingKey, "True");
  CHECK(NumbersStatements(shop, L"TRUE").empty());
  CHECK(shop.Content(kShopGlobalIni) == "[Any]\r\nMAKEWOANDINVOICESAMENUMBER=TRUE\r\n");
  CHECK(NumbersStatements(shop, L"tRUE").empty());
  CHECK(NumbersStatements(shop, L"FALSE").size() == 1);
}
