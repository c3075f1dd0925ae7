// What the stored bytes of each column type mean.
#include <doctest/doctest.h>

#include <cmath>
#include <limits>

#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/foxpro/record_decoder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

// The value of a table with one column and one row.
Value StoredAs(char type, const std::string& bytes, std::size_t length, std::uint8_t flags = 0,
               std::uint8_t version = 0x32) {
  TableShelf shelf;
  TableBytes table(version);
  table.Column("X", type, length, 0, flags).Row({bytes});
  shelf.Put(table.Bytes());
  return shelf.First();
}

Error ErrorOfStored(char type, const std::string& bytes, std::size_t length) {
  return ErrorOf([&] { static_cast<void>(StoredAs(type, bytes, length)); });
}

Date Day(int year, int month, int day) { return MakeDate(year, month, day).value(); }

bool NamesPlace(const Error& error) {
  return error.number() == error_number::kTableDamaged && Contains(error, L"Table T") &&
         Contains(error, L"C:\\Data\\T.dbf") && Contains(error, L"record 1, column X") &&
         Contains(error, L"Correct the value");
}

}  // namespace

TEST_CASE("numbers read as the nearest double, whatever their place in the column") {
  struct Case {
    const char* stored;
    double value;
  };
  for (const Case& number :
       {Case{"        12", 12}, Case{"12        ", 12}, Case{"     -5.00", -5},
        Case{"      0.00", 0}, Case{"     +7   ", 7}, Case{"       .25", 0.25},
        Case{"      -.25", -0.25}, Case{"        5.", 5}, Case{"0000000012", 12},
        Case{"   1234.56", 1234.56}, Case{"9999999999", 9999999999.0}, Case{"   1.5E+15", 1.5e15},
        Case{"     1e-05", 1e-5}, Case{"   -0.0000", 0}}) {
    CAPTURE(number.stored);
    CHECK(StoredAs('N', number.stored, 10) == Value(number.value));
    CHECK(StoredAs('F', number.stored, 10) == Value(number.value));
  }
}

TEST_CASE("long numbers keep every digit a double has") {
  CHECK(foxpro::ParseStoredNumber("123456789012345") == 123456789012345.0);
  CHECK(foxpro::ParseStoredNumber("0.12345678901234") == 0.12345678901234);
  CHECK(foxpro::ParseStoredNumber("12345678901234567890") == 12345678901234567890.0);
  CHECK(foxpro::ParseStoredNumber("1234567890.123456789") == 1234567890.123456789);
  CHECK(foxpro::ParseStoredNumber("-9007199254740993") == -9007199254740992.0);
}

TEST_CASE("a negative zero reads as zero") {
  const auto zero = foxpro::ParseStoredNumber("-0.00");
  REQUIRE(zero);
  CHECK_FALSE(std::signbit(*zero));
}

TEST_CASE("a blank number reads as 0") {
  CHECK(StoredAs('N', "", 10) == Value(0.0));
  CHECK(StoredAs('F', std::string(10, '\0'), 10) == Value(0.0));
  CHECK(StoredAs('N', " ", 1) == Value(0.0));
}

TEST_CASE("a numeric column full of asterisks is null, whether it may be or not") {
  for (const char type : {'N', 'F'}) {
    CHECK(StoredAs(type, "**********", 10) == Value(Null{}));
    CHECK(StoredAs(type, "*", 1) == Value(Null{}));
    CHECK(StoredAs(type, "***", 3, 0, 0x03) == Value(Null{}));
  }
}

TEST_CASE("text that is no number names table, record and column") {
  for (const char* stored : {"*", "*********1", "         *", "abc", "1 2", "1.2.3", "-", ".",
                             "--5", "1e", "inf", "nan", "0x10", "12,5", "1e999"}) {
    CAPTURE(stored);
    const Error error = ErrorOfStored('N', stored, 10);
    INFO(error.what());
    CHECK(NamesPlace(error));
    CHECK(Contains(error, L"are no number"));
  }
}

TEST_CASE("a damaged value fails only who reads it: the other columns and rows are whole") {
  TableShelf shelf;
  TableBytes bytes;
  bytes.Column("A", 'C', 2).Column("X", 'N', 3);
  bytes.Row({"a1", "1*2"}).Row({"a2", "  2"});
  shelf.Put(bytes.Bytes());
  const auto table = shelf.Open();
  const auto cursor = table->Scan();
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(0) == Value(std::wstring(L"a1")));
  CHECK(ErrorOf([&] { static_cast<void>(cursor->Read(1)); }).number() ==
        error_number::kTableDamaged);
  CHECK(cursor->Read(0) == Value(std::wstring(L"a1")));
  REQUIRE(cursor->Next());
  CHECK(cursor->Read(1) == Value(2.0));
}

TEST_CASE("logical values read in either letter and language, unset is false") {
  for (const char* stored : {"T", "t", "Y", "y"}) CHECK(StoredAs('L', stored, 1) == Value(true));
  for (const char* stored : {"F", "f", "N", "n", " ", "?"})
    CHECK(StoredAs('L', stored, 1) == Value(false));
  CHECK(StoredAs('L', std::string(1, '\0'), 1) == Value(false));
  for (const char* stored : {"X", "1", "J", "\xFF"}) {
    CAPTURE(stored);
    CHECK(NamesPlace(ErrorOfStored('L', stored, 1)));
  }
}

TEST_CASE("dates read from eight digits, while blanks, zeros and zero bytes are the empty date") {
  CHECK(StoredAs('D', "20010307", 8) == Value(Day(2001, 3, 7)));
  CHECK(StoredAs('D', "20240229", 8) == Value(Day(2024, 2, 29)));
  CHECK(StoredAs('D', "00010101", 8) == Value(Day(1, 1, 1)));
  CHECK(StoredAs('D', "99991231", 8) == Value(Day(9999, 12, 31)));
  CHECK(StoredAs('D', "", 8) == Value(Date{}));
  CHECK(StoredAs('D', "00000000", 8) == Value(Date{}));
  CHECK(StoredAs('D', std::string(8, '\0'), 8) == Value(Date{}));
  for (const char* stored : {"20010229", "20011301", "20010100", "00010001", "2001 307", "abcdefgh",
                             "2001030", "00000001"}) {
    CAPTURE(stored);
    CHECK(NamesPlace(ErrorOfStored('D', stored, 8)));
  }
}

TEST_CASE("dates with times read as day and milliseconds, whole seconds restored") {
  const auto stored = [](std::uint32_t day, std::uint32_t milliseconds) {
    return LittleEndian(day, 4) + LittleEndian(milliseconds, 4);
  };
  const auto value = [](Date day, std::int32_t milliseconds) {
    return Value(DateTime{day, milliseconds});
  };
  CHECK(StoredAs('T', stored(2451976, 0), 8) == value(Day(2001, 3, 7), 0));
  CHECK(StoredAs('T', stored(2451976, 36000000), 8) == value(Day(2001, 3, 7), 36000000));
  CHECK(StoredAs('T', stored(2451976, 35999999), 8) == value(Day(2001, 3, 7), 36000000));
  CHECK(StoredAs('T', stored(2451976, 36000001), 8) == value(Day(2001, 3, 7), 36000000));
  CHECK(StoredAs('T', stored(2451976, 36000500), 8) == value(Day(2001, 3, 7), 36000500));
  CHECK(StoredAs('T', stored(2451976, 86399999), 8) == value(Day(2001, 3, 8), 0));
  CHECK(StoredAs('T', stored(0, 0), 8) == value(Date{}, 0));
  const std::uint32_t last_day = 5373484;
  CHECK(StoredAs('T', stored(last_day, 86398999), 8) == value(Day(9999, 12, 31), 86399000));
  CHECK(StoredAs('T', stored(last_day, 86399999), 8) == value(Day(9999, 12, 31), 86399999));
  CHECK(StoredAs('T', stored(last_day - 1, 86399999), 8) == value(Day(9999, 12, 31), 0));
  for (const std::string& damaged :
       {stored(2451976, 86400000), stored(2451976, 0xFFFFFFFF), stored(0, 1), stored(1, 0),
        stored(5373485, 0), stored(0xFFFFFFFF, 0), std::string(8, ' ')}) {
    CHECK(NamesPlace(ErrorOfStored('T', damaged, 8)));
  }
}

TEST_CASE("integers, doubles and currency read from their binary form") {
  CHECK(StoredAs('I', LittleEndian(12, 4), 4) == Value(std::int32_t{12}));
  CHECK(StoredAs('I', LittleEndian(0xFFFFFFFF, 4), 4) == Value(std::int32_t{-1}));
  CHECK(StoredAs('I', LittleEndian(0x80000000, 4), 4) ==
        Value(std::numeric_limits<std::int32_t>::min()));
  CHECK(StoredAs('I', LittleEndian(7, 4), 4, kAutoIncrementFlag, 0x31) == Value(std::int32_t{7}));
  CHECK(StoredAs('B', StoredDouble(-1.25e100), 8) == Value(-1.25e100));
  CHECK(StoredAs('B', StoredDouble(0), 8) == Value(0.0));
  CHECK(StoredAs('Y', LittleEndian(123456, 8), 8) == Value(Currency{123456}));
  CHECK(StoredAs('Y', std::string(8, '\xFF'), 8) == Value(Currency{-1}));
  CHECK(NamesPlace(ErrorOfStored('B', StoredDouble(std::numeric_limits<double>::infinity()), 8)));
  CHECK(NamesPlace(ErrorOfStored('B', StoredDouble(std::numeric_limits<double>::quiet_NaN()), 8)));
}

TEST_CASE("fixed-width text keeps the blanks that fill its column") {
  CHECK(StoredAs('C', "  a b", 8) == Value(std::wstring(L"  a b   ")));
  CHECK(StoredAs('C', "", 3) == Value(std::wstring(L"   ")));
  CHECK(StoredAs('C', std::string(254, 'x'), 254) == Value(std::wstring(254, L'x')));
}

TEST_CASE("text marked as binary reads as text in the table's code page") {
  CHECK(StoredAs('C', "\xE9", 2, kBinaryFlag) == Value(std::wstring(L"\x00E9 ")));
  TableShelf shelf;
  MemoBytes memo;
  TableBytes bytes(0x32, 1);
  bytes.Column("C", 'C', 2, 0, kBinaryFlag)
      .Column("V", 'V', 3, 0, kBinaryFlag)
      .Column("M", 'M', 4, 0, kBinaryFlag)
      .Column("_NullFlags", '0', 1, 0, kSystemFlag);
  bytes.Row({"\x81", std::string("\x82\0\1", 3), memo.Pointer("\xE3"), "\1"});
  shelf.Put(bytes.Bytes(), memo.Bytes());
  CHECK(shelf.Rows().front() == std::vector<Value>{std::wstring(L"\x00FC "),
                                                   std::wstring(L"\x00E9"),
                                                   std::wstring(L"\x03C0")});
}

TEST_CASE("general, picture and blob columns read as bytes") {
  for (const char type : {'G', 'P', 'W'}) {
    CAPTURE(type);
    TableShelf shelf;
    MemoBytes memo;
    TableBytes bytes(0x32);
    bytes.Column("X", type, 4, 0, kBinaryFlag);
    bytes.Row({memo.Pointer("\xE9\1", 0)});
    shelf.Put(bytes.Bytes(), memo.Bytes());
    CHECK(shelf.First() == Value(Bytes{0xE9, 1}));
  }
}

TEST_CASE("varchar and varbinary columns have the length that their last byte gives") {
  TableShelf shelf;
  TableBytes bytes(0x32);
  bytes.Column("V", 'V', 5).Column("Q", 'Q', 4).Column("_NullFlags", '0', 1, 0, kSystemFlag);
  bytes.Row({std::string("ab\0\0\2", 5), std::string("\1\2\3\3", 4), "\3"});
  bytes.Row({"abcde", "\4\5\6\7", std::string(1, '\0')});
  bytes.Row({std::string("\0\0\0\0\0", 5), std::string("\0\0\0\0", 4), "\3"});
  bytes.Row({std::string("abcd\4", 5), "\4\5\6\7", "\1"});
  shelf.Put(bytes.Bytes());
  const auto rows = shelf.Rows();
  REQUIRE(rows.size() == 4);
  CHECK(rows[0] == std::vector<Value>{std::wstring(L"ab"), Bytes{1, 2, 3}});
  CHECK(rows[1] == std::vector<Value>{std::wstring(L"abcde"), Bytes{4, 5, 6, 7}});
  CHECK(rows[2] == std::vector<Value>{std::wstring(), Bytes{}});
  CHECK(rows[3] == std::vector<Value>{std::wstring(L"abcd"), Bytes{4, 5, 6, 7}});
}

TEST_CASE("a stored length longer than its column is an error that names the place") {
  TableShelf shelf;
  TableBytes bytes(0x32);
  bytes.Column("X", 'V', 5).Column("_NullFlags", '0', 1, 0, kSystemFlag);
  bytes.Row({std::string("abcd\5", 5), "\1"});
  shelf.Put(bytes.Bytes());
  const Error error = ErrorOf([&] { static_cast<void>(shelf.Rows()); });
  CHECK(NamesPlace(error));
  CHECK(Contains(error, L"the stored length 5"));
}

TEST_CASE("null values are told by their bit, in the order of the columns") {
  TableShelf shelf;
  TableBytes bytes(0x32);
  bytes.Column("A", 'C', 2, 0, kNullableFlag)
      .Column("B", 'N', 3)
      .Column("C", 'V', 4, 0, kNullableFlag)
      .Column("D", 'I', 4, 0, kNullableFlag | kBinaryFlag)
      .Column("E", 'Q', 3)
      .Column("F", 'D', 8, 0, kNullableFlag)
      .Column("G", 'M', 4, 0, kNullableFlag)
      .Column("H", 'L', 1, 0, kNullableFlag)
      .Column("I", 'T', 8, 0, kNullableFlag)
      .Column("_NullFlags", '0', 2, 0, kSystemFlag | kBinaryFlag);
  // Bits: 0 A, 1 and 2 length and null of C, 3 D, 4 length of E, 5 F, 6 G, 7 H, 8 I.
  const std::string zeros(8, '\0');
  const auto row = [&](unsigned flags) {
    bytes.Row({"aa", "  1", std::string("cc\0\2", 4), LittleEndian(4, 4), std::string("\7\0\1", 3),
               "20010307", LittleEndian(0, 4), "T", zeros, LittleEndian(flags, 2)});
  };
  for (const unsigned flags : {0x012U, 0x013U, 0x017U, 0x01AU, 0x032U, 0x052U, 0x092U, 0x112U})
    row(flags);
  shelf.Put(bytes.Bytes(), MemoBytes().Bytes());
  const auto rows = shelf.Rows();
  REQUIRE(rows.size() == 8);
  const std::vector<Value> whole = {std::wstring(L"aa"), 1.0,      std::wstring(L"cc"),
                                    std::int32_t{4},     Bytes{7}, Day(2001, 3, 7),
                                    std::wstring(),      true,     DateTime{}};
  CHECK(rows[0] == whole);
  const auto without = [&](std::initializer_list<std::size_t> columns) {
    auto expected = whole;
    for (const std::size_t column : columns) expected[column] = Null{};
    return expected;
  };
  CHECK(rows[1] == without({0}));
  CHECK(rows[2] == without({0, 2}));
  CHECK(rows[3] == without({3}));
  CHECK(rows[4] == without({5}));
  CHECK(rows[5] == without({6}));
  CHECK(rows[6] == without({7}));
  CHECK(rows[7] == without({8}));
}

TEST_CASE("system columns are not shown") {
  TableShelf shelf;
  TableBytes bytes(0x30);
  bytes.Column("A", 'C', 1).Column("_NullFlags", '0', 1, 0, kSystemFlag).Column("B", 'C', 1);
  bytes.Row({"a", std::string(1, '\0'), "b"});
  shelf.Put(bytes.Bytes());
  CHECK(shelf.Rows().at(0) == std::vector<Value>{std::wstring(L"a"), std::wstring(L"b")});
}

TEST_CASE("the column of null flags is hidden without the system flag too") {
  for (const std::uint8_t flags : {0, 4}) {
    TableShelf shelf;
    TableBytes bytes(0x30);
    bytes.Column("A", 'C', 1, 0, kNullableFlag).Column("_NullFlags", '0', 1, 0, flags);
    bytes.Row({"a", std::string(1, '\0')}).Row({" ", std::string(1, '\1')});
    shelf.Put(bytes.Bytes());
    const auto rows = shelf.Rows();
    CHECK(rows.at(0) == std::vector<Value>{std::wstring(L"a")});
    CHECK(rows.at(1) == std::vector<Value>{Null{}});
  }
}

TEST_CASE("column types of Visual FoxPro are refused in older tables") {
  for (const char type : {'T', 'I', 'B', 'Y', 'V', 'Q', 'W'}) {
    CAPTURE(type);
    const std::size_t length = type == 'I' || type == 'W' ? 4 : 8;
    TableShelf shelf;
    TableBytes bytes(0xF5);
    bytes.Column("X", type, length);
    shelf.Put(bytes.Bytes());
    const Error error = ErrorOf([&] { static_cast<void>(shelf.Open()); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"column X has the type"));
  }
}
