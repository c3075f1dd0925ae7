// A SELECT bound to its table: the scan, the conditions and the selected expressions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tables/row_source.h"
#include "tables/sql/binder.h"
#include "tables/sql/expression.h"
#include "tables/sql/filtered_scan.h"
#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

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

  // `outer` is null for the statement itself. Throws StatementError.
  SelectPlan(const SelectStatement& select, Scope* outer, OpenTables& tables);
  SelectPlan(const SelectPlan&) = delete;
  SelectPlan& operator=(const SelectPlan&) = delete;

  // As those of FilteredScan.
  void Restart();
  void Restart(RowCursor& cursor, std::span<const std::uint32_t> records);
  // Steps to the next row that all conditions accept; false behind the last, and then until
  // Restart.
  bool Next();

  [[nodiscard]] const std::vector<Item>& items() const { return items_; }
  // Whether an item reads a table of the statements around this one.
  [[nodiscard]] bool items_use_outer() const { return items_use_outer_; }
  [[nodiscard]] FilteredScan& scan() { return scan_; }
  [[nodiscard]] const FilteredScan& scan() const { return scan_; }
  [[nodiscard]] Scope& scope() { return scan_.scope(); }
  [[nodiscard]] SubselectBinder& subselects() { return scan_.subselects(); }

  // Drops rows that equal an earlier one. Throws StatementError for items that cannot be compared.
  void MakeDistinct();

 private:
  void BindItem(const SelectItem& item);
  bool IsNew();

  FilteredScan scan_;
  std::vector<Item> items_;
  bool items_use_outer_ = false;
  bool distinct_ = false;
  std::unordered_set<std::string> seen_;
};

// Appends the sort key so that no two different rows of keys give the same bytes.
void AppendKey(std::string& keys, const std::string& key);

// Throws StatementError when the expression's values have no order: memo and binary columns.
// `clause` is the part of the statement that asks for one.
void RequireSortable(const BoundExpression& expression, std::wstring_view clause,
                     std::size_t position);

}  // namespace tdefault::tables::sql
