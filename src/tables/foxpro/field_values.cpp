#include "tables/foxpro/field_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/error.h"
#include "base/text.h"
#include "tables/foxpro/access_errors.h"
#include "tables/sql/date_text.h"

namespace tdefault::tables::foxpro {
namespace {

bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

[[noreturn]] void Mismatch(const Value& value, const Column& column) {
  throw Error(error_number::kTypeMismatch, kFieldSource,
              L"Type mismatch: " + Shown(value) + L" cannot be put into column " + column.name +
                  L", which holds " + std::wstring(Describe(column)) + L".");
}

std::optional<double> NumberOf(const Value& value) {
  if (const auto* text = std::get_if<std::wstring>(&value)) return ParseNumber(*text);
  if (std::holds_alternative<Bytes>(value)) return std::nullopt;
  return ToDouble(value, kFieldSource);
}

Value ToWholeNumber(double number) {
  const bool fits = number > std::numeric_limits<std::int32_t>::min() &&
                    number < std::numeric_limits<std::int32_t>::max();
  return fits ? Value(ToLong(Value(number), kFieldSource)) : Value(number);
}

Value ToCurrency(double number) {
  constexpr double kScale = 10000;
  constexpr double kBeyond = 9.2e18;
  const double scaled = std::round(number * kScale);
  if (std::fabs(scaled) >= kBeyond) return number;
  return Currency{static_cast<std::int64_t>(scaled)};
}

Value ToNumberOf(const Value& value, const Column& column) {
  if (column.kind == ColumnKind::kInteger && std::holds_alternative<std::int32_t>(value))
    return value;
  if (column.kind == ColumnKind::kCurrency && std::holds_alternative<Currency>(value)) return value;
  const std::optional<double> number = NumberOf(value);
  if (!number || !std::isfinite(*number)) Mismatch(value, column);
  if (column.kind == ColumnKind::kInteger) return ToWholeNumber(*number);
  if (column.kind == ColumnKind::kCurrency) return ToCurrency(*number);
  return *number;
}

Value ToDay(const Value& value, const Column& column) {
  Value day = value;
  if (const auto* text = std::get_if<std::wstring>(&value)) {
    const std::optional<Value> parsed = ParseDay(*text);
    if (!parsed) Mismatch(value, column);
    day = *parsed;
  }
  const auto* date = std::get_if<Date>(&day);
  const auto* time = std::get_if<DateTime>(&day);
  if (date == nullptr && time == nullptr) Mismatch(value, column);
  if (column.kind == ColumnKind::kDate) return date != nullptr ? *date : time->date;
  return time != nullptr ? *time : DateTime{*date, 0};
}

}  // namespace

std::optional<Value> ParseDay(std::wstring_view text) {
  constexpr std::size_t kYearDigits = 4;
  text = TrimBlanks(text);
  std::wstring written(text);
  const std::size_t digits =
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
  if (digits == kYearDigits) written.insert(0, L"^");
  std::optional<Value> day = sql::ParseDateText(written);
  if (!day) return std::nullopt;
  const auto* date = std::get_if<Date>(&*day);
  const bool empty = date != nullptr ? date->empty() : std::get<DateTime>(*day).empty();
  // A day that does not exist is the empty date in a statement; here it is a mistake.
  if (empty && std::any_of(text.begin(), text.end(), IsDigit)) return std::nullopt;
  return day;
}

Value ConvertForColumn(const Value& value, const Column& column) {
  if (IsNull(value)) return value;
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      if (std::holds_alternative<Bytes>(value)) Mismatch(value, column);
      return ToText(value, kFieldSource);
    case ColumnKind::kNumber:
    case ColumnKind::kInteger:
    case ColumnKind::kCurrency:
      return ToNumberOf(value, column);
    case ColumnKind::kLogical:
      try {
        return ToBoolean(value, kFieldSource);
      } catch (const Error&) {
        Mismatch(value, column);
      }
    case ColumnKind::kDate:
    case ColumnKind::kDateTime:
      return ToDay(value, column);
    case ColumnKind::kBinary:
      if (!std::holds_alternative<Bytes>(value)) Mismatch(value, column);
      return value;
  }
  return value;
}

std::wstring_view Describe(const Column& column) noexcept {
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      return L"text";
    case ColumnKind::kNumber:
      return L"a number";
    case ColumnKind::kInteger:
      return L"a whole number";
    case ColumnKind::kCurrency:
      return L"an amount of money";
    case ColumnKind::kLogical:
      return L"True or False";
    case ColumnKind::kDate:
      return L"a date";
    case ColumnKind::kDateTime:
      return L"a date with time";
    case ColumnKind::kBinary:
      return L"bytes";
  }
  return L"";
}

std::wstring Shown(const Value& value) {
  constexpr std::size_t kLongest = 60;
  if (IsNull(value)) return L"Null";
  if (const auto* bytes = std::get_if<Bytes>(&value))
    return std::to_wstring(bytes->size()) + L" bytes";
  const auto* text = std::get_if<std::wstring>(&value);
  if (text == nullptr) return ToText(value, kFieldSource);
  if (text->size() <= kLongest) return L"\"" + *text + L"\"";
  return L"\"" + text->substr(0, kLongest) + L"...\"";
}

}  // namespace tdefault::tables::foxpro
