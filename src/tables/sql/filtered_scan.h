// One pass over a table that gives the rows a WHERE accepts, and the tables a statement has open.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/text.h"
#include "tables/row_source.h"
#include "tables/sql/binder.h"
#include "tables/sql/expression.h"
#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

// The tables of one statement; one that is named several times is opened once.
class OpenTables {
 public:
  explicit OpenTables(TableFinder& finder) : finder_(&finder) {}

  // REQUIRES: the finder still exists.
  Table& Open(const std::wstring& name);

  // Changes whenever the statement begins anew, so that what it keeps is computed again.
  RowSlot& run() { return run_; }

 private:
  TableFinder* finder_;
  std::map<std::wstring, std::unique_ptr<Table>, LessIgnoringCase> tables_;
  RowSlot run_;
};

// Has to stay where it is, because the bound expressions refer to it.
class FilteredScan {
 public:
  // One operand of the AND that the WHERE consists of.
  struct Condition {
    const Expression* syntax;  // valid as long as the statement's tree
    BoundPointer bound;
    bool uses_outer;  // reads a table of the statements around this one
  };

  // `outer` is null for the statement itself. Throws what the finder throws.
  FilteredScan(const TableName& name, Scope* outer, OpenTables& tables);
  FilteredScan(const FilteredScan&) = delete;
  FilteredScan& operator=(const FilteredScan&) = delete;

  // Adds a condition; without any, every row is accepted. Throws StatementError.
  void BindConditions(const Expression& where);

  // Stands before the first row.
  void Restart();
  // Likewise, with these records as the only rows; `cursor` is one of the table's. Both outlive the
  // rows.
  void Restart(RowCursor& cursor, std::span<const std::uint32_t> records);
  // Steps to the next row that all conditions accept; false behind the last, and then until
  // Restart.
  bool Next();

  // Makes the row of `cursor` the current one, which expressions then read. It outlives what is
  // evaluated.
  void StandOn(const RowCursor& cursor);
  // Whether all conditions accept the current row.
  [[nodiscard]] bool Accepts() const;

  // The current row. REQUIRES: there is one.
  [[nodiscard]] const RowCursor& row() const { return *slot_.cursor; }

  [[nodiscard]] Table& table() const { return table_; }
  [[nodiscard]] Scope& scope() { return scope_; }
  [[nodiscard]] SubselectBinder& subselects() { return *subselects_; }
  [[nodiscard]] std::vector<Condition>& conditions() { return conditions_; }

 private:
  Table& table_;
  RowSlot slot_;
  Scope scope_;
  std::unique_ptr<SubselectBinder> subselects_;
  std::vector<Condition> conditions_;
  std::unique_ptr<RowCursor> cursor_;
  RowCursor* seeker_ = nullptr;             // null: all rows are gone through
  std::span<const std::uint32_t> records_;  // those still to come
};

}  // namespace tdefault::tables::sql
