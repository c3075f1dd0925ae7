#include "tables/sql/keyed_rows.h"

#include <cstddef>
#include <variant>

#include "tables/sql/binder.h"
#include "tables/sql/comparison.h"
#include "tables/sql/functions.h"

namespace tdefault::tables::sql {
namespace {

// Whether the expression consists of columns, literals, operators and functions that evaluate all
// arguments. Only such ones are bound a second time, so that nested subselects do not multiply, and
// their results are never currency by chance.
bool IsPlain(const Expression& expression) {
  const auto all_plain = [](const std::vector<ExpressionPointer>& expressions) {
    return std::all_of(expressions.begin(), expressions.end(),
                       [](const ExpressionPointer& operand) { return IsPlain(*operand); });
  };
  if (const auto* negation = std::get_if<Negation>(&expression.node))
    return IsPlain(*negation->operand);
  if (const auto* call = std::get_if<FunctionCall>(&expression.node))
    return call->function->evaluate != nullptr && all_plain(call->arguments);
  if (const auto* arithmetic = std::get_if<Arithmetic>(&expression.node))
    return IsPlain(*arithmetic->first) &&
           std::all_of(arithmetic->steps.begin(), arithmetic->steps.end(),
                       [](const Arithmetic::Step& step) { return IsPlain(*step.operand); });
  return std::holds_alternative<ColumnName>(expression.node) ||
         std::holds_alternative<Literal>(expression.node);
}

struct Side {
  BoundPointer bound;
  bool own;
  bool outer;
};

Side BindSide(SelectPlan& plan, const Expression& syntax) {
  const std::size_t own = plan.scope().own_uses();
  const std::size_t outer = plan.scope().outer_uses();
  BoundPointer bound = BindExpression(syntax, plan.scope(), plan.subselects());
  return {std::move(bound), plan.scope().own_uses() != own, plan.scope().outer_uses() != outer};
}

bool IsCurrency(const BoundExpression& expression) {
  return expression.column() != nullptr && expression.column()->kind == ColumnKind::kCurrency;
}

// Whether equal values of these types have equal keys.
bool HaveKeys(ValueType left, ValueType right) {
  if (left == ValueType::kAny || left == ValueType::kBinary) return false;
  return left == right || (IsDay(left) && IsDay(right));
}

}  // namespace

std::unique_ptr<KeyedRows> KeyedRows::Make(SelectPlan& plan, const RowSlot& run) {
  std::unique_ptr<KeyedRows> keyed(new KeyedRows(plan, run));
  std::vector<FilteredScan::Condition>& conditions = plan.scan().conditions();
  std::vector<FilteredScan::Condition> remaining;
  std::vector<bool> taken;
  for (const FilteredScan::Condition& condition : conditions) {
    std::optional<Part> part = condition.uses_outer ? Split(plan, *condition.syntax) : std::nullopt;
    taken.push_back(part.has_value());
    if (part) keyed->parts_.push_back(std::move(*part));
  }
  if (keyed->parts_.empty()) return nullptr;
  for (std::size_t i = 0; i < conditions.size(); ++i) {
    if (!conditions[i].uses_outer)
      keyed->own_conditions_.push_back(std::move(conditions[i]));
    else if (!taken[i])
      remaining.push_back(std::move(conditions[i]));
  }
  conditions = std::move(remaining);
  keyed->conditions_remain_ = !conditions.empty();
  return keyed;
}

std::optional<KeyedRows::Part> KeyedRows::Split(SelectPlan& plan, const Expression& syntax) {
  const auto* comparison = std::get_if<Comparison>(&syntax.node);
  if (comparison == nullptr || comparison->operation != ComparisonOperator::kEqual ||
      !IsPlain(*comparison->left) || !IsPlain(*comparison->right))
    return std::nullopt;
  Side left = BindSide(plan, *comparison->left);
  Side right = BindSide(plan, *comparison->right);
  if (!HaveKeys(left.bound->type(), right.bound->type())) return std::nullopt;
  const bool exact_currency = IsCurrency(*left.bound) && IsCurrency(*right.bound);
  if (left.own && !left.outer && right.outer && !right.own)
    return Part{std::move(left.bound), std::move(right.bound), exact_currency};
  if (right.own && !right.outer && left.outer && !left.own)
    return Part{std::move(right.bound), std::move(left.bound), exact_currency};
  return std::nullopt;
}

bool KeyedRows::Refresh() {
  if (freshness_.IsFresh()) return false;
  freshness_.Forget();
  records_.clear();
  FilteredScan& scan = plan_.scan();
  cursor_ = scan.table().Scan();
  while (cursor_->Next()) {
    scan.StandOn(*cursor_);
    if (!IsOwnRow()) continue;
    if (const std::optional<std::string> key = MakeKey(&Part::own))
      records_[*key].push_back(cursor_->record_number());
  }
  freshness_.Remember();
  return true;
}

bool KeyedRows::IsOwnRow() const {
  return std::all_of(own_conditions_.begin(), own_conditions_.end(),
                     [](const FilteredScan::Condition& condition) {
                       return condition.bound->Test().value_or(false);
                     });
}

std::optional<std::string> KeyedRows::Key() const { return MakeKey(&Part::outer); }

std::optional<std::string> KeyedRows::MakeKey(BoundPointer Part::*side) const {
  const Collation& collation = plan_.scan().table().collation();
  std::string keys;
  for (const Part& part : parts_) {
    Value value = (part.*side)->Evaluate();
    if (IsNull(value)) return std::nullopt;
    if (!part.exact_currency && std::holds_alternative<Currency>(value)) value = NumberOf(value);
    AppendKey(keys, SortKey(value, collation));
  }
  return keys;
}

std::span<const std::uint32_t> KeyedRows::Records(const std::string& key) const {
  const auto found = records_.find(key);
  if (found == records_.end()) return {};
  return found->second;
}

}  // namespace tdefault::tables::sql
