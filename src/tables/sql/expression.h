// Expressions bound to the tables they read: every column is looked up once, before the first row,
// and operand types are checked as far as they are known then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/code_page.h"
#include "base/value.h"
#include "tables/row_source.h"
#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {

// Where bound expressions find the current row of one table. The generation changes with every row,
// so that results that depend on the row can be kept as long as it stays.
struct RowSlot {
  const RowCursor* cursor = nullptr;
  std::uint64_t generation = 0;
};

// Text that is part of what a row stores: the first `length` bytes of a column, each replaced.
struct StoredTextSource {
  const RowSlot* slot;
  std::size_t column;
  std::size_t length;
  CodePage page;
  ByteReplacement replacement;
};

// The type of the column's values.
[[nodiscard]] ValueType TypeOf(const Column& column);

class BoundExpression {
 public:
  BoundExpression(ValueType type, std::size_t position) : type_(type), position_(position) {}
  virtual ~BoundExpression() = default;
  BoundExpression(const BoundExpression&) = delete;
  BoundExpression& operator=(const BoundExpression&) = delete;

  // The value for the current rows of the slots. Throws StatementError, and what the row cursors
  // throw.
  [[nodiscard]] virtual Value Evaluate() const = 0;

  // The value of a condition; absent for null. Throws StatementError when it is not logical.
  [[nodiscard]] virtual std::optional<bool> Test() const;

  // The value when it is the same for all rows, so that it need not be copied per row.
  [[nodiscard]] virtual const Value* constant() const { return nullptr; }

  // The table column when the expression is nothing more than that.
  [[nodiscard]] virtual const Column* column() const { return nullptr; }

  // Where the text stands in the row when it is nothing but bytes of it.
  [[nodiscard]] virtual std::optional<StoredTextSource> stored_text() const { return std::nullopt; }

  // Whether the text may come from a memo column, and so cannot be sorted or made distinct.
  [[nodiscard]] virtual bool from_memo() const = 0;

  // The page of the table that the text comes from; absent where no column is involved.
  [[nodiscard]] virtual std::optional<CodePage> code_page() const { return std::nullopt; }

  [[nodiscard]] ValueType type() const { return type_; }
  [[nodiscard]] std::size_t position() const { return position_; }

 private:
  ValueType type_;
  std::size_t position_;
};

using BoundPointer = std::unique_ptr<BoundExpression>;

// The page of the first one that has one.
[[nodiscard]] std::optional<CodePage> CodePageOf(const std::vector<BoundPointer>& expressions);

// A subselect inside an expression, evaluated for the current rows around it. What does not depend
// on them is evaluated once.
class Subselect {
 public:
  virtual ~Subselect() = default;

  // Whether it finds any row.
  virtual bool Exists() = 0;
  // The value of its only column; null without a row. Throws StatementError for more than one row.
  virtual const Value& Scalar() = 0;
  // Whether one of its values equals `value`; absent when that is open because of a null.
  virtual std::optional<bool> Contains(const Value& value) = 0;

  // Of its only column.
  [[nodiscard]] virtual ValueType type() const = 0;
  [[nodiscard]] virtual bool from_memo() const = 0;
  [[nodiscard]] virtual std::optional<CodePage> code_page() const = 0;
};

}  // namespace tdefault::tables::sql
