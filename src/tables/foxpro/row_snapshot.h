// The values of rows as they were when they were added, in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/value.h"
#include "tables/sql/query.h"

namespace tdefault::tables::foxpro {

// All rows have the same columns. A row's texts lie one behind the other, as the table stores them
// where it gives them so, and are decoded when they are read. Nothing is moved when rows are added:
// moving many megabytes again and again would cost more than decoding them.
class RowSnapshot {
 public:
  // `columns` outlives the snapshot.
  explicit RowSnapshot(const std::vector<Column>& columns) : columns_(columns) {}

  // Adds the current row. A value that cannot be read is kept as its error, which Read throws.
  void Add(const sql::Rows& rows);

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
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
    kStoredText,
    kDate,
    kDateTime,
    kBytes
  };
  // `bits` is the value itself, or where in the row's bytes, texts_ or errors_ it begins.
  struct Cell {
    std::uint64_t bits = 0;
    std::uint32_t length = 0;
    Form form = Form::kNull;
  };

  // `bytes` are the row's, and take the value's.
  [[nodiscard]] Cell Keep(const sql::Rows& rows, std::size_t column, std::string& bytes);
  [[nodiscard]] Cell Keep(const Value& value, std::string& bytes);

  const std::vector<Column>& columns_;
  std::deque<Cell> cells_;         // row after row
  std::deque<std::string> bytes_;  // by row: binary values and stored texts
  std::string added_;              // those of the row that is being added
  std::wstring texts_;             // those that the table does not store so
  std::vector<Error> errors_;
};

}  // namespace tdefault::tables::foxpro
