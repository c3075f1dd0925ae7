// Memo files: where the values of memo, picture and general columns stand.
#include <doctest/doctest.h>

#include "table_bytes.h"
#include "table_shelf.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

Bytes BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// A table of one memo column X with one row.
std::string OneMemo(const std::string& pointer, std::uint8_t version = 0x30, char type = 'M') {
  TableBytes table(version);
  const bool visual = version >= 0x30 && version <= 0x32;
  table.Column("X", type, visual ? 4 : 10).Row({pointer});
  return table.Bytes();
}

Error ReadingError(const std::string& table, const std::string& memo) {
  TableShelf shelf;
  shelf.Put(table, memo);
  return ErrorOf([&] { static_cast<void>(shelf.Rows()); });
}

bool NamesPlaceAndMemoFile(const Error& error) {
  return error.number() == error_number::kTableDamaged && Contains(error, L"Table T") &&
         Contains(error, L"record 1, column X") && Contains(error, L"C:\\Data\\T.fpt");
}

}  // namespace

TEST_CASE("memo text is read at every block size") {
  for (const int size : {1, 33, 64, 512, 1024, 16384}) {
    CAPTURE(size);
    MemoBytes memo(static_cast<std::uint16_t>(size));
    TableBytes table;
    table.Column("X", 'M', 4);
    const std::string longer(3 * 1024, 'y');
    table.Row({memo.Pointer("first")}).Row({memo.Pointer(longer)}).Row({memo.Pointer("last")});
    TableShelf shelf;
    shelf.Put(table.Bytes(), memo.Bytes());
    const auto rows = shelf.Rows();
    REQUIRE(rows.size() == 3);
    CHECK(rows[0][0] == Value(std::wstring(L"first")));
    CHECK(rows[1][0] == Value(std::wstring(3 * 1024, L'y')));
    CHECK(rows[2][0] == Value(std::wstring(L"last")));
  }
}

TEST_CASE("the first block of one-byte blocks has the number 512") {
  CHECK(MemoBytes(1).Add("x") == 512);
  CHECK(MemoBytes(64).Add("x") == 8);
  CHECK(MemoBytes(512).Add("x") == 1);
}

TEST_CASE("old tables store the block number as ten digits") {
  for (const int version : {0xF5, 0x03}) {
    CAPTURE(version);
    MemoBytes memo;
    TableShelf shelf;
    const std::string digits = memo.Digits("text");
    shelf.Put(OneMemo(digits, static_cast<std::uint8_t>(version)), memo.Bytes());
    CHECK(shelf.First() == Value(std::wstring(L"text")));
  }
}

TEST_CASE("an empty memo is empty text and reads nothing of the memo file") {
  MemoBytes memo;
  TableShelf shelf;
  shelf.Put(OneMemo(LittleEndian(0, 4)), memo.Bytes());
  CHECK(shelf.First() == Value(std::wstring()));
  for (const std::string& blank : {std::string(10, ' '), std::string(10, '\0'),
                                   std::string("         0"), std::string("0000000000")}) {
    shelf.Put(OneMemo(blank, 0xF5), memo.Bytes());
    CHECK(shelf.First() == Value(std::wstring()));
  }
}

TEST_CASE("general, picture and blob columns read as bytes, whatever their signature") {
  const std::string picture("BM\0\1\xFF", 5);
  for (const char type : {'G', 'P', 'W'}) {
    for (const std::uint32_t signature : {0U, 1U, 2U, 77U}) {
      CAPTURE(type);
      CAPTURE(signature);
      MemoBytes memo;
      TableShelf shelf;
      const std::string pointer = memo.Pointer(picture, signature);
      shelf.Put(OneMemo(pointer, 0x32, type), memo.Bytes());
      CHECK(shelf.First() == Value(BytesOf(picture)));
      shelf.Put(OneMemo(LittleEndian(0, 4), 0x32, type), memo.Bytes());
      CHECK(shelf.First() == Value(Bytes{}));
    }
  }
}

TEST_CASE("memo text is decoded in the table's code page and keeps its line ends and blanks") {
  MemoBytes memo;
  TableBytes table(0x30, 0xC8);
  table.Column("X", 'M', 4).Row({memo.Pointer("a\r\n\xB3  ")});
  TableShelf shelf;
  shelf.Put(table.Bytes(), memo.Bytes());
  CHECK(shelf.First() == Value(std::wstring(L"a\r\n\u0142  ")));
}

TEST_CASE("a short last block is no damage") {
  MemoBytes memo(512);
  const std::string pointer = memo.Pointer("abc");
  TableShelf shelf;
  shelf.Put(OneMemo(pointer), memo.Bytes());
  REQUIRE(memo.Bytes().size() == 512 + 8 + 3);
  CHECK(shelf.First() == Value(std::wstring(L"abc")));
}

TEST_CASE("a value longer than the read-ahead is whole") {
  MemoBytes memo;
  TableBytes table;
  table.Column("X", 'M', 4);
  std::wstring expected;
  std::string big;
  for (int i = 0; i < 60000; ++i) big += std::to_string(i) + ",";
  expected.assign(big.begin(), big.end());
  table.Row({memo.Pointer("before")}).Row({memo.Pointer(big)}).Row({memo.Pointer("after")});
  table.Row({LittleEndian(8, 4)});
  TableShelf shelf;
  shelf.Put(table.Bytes(), memo.Bytes());
  const auto rows = shelf.Rows();
  CHECK(rows[0][0] == Value(std::wstring(L"before")));
  CHECK(rows[1][0] == Value(expected));
  CHECK(rows[2][0] == Value(std::wstring(L"after")));
  CHECK(rows[3][0] == Value(std::wstring(L"before")));
}

TEST_CASE("neighbouring memo values share their reads") {
  MemoBytes memo;
  TableBytes table;
  table.Column("X", 'M', 4);
  for (int i = 0; i < 500; ++i) table.Row({memo.Pointer("value " + std::to_string(i))});
  TableShelf shelf;
  shelf.Put(table.Bytes(), memo.Bytes());
  shelf.machine().Restart();
  REQUIRE(shelf.Rows().size() == 500);
  CHECK(shelf.machine().call_count() < 15);
}

TEST_CASE("a block or a length that leads out of the memo file names place and memo file") {
  MemoBytes memo;
  const std::string pointer = memo.Pointer("text");
  const std::string whole = memo.Bytes();
  const auto table = [](std::uint32_t block) { return OneMemo(LittleEndian(block, 4)); };
  for (const std::uint32_t block : {1U, 7U, 9U, 1000U, 0x20202020U, 0xFFFFFFFFU}) {
    CAPTURE(block);
    const Error error = ReadingError(table(block), whole);
    INFO(error.what());
    CHECK(NamesPlaceAndMemoFile(error));
    CHECK(Contains(error, L"block " + std::to_wstring(block)));
  }
  for (const std::uint32_t length : {5U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    CAPTURE(length);
    std::string damaged = whole;
    damaged.replace(512 + 4, 4, BigEndian(length, 4));
    const Error error = ReadingError(OneMemo(pointer), damaged);
    CHECK(NamesPlaceAndMemoFile(error));
    CHECK(Contains(error, std::to_wstring(length) + L" bytes long"));
  }
}

TEST_CASE("a block number that is none names the place") {
  for (const char* digits : {"abc", "-8", "8 8", "99999999999", "9999999999", "8.0"}) {
    CAPTURE(digits);
    const std::string stored = std::string(digits).substr(0, 10);
    const Error error = ReadingError(OneMemo(stored, 0xF5), MemoBytes().Bytes());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"record 1, column X"));
  }
}

TEST_CASE("a memo file cut short at any byte gives an error that names it") {
  MemoBytes memo;
  const std::string table = OneMemo(memo.Pointer("some text"));
  const std::string whole = memo.Bytes();
  for (std::size_t length = 1; length < whole.size(); ++length) {
    CAPTURE(length);
    const Error error = ReadingError(table, whole.substr(0, length));
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"C:\\Data\\T.fpt"));
  }
}

TEST_CASE("an empty memo file and a block size of 0 are damage") {
  TableShelf shelf;
  MemoBytes memo;
  shelf.Put(OneMemo(memo.Pointer("text")));
  shelf.machine().PutFile(L"C:\\Data\\T.fpt", "");
  const Error empty = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
  CHECK(empty.number() == error_number::kTableDamaged);
  CHECK(Contains(empty, L"T.fpt: the file is damaged, it ends after 0 of the 512 bytes"));
  std::string zero = memo.Bytes();
  zero.replace(6, 2, BigEndian(0, 2));
  CHECK(Contains(ReadingError(OneMemo(LittleEndian(8, 4)), zero), L"its block size is 0"));
}

TEST_CASE("a table whose memo file is missing is refused, naming that file") {
  TableShelf shelf;
  shelf.Put(OneMemo(LittleEndian(8, 4)));
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Open()); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"C:\\Data\\T.fpt"));
  CHECK(Contains(error, L"does not exist"));
  CHECK(Contains(error, L"Restore that file"));
  CHECK(shelf.machine().open_handles() == 0);
}

TEST_CASE("a table without memo columns needs no memo file") {
  TableShelf shelf;
  TableBytes table;
  table.Column("X", 'C', 1).Row({"a"});
  shelf.Put(table.Bytes());
  CHECK(shelf.Rows().size() == 1);
}

TEST_CASE("a memo file that another program keeps to itself is in use") {
  TableShelf shelf;
  MemoBytes memo;
  shelf.Put(OneMemo(memo.Pointer("text")), memo.Bytes());
  const auto held = shelf.machine().HoldOpen(L"C:\\Data\\T.fpt", platform::FileShare::kNone);
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Open()); });
  CHECK(error.number() == error_number::kInUseByAnother);
  CHECK(Contains(error, L"C:\\Data\\T.fpt"));
}

TEST_CASE("dBASE's memo file is not read: an empty memo is, a filled one says so") {
  TableBytes table(0x83);
  table.Column("NAME", 'C', 3).Column("X", 'M', 10);
  table.Row({"Ann", ""}).Row({"Bob", "         1"});
  TableShelf shelf;
  shelf.Put(table.Bytes());
  const auto opened = shelf.Open();
  const auto cursor = opened->Scan();
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(1) == Value(std::wstring()));
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(0) == Value(std::wstring(L"Bob")));
  const Error error = ErrorOf([&] { static_cast<void>(cursor->Read(1)); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"record 2, column X"));
  CHECK(Contains(error, L".dbt"));
  CHECK(Contains(error, L"Copy the table to a new table with FoxPro"));
}

TEST_CASE("a memo file that grows while its table is read is measured again") {
  TableShelf shelf;
  MemoBytes memo;
  TableBytes table;
  table.Column("X", 'M', 4).Row({memo.Pointer("old")});
  const std::string before = memo.Bytes();
  table.Row({memo.Pointer("new")});
  shelf.Put(table.Bytes(), before);
  const auto opened = shelf.Open();
  const auto cursor = opened->Scan();
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(0) == Value(std::wstring(L"old")));
  shelf.machine().PutFile(L"C:\\Data\\T.fpt", memo.Bytes());
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(0) == Value(std::wstring(L"new")));
}
