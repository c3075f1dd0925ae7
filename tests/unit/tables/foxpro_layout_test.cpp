// The header of a table file: which tables are read, and what makes one damaged.
#include <doctest/doctest.h>

#include <functional>
#include <random>

#include "table_bytes.h"
#include "table_shelf.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

TableBytes TwoColumns(std::uint8_t version = 0x30, std::uint8_t mark = 3) {
  TableBytes table(version, mark);
  table.Column("NAME", 'C', 10).Column("AGE", 'N', 3);
  table.Row({"Ann", " 31"}).Row({"Bob", "  7"});
  return table;
}

Error OpeningError(const std::string& bytes) {
  TableShelf shelf;
  shelf.Put(bytes);
  return ErrorOf([&] { static_cast<void>(shelf.Rows()); });
}

std::string With(std::string bytes, std::size_t offset, const std::string& replacement) {
  bytes.replace(offset, replacement.size(), replacement);
  return bytes;
}

bool NamesTableFileAndRemedy(const Error& error) {
  return Contains(error, L"Table T") && Contains(error, L"C:\\Data\\T.dbf") &&
         (Contains(error, L"Restore") || Contains(error, L"Convert"));
}

}  // namespace

TEST_CASE("tables of dBASE III, FoxPro 2.x and Visual FoxPro are read") {
  for (const int version : {0x03, 0x83, 0xF5, 0x30, 0x31, 0x32}) {
    CAPTURE(version);
    TableShelf shelf;
    shelf.Put(TwoColumns(static_cast<std::uint8_t>(version)).Bytes());
    const auto rows = shelf.Rows();
    REQUIRE(rows.size() == 2);
    CHECK(rows[0] == std::vector<Value>{std::wstring(L"Ann       "), 31.0});
    CHECK(rows[1] == std::vector<Value>{std::wstring(L"Bob       "), 7.0});
  }
}

TEST_CASE("tables of other programs are refused by their version, with what to do") {
  for (const int version : {0x02, 0xFB, 0x8B, 0x43, 0x63, 0xCB, 0x04, 0x00, 0xFF, 0x50}) {
    CAPTURE(version);
    const Error error = OpeningError(TwoColumns(static_cast<std::uint8_t>(version)).Bytes());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(NamesTableFileAndRemedy(error));
    CHECK(Contains(error, L"first byte, 0x"));
  }
}

TEST_CASE("columns carry their names, types, widths and flags") {
  TableShelf shelf;
  TableBytes bytes(0x32);
  bytes.Column("ID", 'C', 36)
      .Column("NOTE", 'V', 20, 0, kNullableFlag)
      .Column("PRICE", 'N', 10, 2)
      .Column("RAW", 'C', 8, 0, kBinaryFlag)
      .Column("NO", 'I', 4, 0, kAutoIncrementFlag)
      .Column("_NullFlags", '0', 1, 0, kSystemFlag | kBinaryFlag);
  shelf.Put(bytes.Bytes());
  const auto table = shelf.Open();
  const auto& columns = table->columns();
  REQUIRE(columns.size() == 5);
  CHECK(columns[0].name == L"ID");
  CHECK(columns[0].kind == ColumnKind::kText);
  CHECK(columns[0].length == 36);
  CHECK(columns[0].fixed_width);
  CHECK_FALSE(columns[0].nullable);
  CHECK(columns[1].type == 'V');
  CHECK(columns[1].nullable);
  CHECK_FALSE(columns[1].fixed_width);
  CHECK(columns[2].kind == ColumnKind::kNumber);
  CHECK(columns[2].length == 10);
  CHECK(columns[2].decimals == 2);
  CHECK(columns[3].kind == ColumnKind::kText);
  CHECK(columns[3].fixed_width);
  CHECK(columns[4].kind == ColumnKind::kInteger);
}

TEST_CASE("column names read in upper case and in the table's code page") {
  TableShelf shelf;
  TableBytes bytes(0x03);
  bytes.Column("na\xEFve", 'C', 1).Row({"x"});
  shelf.Put(bytes.Bytes());
  CHECK(shelf.Open()->columns()[0].name == std::wstring(L"NA\u00CFVE"));
}

TEST_CASE("old versions have no column flags: whatever stands there is ignored") {
  TableShelf shelf;
  TableBytes bytes(0x03);
  bytes.Column("NAME", 'C', 4, 0, 0xFF).Row({"Ann"});
  shelf.Put(bytes.Bytes());
  CHECK(shelf.First() == Value(std::wstring(L"Ann ")));
}

TEST_CASE("old versions keep no displacements: whatever stands there is ignored") {
  TableShelf shelf;
  shelf.Put(With(TwoColumns(0x03).Bytes(), 32 + 12, "\xC9\x0F\xA7\x31"));
  CHECK(shelf.Rows().size() == 2);
}

TEST_CASE("the zero byte that dBASE III puts behind its header is no damage") {
  TableShelf shelf;
  std::string bytes = TwoColumns(0x03).Bytes();
  const std::size_t header = TwoColumns(0x03).header_length();
  bytes.insert(header, 1, '\0');
  shelf.Put(With(bytes, 8, LittleEndian(header + 1, 2)));
  CHECK(shelf.First() == Value(std::wstring(L"Ann       ")));
}

TEST_CASE("Visual FoxPro's versions without the room for a container's path are read") {
  constexpr std::size_t kBacklinkSize = 263;
  for (const int version : {0x30, 0x31, 0x32}) {
    CAPTURE(version);
    const TableBytes table = TwoColumns(static_cast<std::uint8_t>(version));
    const std::size_t header = table.header_length() - kBacklinkSize;
    std::string bytes = table.Bytes();
    TableShelf shelf;
    // With the room still there but not counted, the rows would be read shifted.
    shelf.Put(With(bytes, 8, LittleEndian(header, 2)));
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
    CHECK(error.number() == error_number::kTableDamaged);
    bytes.erase(header, kBacklinkSize);
    shelf.Put(With(bytes, 8, LittleEndian(header, 2)));
    const auto rows = shelf.Rows();
    REQUIRE(rows.size() == 2);
    CHECK(rows[1] == std::vector<Value>{std::wstring(L"Bob       "), 7.0});
  }
}

TEST_CASE("column names that are filled up with blanks are read without them") {
  TableShelf shelf;
  shelf.Put(With(TwoColumns().Bytes(), 32, "NAME       "));
  CHECK(shelf.Open()->columns()[0].name == L"NAME");
}

TEST_CASE("a file may end without its end mark, or hold more than its records") {
  const std::string bytes = TwoColumns().Bytes();
  for (const std::string& variant :
       {bytes.substr(0, bytes.size() - 1), bytes + "\x1A\x1A", bytes + std::string(5000, 'x')}) {
    TableShelf shelf;
    shelf.Put(variant);
    CHECK(shelf.Rows().size() == 2);
  }
}

TEST_CASE("a record past the declared count is not visible") {
  TableShelf shelf;
  shelf.Put(TwoColumns().DeclareRecords(1).Bytes());
  CHECK(shelf.Rows().size() == 1);
}

TEST_CASE("deleted rows are invisible unless the connection shows them") {
  TableShelf shelf;
  TableBytes bytes = TwoColumns();
  bytes.Row({"Cid", " 99"}, '*').Row({"Dan", "  1"});
  shelf.Put(bytes.Bytes());
  CHECK(shelf.Rows().size() == 3);
  shelf.view().hides_deleted = false;
  REQUIRE(shelf.Rows().size() == 4);
  CHECK(shelf.Rows()[2][0] == Value(std::wstring(L"Cid       ")));
}

TEST_CASE("record numbers count deleted rows") {
  TableShelf shelf;
  TableBytes bytes(0x30);
  bytes.Column("X", 'C', 1).Row({"a"}, '*').Row({"b"}).Row({"c"}, '*').Row({"d"});
  shelf.Put(bytes.Bytes());
  const auto table = shelf.Open();
  const auto cursor = table->Scan();
  REQUIRE(cursor->Next());
  CHECK(cursor->record_number() == 2);
  REQUIRE(cursor->Next());
  CHECK(cursor->record_number() == 4);
  CHECK_FALSE(cursor->Next());
}

TEST_CASE("each wrong header is an error that says what is wrong") {
  const std::string whole = TwoColumns().Bytes();
  const std::size_t first = 32;
  const std::size_t second = 64;
  struct Case {
    const char* what;
    std::string bytes;
    const wchar_t* reason;
  };
  const std::vector<Case> cases = {
      {"empty file", "", L"it is empty (0 bytes)"},
      {"half a header", whole.substr(0, 20), L"it ends after 20 of the 32 bytes of its header"},
      {"no columns read", whole.substr(0, 70), L"it ends after 70 of the 360 bytes of its header"},
      {"header length too small", With(whole, 8, LittleEndian(20, 2)), L"no room for a column"},
      {"header length 0", With(whole, 8, LittleEndian(0, 2)), L"no room for a column"},
      {"header one longer", With(whole, 8, LittleEndian(361, 2)),
       L"its header length is 361 where its 2 columns need 360"},
      {"record length", With(whole, 10, LittleEndian(15, 2)),
       L"its record length is 15 where its columns need 14"},
      {"record length 0", With(whole, 10, LittleEndian(0, 2)),
       L"its record length is 0 where its columns need 14"},
      {"no terminator", With(whole, 96, std::string(264, 'A')), L"has no end"},
      {"no descriptors", With(whole, 32, "\x0D"), L"it has no columns"},
      {"unknown type", With(whole, first + 11, "@"), L"its column NAME has the type 0x40"},
      {"date too short", With(whole, second + 11, "D"),
       L"its column AGE of type D is 3 bytes long"},
      {"width 0", With(whole, first + 16, std::string(1, '\0')),
       L"its column NAME of type C is 0 bytes long"},
      {"control in a name", With(whole, first, "\x01"), L"names a column"},
      {"empty name", With(whole, first, std::string(1, '\0')), L"names a column"},
      {"name without end", With(whole, first, "ABCDEFGHIJK"), L"names a column"},
      {"two columns of a name", With(whole, second, std::string("NAME\0", 5)),
       L"two columns named NAME"},
      {"displacement", With(whole, second + 12, LittleEndian(12, 4)),
       L"its column AGE starts at byte 12"},
      {"null column without flags", With(whole, first + 18, LittleEndian(2, 1)),
       L"need 1 flags for null values"},
      {"cut short", whole.substr(0, 360 + 14 + 13), L"has room for 1 of its 2 records"},
      {"no records at all", whole.substr(0, 360), L"has room for 0 of its 2 records"},
      {"huge count", With(whole, 4, "\xFF\xFF\xFF\xFF"), L"has room for 2 of its 4294967295"},
  };
  for (const Case& wrong : cases) {
    CAPTURE(wrong.what);
    const Error error = OpeningError(wrong.bytes);
    INFO(error.what());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(NamesTableFileAndRemedy(error));
    CHECK(Contains(error, wrong.reason));
  }
}

TEST_CASE("a table cut short at any byte gives an error or its whole rows, never a wrong one") {
  TableBytes builder(0x32);
  MemoBytes memo;
  builder.Column("NAME", 'C', 10)
      .Column("NOTE", 'M', 4)
      .Column("V", 'V', 5)
      .Column("_NullFlags", '0', 1, 0, kSystemFlag);
  builder.Row({"Ann", memo.Pointer("one"), std::string("ab\0\0\2", 5), "\1"});
  builder.Row({"Bob", memo.Pointer("two"), "abcde", std::string(1, '\0')});
  const std::string whole = builder.Bytes();
  TableShelf shelf;
  shelf.Put(whole, memo.Bytes());
  const auto expected = shelf.Rows();
  REQUIRE(expected.size() == 2);
  CHECK(expected[0][2] == Value(std::wstring(L"ab")));
  for (std::size_t length = 0; length < whole.size() - 1; ++length) {
    CAPTURE(length);
    shelf.Put(whole.substr(0, length), memo.Bytes());
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(NamesTableFileAndRemedy(error));
  }
}

TEST_CASE("a table with any one byte changed gives rows or an error that names it") {
  TableBytes builder(0x30);
  MemoBytes memo;
  builder.Column("NAME", 'C', 6).Column("AGE", 'N', 3).Column("NOTE", 'M', 4);
  builder.Row({"Ann", " 31", memo.Pointer("one")}).Row({"Bob", "  7", memo.Pointer("two")});
  const std::string whole = builder.Bytes();
  std::mt19937 random(1);
  TableShelf shelf;
  for (std::size_t offset = 0; offset < whole.size(); ++offset) {
    const auto byte = static_cast<char>(random());
    shelf.Put(With(whole, offset, std::string(1, byte)), memo.Bytes());
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
    CAPTURE(offset);
    CHECK((error.number() == 0 || Contains(error, L"C:\\Data\\T.dbf")));
  }
}

TEST_CASE("a file of random bytes is refused with an error that names it") {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    CAPTURE(round);
    std::string bytes(random() % 3000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    if (round % 2 == 0 && !bytes.empty()) bytes[0] = '\x30';
    const Error error = OpeningError(bytes);
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(NamesTableFileAndRemedy(error));
  }
}

TEST_CASE("a record that starts with neither mark is an error that names its number") {
  TableBytes bytes = TwoColumns();
  bytes.Row({"Cid", "  5"}, '\0');
  const Error error = OpeningError(bytes.Bytes());
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(NamesTableFileAndRemedy(error));
  CHECK(Contains(error, L"record 3"));
}

TEST_CASE("text is decoded in the code page that the table's mark names") {
  struct Case {
    int mark;
    const char* stored;
    wchar_t character;
  };
  for (const Case& page :
       {Case{0x01, "\x82", 0x00E9}, Case{0x02, "\xB5", 0x00C1}, Case{0x03, "\xE9", 0x00E9},
        Case{0x57, "\x80", 0x20AC}, Case{0x58, "\xE9", 0x00E9}, Case{0x59, "\xE9", 0x00E9},
        Case{0xC8, "\xB3", 0x0142}, Case{0xC9, "\xC6", 0x0416}}) {
    CAPTURE(page.mark);
    TableShelf shelf;
    TableBytes bytes(0x30, static_cast<std::uint8_t>(page.mark));
    bytes.Column("X", 'C', 1).Row({page.stored});
    shelf.Put(bytes.Bytes());
    CHECK(shelf.First() == Value(std::wstring(1, page.character)));
  }
}

TEST_CASE("a table without a code page mark is in the system's code page") {
  TableShelf shelf(1251);
  TableBytes bytes(0x30, 0);
  bytes.Column("X", 'C', 1).Row({"\xC6"});
  shelf.Put(bytes.Bytes());
  CHECK(shelf.First() == Value(std::wstring(1, static_cast<wchar_t>(0x0416))));
}

TEST_CASE("other code pages are refused by their mark, with the pages that are served") {
  struct Case {
    int mark;
    const wchar_t* named;
  };
  for (const Case& page :
       {Case{0x64, L"0x64 stands for code page 852"}, Case{0x7B, L"0x7B stands for code page 932"},
        Case{0xCB, L"0xCB stands for code page 1253"}, Case{0x55, L"0x55 is not known"}}) {
    CAPTURE(page.mark);
    TableBytes bytes(0x30, static_cast<std::uint8_t>(page.mark));
    bytes.Column("X", 'C', 1).Row({"a"});
    const Error error = OpeningError(bytes.Bytes());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, page.named));
    CHECK(Contains(error, L"437, 850, 1250, 1251 and 1252"));
  }
}

TEST_CASE("a system code page that is not served refuses only tables without a mark") {
  TableShelf shelf;
  shelf.view().ansi_code_page = 932;
  shelf.Put(TwoColumns().Bytes());
  CHECK(shelf.Rows().size() == 2);
  shelf.Put(TwoColumns(0x30, 0).Bytes());
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"code page 932"));
}

TEST_CASE("a missing table is an error that names its file") {
  TableShelf shelf;
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Open(L"Nosuch")); });
  CHECK(error.number() == error_number::kNoSuchTable);
  CHECK(Contains(error, L"Nosuch"));
  CHECK(Contains(error, L"C:\\Data\\Nosuch.dbf"));
}

TEST_CASE("a table is found in any letter case") {
  TableShelf shelf;
  shelf.Put(TwoColumns().Bytes());
  CHECK(shelf.Open(L"t")->columns().size() == 2);
}

TEST_CASE("a table name cannot leave the data folder") {
  TableShelf shelf;
  shelf.machine().PutFile(L"C:\\Other\\T.dbf", TwoColumns().Bytes());
  for (const wchar_t* name : {L"..\\Other\\T", L"../Other/T", L"C:T", L"T*", L"T?", L"\"T\"", L"T<",
                              L"T>", L"T|", L"T\n", L""}) {
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Open(name)); });
    CHECK(error.number() == error_number::kNoSuchTable);
  }
}

TEST_CASE("a table name that the system keeps for a device is refused, not waited for") {
  TableShelf shelf;
  for (const wchar_t* name : {L"CON", L"con", L"Nul", L"AUX", L"PRN", L"COM1", L"lpt9", L"CON.x"}) {
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Open(name)); });
    CHECK(error.number() == error_number::kNoSuchTable);
    CHECK(Contains(error, L"device"));
  }
  for (const wchar_t* name : {L"CONS", L"COMX", L"LPT10", L"NULL"})
    CHECK_FALSE(Contains(ErrorOf([&] { static_cast<void>(shelf.Open(name)); }), L"device"));
}

TEST_CASE("a table that another program keeps to itself is in use") {
  TableShelf shelf;
  shelf.Put(TwoColumns().Bytes());
  const auto held = shelf.machine().HoldOpen(L"C:\\Data\\T.dbf", platform::FileShare::kNone);
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Open()); });
  CHECK(error.number() == error_number::kInUseByAnother);
  CHECK(NamesTableFileAndRemedy(error) == false);
  CHECK(Contains(error, L"C:\\Data\\T.dbf"));
  CHECK(Contains(error, L"Close it there"));
}

TEST_CASE("a table that others read and write at the same time is read") {
  TableShelf shelf;
  shelf.Put(TwoColumns().Bytes());
  const auto held = shelf.machine().HoldOpen(L"C:\\Data\\T.dbf", platform::FileShare::kReadWrite,
                                             platform::FileAccess::kReadWrite);
  CHECK(shelf.Rows().size() == 2);
}

TEST_CASE("a refused or failing read is reported with the file and the system's number") {
  TableShelf shelf;
  shelf.Put(TwoColumns().Bytes());
  shelf.machine().FailNext("Open", 5);
  CHECK(ErrorOf([&] { static_cast<void>(shelf.Rows()); }).number() == error_number::kNoPermission);
  for (const char* operation : {"Open", "ReadAt", "Size"}) {
    CAPTURE(operation);
    shelf.machine().FailNext(operation, 1117);
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"system error 1117"));
    CHECK(Contains(error, L"C:\\Data\\T.dbf"));
  }
  CHECK(shelf.machine().open_handles() == 0);
}

TEST_CASE("every single failing call is an error, and leaves no file open") {
  TableShelf shelf;
  MemoBytes memo;
  TableBytes bytes;
  bytes.Column("N", 'M', 4).Row({memo.Pointer("text")});
  shelf.Put(bytes.Bytes(), memo.Bytes());
  shelf.machine().Restart();
  static_cast<void>(shelf.Rows());
  const std::size_t calls = shelf.machine().call_count();
  REQUIRE(calls > 5);
  for (std::size_t number = 1; number <= calls; ++number) {
    CAPTURE(number);
    shelf.machine().Restart();
    shelf.machine().FailCall(number, 1117);
    CHECK(ErrorOf([&] { static_cast<void>(shelf.Rows()); }).number() ==
          error_number::kTableDamaged);
    CHECK(shelf.machine().open_handles() == 0);
  }
}

TEST_CASE("a scan reads in large stretches: few calls whatever the number of rows") {
  TableShelf shelf;
  TableBytes bytes;
  bytes.Column("X", 'C', 50);
  for (int row = 0; row < 30000; ++row) bytes.Row({std::to_string(row)});
  shelf.Put(bytes.Bytes());
  shelf.machine().Restart();
  const auto rows = shelf.Rows();
  REQUIRE(rows.size() == 30000);
  CHECK(rows[29999][0] == Value(L"29999" + std::wstring(45, L' ')));
  CHECK(shelf.machine().call_count() < 12);
}
