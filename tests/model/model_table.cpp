#include "model/model_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/error.h"

namespace tdefault::tests::model {
namespace {

using Kept = ModelTable::Kept;

constexpr double kMoney = 10000.0;

Kept Taken(Value value) { return {.value = std::move(value)}; }
Kept TakenText(std::wstring text) {
  Kept kept;
  kept.value.emplace<std::wstring>(std::move(text));
  return kept;
}
Kept Refused(std::int32_t error) { return {.error = error}; }

std::optional<double> NumberIn(const Value& value) {
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* money = std::get_if<Currency>(&value))
    return static_cast<double>(money->ten_thousandths) / kMoney;
  return std::nullopt;
}

// Rounded to the column's decimals, halves away from zero; where that is too wide, to fewer.
Kept StoredDigits(const ColumnSpec& column, double number) {
  const double power = std::pow(10.0, column.decimals);
  if (std::abs(number) * power > 9e15) return Refused(error_number::kValueDoesNotFit);
  const std::int64_t scaled = std::llround(std::abs(number) * power);
  std::int64_t divisor = 1;
  for (int decimals = column.decimals; decimals >= 0; --decimals, divisor *= 10) {
    const std::int64_t rounded = (scaled + divisor / 2) / divisor;
    const bool negative = number < 0 && rounded != 0;
    const std::string digits = std::to_string(rounded);
    std::size_t width = std::max(digits.size(), static_cast<std::size_t>(decimals) + 1);
    const bool leading_zero = decimals > 0 && digits.size() <= static_cast<std::size_t>(decimals);
    width += (decimals > 0 ? 1U : 0U) + (negative ? 1U : 0U);
    if (width == column.length + 1U && leading_zero) --width;
    if (width > column.length) continue;
    const std::string text = (negative ? "-" : "") + digits + "e-" + std::to_string(decimals);
    return Taken(std::strtod(text.c_str(), nullptr));
  }
  return Refused(error_number::kValueDoesNotFit);
}

Kept StoredNumber(const ColumnSpec& column, const Value& value) {
  const std::optional<double> number = NumberIn(value);
  if (!number) return Refused(error_number::kStatementError);
  switch (column.type) {
    case 'I':
      if (std::abs(*number) > std::numeric_limits<std::int32_t>::max())
        return Refused(error_number::kValueDoesNotFit);
      return Taken(static_cast<std::int32_t>(*number));
    case 'B':
      return Taken(*number);
    case 'Y':
      if (const auto* money = std::get_if<Currency>(&value)) return Taken(*money);
      if (std::abs(*number) > 9e14) return Refused(error_number::kValueDoesNotFit);
      return Taken(Currency{std::llround(*number * kMoney)});
    default:
      return StoredDigits(column, *number);
  }
}

bool IsText(char type) { return type == 'C' || type == 'V' || type == 'M'; }

std::wstring StoredText(const ColumnSpec& column, std::wstring text) {
  if (column.type == 'C') text.resize(column.length, L' ');
  if (column.type == 'V' && text.size() > column.length) text.resize(column.length);
  return text;
}

}  // namespace

ModelTable::ModelTable(TableSpec spec, std::vector<ModelTag> tags, bool folds)
    : spec_(std::move(spec)), tags_(std::move(tags)), folds_(folds) {
  for (const ColumnSpec& column : spec_.columns) {
    names_.push_back(column.name);
    next_numbers_.push_back(column.next_number);
  }
}

std::vector<std::size_t> ModelTable::Matching(const ExpressionPointer& condition) const {
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (rows_[i].deleted) continue;
    if (!condition || IsTrue(Evaluate(*condition, rows_[i], folds_))) positions.push_back(i);
  }
  return positions;
}

Kept ModelTable::Stored(std::size_t column, const Value& value) const {
  const ColumnSpec& spec = spec_.columns[column];
  if (spec.number_step != 0) return Refused(error_number::kStatementError);
  if (IsNull(value)) {
    if (!spec.nullable) return Refused(error_number::kStatementError);
    return Taken(value);
  }
  if (IsText(spec.type)) {
    if (const auto* text = std::get_if<std::wstring>(&value))
      return TakenText(StoredText(spec, *text));
    return Refused(error_number::kStatementError);
  }
  bool fits = false;
  switch (spec.type) {
    case 'L':
      fits = std::holds_alternative<bool>(value);
      break;
    case 'D':
      if (const auto* moment = std::get_if<DateTime>(&value)) return Taken(moment->date);
      fits = std::holds_alternative<Date>(value);
      break;
    case 'T':
      if (const auto* date = std::get_if<Date>(&value)) return Taken(DateTime{*date, 0});
      fits = std::holds_alternative<DateTime>(value);
      break;
    case 'Q':
    case 'W':
    case 'G':
    case 'P':
      fits = std::holds_alternative<Bytes>(value);
      break;
    default:
      return StoredNumber(spec, value);
  }
  if (!fits) return Refused(error_number::kStatementError);
  return Taken(value);
}

Value ModelTable::Ungiven(std::size_t column) const {
  const ColumnSpec& spec = spec_.columns[column];
  if (spec.nullable) return Null{};
  switch (spec.type) {
    case 'C':
      return std::wstring(spec.length, L' ');
    case 'V':
    case 'M':
      return std::wstring();
    case 'N':
    case 'F':
    case 'B':
      return 0.0;
    case 'I':
      return std::int32_t{0};
    case 'Y':
      return Currency{0};
    case 'L':
      return false;
    case 'D':
      return Date{};
    case 'T':
      return DateTime{};
    default:
      return Bytes{};
  }
}

std::optional<Value> ModelTable::KeyOf(const ModelTag& tag, const Row& row) const {
  if (tag.condition && !IsTrue(Evaluate(*tag.condition, row, false))) return std::nullopt;
  return Evaluate(*tag.key, row, false);
}

bool ModelTable::Violates(const Row& row, std::size_t position) const {
  for (const ModelTag& tag : tags_) {
    if (!tag.spec.candidate) continue;
    const std::optional<Value> key = KeyOf(tag, row);
    if (!key) continue;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (i == position) continue;
      const std::optional<Value> other = KeyOf(tag, rows_[i]);
      if (other && Compare(*key, *other, tag.spec.general) == 0) return true;
    }
  }
  return false;
}

// Each value is computed from the row with those before it.
std::int32_t ModelTable::Assign(Row& row, std::span<const Assignment> values) const {
  for (const Assignment& assignment : values) {
    Kept kept = Stored(assignment.column, Evaluate(*assignment.value, row, folds_));
    if (kept.error != 0) return kept.error;
    row.values[assignment.column] = std::move(kept.value);
  }
  return 0;
}

// Literals are looked at even where no row meets the condition.
std::int32_t ModelTable::LiteralError(std::span<const Assignment> values) const {
  for (const Assignment& assignment : values) {
    if (assignment.value->what != Operator::kLiteral) continue;
    const Kept kept = Stored(assignment.column, assignment.value->literal);
    if (kept.error != 0) return kept.error;
  }
  return 0;
}

Outcome ModelTable::Insert(std::span<const Assignment> values) {
  Row row;
  for (std::size_t i = 0; i < spec_.columns.size(); ++i) {
    row.values.push_back(Ungiven(i));
    if (spec_.columns[i].number_step != 0)
      row.values.back() = static_cast<std::int32_t>(next_numbers_[i]);
  }
  if (const std::int32_t error = Assign(row, values); error != 0) return {.error = error};
  if (Violates(row, rows_.size())) return {.error = error_number::kIntegrityViolation};
  rows_.push_back(std::move(row));
  return {.affected = 1};
}

Outcome ModelTable::Update(std::span<const Assignment> values, const ExpressionPointer& condition) {
  if (const std::int32_t error = LiteralError(values); error != 0) return {.error = error};
  return UpdateRows(values, Matching(condition));
}

Outcome ModelTable::UpdateRows(std::span<const Assignment> values,
                               std::span<const std::size_t> positions) {
  std::vector<Row> changed;
  for (const std::size_t position : positions) {
    changed.push_back(rows_[position]);
    if (const std::int32_t error = Assign(changed.back(), values); error != 0)
      return {.error = error};
  }
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (Violates(changed[i], positions[i])) return {.error = error_number::kIntegrityViolation};
    rows_[positions[i]] = changed[i];
  }
  return {.affected = static_cast<std::int32_t>(positions.size())};
}

Outcome ModelTable::Delete(const ExpressionPointer& condition) {
  const std::vector<std::size_t> positions = Matching(condition);
  for (const std::size_t position : positions) rows_[position].deleted = true;
  return {.affected = static_cast<std::int32_t>(positions.size())};
}

bool ModelTable::TakeNumbers(const std::vector<Value>& last_row) {
  for (std::size_t i = 0; i < spec_.columns.size(); ++i) {
    const ColumnSpec& column = spec_.columns[i];
    if (column.number_step == 0) continue;
    const auto* number = std::get_if<std::int32_t>(&last_row.at(i));
    if (number == nullptr || *number < next_numbers_[i]) return false;
    if ((*number - next_numbers_[i]) % column.number_step != 0) return false;
    rows_.back().values[i] = *number;
    next_numbers_[i] = std::int64_t{*number} + column.number_step;
  }
  return true;
}

}  // namespace tdefault::tests::model
