// A SELECT bound to its table: the scan, the conditions and the selected expressions.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
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

// The rows of one SELECT in record order, DISTINCT carried out. Has to stay where it is, because
// the bound expressions refer to it.
class SelectPlan {
 public:
  struct Item {
    BoundPointer expression;
    Column column;  // how the result describes it
    bool renamed;   // the column's name is an alias
    std::size_t position;
  };

  // One operand of the AND that the WHERE consists of.
  struct Condition {
    const Expression* syntax;  // valid as long as the statement's tree
    BoundPointer bound;
    bool uses_outer;  // reads a table of the statements around this one
  };

  // `outer` is null for the statement itself. Throws StatementError.
  SelectPlan(const SelectStatement& select, Scope* outer, OpenTables& tables);
  SelectPlan(const SelectPlan&) = delete;
  SelectPlan& operator=(const SelectPlan&) = delete;

  // Stands before the first row.
  void Restart();
  // Steps to the next row that all conditions accept; false behind the last, and then until
  // Restart.
  bool Next();

  [[nodiscard]] const std::vector<Item>& items() const { return items_; }
  [[nodiscard]] Scope& scope() { return scope_; }
  [[nodiscard]] SubselectBinder& subselects() { return *subselects_; }
  [[nodiscard]] std::vector<Condition>& conditions() { return conditions_; }

  // Drops rows that equal an earlier one. Throws StatementError for items that cannot be compared.
  void MakeDistinct();

 private:
  void BindItem(const SelectItem& item);
  void BindConditions(const Expression& where);
  [[nodiscard]] bool Accepts() const;
  bool IsNew();

  Table& table_;
  RowSlot slot_;
  Scope scope_;
  std::unique_ptr<SubselectBinder> subselects_;
  std::vector<Item> items_;
  std::vector<Condition> conditions_;
  bool distinct_ = false;
  std::unordered_set<std::string> seen_;
  std::unique_ptr<RowCursor> cursor_;
};

// Appends the sort key so that no two different rows of keys give the same bytes.
void AppendKey(std::string& keys, const std::string& key);

// Throws StatementError when the expression's values have no order: memo and binary columns.
// `clause` is the part of the statement that asks for one.
void RequireSortable(const BoundExpression& expression, std::wstring_view clause,
                     std::size_t position);

}  // namespace tdefault::tables::sql
