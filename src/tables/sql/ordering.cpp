#include "tables/sql/ordering.h"

#include <utility>
#include <variant>

#include "base/text.h"
#include "tables/sql/comparison.h"
#include "tables/sql/nodes.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {

Ordering::Ordering(const SelectStatement& select, SelectPlan& plan) : plan_(plan) {
  for (const OrderItem& item : select.order) {
    const BoundExpression* expression = Find(item, select);
    RequireSortable(*expression, L"ORDER BY", item.position);
    keys_.push_back({expression, item.descending});
  }
}

const BoundExpression* Ordering::Find(const OrderItem& item, const SelectStatement& select) {
  const auto* number = std::get_if<std::size_t>(&item.key);
  if (number == nullptr)
    return FindColumn(std::get<ColumnName>(item.key), item.position, select.distinct);
  const std::size_t count = plan_.items().size();
  if (*number <= count) return plan_.items()[*number - 1].expression.get();
  throw StatementError(item.position, L"there is no selected column " + std::to_wstring(*number) +
                                          L"; the statement selects " + std::to_wstring(count));
}

const BoundExpression* Ordering::FindColumn(const ColumnName& name, std::size_t position,
                                            bool distinct) {
  const BoundExpression* found = nullptr;
  for (const SelectPlan::Item& item : plan_.items()) {
    if (!name.qualifier.empty() || !item.renamed || !EqualIgnoringCase(item.column.name, name.name))
      continue;
    if (found != nullptr)
      throw StatementError(position, L"several selected columns are named " + Quoted(name.name));
    found = item.expression.get();
  }
  if (found != nullptr) return found;
  const Scope::Place place = plan_.scope().Resolve(name, position);
  for (const SelectPlan::Item& item : plan_.items())
    if (item.expression->column() == &place.column) return item.expression.get();
  if (distinct)
    throw StatementError(position, L"with DISTINCT, ORDER BY takes selected columns only; " +
                                       Quoted(name.name) + L" is not selected");
  unselected_.push_back(MakeColumn(place.slot, place.index, place.column, position));
  return unselected_.back().get();
}

std::vector<std::string> Ordering::KeysOfRow() const {
  std::vector<std::string> keys;
  keys.reserve(keys_.size());
  const Collation& collation = plan_.scope().table().collation();
  for (const Key& key : keys_) keys.push_back(SortKey(key.expression->Evaluate(), collation));
  return keys;
}

bool Ordering::Before(const std::vector<std::string>& left,
                      const std::vector<std::string>& right) const {
  const Collation& collation = plan_.scope().table().collation();
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    const int order = CompareSortKeys(left[i], right[i], collation);
    if (order != 0) return keys_[i].descending ? order > 0 : order < 0;
  }
  return false;
}

}  // namespace tdefault::tables::sql
