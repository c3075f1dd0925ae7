// Parts of the dialect that statements show only indirectly.
#include <doctest/doctest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "base/code_page.h"
#include "sql/memory_store.h"
#include "sql/script.h"
#include "tables/foxpro/collation.h"
#include "tables/sql/abbreviation.h"
#include "tables/sql/comparison.h"
#include "tables/sql/date_text.h"
#include "tables/sql/functions.h"

using namespace tdefault;
using namespace tdefault::tables::sql;

namespace {

constexpr std::array<std::wstring_view, 4> kNames = {L"DATE", L"DATETIME", L"DATABASE", L"STR"};

std::size_t IndexOf(std::wstring_view word) {
  const auto found = FindAbbreviated(word, kNames);
  REQUIRE(std::holds_alternative<std::size_t>(found));
  return std::get<std::size_t>(found);
}

}  // namespace

TEST_CASE("a name may be cut to four letters, and a full name wins over longer ones") {
  CHECK(IndexOf(L"date") == 0);
  CHECK(IndexOf(L"dateT") == 1);
  CHECK(IndexOf(L"DATAB") == 2);
  CHECK(IndexOf(L"data") == 2);
  CHECK(IndexOf(L"str") == 3);
  CHECK(std::holds_alternative<NoMatch>(FindAbbreviated(L"st", kNames)));
  CHECK(std::holds_alternative<NoMatch>(FindAbbreviated(L"dat", kNames)));
  CHECK(std::holds_alternative<NoMatch>(FindAbbreviated(L"datetimes", kNames)));
  CHECK(std::holds_alternative<NoMatch>(FindAbbreviated(L"", kNames)));
}

TEST_CASE("an abbreviation of several names is ambiguous") {
  constexpr std::array<std::wstring_view, 3> kLonger = {L"DATETIME", L"DATEPART", L"DATABASE"};
  const auto found = FindAbbreviated(L"date", kLonger);
  REQUIRE(std::holds_alternative<AmbiguousMatch>(found));
  CHECK(std::get<AmbiguousMatch>(found).first == L"DATETIME");
  CHECK(std::get<AmbiguousMatch>(found).second == L"DATEPART");
}

TEST_CASE("every function is found by its name") {
  for (const std::wstring_view name :
       {L"UPPER", L"LOWER", L"LEFT", L"RIGHT", L"SUBSTR", L"CHR",  L"ALLTRIM", L"LTRIM",
        L"RTRIM", L"TRIM",  L"STR",  L"VAL",   L"DTOS",   L"CTOD", L"EMPTY",   L"ISNULL",
        L"NVL",   L"LEN",   L"AT",   L"PADR",  L"PADL",   L"IIF"}) {
    const auto found = FindFunction(name);
    REQUIRE(std::holds_alternative<const Function*>(found));
    CHECK(std::get<const Function*>(found)->name == name);
  }
}

TEST_CASE("keys of values sort and are equal as the values compare") {
  const auto collation = tables::foxpro::MakeCollation(tables::foxpro::CollatingSequence::kGeneral,
                                                       *CodePage::Find(1252));
  const std::vector<std::vector<Value>> kinds = {
      {false, true},
      {-std::numeric_limits<double>::infinity(), -1e300, -2.5, -1.0, -0.0, 0.0, 1e-300, 0.5,
       std::int32_t{1}, 1.5, Currency{15000}, Currency{15001}, std::int32_t{2147483647}, 1e300},
      {Currency{std::numeric_limits<std::int64_t>::min()}, Currency{-9223372036854770002},
       Currency{-9223372036854770001}, Currency{0}, Currency{9223372036854770001},
       Currency{9223372036854770002}, Currency{std::numeric_limits<std::int64_t>::max()}},
      {std::wstring(), std::wstring(L"   "), std::wstring(L"a"), std::wstring(L"A  "),
       std::wstring(L"a\x01"), std::wstring(L"ab"), std::wstring(L"b")},
      {Date{}, Date{2451976}, DateTime{Date{2451976}, 0}, DateTime{Date{2451976}, 1},
       Date{2451977}},
  };
  for (const std::vector<Value>& values : kinds) {
    for (const Value& left : values) {
      for (const Value& right : values) {
        const int order =
            CompareSortKeys(SortKey(left, *collation), SortKey(right, *collation), *collation);
        CHECK(Compare(ComparisonOperator::kEqual, left, right, *collation) == (order == 0));
        CHECK(Compare(ComparisonOperator::kLess, left, right, *collation) == (order < 0));
        CHECK(Compare(ComparisonOperator::kGreater, left, right, *collation) == (order > 0));
      }
    }
  }
}

TEST_CASE("what is not a number equals itself and sorts before all numbers") {
  const auto collation = tables::foxpro::MakeCollation(tables::foxpro::CollatingSequence::kMachine,
                                                       *CodePage::Find(1252));
  const Value not_a_number = std::numeric_limits<double>::quiet_NaN();
  const Value lowest = -std::numeric_limits<double>::infinity();
  CHECK(Compare(ComparisonOperator::kEqual, not_a_number, not_a_number, *collation));
  CHECK(Compare(ComparisonOperator::kLess, not_a_number, lowest, *collation));
  CHECK(Compare(ComparisonOperator::kGreater, lowest, not_a_number, *collation));
  CHECK(SortKey(not_a_number, *collation) < SortKey(lowest, *collation));
}

TEST_CASE("a null's key is before all others and values of unlike types have unlike keys") {
  const auto collation = tables::foxpro::MakeCollation(tables::foxpro::CollatingSequence::kMachine,
                                                       *CodePage::Find(1252));
  const std::vector<Value> values = {false, 0.0, Date{}, std::wstring()};
  for (std::size_t i = 0; i < values.size(); ++i) {
    CHECK(SortKey(Null{}, *collation) < SortKey(values[i], *collation));
    for (std::size_t j = 0; j < i; ++j)
      CHECK(SortKey(values[i], *collation) != SortKey(values[j], *collation));
  }
  CHECK(SortKey(Null{}, *collation) == SortKey(Null{}, *collation));
}

TEST_CASE("dates are read from text") {
  const Value march = Date{2451976};
  CHECK(ParseDateText(L"03-07-2001") == march);
  CHECK(ParseDateText(L" 3 / 7 / 2001 ") == march);
  CHECK(ParseDateText(L"^2001.3.7") == march);
  CHECK(ParseDateText(L"02-30-2001") == Value(Date{}));
  CHECK(ParseDateText(L"  -  -    ") == Value(Date{}));
  CHECK(ParseDateText(L"03-07-2001 0:00") == Value(DateTime{Date{2451976}, 0}));
  CHECK(ParseDateText(L"^2001-03-07, 11:59:59 PM") == Value(DateTime{Date{2451976}, 86399000}));
  CHECK(ParseDateText(L"02-30-2001 10:00") == Value(DateTime{}));
  for (const std::wstring_view text :
       {L"03-07-01", L"03-07", L"2001-03-07", L"^03-07-2001", L"03-07-20011", L"a-b-c",
        L"03 07 2001", L"03-07-2001 10", L"03-07-2001 10:60", L"03-07-2001 13:00 PM",
        L"03-07-2001 0:00 AM", L"03-07-2001 10:00 x", L"x"}) {
    CAPTURE(ToUtf8(text));
    CHECK_FALSE(ParseDateText(text).has_value());
  }
}

TEST_CASE("a script reports a wrong row, a wrong error and a line that it does not know") {
  tests::MemoryStore store;
  const std::string script =
      "table T\nId I\n1\n\n"
      "rows right\nSELECT Id FROM T\n----\n1\n\n"
      "rows wrong\nSELECT Id FROM T\n----\n2\n\n"
      "rows an error\nSELECT x FROM T\n----\n1\n\n"
      "error no error\nSELECT Id FROM T\n----\nStatement error\n\n"
      "rows without its line\nSELECT Id FROM T\n\n"
      "raws misspelt\nSELECT Id FROM T\n----\n1\n";
  const tests::ScriptOutcome outcome = tests::RunScript("s", script, store);
  CHECK(outcome.cases == 5);
  REQUIRE(outcome.failures.size() == 5);
  CHECK(outcome.failures[0].starts_with("s:10: wrong\n"));
  CHECK(outcome.failures[1].starts_with("s:15: an error\n"));
  CHECK(outcome.failures[2].starts_with("s:20: no error\n"));
  CHECK(outcome.failures[3].starts_with("s:25: "));
  CHECK(outcome.failures[4].starts_with("s:28: "));
}
