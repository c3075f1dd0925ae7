#include "base/value.h"

#include <doctest/doctest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"

using namespace tdefault;

namespace {

std::int32_t NumberOfError(const auto& body) {
  try {
    body();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

}  // namespace

TEST_CASE("numeric text is what automation converts for a US-English user") {
  struct Row {
    const wchar_t* text;
    std::optional<double> number;
  };
  const std::vector<Row> rows = {
      {L"12", 12},
      {L" 12 ", 12},
      {L"\t12", 12},
      {L"-3", -3},
      {L"- 3", -3},
      {L"3-", -3},
      {L"+3", 3},
      {L"(3)", -3},
      {L"12,5", 125},
      {L"1,2,3", 123},
      {L"12.5", 12.5},
      {L".5", 0.5},
      {L"5.", 5},
      {L"1e3", 1000},
      {L"1E-2", 0.01},
      {L"1d2", 100},
      {L"$5", 5},
      {L"-$5", -5},
      {L"$-5", -5},
      {L"5$", 5},
      {L"&H1F", 31},
      {L"&hff", 255},
      {L"&O17", 15},
      {L"&HFFFFFFFF", -1},
      {L"0", 0},
      {L"", std::nullopt},
      {L" ", std::nullopt},
      {L"abc", std::nullopt},
      {L"1 2", std::nullopt},
      {L"1.2.3", std::nullopt},
      {L"--1", std::nullopt},
      {L"-1-", std::nullopt},
      {L"(1", std::nullopt},
      {L"1)", std::nullopt},
      {L"(-1)", std::nullopt},
      {L"1e", std::nullopt},
      {L"e5", std::nullopt},
      {L".", std::nullopt},
      {L"&H", std::nullopt},
      {L"&HG", std::nullopt},
      {L"&O8", std::nullopt},
      {L"&X1", std::nullopt},
      {L"1.5,0", std::nullopt},
      {L"1e999", std::nullopt},
      {L"12abc", std::nullopt},
      {L",5", std::nullopt},
      {L"$$5", std::nullopt},
      {L"inf", std::nullopt},
      {L"nan", std::nullopt},
  };
  for (const Row& row : rows) {
    CAPTURE(ToUtf8(row.text));
    CHECK(ParseNumber(row.text) == row.number);
  }
}

TEST_CASE("rounding to whole numbers takes halves to the even one") {
  CHECK(ToLong(12.5, L"t") == 12);
  CHECK(ToLong(13.5, L"t") == 14);
  CHECK(ToLong(-12.5, L"t") == -12);
  CHECK(ToLong(-13.5, L"t") == -14);
  CHECK(ToLong(12.51, L"t") == 13);
  CHECK(ToLong(std::wstring(L"12.5"), L"t") == 12);
  CHECK(ToLong(Currency{125000}, L"t") == 12);
  CHECK(ToInteger(32766.5, L"t") == 32766);
}

TEST_CASE("a whole number out of range is an overflow") {
  CHECK(ToLong(2147483647.0, L"t") == 2147483647);
  CHECK(ToLong(-2147483648.0, L"t") == INT32_MIN);
  CHECK(NumberOfError([] { (void)ToLong(2147483648.0, L"t"); }) == 6);
  CHECK(NumberOfError([] { (void)ToLong(-2147483649.0, L"t"); }) == 6);
  CHECK(NumberOfError([] { (void)ToInteger(32767.5, L"t"); }) == 6);
  CHECK(NumberOfError([] { (void)ToInteger(std::int32_t{40000}, L"t"); }) == 6);
  CHECK(ToInteger(std::int32_t{-32768}, L"t") == -32768);
}

TEST_CASE("a null converts to nothing and text that is no number mismatches") {
  CHECK(NumberOfError([] { (void)ToLong(Null{}, L"t"); }) == 94);
  CHECK(NumberOfError([] { (void)ToText(Null{}, L"t"); }) == 94);
  CHECK(NumberOfError([] { (void)ToBoolean(Null{}, L"t"); }) == 94);
  CHECK(NumberOfError([] { (void)ToLong(std::wstring(L"x"), L"t"); }) == 13);
  CHECK(NumberOfError([] { (void)ToLong(std::wstring(), L"t"); }) == 13);
  CHECK(NumberOfError([] { (void)ToLong(Bytes{1}, L"t"); }) == 13);
}

TEST_CASE("a Boolean reads words in any case, words in hash signs and numbers") {
  CHECK(ToBoolean(std::wstring(L"True"), L"t"));
  CHECK(ToBoolean(std::wstring(L"tRUE"), L"t"));
  CHECK(ToBoolean(std::wstring(L"#TRUE#"), L"t"));
  CHECK_FALSE(ToBoolean(std::wstring(L"False"), L"t"));
  CHECK_FALSE(ToBoolean(std::wstring(L"#false#"), L"t"));
  CHECK(ToBoolean(std::wstring(L"-1"), L"t"));
  CHECK(ToBoolean(std::wstring(L"0.1"), L"t"));
  CHECK_FALSE(ToBoolean(std::wstring(L"0"), L"t"));
  CHECK(ToBoolean(true, L"t"));
  CHECK(ToBoolean(std::int32_t{2}, L"t"));
  CHECK(NumberOfError([] { (void)ToBoolean(std::wstring(L"yes"), L"t"); }) == 13);
}

TEST_CASE("numbers become the shortest text that reads back the same") {
  CHECK(NumberToText(12) == L"12");
  CHECK(NumberToText(-0.5) == L"-0.5");
  CHECK(NumberToText(0.1) == L"0.1");
  CHECK(NumberToText(-0.0) == L"0");
  CHECK(NumberToText(123456789012345.0) == L"123456789012345");
  CHECK(NumberToText(1e20) == L"1E+20");
  CHECK(ToText(Currency{125000}, L"t") == L"12.5");
  CHECK(ToText(Currency{-1}, L"t") == L"-0.0001");
  CHECK(ToText(Currency{INT64_MIN}, L"t") == L"-922337203685477.5808");
  CHECK(ToText(true, L"t") == L"True");
  CHECK(ToText(std::int32_t{-7}, L"t") == L"-7");
}

TEST_CASE("dates count from the automation epoch when read as numbers") {
  CHECK(ToLong(*MakeDate(1900, 1, 1), L"t") == 2);
  CHECK(ToLong(Date{}, L"t") == 0);
}
