// Changes of rows: what the table and memo files hold afterwards, byte by byte.
#include <doctest/doctest.h>

#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

using tdefault::tests::BuildTable;
using tdefault::tests::ColumnSpec;
using tdefault::tests::TableSpec;

constexpr wchar_t kTable[] = L"C:\\Data\\T.dbf";
constexpr wchar_t kMemo[] = L"C:\\Data\\T.fpt";

// An empty table T of these columns, open for changes.
class Changing {
 public:
  explicit Changing(const std::vector<ColumnSpec>& columns, std::uint8_t version = 0x30,
                    std::uint16_t block_size = 64) {
    TableSpec spec;
    spec.version = version;
    spec.columns = columns;
    spec.memo_block_size = block_size;
    const auto files = BuildTable(spec);
    shelf_.Put(files.table, files.memo);
    Open();
  }

  void Open() {
    changes_.reset();
    table_ = shelf_.Open();
    changes_ = table_->Change();
  }
  void Close() {
    changes_.reset();
    table_.reset();
  }

  TableChanges& changes() { return *changes_; }
  std::uint32_t Insert(const std::vector<ColumnValue>& values) { return changes_->Insert(values); }
  void Update(std::uint32_t record_number, const std::vector<ColumnValue>& values) {
    REQUIRE(changes_->LockRow(record_number));
    changes_->Update(values);
    changes_->UnlockRow();
  }

  TableShelf& shelf() { return shelf_; }
  std::string Table() { return shelf_.machine().Contents(kTable).value(); }
  std::string Memo() { return shelf_.machine().Contents(kMemo).value(); }
  // The records and what stands behind them.
  std::string Records() {
    const std::string bytes = Table();
    return bytes.substr(static_cast<unsigned char>(bytes[8]) +
                        256U * static_cast<unsigned char>(bytes[9]));
  }

 private:
  TableShelf shelf_;
  std::unique_ptr<tables::Table> table_;
  std::unique_ptr<TableChanges> changes_;
};

ColumnSpec Text(std::uint8_t length) { return {.name = "X", .type = 'C', .length = length}; }

Value Wide(const wchar_t* text) { return std::wstring(text); }

}  // namespace

TEST_CASE("a new row stands behind the others with the end mark behind it, counted and dated") {
  Changing t({Text(4), {.name = "N", .type = 'N', .length = 10, .decimals = 2}});
  CHECK(t.Insert({{0, Wide(L"one")}, {1, Value(std::int32_t{-5})}}) == 1);
  CHECK(t.Insert({{1, Value(std::int32_t{0})}, {0, Wide(L"three")}}) == 2);
  CHECK(t.Insert({}) == 3);
  CHECK(t.Records() == " one      -5.00 thre      0.00               \x1A");
  // 7 March 2001, three rows.
  CHECK(t.Table().substr(1, 7) == std::string("\x01\x03\x07\x03\0\0\0", 7));
}

TEST_CASE("an update changes the columns that it names, a deletion the mark alone") {
  Changing t({Text(4), {.name = "L", .type = 'L'}});
  t.Insert({{0, Wide(L"one")}, {1, Value(true)}});
  t.Insert({{0, Wide(L"two")}});
  t.Update(1, {{0, Wide(L"ONE")}});
  REQUIRE(t.changes().LockRow(2));
  CHECK(t.changes().row().Read(0) == Wide(L"two "));
  t.changes().Update({{{1, Value(false)}}});
  CHECK(t.changes().row().Read(1) == Value(false));
  t.changes().Delete();
  t.changes().UnlockRow();
  CHECK(t.Records() == " ONE T*two F\x1A");
  CHECK_FALSE(t.changes().LockRow(2));
  CHECK_FALSE(t.changes().LockRow(3));
  CHECK_FALSE(t.changes().LockRow(0));
}

TEST_CASE("memo values go behind the blocks in use, and the header tells of it") {
  Changing t({{.name = "M", .type = 'M'}, {.name = "G", .type = 'G'}});
  t.Insert({{0, Wide(L"hello")}, {1, Value(Bytes{1, 2, 3})}});
  const std::string memo = t.Memo();
  CHECK(memo.size() == 512 + 2 * 64);
  CHECK(memo.substr(0, 8) == std::string("\0\0\0\x0A\0\0\0\x40", 8));
  CHECK(memo.substr(512, 14) == std::string("\0\0\0\1\0\0\0\5hello\0", 14));
  CHECK(memo.substr(576, 12) == std::string("\0\0\0\2\0\0\0\3\1\2\3\0", 12));
  CHECK(t.Records() == std::string(" \x08\0\0\0\x09\0\0\0\x1A", 10));
  t.Close();
  CHECK(t.shelf().Rows() ==
        std::vector<std::vector<Value>>{{Wide(L"hello"), Value(Bytes{1, 2, 3})}});
}
