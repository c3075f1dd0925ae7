#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/error.h"
#include "unit/catalogue/shop.h"

using namespace tdefault;
using records::KEY_TYPE;
using testing::Definition;
using testing::ErrorOf;
using testing::kDefinitions;
using testing::kGlobalIni;
using testing::kLocalIni;
using testing::NumberOf;
using testing::Shop;

namespace {

const std::wstring kBusinessTypes =
    L"SELECT Idnumber, Text FROM OPTIONS WHERE Type = (SELECT DISTINCT Idnumber FROM OPTIONS WHERE "
    L"UPPER(Text)='CUSTOMER BUSINESS TYPE' And Type = 0 And Location = 3) And Location = 3 ORDER "
    L"BY "
    L"Idnumber";

enum Column : std::size_t {
  kId,
  kLocal,
  kSection,
  kType,
  kKey,
  kLinkfield,
  kChoices,
  kMinimum,
  kMaximum,
  kDecimals,
  kDefault,
  kComment,
  kProc
};

void PutBusinessTypes(Shop& shop) {
  auto& result = shop.tables.store.results[kBusinessTypes];
  result.columns = {L"Idnumber", L"Text"};
  result.rows = {{4.0, std::wstring(L"Retail   ")}, {7.0, std::wstring(L"  Fleet ")}};
}

}  // namespace

TEST_CASE("an empty definition table loads as an empty catalogue") {
  Shop shop;
  CHECK(shop.options.Initialize());
  CHECK(shop.options.Count() == 0);
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("every column of a definition becomes a field of its option") {
  Shop shop;
  shop.machine.PutFile(kGlobalIni, "[OPTIONS]\r\nColor=red\r\n");
  Definition definition{L"708AC166-84DC-11D4-B262-0050DA5596B9", false, L"OPTIONS", 3, L"Color"};
  definition.choices = L"red|Red paint\r\nblue";
  definition.linkfield = L"LINK";
  definition.minimum = -5;
  definition.maximum = 500;
  definition.decimals = 2;
  definition.default_value = L"blue";
  definition.comment = L"The color\r\nof it";
  definition.additional_proc = L"  A.B:Run ";
  shop.Define(definition);
  REQUIRE(shop.options.Initialize());
  const auto option = shop.options.Item(1);
  CHECK(option->ID() == L"708AC166-84DC-11D4-B262-0050DA5596B9");
  CHECK_FALSE(option->LocalINI());
  CHECK(option->Section() == L"OPTIONS");
  CHECK(option->OptionType() == KEY_TYPE::CHOICE_VALUE);
  CHECK(option->Key() == L"Color");
  CHECK(option->Linkedfield() == L"LINK");
  REQUIRE(option->Choices() != nullptr);
  REQUIRE(option->Choices()->Count() == 2);
  CHECK(option->Choices()->Item(1)->Item() == L"red");
  CHECK(option->Choices()->Item(1)->Description() == L"Red paint");
  CHECK(option->Choices()->Item(2)->Item() == L"blue");
  CHECK(option->Choices()->Item(2)->Description().empty());
  CHECK(option->Minimum() == -5);
  CHECK(option->Maximum() == 500);
  CHECK(option->Decimals() == 2);
  CHECK(option->Default() == L"blue");
  CHECK(option->Comment() == L"The color\r\nof it");
  CHECK(option->CurrentValue() == L"red");
  CHECK(option->NewValue() == L"red");
  CHECK(option->AdditionalProc() == L"A.B:Run");
  CHECK_FALSE(option->Commented());
}

TEST_CASE(
    "definitions are read through a client cursor in reading mode, and everything is closed") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  shop.options.SetINIFile(L"");
  CHECK(shop.tables.store.log ==
        std::vector<std::wstring>{
            L"make connection",
            L"connection.string Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP;"
            L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;",
            L"connection.cursor_location 3", L"connection.mode 1", L"connection.open",
            L"connection.execute SELECT * FROM DEFAULTS", L"recordset.move_first",
            L"recordset.close", L"connection.close"});
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("options keep the order of the table") {
  Shop shop;
  for (const wchar_t* id : {L"C", L"A", L"B"}) shop.Define({id, false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->ID() == L"C");
  CHECK(shop.options.Item(2)->ID() == L"A");
  CHECK(shop.options.Item(3)->ID() == L"B");
}

TEST_CASE("two definitions of the same ID fail the load at the second, and the first stays") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  shop.Define({L"a", false, L"S", 0, L"l"});
  shop.Define({L"B", false, L"S", 0, L"m"});
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == 457);
  CHECK(error->source() == L"InitOptCollection");
  CHECK(
      error->description() ==
      L"InitOptCollection routine, line 22; This key is already associated with an element of this "
      L"collection");
  CHECK(shop.options.Count() == 1);
  CHECK(shop.options.Item(1)->Key() == L"k");
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("a null in any column names its step and closes everything") {
  struct Row {
    Column column;
    int step;
  };
  for (const Row& row :
       {Row{kId, 6}, Row{kLocal, 7}, Row{kSection, 8}, Row{kType, 9}, Row{kKey, 10},
        Row{kLinkfield, 12}, Row{kChoices, 13}, Row{kMinimum, 14}, Row{kMaximum, 15},
        Row{kDecimals, 16}, Row{kDefault, 17}, Row{kComment, 18}, Row{kProc, 21}}) {
    CAPTURE(row.step);
    Shop shop;
    shop.Define({L"A", false, L"S", 0, L"k"});
    shop.Define({L"B", false, L"S", 0, L"l"});
    shop.rows()[1][row.column] = Null();
    const auto error = ErrorOf([&] { return shop.options.Initialize(); });
    REQUIRE(error);
    CHECK(error->number() == 94);
    CHECK(error->source() == L"InitOptCollection");
    CHECK(error->description() == L"InitOptCollection routine, line " + std::to_wstring(row.step) +
                                      L"; Invalid use of Null");
    CHECK(shop.options.Count() == 1);
    CHECK(shop.tables.nothing_open());
  }
}

TEST_CASE("a text where a number belongs and a number too large fail the load") {
  struct Row {
    Column column;
    Value value;
    std::int32_t number;
  };
  for (const Row& row : {Row{kType, std::wstring(L"x"), 13}, Row{kMinimum, 40000, 6},
                         Row{kMaximum, -40000, 6}, Row{kDecimals, std::wstring(), 13},
                         Row{kType, 1e10, 6}, Row{kLocal, std::wstring(L"x"), 13}}) {
    Shop shop;
    shop.Define({L"A", false, L"S", 0, L"k"});
    shop.rows()[0][row.column] = row.value;
    CHECK(NumberOf([&] { return shop.options.Initialize(); }) == row.number);
  }
}

TEST_CASE("each step before the rows has a number of its own in the error") {
  struct Row {
    const char* step;
    const wchar_t* line;
  };
  for (const Row& row :
       {Row{"connection.open", L"line 2; why"}, Row{"make connection", L"line 2; why"},
        Row{"connection.execute ", L"line 3; why"}, Row{"recordset.move_first", L"line 4; why"},
        Row{"recordset.move_next", L"line 23; why"}, Row{"recordset.close", L"line 24; why"},
        Row{"connection.close", L"line 24; why"}}) {
    CAPTURE(row.step);
    Shop shop;
    shop.Define({L"A", false, L"S", 0, L"k"});
    shop.tables.Fail(row.step, Error(error_number::kTableDamaged, L"Engine", L"why"));
    const auto error = ErrorOf([&] { return shop.options.Initialize(); });
    REQUIRE(error);
    CHECK(error->number() == error_number::kTableDamaged);
    CHECK(error->source() == L"InitOptCollection");
    CHECK(error->description() == std::wstring(L"InitOptCollection routine, ") + row.line);
    CHECK(shop.tables.nothing_open());
  }
}

TEST_CASE("a column that the table lacks fails the load at its step") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  shop.tables.store.results[kDefinitions].columns[kComment] = L"REMARK";
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == error_number::kNoSuchItem);
  CHECK(error->description().find(L"line 18; ") != std::wstring::npos);
}

TEST_CASE("an error in closing after a failure does not hide the failure") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  shop.rows()[0][kKey] = Null();
  shop.tables.Fail("recordset.close", Error(error_number::kTableDamaged, L"Engine", L"why"));
  CHECK(NumberOf([&] { return shop.options.Initialize(); }) == 94);
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("a failed load has dropped what was loaded before") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  const auto held = shop.options.Item(1);
  shop.tables.Fail("connection.open", Error(error_number::kTableDamaged, L"Engine", L"why"));
  CHECK(NumberOf([&] { shop.options.Refresh(); }) != 0);
  CHECK(shop.options.Count() == 0);
  CHECK(held->ID() == L"A");
}

TEST_CASE("a per-site key gets the location number behind its trimmed text") {
  Shop shop;
  shop.machine.PutFile(kGlobalIni, "[P]\r\nPrinter=wrong\r\nPrinter3=laser\r\n");
  shop.Define({L"A", false, L"P", 5, L"  Printer  "});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->Key() == L"Printer3");
  CHECK(shop.ValueOf(L"A") == L"laser");
}

TEST_CASE("a per-site key without a numeric location is only trimmed") {
  for (const char* text : {"[Companyname]\r\nLocation=three\r\n", ""}) {
    Shop shop;
    shop.machine.PutFile(kLocalIni, text);
    shop.options.SetDataPath(L"C:\\SHOP");
    shop.Define({L"A", false, L"P", 5, L"  Printer  "});
    REQUIRE(shop.options.Initialize());
    CHECK(shop.options.Item(1)->Key() == L"Printer");
  }
}

TEST_CASE("the key ReportDevice in any letter case never gets a location number") {
  Shop shop;
  shop.Define({L"A", false, L"P", 5, L"ReportDevice"});
  shop.Define({L"B", false, L"P", 5, L"REPORTDEVICE"});
  shop.Define({L"C", false, L"P", 0, L"Printer"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->Key() == L"ReportDevice");
  CHECK(shop.options.Item(2)->Key() == L"REPORTDEVICE");
  CHECK(shop.options.Item(3)->Key() == L"Printer");
}

TEST_CASE("the location number of a key comes from the Windows folder for a bare INI name") {
  Shop shop;
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", "[Companyname]\r\nLocation=8\r\n");
  shop.Define({L"A", false, L"P", 5, L"Printer"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Location() == 8);
  CHECK(shop.options.Item(1)->Key() == L"Printer3");
}

TEST_CASE("a local option reads the local file and a global one the global file") {
  Shop shop;
  shop.machine.PutFile(kLocalIni, "[Defaults]\r\nDataPath=C:\\SHOP\r\n[S]\r\nk=local\r\n");
  shop.machine.PutFile(kGlobalIni, "[S]\r\nk=global\r\n");
  shop.Define({L"A", true, L"S", 0, L"k"});
  shop.Define({L"B", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.ValueOf(L"A") == L"local");
  CHECK(shop.ValueOf(L"B") == L"global");
}

TEST_CASE("an option whose key is absent reads Not found and is to be saved as that") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"absent"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->CurrentValue() == L"Not found");
  CHECK(shop.options.Item(1)->NewValue() == L"Not found");
}

TEST_CASE("a local option whose INI file cannot be found reads Not found") {
  Shop shop;
  shop.options.SetDataPath(L"C:\\SHOP");
  shop.machine.RemoveFile(kLocalIni);
  shop.Define({L"A", true, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.ValueOf(L"A") == L"Not found");
}

TEST_CASE("an option in a global file that is missing reads Not found") {
  Shop shop;
  shop.machine.RemoveFile(kGlobalIni);
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.ValueOf(L"A") == L"Not found");
}

TEST_CASE("a value of 100 characters loads as its first 80") {
  Shop shop;
  const std::string value = std::string(79, 'a') + "b" + std::string(20, 'c');
  shop.machine.PutFile(kGlobalIni, "[S]\r\nk=" + value + "\r\n");
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->CurrentValue() == std::wstring(79, L'a') + L"b");
  CHECK(shop.options.Item(1)->NewValue() == std::wstring(79, L'a') + L"b");
}

TEST_CASE("an additional module of blanks only is none") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->AdditionalProc().empty());
}

TEST_CASE("choices are the lines of the column, split at the first bar") {
  Shop shop;
  Definition definition{L"A", false, L"S", 3, L"k"};
  definition.choices = L"1|Yes|or so\r\n\r\n0\r\n|nothing\r\n";
  shop.Define(definition);
  definition.id = L"B";
  definition.choices = L"";
  shop.Define(definition);
  REQUIRE(shop.options.Initialize());
  const auto choices = shop.options.Item(1)->Choices();
  REQUIRE(choices->Count() == 5);
  CHECK(choices->Item(1)->Item() == L"1");
  CHECK(choices->Item(1)->Description() == L"Yes|or so");
  CHECK(choices->Item(2)->Item().empty());
  CHECK(choices->Item(3)->Item() == L"0");
  CHECK(choices->Item(4)->Item().empty());
  CHECK(choices->Item(4)->Description() == L"nothing");
  CHECK(choices->Item(5)->Item().empty());
  CHECK(shop.options.Item(2)->Choices()->Count() == 0);
}

TEST_CASE("a business-type option has the location's business types and ignores its own choices") {
  Shop shop;
  PutBusinessTypes(shop);
  Definition definition{L"A", false, L"S", 8, L"k"};
  shop.Define(definition);
  // Not even a null there is looked at.
  shop.rows()[0][kChoices] = Null();
  REQUIRE(shop.options.Initialize());
  const auto choices = shop.options.Item(1)->Choices();
  REQUIRE(choices->Count() == 2);
  CHECK(choices->Item(1)->Item() == L"4");
  CHECK(choices->Item(1)->Description() == L"Retail");
  CHECK(choices->Item(2)->Item() == L"7");
  CHECK(choices->Item(2)->Description() == L"Fleet");
}

TEST_CASE("business types are queried once per load and every option has a list of its own") {
  Shop shop;
  PutBusinessTypes(shop);
  for (const wchar_t* id : {L"A", L"B", L"C"}) shop.Define({id, false, L"S", 8, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(std::count(shop.tables.store.log.begin(), shop.tables.store.log.end(),
                   L"connection.execute " + kBusinessTypes) == 1);
  shop.options.Item(1)->Choices()->Add(L"9", L"mine");
  CHECK(shop.options.Item(1)->Choices()->Count() == 3);
  CHECK(shop.options.Item(2)->Choices()->Count() == 2);
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("no business types are queried when no option wants them") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  for (const std::wstring& line : shop.tables.store.log)
    CHECK(line.find(L"OPTIONS") == std::wstring::npos);
}

TEST_CASE("a location without business types has an empty list") {
  Shop shop;
  PutBusinessTypes(shop);
  shop.tables.store.results[kBusinessTypes].rows.clear();
  shop.Define({L"A", false, L"S", 8, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->Choices()->Count() == 0);
}

TEST_CASE("an error in the business types ends their list and is not raised") {
  Shop shop;
  PutBusinessTypes(shop);
  shop.tables.store.results[kBusinessTypes].rows[1][1] = Null();
  shop.Define({L"A", false, L"S", 8, L"k"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Item(1)->Choices()->Count() == 1);
  shop.tables.store.results.erase(kBusinessTypes);
  shop.options.Refresh();
  CHECK(shop.options.Item(1)->Choices()->Count() == 0);
  CHECK(shop.tables.nothing_open());
}

TEST_CASE(
    "the location of the business types comes from the local INI file that the search finds") {
  Shop shop;
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", "[Companyname]\r\nLocation=8\r\n");
  shop.Define({L"A", false, L"S", 8, L"k"});
  REQUIRE(shop.options.Initialize());
  const auto asked = [&](const std::wstring& text) {
    return std::any_of(
        shop.tables.store.log.begin(), shop.tables.store.log.end(),
        [&](const std::wstring& line) { return line.find(text) != std::wstring::npos; });
  };
  CHECK(asked(L"And Type = 0 And Location = 8) And Location = 8 ORDER BY"));
}

TEST_CASE("loading costs one profile read per option and looks each column up once") {
  const auto reads_of = [](int count) {
    Shop shop;
    for (int i = 0; i < count; ++i)
      shop.Define({L"ID" + std::to_wstring(i), i % 2 == 0, L"S", i % 7 == 0 ? 5 : 0, L"k"});
    shop.options.SetINIFile(L"");
    CHECK(shop.tables.store.lookups_by_name == 13);
    return shop.CallsOf("ReadEntry");
  };
  CHECK(reads_of(300) - reads_of(100) == 200);
  const auto other_calls_of = [](int count) {
    Shop shop;
    for (int i = 0; i < count; ++i) shop.Define({L"ID" + std::to_wstring(i), true, L"S", 5, L"k"});
    shop.options.SetINIFile(L"");
    return shop.machine.call_count() - shop.CallsOf("ReadEntry");
  };
  CHECK(other_calls_of(300) == other_calls_of(100));
}
