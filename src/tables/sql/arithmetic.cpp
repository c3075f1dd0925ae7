#include "tables/sql/arithmetic.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "base/date_time.h"
#include "base/text.h"
#include "tables/sql/functions.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

constexpr double kDayLength = kMillisecondsPerDay;
constexpr double kSecondLength = kMillisecondsPerSecond;

double Compute(ArithmeticOperator operation, double left, double right, std::size_t position) {
  double result = 0;
  switch (operation) {
    case ArithmeticOperator::kAdd:
      result = left + right;
      break;
    case ArithmeticOperator::kSubtract:
      result = left - right;
      break;
    case ArithmeticOperator::kMultiply:
      result = left * right;
      break;
    case ArithmeticOperator::kDivide:
      if (right == 0) throw StatementError(position, L"Cannot divide by 0");
      result = left / right;
      break;
  }
  if (!std::isfinite(result)) throw StatementError(position, L"the result is out of range");
  return result;
}

// "-" moves the blanks at the end of the left text behind the right one.
void Concatenate(ArithmeticOperator operation, std::wstring& left, const std::wstring& right,
                 std::size_t position) {
  if (left.size() + right.size() > kLongestText)
    throw StatementError(position, L"the text becomes longer than " +
                                       std::to_wstring(kLongestText) + L" characters");
  if (operation == ArithmeticOperator::kAdd) {
    left += right;
    return;
  }
  const std::size_t length = TrimTrailingBlanks(left).size();
  const std::size_t blanks = left.size() - length;
  left.resize(length);
  left += right;
  left.append(blanks, L' ');
}

// Milliseconds since the beginning of day 0 of the Julian count.
double Milliseconds(const DateTime& time) {
  return time.date.julian_day * kDayLength + time.milliseconds;
}

// Days are added to a date and seconds to a time; the empty date stays empty.
Value Shift(const Value& day, double amount, std::size_t position) {
  const DateTime start = DateTimeOf(day);
  if (start.empty()) return day;
  const bool is_date = std::holds_alternative<Date>(day);
  const double step =
      is_date ? std::trunc(amount) * kDayLength : std::trunc(amount) * kSecondLength;
  const double moved = Milliseconds(start) + step;
  const double first = Milliseconds({*MakeDate(1, 1, 1), 0});
  const double end = Milliseconds({*MakeDate(9999, 12, 31), 0}) + kDayLength;
  if (!(moved >= first && moved < end))
    throw StatementError(position, L"the result is not a day of the years 1 to 9999");
  const double julian_day = std::floor(moved / kDayLength);
  const Date date{static_cast<std::int32_t>(julian_day)};
  if (is_date) return date;
  return DateTime{date, static_cast<std::int32_t>(moved - julian_day * kDayLength)};
}

// Days between dates, seconds where one of the two has a time.
double Difference(const Value& left, const Value& right) {
  const double milliseconds = Milliseconds(DateTimeOf(left)) - Milliseconds(DateTimeOf(right));
  const bool dates = std::holds_alternative<Date>(left) && std::holds_alternative<Date>(right);
  return milliseconds / (dates ? kDayLength : kSecondLength);
}

}  // namespace

std::wstring_view Symbol(ArithmeticOperator operation) noexcept {
  switch (operation) {
    case ArithmeticOperator::kAdd:
      return L"+";
    case ArithmeticOperator::kSubtract:
      return L"-";
    case ArithmeticOperator::kMultiply:
      return L"*";
    case ArithmeticOperator::kDivide:
      return L"/";
  }
  return {};
}

std::optional<ValueType> ResultType(ArithmeticOperator operation, ValueType left,
                                    ValueType right) noexcept {
  const bool any_left = left == ValueType::kAny;
  const bool any_right = right == ValueType::kAny;
  if (operation == ArithmeticOperator::kMultiply || operation == ArithmeticOperator::kDivide) {
    const bool numbers =
        (any_left || left == ValueType::kNumber) && (any_right || right == ValueType::kNumber);
    return numbers ? std::optional(ValueType::kNumber) : std::nullopt;
  }
  const auto adds = [](ValueType type) {
    return type == ValueType::kNumber || type == ValueType::kText || IsDay(type);
  };
  if ((!any_left && !adds(left)) || (!any_right && !adds(right))) return std::nullopt;
  if (any_left || any_right) return ValueType::kAny;
  if (left == right && !IsDay(left)) return left;
  if (IsDay(left) && right == ValueType::kNumber) return left;
  if (operation == ArithmeticOperator::kAdd)
    return left == ValueType::kNumber && IsDay(right) ? std::optional(right) : std::nullopt;
  return IsDay(left) && IsDay(right) ? std::optional(ValueType::kNumber) : std::nullopt;
}

Error OperandMismatch(std::size_t position, std::wstring_view symbol, ValueType left,
                      ValueType right) {
  std::wstring text = L"Operator/operand type mismatch: ";
  text += symbol;
  text += L" between ";
  text += Describe(left);
  text += L" and ";
  text += Describe(right);
  return StatementError(position, text);
}

void Apply(ArithmeticOperator operation, Value& left, const Value& right, std::size_t position) {
  const ValueType left_type = TypeOf(left);
  const ValueType right_type = TypeOf(right);
  if (!ResultType(operation, left_type, right_type))
    throw OperandMismatch(position, Symbol(operation), left_type, right_type);
  if (IsNull(left) || IsNull(right)) {
    left = Null{};
  } else if (auto* text = std::get_if<std::wstring>(&left)) {
    Concatenate(operation, *text, std::get<std::wstring>(right), position);
  } else if (IsDay(left_type) && IsDay(right_type)) {
    left = Difference(left, right);
  } else if (IsDay(left_type)) {
    const double amount = NumberOf(right);
    left = Shift(left, operation == ArithmeticOperator::kAdd ? amount : -amount, position);
  } else if (IsDay(right_type)) {
    left = Shift(right, NumberOf(left), position);
  } else {
    left = Compute(operation, NumberOf(left), NumberOf(right), position);
  }
}

Value Negate(const Value& value, std::size_t position) {
  if (IsNull(value)) return value;
  if (TypeOf(value) != ValueType::kNumber) {
    std::wstring text = L"Operator/operand type mismatch: - before ";
    text += Describe(TypeOf(value));
    throw StatementError(position, text);
  }
  return -NumberOf(value);
}

}  // namespace tdefault::tables::sql
