// Turns expressions of the syntax tree into bound expressions.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tables/row_source.h"
#include "tables/sql/expression.h"
#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

// The names that expressions of one statement or subselect can use: the columns of its table and,
// behind them, those of the statements around it.
class Scope {
 public:
  // `outer` may be null. All arguments outlive the scope and what is bound in it.
  Scope(Scope* outer, std::wstring alias, const RowShape& table, const RowSlot& slot)
      : outer_(outer), alias_(std::move(alias)), table_(table), slot_(slot) {}

  struct Place {
    const Column& column;
    const RowSlot& slot;
    std::size_t index;
  };

  // The own column of this name, which does not count as used. Throws StatementError at `position`
  // when there is none.
  [[nodiscard]] std::size_t FindOwn(const ColumnName& name, std::size_t position) const;

  // From here on every column is refused with this text.
  void RefuseColumns(std::wstring text) { refusal_ = std::move(text); }

  // The innermost column of this name; with a qualifier, in the innermost table of that alias.
  // Throws StatementError at `position` when there is none.
  Place Resolve(const ColumnName& name, std::size_t position);

  [[nodiscard]] const std::wstring& alias() const { return alias_; }
  [[nodiscard]] const RowShape& table() const { return table_; }
  [[nodiscard]] const RowSlot& slot() const { return slot_; }

  // How often a column of this scope's own table was resolved, and one from around it.
  [[nodiscard]] std::size_t own_uses() const { return own_uses_.size(); }
  [[nodiscard]] std::size_t outer_uses() const { return outer_slots_.size(); }

  // The own columns that are used in the scope and in subselects within, with repetitions.
  [[nodiscard]] const std::vector<std::size_t>& own_columns() const { return own_uses_; }

  // The tables around the scope that are used in it or in subselects within, with repetitions.
  [[nodiscard]] const std::vector<const RowSlot*>& outer_slots() const { return outer_slots_; }

 private:
  [[nodiscard]] std::wstring TableNames() const;

  Scope* outer_;
  std::wstring alias_;
  const RowShape& table_;
  const RowSlot& slot_;
  std::vector<std::size_t> own_uses_;
  std::vector<const RowSlot*> outer_slots_;
  std::wstring refusal_;  // empty: columns are taken
};

enum class SubselectUse { kExists, kScalar, kMembership };

// Binds the subselects that the binder meets.
class SubselectBinder {
 public:
  virtual ~SubselectBinder() = default;

  virtual std::unique_ptr<Subselect> Bind(const SelectStatement& select, Scope& outer,
                                          SubselectUse use) = 0;
};

// Text compares by the collation of the scope's table. Throws StatementError for a name that is not
// found and for operands of the wrong type.
[[nodiscard]] BoundPointer BindExpression(const Expression& expression, Scope& scope,
                                          SubselectBinder& subselects);

// Likewise, for an expression that has to be a condition.
[[nodiscard]] BoundPointer BindCondition(const Expression& expression, Scope& scope,
                                         SubselectBinder& subselects);

}  // namespace tdefault::tables::sql
