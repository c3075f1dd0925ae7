// Tables made for tests are what the engine reads, and its header tells what changes need to know.
#include "tables/table_builder.h"

#include <doctest/doctest.h>

#include "table_shelf.h"
#include "tables/foxpro/table_layout.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;
using tdefault::tests::BuildTable;
using tdefault::tests::BuiltTable;
using tdefault::tests::TableSpec;

namespace {

TableSpec EveryColumn() {
  TableSpec spec;
  spec.version = 0x32;
  spec.columns = {{.name = "NO", .type = 'I', .next_number = 7, .number_step = 2},
                  {.name = "NAME", .type = 'C', .length = 20, .nullable = true},
                  {.name = "RAW", .type = 'C', .length = 8, .binary = true},
                  {.name = "PRICE", .type = 'N', .length = 10, .decimals = 2},
                  {.name = "RATE", .type = 'F', .length = 8, .decimals = 3},
                  {.name = "WHOLE", .type = 'I', .nullable = true},
                  {.name = "EXACT", .type = 'B', .decimals = 4},
                  {.name = "MONEY", .type = 'Y', .decimals = 4},
                  {.name = "DONE", .type = 'L'},
                  {.name = "DAY", .type = 'D'},
                  {.name = "MOMENT", .type = 'T'},
                  {.name = "NOTE", .type = 'M', .nullable = true},
                  {.name = "OBJECT", .type = 'G'},
                  {.name = "BLOB", .type = 'W'},
                  {.name = "VARTEXT", .type = 'V', .length = 30},
                  {.name = "VARBYTES", .type = 'Q', .length = 12, .nullable = true}};
  spec.tags = {{.name = "NAME", .expression = "UPPER(name)", .key_length = 20, .general = true},
               {.name = "NO", .expression = "no", .key_length = 4, .candidate = true}};
  return spec;
}

foxpro::TableLayout LayoutOf(const TableSpec& spec, std::size_t changed_at = 0, char byte = 0) {
  std::string table = BuildTable(spec).table;
  if (changed_at != 0) table[changed_at] = byte;
  platform::simulation::Simulation machine;
  machine.AddFolder(L"C:\\Data");
  machine.PutFile(L"C:\\Data\\T.dbf", table);
  const auto file = machine.platform().files.Open(L"C:\\Data\\T.dbf", platform::FileAccess::kRead,
                                                  platform::FileShare::kReadWrite);
  REQUIRE(file.ok());
  return foxpro::ReadTableLayout(*file.value(), {.name = L"T", .path = L"C:\\Data\\T.dbf"}, 1252);
}

}  // namespace

TEST_CASE("a table made with a column of every type opens empty") {
  const BuiltTable files = BuildTable(EveryColumn());
  TableShelf shelf;
  shelf.Put(files.table, files.memo);
  CHECK(shelf.Rows().empty());
  CHECK(shelf.Open()->columns().size() == 16);
  CHECK(files.index.size() == 0x600 + 2 * 1536);
}

TEST_CASE("tables made in the old versions open empty") {
  for (const int version : {0x03, 0xF5}) {
    TableSpec spec;
    spec.version = static_cast<std::uint8_t>(version);
    spec.columns = {{.name = "NAME", .type = 'C', .length = 20}, {.name = "DAY", .type = 'D'}};
    if (version == 0xF5) spec.columns.push_back({.name = "NOTE", .type = 'M'});
    const BuiltTable files = BuildTable(spec);
    TableShelf shelf;
    shelf.Put(files.table, files.memo);
    CHECK(shelf.Rows().empty());
    CHECK(LayoutOf(spec).memo_pointers_are_digits);
    CHECK_FALSE(LayoutOf(spec).visual);
  }
}

TEST_CASE("the header tells a column's next automatic number, its step and where they stand") {
  const auto layout = LayoutOf(EveryColumn());
  REQUIRE(layout.columns[0].automatic.has_value());
  CHECK(layout.columns[0].automatic->next == 7);
  CHECK(layout.columns[0].automatic->step == 2);
  CHECK(layout.columns[0].descriptor_offset == 32);
  CHECK(layout.columns[5].descriptor_offset == 32 + 5 * 32);
  CHECK_FALSE(layout.columns[5].automatic.has_value());
  CHECK(layout.columns[2].binary);
  CHECK_FALSE(layout.columns[1].binary);
}

TEST_CASE("the header tells how many bytes the flags for null values and lengths take") {
  CHECK(LayoutOf(EveryColumn()).null_flags_length == 1);
  TableSpec spec = EveryColumn();
  for (int i = 0; i < 6; ++i) {
    spec.columns.push_back(
        {.name = "V" + std::to_string(i), .type = 'V', .length = 4, .nullable = true});
  }
  CHECK(LayoutOf(spec).null_flags_length == 3);
  spec.columns = {{.name = "NAME", .type = 'C', .length = 20}};
  CHECK(LayoutOf(spec).null_flags_length == 0);
}

TEST_CASE("the header tells of a structural index and of a database container") {
  TableSpec spec = EveryColumn();
  CHECK(LayoutOf(spec).has_structural_index);
  CHECK_FALSE(LayoutOf(spec).has_backlink);
  CHECK_FALSE(LayoutOf(spec).is_database_container);
  spec.tags.clear();
  CHECK_FALSE(LayoutOf(spec).has_structural_index);
  const std::size_t backlink = 32 + 17 * 32 + 1;
  CHECK(LayoutOf(spec, backlink, 'd').has_backlink);
  CHECK(LayoutOf(spec, 28, 4).is_database_container);
}
