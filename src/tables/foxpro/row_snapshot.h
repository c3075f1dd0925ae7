// The values of rows as they were when they were added, in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/value.h"
#include "tables/sql/query.h"

namespace tdefault::tables::foxpro {

// All rows have the same columns. Texts lie one behind the other, those of fixed width without
// their padding.
class RowSnapshot {
 public:
  // `columns` outlives the snapshot.
  explicit RowSnapshot(const std::vector<Column>& columns) : columns_(columns) {}

  // Adds the current row. A value that cannot be read is kept as its error, which Read throws.
  void Add(const sql::Rows& rows);

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] Value Read(std::size_t row, std::size_t column) const;
  void Replace(std::size_t row, std::size_t column, const Value& value);

 private:
  enum class Form : std::uint32_t {
    kNull,
    kError,
    kLogical,
    kInteger,
    kNumber,
    kCurrency,
    kText,
    kDate,
    kDateTime,
    kBytes
  };
  // `bits` is the value itself, or where in texts_, bytes_ or errors_ it begins.
  struct Cell {
    std::uint64_t bits = 0;
    std::uint32_t length = 0;
    Form form = Form::kNull;
  };

  [[nodiscard]] Cell Keep(const Value& value, const Column& column);
  [[nodiscard]] Cell KeepText(std::wstring_view text);

  const std::vector<Column>& columns_;
  std::size_t size_ = 0;
  std::vector<Cell> cells_;  // row after row
  std::wstring texts_;
  std::vector<std::uint8_t> bytes_;
  std::vector<Error> errors_;
};

}  // namespace tdefault::tables::foxpro
