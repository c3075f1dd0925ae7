// Changes of rows: what the table and memo files hold afterwards, byte by byte.
#include <doctest/doctest.h>

#include "base/text.h"
#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

using tdefault::tests::BuildTable;
using tdefault::tests::ColumnSpec;
using tdefault::tests::TableSpec;

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

// The farthest next free block of an empty memo file with blocks of 64 bytes: 16 MB ahead.
constexpr std::uint32_t kFarthestBlock = (512 + 16 * 1024 * 1024) / 64;

std::string WithNextFree(std::string memo, std::uint32_t block) {
  return memo.replace(0, 4, BigEndian(block, 4));
}

foxpro::CheckedTable Check(TableShelf& shelf) {
  platform::Platform& machine = shelf.machine().platform();
  return foxpro::CheckTable(machine.files, machine.clock, {L"T", kTable}, {});
}

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

namespace {

struct TypeCase {
  ColumnSpec column;
  Value value;
  std::string bytes;  // in the record
  Value stored;
};

std::vector<TypeCase> TypeCases() {
  const auto spec = [](char type, std::uint8_t length = 0, std::uint8_t decimals = 0) {
    return ColumnSpec{.name = "X", .type = type, .length = length, .decimals = decimals};
  };
  const DateTime noon{*MakeDate(2001, 3, 7), 43200000};
  return {
      {spec('C', 4), Wide(L"ab"), "ab  ", Wide(L"ab  ")},
      {spec('C', 2), Wide(L"abc\x3A9"), "ab", Wide(L"ab")},
      {spec('C', 3), Wide(L"\xE9\x20AC"), "\xE9\x80 ", Wide(L"\xE9\x20AC ")},
      {spec('V', 4), Wide(L"ab"), std::string("ab\0\2", 4), Wide(L"ab")},
      {spec('V', 2), Wide(L"abc"), "ab", Wide(L"ab")},
      {spec('Q', 3), Value(Bytes{7}), std::string("\7\0\1", 3), Value(Bytes{7})},
      {spec('N', 5, 1), Value(2.25), "  2.3", Value(2.3)},
      {spec('N', 6, 2), Value(1.005), "  1.01", Value(1.01)},
      {spec('N', 6, 2), Value(12345.678), " 12346", Value(12346.0)},
      {spec('N', 7, 2), Value(12345.678), "12345.7", Value(12345.7)},
      {spec('N', 3, 2), Value(0.5), ".50", Value(0.5)},
      {spec('N', 5, 2), Value(-0.001), " 0.00", Value(0.0)},
      {spec('N', 5, 2), Value(9.995), "10.00", Value(10.0)},
      {spec('N', 4), Value(-999.4), "-999", Value(-999.0)},
      {spec('N', 8, 4), Value(Currency{12345}), "  1.2345", Value(1.2345)},
      {spec('F', 6, 1), Value(std::int32_t{7}), "   7.0", Value(7.0)},
      {spec('I'), Value(2.5), std::string("\3\0\0\0", 4), Value(std::int32_t{3})},
      {spec('I'), Value(-2147483647.0), std::string("\1\0\0\x80", 4),
       Value(std::int32_t{-2147483647})},
      {spec('B', 0, 2), Value(0.123456), StoredDouble(0.123456), Value(0.123456)},
      {spec('Y'), Value(-1.00005), LittleEndian(static_cast<std::uint64_t>(-10001), 8),
       Value(Currency{-10001})},
      {spec('L'), Value(true), "T", Value(true)},
      {spec('D'), Value(noon), "20010307", Value(noon.date)},
      {spec('D'), Value(Date{}), "        ", Value(Date{})},
      {spec('T'), Value(noon.date), LittleEndian(2451976, 4) + LittleEndian(0, 4),
       Value(DateTime{noon.date, 0})},
      {spec('T'), Value(DateTime{noon.date, 86399500}),
       LittleEndian(2451977, 4) + LittleEndian(0, 4), Value(DateTime{{2451977}, 0})},
      {spec('T'), Value(DateTime{}), std::string(8, '\0'), Value(DateTime{})},
  };
}

Error StoringError(const ColumnSpec& column, const Value& value) {
  Changing t({column});
  const std::string before = t.Table();
  const Error error = ErrorOf([&] { t.Insert({{0, value}}); });
  CHECK(ErrorOf([&] { static_cast<void>(t.changes().Stored(0, value)); }).number() ==
        error.number());
  CHECK(t.Table() == before);
  CHECK(Contains(error, L"Table T"));
  CHECK(Contains(error, L"column X"));
  return error;
}

}  // namespace

TEST_CASE("a value of every type is stored as its column has it and read back so") {
  for (const TypeCase& entry : TypeCases()) {
    CAPTURE(entry.column.type);
    CAPTURE(entry.bytes);
    Changing t({entry.column}, 0x32);
    CHECK(t.changes().Stored(0, entry.value) == entry.stored);
    CHECK(t.changes().Stored(0, entry.stored) == entry.stored);
    t.Insert({{0, entry.value}});
    CHECK(t.Records().substr(1, entry.bytes.size()) == entry.bytes);
    t.Close();
    CHECK(t.shelf().First() == entry.stored);
  }
}

TEST_CASE("a value that its column cannot hold is an error before anything is written") {
  const auto number = [](char type, const Value& value, std::uint8_t length = 0) {
    return StoringError({.name = "X", .type = type, .length = length}, value).number();
  };
  CHECK(number('N', Value(std::int32_t{1000}), 3) == error_number::kValueDoesNotFit);
  CHECK(number('N', Value(std::int32_t{-100}), 3) == error_number::kValueDoesNotFit);
  CHECK(number('I', Value(2147483648.0)) == error_number::kValueDoesNotFit);
  CHECK(number('Y', Value(1e15)) == error_number::kValueDoesNotFit);
  CHECK(number('Q', Value(Bytes{1, 2}), 1) == error_number::kValueDoesNotFit);
  CHECK(number('D', Value(Date{1})) == error_number::kValueDoesNotFit);
  const Error lacking = StoringError(Text(4), Wide(L"a\x3A9"));
  CHECK(lacking.number() == error_number::kValueDoesNotFit);
  CHECK(Contains(lacking, L"U+03A9"));
  CHECK(Contains(StoringError({.name = "X", .type = 'M'}, Wide(L"\x3A9")), L"code page 1252"));
}

TEST_CASE("a value of another type is a data type mismatch") {
  const auto refused = [](const ColumnSpec& column, const Value& value) {
    const Error error = StoringError(column, value);
    return error.number() == error_number::kStatementError &&
           Contains(error, L"Data type mismatch");
  };
  CHECK(refused(Text(4), Value(std::int32_t{1})));
  CHECK(refused({.name = "X", .type = 'N', .length = 5}, Wide(L"1")));
  CHECK(refused({.name = "X", .type = 'N', .length = 5}, Value(true)));
  CHECK(refused({.name = "X", .type = 'L'}, Value(std::int32_t{1})));
  CHECK(refused({.name = "X", .type = 'D'}, Wide(L"2001-03-07")));
  CHECK(refused({.name = "X", .type = 'M'}, Value(Bytes{1})));
  CHECK(refused({.name = "X", .type = 'G'}, Wide(L"a")));
}

TEST_CASE("a null sets its bit and blanks the column, a column without nulls refuses it") {
  Changing t({{.name = "A", .type = 'C', .length = 2, .nullable = true},
              {.name = "V", .type = 'V', .length = 3, .nullable = true},
              {.name = "M", .type = 'M', .nullable = true}},
             0x32);
  t.Insert({{0, Wide(L"ab")}, {1, Wide(L"x")}, {2, Wide(L"memo")}});
  t.Insert({{0, Null{}}, {1, Null{}}, {2, Null{}}});
  t.Update(1, {{0, Null{}}, {2, Null{}}});
  t.Update(2, {{1, Wide(L"xyz")}});
  // Bits: null of A, length and null of V, null of M.
  CHECK(t.Records() == std::string("   x\0\1\0\0\0\0\x0B   xyz\0\0\0\0\x09\x1A", 23));
  CHECK(StoringError(Text(4), Null{}).number() == error_number::kStatementError);
}

TEST_CASE("a number that overflowed before stays as it is while other columns change") {
  TableBytes table;
  table.Column("N", 'N', 3).Column("C", 'C', 1).Row({"***", "a"});
  TableShelf shelf;
  shelf.Put(table.Bytes());
  const auto opened = shelf.Open();
  const auto changes = opened->Change();
  REQUIRE(changes->LockRow(1));
  changes->Update({{{1, Wide(L"b")}}});
  CHECK(shelf.machine().Contents(kTable)->find(" ***b") != std::string::npos);
}

TEST_CASE("the next automatic number is given and the one after it kept in the header") {
  Changing t({{.name = "NO", .type = 'I', .next_number = 7, .number_step = 3}, Text(1)}, 0x31);
  t.Insert({});
  t.Insert({{1, Wide(L"b")}});
  CHECK(t.Records() == std::string(" \7\0\0\0  \x0A\0\0\0b\x1A", 13));
  CHECK(t.Table().substr(32 + 19, 5) == std::string("\x0D\0\0\0\3", 5));
  CHECK(ErrorOf([&] {
          t.Insert({{0, Value(std::int32_t{1})}});
        }).number() == error_number::kStatementError);
}

TEST_CASE("a memo that is the whole change and fits its blocks is written over, others appended") {
  Changing t({{.name = "M", .type = 'M'}, Text(1)});
  t.Insert({{0, Wide(L"first")}});
  t.Update(1, {{0, std::wstring(56, L'y')}});
  CHECK(t.Memo().size() == 512 + 64);
  CHECK(t.Records() == std::string(" \x08\0\0\0 \x1A", 7));
  t.Update(1, {{0, std::wstring(57, L'z')}});
  CHECK(t.Memo().size() == 512 + 64 + 128);
  CHECK(t.Memo()[3] == 11);
  t.Update(1, {{0, Wide(L"short")}, {1, Wide(L"c")}});
  CHECK(t.Memo()[3] == 12);
  CHECK(t.Records() == std::string(" \x0B\0\0\0c\x1A", 7));
  t.Update(1, {{0, Wide(L"short")}, {1, Wide(L"d")}});
  CHECK(t.Memo()[3] == 12);
  t.Update(1, {{0, Wide(L"")}});
  CHECK(t.Records() == std::string(" \0\0\0\0d\x1A", 7));
}

TEST_CASE("old tables point at memo values with ten digits, at every block size") {
  for (const int size : {1, 33, 64, 512}) {
    CAPTURE(size);
    Changing t({{.name = "M", .type = 'M'}}, 0xF5, static_cast<std::uint16_t>(size));
    t.Insert({{0, Wide(L"one")}});
    t.Insert({{0, std::wstring(100, L'x')}});
    t.Insert({});
    const std::size_t first =
        (512 + static_cast<std::size_t>(size) - 1) / static_cast<std::size_t>(size);
    const std::string digits = std::to_string(first);
    CHECK(t.Records().substr(1, 10) == std::string(10 - digits.size(), ' ') + digits);
    CHECK(t.Records().substr(22) == std::string(11, ' ') + "\x1A");
    t.Close();
    const auto rows = t.shelf().Rows();
    CHECK(rows[0][0] == Wide(L"one"));
    CHECK(rows[1][0] == Value(std::wstring(100, L'x')));
  }
}

TEST_CASE("blocks behind the next free one are kept, and a next free one that is none is damage") {
  Changing t({{.name = "M", .type = 'M'}});
  const std::string memo = t.Memo();
  t.Close();
  t.shelf().machine().PutFile(kMemo, memo + std::string(100, 'k'));
  t.Open();
  t.Insert({{0, Wide(L"x")}});
  CHECK(t.Records() == std::string(" \x0A\0\0\0\x1A", 6));
  CHECK(t.Memo().substr(512, 100) == std::string(100, 'k'));
  for (const std::uint32_t next : {7U, 0U, kFarthestBlock + 1, 0xFFFFFFFFU}) {
    CAPTURE(next);
    t.Close();
    t.shelf().machine().PutFile(kMemo, WithNextFree(memo, next));
    t.Open();
    const std::string before = t.Table();
    const Error error = ErrorOf([&] { t.Insert({{0, Wide(L"x")}}); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"block " + std::to_wstring(next) + L" is the next free one"));
    CHECK(t.Table() == before);
    // The check tells the same.
    const auto checked = Check(t.shelf());
    REQUIRE_FALSE(checked.findings.empty());
    CHECK(checked.findings.front().kind == foxpro::FindingKind::kProblem);
    CHECK(checked.findings.front().text == error.description());
  }
}

TEST_CASE("a next free block ahead of the end of its file is taken, with zeros before it") {
  for (const std::uint32_t next : {9U, 0x40U, kFarthestBlock}) {
    CAPTURE(next);
    Changing t({{.name = "M", .type = 'M'}});
    const std::string memo = WithNextFree(t.Memo(), next);
    t.Close();
    t.shelf().machine().PutFile(kMemo, memo);
    const auto before = Check(t.shelf());
    CHECK(before.problems == 0);
    REQUIRE(before.warnings == 1);
    CHECK(before.findings.front().text.find(L"nothing is lost") != std::wstring::npos);
    t.Open();
    CHECK(t.Insert({{0, Wide(L"x")}}) == 1);
    CHECK(t.Insert({{0, Wide(L"y")}}) == 2);
    const std::size_t start = std::size_t{next} * 64;
    REQUIRE(t.Memo().size() == start + 2 * 64);
    CHECK(t.Memo().substr(0, 4) == BigEndian(next + 2, 4));
    CHECK(t.Memo().substr(512, start - 512).find_first_not_of('\0') == std::string::npos);
    CHECK(t.Memo().substr(start, 9) == std::string("\0\0\0\1\0\0\0\1x", 9));
    CHECK(t.Records().substr(1, 4) == LittleEndian(next, 4));
    t.Close();
    CHECK(t.shelf().Rows() == std::vector<std::vector<Value>>{{Wide(L"x")}, {Wide(L"y")}});
    CHECK(Check(t.shelf()).problems == 0);
  }
}

TEST_CASE("values that a shortened memo file has lost stay told when new ones are stored behind") {
  Changing t({{.name = "M", .type = 'M'}});
  t.Insert({{0, Wide(L"kept")}});
  t.Insert({{0, Wide(L"lost")}});
  const std::string memo = t.Memo();
  t.Close();
  t.shelf().machine().PutFile(kMemo, memo.substr(0, 512 + 64));
  CHECK(Check(t.shelf()).problems == 1);
  t.Open();
  CHECK(t.Insert({{0, Wide(L"new")}}) == 3);
  t.Close();
  const Error error = ErrorOf([&] { static_cast<void>(t.shelf().Rows()); });
  CHECK(Contains(error, L"record 2, column M: no value starts at block 9 of the memo file"));
  const auto checked = Check(t.shelf());
  REQUIRE(checked.problems == 1);
  CHECK(checked.findings.front().text == error.description());
}

TEST_CASE("a table that cannot be kept whole refuses changes and says why, reading goes on") {
  const auto refusal = [](TableShelf& shelf) {
    const auto table = shelf.Open();
    CHECK_FALSE(table->Scan()->Next());
    return ErrorOf([&] { static_cast<void>(table->Change()); });
  };
  TableSpec spec;
  spec.columns = {Text(4)};
  const std::string bytes = BuildTable(spec).table;
  SUBCASE("it belongs to a database container") {
    std::string bound = bytes;
    bound[bound.find('\r') + 1] = 'x';
    TableShelf shelf;
    shelf.Put(bound);
    CHECK(Contains(refusal(shelf), L"database container"));
  }
  SUBCASE("its structural index is missing") {
    std::string indexed = bytes;
    indexed[28] = 1;
    TableShelf shelf;
    shelf.Put(indexed);
    CHECK(Contains(refusal(shelf), L"T.cdx"));
  }
  SUBCASE("its memo file is one of dBASE") {
    TableBytes table(0x83);
    TableShelf shelf;
    shelf.Put(table.Column("M", 'M', 10).Bytes());
    CHECK(Contains(refusal(shelf), L".dbt"));
  }
  SUBCASE("its file is read-only") {
    TableShelf shelf;
    shelf.Put(bytes);
    shelf.machine().SetReadOnly(kTable);
    const Error error = refusal(shelf);
    CHECK(error.number() == error_number::kNoPermission);
    CHECK(Contains(error, L"read-only mark"));
  }
  SUBCASE("the connection only reads") {
    TableShelf shelf;
    shelf.view().read_only_reason = L"its mode is Read (1)";
    shelf.Put(bytes);
    const Error error = refusal(shelf);
    CHECK(error.number() == error_number::kNoPermission);
    CHECK(Contains(error, L"its mode is Read (1)"));
  }
}

TEST_CASE("the count is read anew for a new row, and a file too short for it is damaged") {
  Changing t({Text(4)});
  t.Insert({{0, Wide(L"mine")}});
  const std::string header = t.Table().substr(0, t.Table().size() - t.Records().size());
  std::string other = header;
  other[4] = 2;
  t.shelf().machine().PutFile(kTable, other + " mine thei\x1A");
  CHECK(t.Insert({{0, Wide(L"more")}}) == 3);
  CHECK(t.Records() == " mine thei more\x1A");
  std::string damaged = t.Table();
  damaged[4] = 9;
  t.shelf().machine().PutFile(kTable, damaged);
  // Nobody else appends under the lock of the header: there is nothing to wait for.
  CHECK(Contains(ErrorOf([&] { t.Insert({}); }), L"3 of its 9 records"));
  CHECK(t.shelf().machine().pauses().empty());
}

TEST_CASE("a row that is counted and not yet written is looked for again before it is locked") {
  Changing t({Text(4)});
  t.Insert({{0, Wide(L"mine")}});
  std::string counted = t.Table();
  counted[4] = 2;
  const std::string whole = counted.substr(0, counted.size() - 1) + " thei\x1A";
  t.shelf().machine().PutFile(kTable, counted);
  t.shelf().machine().SetDuringPause([&] {
    if (t.shelf().machine().pauses().size() == 2) t.shelf().machine().PutFile(kTable, whole);
  });
  REQUIRE(t.changes().LockRow(2));
  CHECK(t.changes().row().Read(0) == Wide(L"thei"));
  CHECK(t.shelf().machine().pauses().size() == 2);
  t.changes().UnlockRow();
}

namespace {

// A table with a memo column and two tags, one of them without duplicates.
TableSpec Indexed() {
  TableSpec spec;
  spec.columns = {{.name = "ID", .type = 'C', .length = 8}, {.name = "NOTE", .type = 'M'}};
  spec.tags = {{.name = "ID", .expression = "id", .key_length = 8, .candidate = true},
               {.name = "UP", .expression = "UPPER(id)", .key_length = 8}};
  return spec;
}

void PutIndexed(TableShelf& shelf) {
  const auto files = BuildTable(Indexed());
  shelf.Put(files.table, files.memo);
  shelf.machine().PutFile(L"C:\\Data\\T.cdx", files.index);
}

std::vector<ColumnValue> Row(const wchar_t* id, const wchar_t* note) {
  return {{0, Wide(id)}, {1, Wide(note)}};
}

// One of each change to a table that has the rows "one" and "two".
void ChangeAll(TableShelf& shelf, int& acknowledged) {
  const auto table = shelf.Open();
  const auto changes = table->Change();
  changes->Insert(Row(L"three", L"third note"));
  acknowledged = 1;
  const bool first = changes->LockRow(1);
  REQUIRE(first);
  changes->Update(Row(L"ONE", L"another note"));
  acknowledged = 2;
  changes->Update({{{1, Wide(L"in place")}}});
  acknowledged = 3;
  const bool second = changes->LockRow(2);
  REQUIRE(second);
  changes->Delete();
  acknowledged = 4;
}

void PutTwoRows(TableShelf& shelf) {
  PutIndexed(shelf);
  const auto table = shelf.Open();
  const auto changes = table->Change();
  changes->Insert(Row(L"one", L"note"));
  changes->Insert(Row(L"two", L"note"));
}

// The rows that a number of acknowledged changes leave, as "ID=NOTE".
std::vector<std::wstring> RowsAfter(int changes) {
  std::vector<std::wstring> rows = {L"one=note", L"two=note"};
  if (changes >= 1) rows.push_back(L"three=third note");
  if (changes >= 2) rows[0] = L"ONE=another note";
  if (changes >= 3) rows[0] = L"ONE=in place";
  if (changes >= 4) rows.erase(rows.begin() + 1);
  return rows;
}

std::vector<std::wstring> RowsOf(TableShelf& shelf) {
  std::vector<std::wstring> rows;
  for (const auto& row : shelf.Rows()) {
    const std::wstring id(TrimTrailingBlanks(std::get<std::wstring>(row[0])));
    rows.push_back(id + L"=" + std::get<std::wstring>(row[1]));
  }
  return rows;
}

// The table opens, shows the acknowledged changes and at most the one after them, and takes a new
// row unless it says that its index is behind.
void CheckWhole(TableShelf& shelf, int acknowledged) {
  const auto rows = RowsOf(shelf);
  const bool whole = rows == RowsAfter(acknowledged) || rows == RowsAfter(acknowledged + 1);
  CHECK(whole);
  const auto table = shelf.Open();
  const auto changes = table->Change();
  const Error error = ErrorOf([&] { changes->Insert(Row(L"last", L"last note")); });
  if (error.number() == 0) {
    CHECK(Check(shelf).problems == 0);
  } else {
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"REINDEX"));
    CHECK(Check(shelf).problems > 0);
  }
}

}  // namespace

TEST_CASE(
    "the statements of a connection open a table once, and closing it flushes what was written") {
  TableShelf shelf;
  PutIndexed(shelf);
  platform::simulation::Simulation& machine = shelf.machine();
  foxpro::EmbeddedTableAccess access(machine.platform().files,
                                     foxpro::LockPatience{machine.platform().clock}, 1252);
  const auto count = [&machine](const std::string& operation) {
    std::ptrdiff_t calls = 0;
    for (const auto& call : machine.calls()) calls += call.operation == operation ? 1 : 0;
    return calls;
  };
  const auto connection = access.MakeConnection();
  connection->set_connection_string(L"Data Source=C:\\Data");
  connection->Open();
  for (int i = 0; i < 20; ++i) {
    const std::wstring id = std::to_wstring(i);
    connection->Execute(L"INSERT INTO T (Id, Note) VALUES ('" + id + L"', 'n')");
    CHECK(connection->Execute(L"SELECT Id FROM T WHERE Id = '" + id + L"'")->eof() == false);
  }
  // Table and memo file for reading and for changes, and the index.
  CHECK(count("Open") == 5);
  CHECK(count("Flush") == 0);
  machine.FailNext("Flush", 112);
  const Error error = ErrorOf([&] { connection->Close(); });
  CHECK(Contains(error, L"disk is full"));
  CHECK(connection->state() == ObjectState::kClosed);
  CHECK(machine.open_handles() == 0);
  CHECK(Check(shelf).problems == 0);
}

TEST_CASE("a connection for reading changes nothing, whether its mode or its string says so") {
  TableShelf shelf;
  PutIndexed(shelf);
  platform::Platform& machine = shelf.machine().platform();
  foxpro::EmbeddedTableAccess access(machine.files, foxpro::LockPatience{machine.clock}, 1252);
  const auto refusal = [&access](const wchar_t* mode, ConnectMode connect_mode) {
    const auto connection = access.MakeConnection();
    connection->set_connection_string(std::wstring(L"Data Source=C:\\Data;Mode=") + mode);
    connection->set_mode(connect_mode);
    connection->Open();
    return ErrorOf([&] { connection->Execute(L"DELETE FROM T"); });
  };
  CHECK(Contains(refusal(L"ReadWrite", ConnectMode::kRead), L"its mode is Read (1)"));
  CHECK(Contains(refusal(L"Read|Share Deny None", ConnectMode::kUnknown), L"Mode=Read"));
  CHECK(refusal(L"Read", ConnectMode::kReadWrite).number() == error_number::kNoPermission);
  CHECK(refusal(L"ReadWrite|Share Deny None", ConnectMode::kReadWrite).number() == 0);
}

TEST_CASE("rows, memo values and index agree after every kind of change") {
  TableShelf shelf;
  PutTwoRows(shelf);
  int acknowledged = 0;
  ChangeAll(shelf, acknowledged);
  CHECK(RowsOf(shelf) == RowsAfter(4));
  const auto checked = Check(shelf);
  CHECK(checked.problems == 0);
  CHECK(checked.warnings == 0);
  CHECK(checked.records == 3);
  CHECK(checked.deleted == 1);
}

TEST_CASE("a key that another row has is refused before anything is written") {
  TableShelf shelf;
  PutTwoRows(shelf);
  const auto table = shelf.Open();
  const auto changes = table->Change();
  const auto contents = [&shelf](const std::wstring& path) {
    return *shelf.machine().Contents(path);
  };
  const std::string before = contents(kTable) + contents(kMemo) + contents(kIndex);
  const Error inserting = ErrorOf([&] { changes->Insert(Row(L"one", L"x")); });
  REQUIRE(changes->LockRow(2));
  const Error updating = ErrorOf([&] { changes->Update(Row(L"one", L"x")); });
  for (const Error& error : {inserting, updating}) {
    CHECK(error.number() == error_number::kIntegrityViolation);
    CHECK(Contains(error, L"ID"));
  }
  CHECK(contents(kTable) + contents(kMemo) + contents(kIndex) == before);
}

TEST_CASE("a change with any of its calls failing leaves the old or the new row, whole") {
  for (std::size_t number = 1;; ++number) {
    CAPTURE(number);
    TableShelf shelf;
    PutTwoRows(shelf);
    shelf.machine().Restart();
    shelf.machine().FailCall(number, 1117);
    shelf.machine().TearWrites();
    int acknowledged = 0;
    const Error error = ErrorOf([&] { ChangeAll(shelf, acknowledged); });
    const bool all_passed = shelf.machine().call_count() < number;
    if (acknowledged < 4) CHECK(error.number() != 0);
    shelf.machine().Restart();
    CheckWhole(shelf, acknowledged);
    if (all_passed) break;
  }
}

TEST_CASE("a process that ends at any call of a change leaves the old or the new row, whole") {
  for (std::size_t number = 1;; ++number) {
    CAPTURE(number);
    TableShelf shelf;
    PutTwoRows(shelf);
    shelf.machine().Restart();
    shelf.machine().EndProcessAt(number);
    int acknowledged = 0;
    bool ended = false;
    try {
      ChangeAll(shelf, acknowledged);
    } catch (const platform::simulation::ProcessEnded&) {
      ended = true;
    }
    shelf.machine().Restart();
    CheckWhole(shelf, acknowledged);
    if (!ended && acknowledged == 4) break;
  }
}
