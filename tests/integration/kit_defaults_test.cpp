// Table Need after the kit choice has changed.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "kit_rows.h"
#include "sample_shop.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::testing;

namespace {

const std::wstring kNeed = kShopFolder + L"\\need.dbf";
const Date kToday = *MakeDate(2001, 3, 7);

// The sample shop, whose kit choice is 1, with rows of every kind.
class KitShop : public SampleShop {
 public:
  explicit KitShop(const std::wstring& choice = L"1") {
    // A choice is saved when it differs from the one of the file.
    std::string text = *machine.Contents(kShopGlobalIni);
    const std::size_t place = text.find("KITCHOICE=1");
    REQUIRE(place != std::string::npos);
    text.replace(place, 11, choice == L"1" ? "KITCHOICE=before" : "KITCHOICE=1");
    machine.PutFile(kShopGlobalIni, text);
    REQUIRE(options.Initialize());
  }

  bool Save(const std::wstring& choice) {
    Find(L"OPTIONS", L"KITCHOICE")->SetNewValue(choice);
    tables.calls.log.clear();
    return options.Save();
  }

  // The statements that change rows.
  [[nodiscard]] std::vector<std::wstring> Updates() const {
    std::vector<std::wstring> updates;
    for (const std::wstring& statement : tables.calls.Statements())
      if (statement.starts_with(L"UPDATE")) updates.push_back(statement);
    return updates;
  }

  [[nodiscard]] std::uint64_t Problems() {
    const auto found = tables::foxpro::CheckTable(machine.platform().files,
                                                  machine.platform().clock, {L"NEED", kNeed}, {});
    REQUIRE(found.has_header);
    return found.problems + found.unchecked;
  }
};

std::size_t CountOf(const KitRows& rows, bool need) {
  return static_cast<std::size_t>(
      std::count_if(rows.begin(), rows.end(), [&](const KitRow& row) { return row.need == need; }));
}

}  // namespace

TEST_CASE("the rows of the sample shop tell the kit choices apart") {
  KitShop shop;
  const KitRows rows = RowsOf(shop);
  std::vector<KitRows> outcomes;
  for (const wchar_t* choice : {L"0", L"1", L"2", L"3"})
    outcomes.push_back(Chosen(rows, choice, kToday));
  for (std::size_t one = 0; one < outcomes.size(); ++one) {
    CHECK_FALSE(outcomes[one] == rows);
    for (std::size_t other = 0; other < one; ++other) CHECK_FALSE(outcomes[one] == outcomes[other]);
  }
  CHECK(std::any_of(rows.begin(), rows.end(),
                    [](const KitRow& row) { return row.hardware.starts_with(L"hwah"); }));
  CHECK(std::any_of(rows.begin(), rows.end(), [](const KitRow& row) { return !IsKitPart(row); }));
}

TEST_CASE("each kit choice sets and stamps its rows of table Need and no others") {
  for (const wchar_t* choice : {L"0", L"1", L"2", L"3"}) {
    CAPTURE(ToUtf8(choice));
    KitShop shop(choice);
    const KitRows before = RowsOf(shop);
    CHECK(shop.Save(choice));
    CHECK(RowsOf(shop) == Chosen(before, choice, kToday));
    CHECK(shop.Updates().size() == (std::wstring(choice) == L"0" ? 1U : 2U));
    CHECK(shop.Problems() == 0);
    CHECK(shop.tables.calls.open_connections == 0);
    CHECK(shop.machine.open_handles() == 0);
    CHECK(shop.Find(L"OPTIONS", L"KITCHOICE")->CurrentValue() == choice);
  }
}

TEST_CASE("kit choice 0 needs every part that begins with HWAH in any case and resets none") {
  KitShop shop;
  CHECK(shop.Save(L"0"));
  CHECK(shop.Updates() ==
        std::vector<std::wstring>{
            L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121,Changstat=1 WHERE "
            L"UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'"});
  for (const KitRow& row : RowsOf(shop))
    if (IsKitPart(row)) CHECK(row.need);
}

TEST_CASE("kit choice 1 clears all HWAH parts first and then needs every row but HWAH00448") {
  KitShop shop;
  // Needed before and not named by the second statement.
  ConnectTo(shop)->Execute(L"UPDATE Need SET Need=.T.");
  CHECK(shop.Save(L"1"));
  const KitRows rows = RowsOf(shop);
  for (const KitRow& row : rows) CHECK(row.need == (row.hardware != L"HWAH00448"));
  CHECK(CountOf(rows, false) > 0);
}

TEST_CASE("a kit choice that is not known, number or not, leaves every kit part cleared") {
  for (const wchar_t* choice : {L"7", L"", L"X", L"Not found", L"False"}) {
    CAPTURE(ToUtf8(choice));
    KitShop shop;
    const KitRows before = RowsOf(shop);
    CHECK(shop.Save(choice));
    CHECK(RowsOf(shop) == Reset(before, kToday));
    REQUIRE(shop.Updates().size() == 2);
    CHECK(shop.Updates()[0] == shop.Updates()[1]);
    CHECK(shop.Problems() == 0);
    CHECK(shop.tables.calls.open_connections == 0);
  }
}

TEST_CASE("kit choices that are equal to 0 and not written 0 touch no row") {
  for (const wchar_t* choice : {L"00", L"0.0", L"&H0"}) {
    CAPTURE(ToUtf8(choice));
    KitShop shop;
    const std::string global = *shop.machine.Contents(kShopGlobalIni);
    const std::string table = *shop.machine.Contents(kNeed);
    CHECK_FALSE(shop.Save(choice));
    CHECK(shop.machine.Contents(kNeed) == table);
    CHECK(shop.machine.Contents(kShopGlobalIni) == global);
    CHECK(shop.Updates().empty());
    CHECK(shop.tables.calls.open_connections == 0);
  }
}

TEST_CASE("a kit program that is not found leaves table Need alone") {
  KitShop shop;
  const std::string table = *shop.machine.Contents(kNeed);
  shop.machine.registry().PutText(
      platform::registry_root::kCurrentUser,
      L"Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram", L"Program", L"run.exe");
  CHECK_FALSE(shop.Save(L"0"));
  CHECK(shop.machine.Contents(kNeed) == table);
  CHECK(shop.tables.calls.log.empty());
}

TEST_CASE("a shop without table Need fails the save and keeps its files") {
  KitShop shop;
  const std::string global = *shop.machine.Contents(kShopGlobalIni);
  shop.machine.RemoveFile(kNeed);
  CHECK_FALSE(shop.Save(L"0"));
  CHECK(shop.machine.Contents(kShopGlobalIni) == global);
  CHECK(shop.tables.calls.open_connections == 0);
}

TEST_CASE("a kit row in use by another fails the save, and the row stays") {
  KitShop shop;
  const KitRows before = RowsOf(shop);
  const std::string global = *shop.machine.Contents(kShopGlobalIni);
  auto other = shop.machine.HoldOpen(kNeed, platform::FileShare::kReadWrite,
                                     platform::FileAccess::kReadWrite);
  other.Lock(0x40000000, 0x3FFFFFFE);
  CHECK_FALSE(shop.Save(L"0"));
  other.Unlock(0x40000000, 0x3FFFFFFE);
  CHECK(RowsOf(shop) == before);
  CHECK(shop.machine.Contents(kShopGlobalIni) == global);
}

TEST_CASE("the index of table Need follows a kit choice") {
  KitShop shop;
  const KitRows sample = RowsOf(shop);
  const tests::BuiltTable built =
      tests::BuildTable({.columns = {{"NEED", 'L'},
                                     {"CHANGED", 'D'},
                                     {"CHANGEDBY", 'N', 6},
                                     {"CHANGSTAT", 'N', 2},
                                     {"HW_PART_ID", 'C', 12},
                                     {"CAR_ID", 'N', 8},
                                     {"PART_ID", 'C', 12}},
                         .tags = {{"PART", "HW_PART_ID", "", 12}, {"BY", "CHANGEDBY", "", 8}}});
  shop.machine.PutFile(kNeed, built.table);
  shop.machine.PutFile(kShopFolder + L"\\need.cdx", built.index);
  for (const KitRow& row : sample)
    ConnectTo(shop)->Execute(L"INSERT INTO Need VALUES (.T., {01-02-2000}, 5, 0, '" + row.hardware +
                             L"', " + std::to_wstring(row.car) + L", '" + row.part + L"')");
  const KitRows before = RowsOf(shop);
  REQUIRE(before.size() == sample.size());
  CHECK(shop.Save(L"2"));
  CHECK(RowsOf(shop) == Chosen(before, L"2", kToday));
  CHECK(shop.Problems() == 0);
}
