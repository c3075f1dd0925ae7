// Running statements. What the dialect accepts, means and refuses is
// docs/sql-dialect.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "tables/row_source.h"

namespace tdefault::tables::sql {

// The rows of one SELECT, in its order, one at a time; stands before the first row at the start.
// Owns the tables that the statement opened. A statement without ORDER BY is carried out while the
// rows are fetched, so its memory does not grow with the table (with DISTINCT: it grows with the
// different rows); with ORDER BY the rows are collected at the first Next.
class Rows {
 public:
  virtual ~Rows() = default;

  // One per selected expression. A column of the table keeps its description under its own name or
  // its alias (upper case); an expression is named EXP_n by its 1-based position.
  [[nodiscard]] virtual const std::vector<Column>& columns() const = 0;

  // Steps to the next row; false behind the last, and then until Rewind. Throws what RowCursor and
  // the evaluation of the statement's expressions throw.
  virtual bool Next() = 0;

  // One column of the current row, decoded when it is asked for where the statement allows it.
  // Fixed-width text is blank-padded. REQUIRES: the last Next returned true.
  [[nodiscard]] virtual Value Read(std::size_t column) const = 0;

  // The bytes of Read's text, as RowCursor::StoredText gives them, where the row comes from the
  // table as it is. REQUIRES: as Read.
  [[nodiscard]] virtual std::optional<std::string_view> StoredText(std::size_t column) const = 0;

  // Stands before the first row again.
  virtual void Rewind() = 0;

  // The table whose rows these are, and which of its columns each column is.
  struct Source {
    Table* table = nullptr;
    std::vector<std::size_t> columns;
  };
  // Null when one of the columns is an expression, or a row stands for several (DISTINCT).
  [[nodiscard]] virtual const Source* source() const = 0;
  // The current row's in that table. REQUIRES: the last Next returned true.
  [[nodiscard]] virtual std::uint32_t record_number() const = 0;
};

// What a statement gives.
struct Outcome {
  std::unique_ptr<Rows> rows;  // null for a statement that changes rows
  std::int64_t affected = -1;  // the rows that it changed; -1 with rows
};

// Runs any statement; `finder` is used during this call only. Throws Error with kStatementError,
// saying at which character of the statement (counted from 1) what was found and what would be
// accepted, and what `finder` throws for its tables. A statement that changes rows is carried out
// in this call and throws what TableChanges throws as well; when rows were changed before that, the
// error's text tells how many. Values that the expressions of a SELECT meet in the rows (a
// subselect with two rows, a division by zero) are reported by Rows::Next and Rows::Read.
[[nodiscard]] Outcome Execute(const std::wstring& statement, TableFinder& finder);

// Likewise for a statement that gives rows; any other is an error and changes nothing.
[[nodiscard]] std::unique_ptr<Rows> ExecuteQuery(const std::wstring& statement,
                                                 TableFinder& finder);

}  // namespace tdefault::tables::sql
