// Values of ADO's fields: variants of every type that columns give, and what fields are given.
#include <doctest/doctest.h>

#include "tables/ado/variant_values.h"
// After windows.h.
#include <limits>
#include <string>

#include "ado/script_object.h"
#include "unit/readable.h"

using namespace tdefault;
using namespace tdefault::tests;
using tables::ado::DataType;
using tables::ado::ToBytes;
using tables::ado::ToValue;
using tables::ado::ToVariant;

namespace {

Variant DateVariant(double date) {
  Variant variant;
  variant.get().vt = VT_DATE;
  variant.get().date = date;
  return variant;
}

Variant DoubleVariant(double number) {
  Variant variant;
  variant.get().vt = VT_R8;
  variant.get().dblVal = number;
  return variant;
}

Variant DecimalVariant(const wchar_t* digits) {
  Variant variant;
  DECIMAL decimal{};
  std::wstring text = digits;
  REQUIRE(VarDecFromStr(text.data(), 1033, LOCALE_NOUSEROVERRIDE, &decimal) == S_OK);
  variant.get().decVal = decimal;
  variant.get().vt = VT_DECIMAL;
  return variant;
}

Variant WideVariant(std::int64_t number) {
  Variant variant;
  variant.get().vt = VT_I8;
  variant.get().llVal = number;
  return variant;
}

Value AsValue(const Variant& variant, DataType type) { return ToValue(variant.get(), type); }

Date Day(std::int32_t year, std::int32_t month, std::int32_t day) {
  return MakeDate(year, month, day).value();
}

template <class Call>
std::int32_t NumberOfError(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

}  // namespace

TEST_CASE("a date counts from 1899-12-30, which is the empty date") {
  CHECK(AsValue(DateVariant(0.0), DataType::kDatabaseDate) == Value(Date{}));
  CHECK(AsValue(DateVariant(0.0), DataType::kTimestamp) == Value(DateTime{}));
  CHECK(AsValue(DateVariant(1.0), DataType::kDatabaseDate) == Value(Day(1899, 12, 31)));
  CHECK(AsValue(DateVariant(-1.0), DataType::kDatabaseDate) == Value(Day(1899, 12, 29)));
  CHECK(AsValue(DateVariant(36957.0), DataType::kDate) == Value(Day(2001, 3, 7)));
  CHECK(AsValue(DateVariant(2958465.0), DataType::kDate) == Value(Day(9999, 12, 31)));
  CHECK(AsValue(DateVariant(-657434.0), DataType::kDate) == Value(Day(100, 1, 1)));
}

TEST_CASE("a time is the fraction of its day, in front of 1899-12-30 as well") {
  CHECK(AsValue(DateVariant(36957.5), DataType::kTimestamp) ==
        Value(DateTime{Day(2001, 3, 7), 43200000}));
  CHECK(AsValue(DateVariant(-1.25), DataType::kTimestamp) ==
        Value(DateTime{Day(1899, 12, 29), 21600000}));
  CHECK(AsValue(DateVariant(0.25), DataType::kTimestamp) ==
        Value(DateTime{Day(1899, 12, 30), 21600000}));
  // The last hundredth of a millisecond of a day rounds to the next one.
  CHECK(AsValue(DateVariant(36957.9999999999), DataType::kTimestamp) ==
        Value(DateTime{Day(2001, 3, 8), 0}));
  CHECK(AsValue(DateVariant(36957.0), DataType::kTimestamp) == Value(DateTime{Day(2001, 3, 7), 0}));
  CHECK(AsValue(DateVariant(36957.5), DataType::kDatabaseDate) == Value(Day(2001, 3, 7)));
  // Every second of a day comes back exactly.
  for (std::int32_t second = 0; second < 86400; second += 7) {
    const Value value = DateTime{Day(2026, 11, 21), second * 1000};
    if (AsValue(ToVariant(value, DataType::kTimestamp), DataType::kTimestamp) != value)
      FAIL("second " << second);
  }
}

TEST_CASE("numbers follow their columns: decimals are floating point, whole numbers 32 bits") {
  CHECK(AsValue(DecimalVariant(L"-12.50"), DataType::kNumeric) == Value(-12.5));
  CHECK(AsValue(DecimalVariant(L"7"), DataType::kNumeric) == Value(7.0));
  CHECK(AsValue(DoubleVariant(0.1), DataType::kDouble) == Value(0.1));
  CHECK(AsValue(NumberVariant(3), DataType::kDouble) == Value(3.0));
  CHECK(AsValue(NumberVariant(-5), DataType::kInteger) == Value(-5));
  CHECK(AsValue(WideVariant(2147483647), DataType::kInteger) == Value(2147483647));
  CHECK(AsValue(WideVariant(2147483648), DataType::kInteger) == Value(2147483648.0));
  Variant amount;
  amount.get().vt = VT_CY;
  amount.get().cyVal.int64 = -12345;
  CHECK(AsValue(amount, DataType::kCurrency) == Value(Currency{-12345}));
  CHECK(AsValue(FlagVariant(true), DataType::kBoolean) == Value(true));
  CHECK(AsValue(FlagVariant(false), DataType::kBoolean) == Value(false));
}

TEST_CASE("text keeps its blanks, a null and nothing at all are null") {
  CHECK(AsValue(TextVariant(L"ab   "), DataType::kChar) == Value(std::wstring(L"ab   ")));
  Variant null_text;
  null_text.get().vt = VT_BSTR;
  null_text.get().bstrVal = nullptr;
  CHECK(AsValue(null_text, DataType::kLongVarChar) == Value(std::wstring()));
  const std::wstring with_nul(L"a\0b", 3);
  CHECK(AsValue(TextVariant(with_nul), DataType::kLongVarChar) == Value(with_nul));
  Variant null;
  null.get().vt = VT_NULL;
  CHECK(AsValue(null, DataType::kInteger) == Value(Null{}));
  CHECK(AsValue(Variant(), DataType::kChar) == Value(Null{}));
  CHECK(ToBytes(null.get()).empty());
}

TEST_CASE("fixed-width binary columns are text in the system's page, other bytes stay bytes") {
  const Bytes bytes = {'M', 0xFC, 'l', ' '};
  CHECK(AsValue(BytesVariant(bytes), DataType::kBinary) == Value(std::wstring(L"M\u00FCl ")));
  CHECK(AsValue(BytesVariant(bytes), DataType::kVarBinary) == Value(bytes));
  CHECK(AsValue(BytesVariant(bytes), DataType::kLongVarBinary) == Value(bytes));
  CHECK(AsValue(BytesVariant({}), DataType::kLongVarBinary) == Value(Bytes()));
  CHECK(ToBytes(BytesVariant(bytes).get()) == bytes);
  CHECK(ToBytes(TextVariant(L"M\u00FCl ").get()) == bytes);
  CHECK(NumberOfError([] { static_cast<void>(ToBytes(NumberVariant(1).get())); }) ==
        error_number::kTypeMismatch);
}

TEST_CASE("a variant that no column gives is refused") {
  Variant object;
  object.get().vt = VT_DISPATCH;
  object.get().pdispVal = nullptr;
  CHECK(NumberOfError([&] { static_cast<void>(AsValue(object, DataType::kChar)); }) ==
        error_number::kTypeMismatch);
  Variant texts;
  texts.get().parray = SafeArrayCreateVector(VT_BSTR, 0, 1);
  texts.get().vt = VT_ARRAY | VT_BSTR;
  CHECK(NumberOfError([&] { static_cast<void>(AsValue(texts, DataType::kChar)); }) ==
        error_number::kTypeMismatch);
  Variant plane;
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  plane.get().parray = SafeArrayCreate(VT_UI1, 2, bounds);
  plane.get().vt = VT_ARRAY | VT_UI1;
  CHECK(NumberOfError([&] { static_cast<void>(AsValue(plane, DataType::kVarBinary)); }) ==
        error_number::kTypeMismatch);
}

TEST_CASE("values come back from the variants that fields are given") {
  const struct {
    Value value;
    DataType type;
    VARTYPE variant;
  } rows[] = {
      {Null{}, DataType::kChar, VT_NULL},
      {true, DataType::kBoolean, VT_BOOL},
      {-7, DataType::kInteger, VT_I4},
      {2.25, DataType::kDouble, VT_R8},
      {Currency{123456}, DataType::kCurrency, VT_CY},
      {std::wstring(L"it's "), DataType::kChar, VT_BSTR},
      {Date{}, DataType::kDatabaseDate, VT_DATE},
      {Day(1850, 6, 1), DataType::kDatabaseDate, VT_DATE},
      {DateTime{}, DataType::kTimestamp, VT_DATE},
      {DateTime{Day(1850, 6, 1), 3600000}, DataType::kTimestamp, VT_DATE},
      {Bytes{1, 0, 255}, DataType::kLongVarBinary, VT_ARRAY | VT_UI1},
      {Bytes{}, DataType::kLongVarBinary, VT_ARRAY | VT_UI1},
  };
  for (const auto& row : rows) {
    const Variant variant = ToVariant(row.value, row.type);
    CHECK(variant.get().vt == row.variant);
    CHECK(ToValue(variant.get(), row.type) == row.value);
  }
}

TEST_CASE("text for a field of another type converts by the rules of US English") {
  const auto number = [](const wchar_t* text, DataType type) {
    return AsValue(ToVariant(std::wstring(text), type), type);
  };
  CHECK(number(L" 1,234.5 ", DataType::kNumeric) == Value(1234.5));
  CHECK(number(L"-3", DataType::kDouble) == Value(-3.0));
  CHECK(number(L"True", DataType::kBoolean) == Value(true));
  CHECK(number(L"11-21-2026", DataType::kDatabaseDate) == Value(Day(2026, 11, 21)));
  CHECK(number(L"03-07-2001", DataType::kDatabaseDate) == Value(Day(2001, 3, 7)));
  CHECK(number(L"", DataType::kDatabaseDate) == Value(Date{}));
  CHECK(number(L"  ", DataType::kTimestamp) == Value(DateTime{}));
  const auto refused = [](const wchar_t* text, DataType type) {
    return NumberOfError([&] { static_cast<void>(ToVariant(std::wstring(text), type)); }) ==
           error_number::kTypeMismatch;
  };
  CHECK(refused(L"abc", DataType::kInteger));
  CHECK(refused(L"maybe", DataType::kBoolean));
  CHECK(refused(L"no day", DataType::kDatabaseDate));
}

TEST_CASE("any value for a text field becomes text, text for a binary field bytes") {
  CHECK(AsValue(ToVariant(12, DataType::kChar), DataType::kChar) == Value(std::wstring(L"12")));
  CHECK(AsValue(ToVariant(0.5, DataType::kLongVarChar), DataType::kLongVarChar) ==
        Value(std::wstring(L"0.5")));
  const Variant bytes = ToVariant(std::wstring(L"\u00E9"), DataType::kBinary);
  CHECK(bytes.get().vt == (VT_ARRAY | VT_UI1));
  CHECK(ToBytes(bytes.get()) == Bytes{0xE9});
}
