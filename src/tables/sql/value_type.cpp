#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {
namespace {

constexpr double kCurrencyScale = 10000.0;

}  // namespace

ValueType TypeOf(const Value& value) {
  struct Visitor {
    ValueType operator()(const Null&) const { return ValueType::kAny; }
    ValueType operator()(bool) const { return ValueType::kLogical; }
    ValueType operator()(std::int32_t) const { return ValueType::kNumber; }
    ValueType operator()(double) const { return ValueType::kNumber; }
    ValueType operator()(const Currency&) const { return ValueType::kNumber; }
    ValueType operator()(const std::wstring&) const { return ValueType::kText; }
    ValueType operator()(const Date&) const { return ValueType::kDate; }
    ValueType operator()(const DateTime&) const { return ValueType::kDateTime; }
    ValueType operator()(const Bytes&) const { return ValueType::kBinary; }
  };
  return std::visit(Visitor{}, value);
}

std::wstring_view Describe(ValueType type) noexcept {
  switch (type) {
    case ValueType::kLogical:
      return L"a logical value";
    case ValueType::kNumber:
      return L"a number";
    case ValueType::kText:
      return L"text";
    case ValueType::kDate:
      return L"a date";
    case ValueType::kDateTime:
      return L"a date with time";
    case ValueType::kBinary:
      return L"binary data";
    case ValueType::kAny:
      break;
  }
  return L"a value";
}

bool IsDay(ValueType type) noexcept {
  return type == ValueType::kDate || type == ValueType::kDateTime;
}

double NumberOf(const Value& value) noexcept {
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
  if (const auto* currency = std::get_if<Currency>(&value))
    return static_cast<double>(currency->ten_thousandths) / kCurrencyScale;
  return 0;
}

DateTime DateTimeOf(const Value& value) noexcept {
  if (const auto* time = std::get_if<DateTime>(&value)) return *time;
  if (const auto* date = std::get_if<Date>(&value)) return {*date, 0};
  return {};
}

}  // namespace tdefault::tables::sql
