// ORDER BY.
#pragma once

#include <string>
#include <vector>

#include "tables/sql/expression.h"
#include "tables/sql/select_plan.h"
#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

// What the rows of a SELECT are sorted by, most significant first.
class Ordering {
 public:
  // `plan` outlives the ordering. Throws StatementError for a column or position that does not
  // exist or has no order.
  Ordering(const SelectStatement& select, SelectPlan& plan);

  [[nodiscard]] bool empty() const { return keys_.empty(); }

  // The sort keys of the plan's current row.
  [[nodiscard]] std::vector<std::string> KeysOfRow() const;

  // Whether a row with the keys `left` comes before one with the keys `right`.
  [[nodiscard]] bool Before(const std::vector<std::string>& left,
                            const std::vector<std::string>& right) const;

 private:
  struct Key {
    const BoundExpression* expression;
    bool descending;
  };

  const BoundExpression* Find(const OrderItem& item, const SelectStatement& select);
  const BoundExpression* FindColumn(const ColumnName& name, std::size_t position, bool distinct);

  SelectPlan& plan_;
  std::vector<BoundPointer> unselected_;  // columns that only the order needs
  std::vector<Key> keys_;
};

}  // namespace tdefault::tables::sql
