#include "sql/memory_changes.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <utility>

#include "base/error.h"
#include "tables/sql/value_type.h"

namespace tdefault::tests {
namespace {

using tables::Column;
using tables::ColumnKind;
using tables::sql::DateTimeOf;
using tables::sql::NumberOf;

Error DoesNotFit(const Column& column) {
  return {error_number::kValueDoesNotFit, L"Tables",
          L"The value does not fit column " + column.name + L"."};
}

// The dialect names the place in the statement itself, so it never lets this happen.
Error Mismatch(const Column& column) {
  return {error_number::kStatementError, L"Tables",
          L"Data type mismatch: column " + column.name + L"."};
}

Value StoredNumber(const Column& column, double number) {
  if (column.type == 'B') return number;
  const double scale = std::pow(10.0, column.decimals);
  const double rounded = std::round(number * scale) / scale;
  const int digits = std::snprintf(nullptr, 0, "%.*f", column.decimals, rounded);
  if (!std::isfinite(number) || digits > column.length) throw DoesNotFit(column);
  return rounded;
}

Value StoredInteger(const Column& column, double number) {
  const double rounded = std::round(number);
  if (!(std::fabs(rounded) <= std::numeric_limits<std::int32_t>::max())) throw DoesNotFit(column);
  return static_cast<std::int32_t>(rounded);
}

Value StoredCurrency(const Column& column, const Value& value) {
  if (std::holds_alternative<Currency>(value)) return value;
  const double scaled = std::round(NumberOf(value) * 10000);
  if (!(std::fabs(scaled) < 9.2e18)) throw DoesNotFit(column);
  return Currency{static_cast<std::int64_t>(scaled)};
}

Value StoredValue(const Column& column, const Value& value) {
  using tables::sql::IsDay;
  using tables::sql::TypeOf;
  using tables::sql::ValueType;
  const ValueType type = TypeOf(value);
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo: {
      if (type != ValueType::kText) throw Mismatch(column);
      auto text = std::get<std::wstring>(value);
      const auto width = static_cast<std::size_t>(column.length);
      if (column.kind == ColumnKind::kText && (column.fixed_width || text.size() > width))
        text.resize(width, L' ');
      return text;
    }
    case ColumnKind::kNumber:
      if (type != ValueType::kNumber) throw Mismatch(column);
      return StoredNumber(column, NumberOf(value));
    case ColumnKind::kInteger:
      if (type != ValueType::kNumber) throw Mismatch(column);
      return StoredInteger(column, NumberOf(value));
    case ColumnKind::kCurrency:
      if (type != ValueType::kNumber) throw Mismatch(column);
      return StoredCurrency(column, value);
    case ColumnKind::kLogical:
      if (type != ValueType::kLogical) throw Mismatch(column);
      return value;
    case ColumnKind::kDate:
      if (!IsDay(type)) throw Mismatch(column);
      return DateTimeOf(value).date;
    case ColumnKind::kDateTime:
      if (!IsDay(type)) throw Mismatch(column);
      return DateTimeOf(value);
    case ColumnKind::kBinary:
      if (type != ValueType::kBinary) throw Mismatch(column);
      return value;
  }
  return value;
}

Value BlankValue(const Column& column) {
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      return StoredValue(column, std::wstring());
    case ColumnKind::kNumber:
      return 0.0;
    case ColumnKind::kInteger:
      return std::int32_t{0};
    case ColumnKind::kCurrency:
      return Currency{};
    case ColumnKind::kLogical:
      return false;
    case ColumnKind::kDate:
      return Date{};
    case ColumnKind::kDateTime:
      return DateTime{};
    case ColumnKind::kBinary:
      return Bytes{};
  }
  return Null{};
}

class MemoryChanges final : public tables::TableChanges {
 public:
  MemoryChanges(MemoryTable& table, std::unique_ptr<tables::RowCursor> row)
      : table_(table), row_(std::move(row)) {}

  [[nodiscard]] Value Stored(std::size_t column, const Value& value) const override {
    const Column& description = table_.columns.at(column);
    if (!IsNull(value)) return StoredValue(description, value);
    if (!description.nullable) throw Mismatch(description);
    return value;
  }

  std::uint32_t Insert(std::span<const tables::ColumnValue> values) override {
    std::vector<Value> row;
    for (const Column& column : table_.columns)
      row.push_back(column.nullable ? Value(Null{}) : BlankValue(column));
    Put(values, row);
    table_.rows.push_back(std::move(row));
    ++table_.writes;
    return static_cast<std::uint32_t>(table_.rows.size());
  }

  void Expect(const tables::RowRun& run) override {
    if (locked_) throw std::logic_error("a run begins while a row is locked");
    table_.runs.push_back({run.first, run.count, {run.columns.begin(), run.columns.end()}});
  }

  bool LockRow(std::uint32_t record_number) override {
    if (locked_) throw std::logic_error("a second row is locked");
    if (table_.before_lock) table_.before_lock(table_, record_number);
    if (table_.locked_by_others.contains(record_number))
      throw Error(error_number::kInUseByAnother, L"Tables",
                  L"Record " + std::to_wstring(record_number) + L" is in use.");
    locked_ = row_->Seek(record_number);
    return locked_;
  }

  [[nodiscard]] const tables::RowCursor& row() const override { return *row_; }

  void Update(std::span<const tables::ColumnValue> values) override {
    RequireLock();
    std::vector<Value> row = LockedRow();
    Put(values, row);
    LockedRow() = std::move(row);
    ++table_.writes;
  }

  void Delete() override {
    RequireLock();
    table_.deleted.insert(row_->record_number());
    ++table_.writes;
  }

  void UnlockRow() noexcept override { locked_ = false; }

 private:
  void Put(std::span<const tables::ColumnValue> values, std::vector<Value>& row) const {
    for (const tables::ColumnValue& value : values)
      row.at(value.column) = Stored(value.column, value.value);
  }

  void RequireLock() const {
    if (!locked_) throw std::logic_error("a row is changed that is not locked");
  }

  std::vector<Value>& LockedRow() { return table_.rows.at(row_->record_number() - 1); }

  MemoryTable& table_;
  std::unique_ptr<tables::RowCursor> row_;
  bool locked_ = false;
};

}  // namespace

std::unique_ptr<tables::TableChanges> MakeMemoryChanges(MemoryTable& table,
                                                        std::unique_ptr<tables::RowCursor> row) {
  return std::make_unique<MemoryChanges>(table, std::move(row));
}

}  // namespace tdefault::tests
