#include "reports/Reports.h"

#include <doctest/doctest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/simulation/simulation.h"
#include "unit/fake_tables.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;
using reports::Reports;
using testing::ErrorOf;
using testing::FakeTables;
using testing::NumberOf;

namespace {

const std::wstring kStatement = L"SELECT * FROM REPORTS";
const std::wstring kLocalIni = L"C:\\Windows\\TOVO.INI";

std::wstring Padded(std::wstring text, std::size_t width) {
  text.resize(width, L' ');
  return text;
}

// Two layouts, one with a picture, in a data folder that the local INI file names.
struct Shop {
  Shop() {
    machine.PutFile(kLocalIni,
                    "[Defaults]\r\nDataPath=C:\\SHOP\r\n[InvoiceControl]\r\nInvoiceStyle=inv2\r\n");
    AddLayout(L"Plain", L"One page", Null(), L"INV1");
    AddLayout(L"With logo", L"", Bytes{1, 2, 3}, L"INV2");
    tables.store.results[kStatement].columns = {L"Name", L"Descipt", L"Picture", L"ReportName"};
  }

  void AddLayout(const std::wstring& name, const std::wstring& description, Value picture,
                 const std::wstring& report_name) {
    tables.store.results[kStatement].rows.push_back(
        {Padded(name, 40), description, std::move(picture), Padded(report_name, 10)});
  }

  std::shared_ptr<Reports> Load() {
    return std::make_shared<Reports>(machine.platform(), tables, location);
  }

  Simulation machine;
  FakeTables tables;
  support::LocationState location;
};

std::string Written(const Shop& shop) { return *shop.machine.Contents(kLocalIni); }

}  // namespace

TEST_CASE("the layouts load in table order with their texts") {
  Shop shop;
  const auto reports = shop.Load();
  REQUIRE(reports->Count() == 2);
  CHECK(reports->Item(1)->Name() == L"Plain");
  CHECK(reports->Item(1)->Description() == L"One page");
  CHECK(reports->Item(1)->ReportName() == L"INV1");
  CHECK(reports->Item(1)->NewReport() == L"INV1");
  CHECK(reports->Item(2)->Name() == L"With logo");
  CHECK(reports->elements()[1] == reports->Item(2));
}

TEST_CASE("layouts are read through a client cursor, forward only, and everything is closed") {
  Shop shop;
  shop.Load();
  CHECK(shop.tables.store.log ==
        std::vector<std::wstring>{
            L"make connection", L"connection.cursor_location 3",
            L"connection.string Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP;"
            L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;",
            L"connection.mode 1", L"connection.open", L"recordset.cursor_location 3",
            L"recordset.open 0 1 SELECT * FROM REPORTS", L"recordset.close", L"connection.close"});
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("a stored style flags the layout of that name in any letter case") {
  Shop shop;
  const auto reports = shop.Load();
  CHECK_FALSE(reports->Item(1)->CurrentReport());
  CHECK(reports->Item(2)->CurrentReport());
}

TEST_CASE("without a stored style no layout is the current one") {
  Shop shop;
  shop.AddLayout(L"nameless", L"", Null(), L"");
  shop.AddLayout(L"trap", L"", Null(), L"Not found");
  for (const char* text :
       {"[Defaults]\r\nDataPath=C:\\SHOP\r\n", "[InvoiceControl]\r\nInvoiceStyle=\r\n"}) {
    shop.machine.PutFile(kLocalIni, text);
    const auto reports = shop.Load();
    for (const auto& report : reports->elements()) CHECK_FALSE(report->CurrentReport());
  }
  shop.machine.RemoveFile(kLocalIni);
  const auto reports = shop.Load();
  for (const auto& report : reports->elements()) CHECK_FALSE(report->CurrentReport());
}

TEST_CASE("a layout without picture bytes has no picture") {
  Shop shop;
  shop.AddLayout(L"empty", L"", Bytes{}, L"INV3");
  const auto reports = shop.Load();
  CHECK_FALSE(reports->Item(1)->Picture().has_value());
  CHECK(reports->Item(2)->Picture() == Bytes{1, 2, 3});
  CHECK_FALSE(reports->Item(3)->Picture().has_value());
}

TEST_CASE("a picture in a text memo gives the bytes its characters stand for") {
  Shop shop;
  shop.AddLayout(L"memo", L"", std::wstring(L"\x20AC\x0081z"), L"INV3");
  CHECK(shop.Load()->Item(3)->Picture() == Bytes{0x80, 0x81, 'z'});
  shop.AddLayout(L"of another code page", L"", std::wstring(L"\x03C0\x00C7z"), L"INV4");
  shop.tables.store.results[kStatement].code_page = *CodePage::Find(437);
  CHECK(shop.Load()->Item(4)->Picture() == Bytes{0xE3, 0x80, 'z'});
}

TEST_CASE("a layout's name is cut to 30 characters and its code to 8") {
  Shop shop;
  shop.AddLayout(std::wstring(35, L'n'), L" d ", Null(), L"INVOICE123");
  const auto report = shop.Load()->Item(3);
  CHECK(report->Name() == std::wstring(30, L'n'));
  CHECK(report->Description() == L" d ");
  CHECK(report->ReportName() == L"INVOICE1");
  CHECK(report->NewReport() == L"INVOICE1");
  report->SetNewReport(L"  ABCDEFGHIJ ");
  CHECK(report->NewReport() == L"ABCDEF");
}

TEST_CASE("a stored style of more than 8 characters flags no layout, not even its cut one") {
  Shop shop;
  shop.AddLayout(L"cut", L"", Null(), L"INVOICE12");
  shop.machine.PutFile(
      kLocalIni,
      "[Defaults]\r\nDataPath=C:\\SHOP\r\n[InvoiceControl]\r\nInvoiceStyle=INVOICE12\r\n");
  const auto reports = shop.Load();
  REQUIRE(reports->Item(3)->ReportName() == L"INVOICE1");
  for (const auto& report : reports->elements()) CHECK_FALSE(report->CurrentReport());
}

TEST_CASE("a layout is found by its code in any letter case or by its position") {
  Shop shop;
  const auto reports = shop.Load();
  CHECK(reports->Item(std::wstring(L"inv1")) == reports->Item(1));
  CHECK(reports->Item(1.6)->ReportName() == L"INV2");
  CHECK(NumberOf([&] { return reports->Item(std::wstring(L"INV9")); }) == 5);
  CHECK(NumberOf([&] { return reports->Item(0); }) == 9);
  CHECK(NumberOf([&] { return reports->Item(3); }) == 9);
  CHECK(NumberOf([&] { return reports->Item(Null()); }) == 94);
  CHECK(ErrorOf([&] { return reports->Item(3); })->source() == L"Reports:Item");
}

TEST_CASE("a failed load is an error of its own with the number of its cause") {
  struct Row {
    const char* step;
    std::int32_t number;
  };
  for (const Row& row : {Row{"connection.open", error_number::kTableDamaged},
                         Row{"recordset.open ", error_number::kNoSuchTable},
                         Row{"recordset.move_next", error_number::kTableDamaged}}) {
    CAPTURE(row.step);
    Shop shop;
    shop.tables.Fail(row.step, Error(row.number, L"Engine", L"why"));
    const auto error = ErrorOf([&] { return shop.Load(); });
    REQUIRE(error);
    CHECK(error->number() == row.number);
    CHECK(error->source() == L"Reports:Class_Initialize");
    CHECK(error->description() == L"Reports initialization, 'InitRepCollection' failed.");
    CHECK(shop.tables.nothing_open());
  }
}

TEST_CASE("two layouts of the same code end the load at the second") {
  Shop shop;
  const auto reports = shop.Load();
  shop.AddLayout(L"again", L"", Null(), L"inv1");
  shop.AddLayout(L"behind", L"", Null(), L"INV4");
  CHECK(NumberOf([&] { return shop.Load(); }) == 457);
  reports->Refresh();
  CHECK(reports->Count() == 2);
  CHECK(shop.tables.nothing_open());
}

TEST_CASE("a null text fails the load") {
  Shop shop;
  shop.tables.store.results[kStatement].rows[0][0] = Null();
  CHECK(NumberOf([&] { return shop.Load(); }) == 94);
}

TEST_CASE("refreshing reads table and style again and reports no failure") {
  Shop shop;
  const auto reports = shop.Load();
  const auto held = reports->Item(2);
  shop.machine.PutFile(kLocalIni, "[InvoiceControl]\r\nInvoiceStyle=INV1\r\n");
  reports->Refresh();
  CHECK(reports->Item(1)->CurrentReport());
  CHECK_FALSE(reports->Item(2)->CurrentReport());
  CHECK(reports->Item(2) != held);
  CHECK(held->CurrentReport());
  shop.tables.Fail("connection.open", Error(error_number::kTableDamaged, L"", L""));
  reports->Refresh();
  CHECK(reports->Count() == 0);
}

TEST_CASE(
    "saving a layout without pricing writes the style, the style with D$ and the name as passed") {
  Shop shop;
  const auto reports = shop.Load();
  CHECK_FALSE(reports->SaveReports(L"inv2", false, kLocalIni));
  CHECK(Written(shop) ==
        "[Defaults]\r\nDataPath=C:\\SHOP\r\n[InvoiceControl]\r\nInvoiceStyle=INV2\r\n"
        "DedInvoiceStyle=INV2D$\r\nFaxReport=inv2\r\n");
}

TEST_CASE("saving a layout with pricing writes the style with D") {
  Shop shop;
  const auto reports = shop.Load();
  CHECK_FALSE(reports->SaveReports(L"inv2", true, kLocalIni));
  CHECK(Written(shop).find("DedInvoiceStyle=INV2D\r\n") != std::string::npos);
}

TEST_CASE("saving a layout does not change which one is loaded as current") {
  Shop shop;
  const auto reports = shop.Load();
  reports->SaveReports(L"inv1", true, kLocalIni);
  CHECK(reports->Item(2)->CurrentReport());
  reports->Refresh();
  CHECK(reports->Item(1)->CurrentReport());
}

TEST_CASE("a layout that cannot be written is false as ever and each key is tried") {
  Shop shop;
  const auto reports = shop.Load();
  const std::size_t before = shop.machine.call_count();
  const auto held = shop.machine.HoldOpen(kLocalIni);
  CHECK_FALSE(reports->SaveReports(L"inv1", true, kLocalIni));
  CHECK(shop.machine.call_count() == before + 3);
}

TEST_CASE("more layouts than 32767 cannot be counted") {
  Shop shop;
  auto& rows = shop.tables.store.results[kStatement].rows;
  const auto row = rows[0];
  for (int i = 0; i < 32766; ++i) {
    rows.push_back(row);
    rows.back()[3] = L"N" + std::to_wstring(i);
  }
  const auto reports = shop.Load();
  CHECK(ErrorOf([&] { return reports->Count(); })->number() == 6);
  CHECK(ErrorOf([&] { return reports->Count(); })->source() == L"Reports:Count");
}
