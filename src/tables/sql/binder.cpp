#include "tables/sql/binder.h"

#include <optional>
#include <utility>
#include <variant>

#include "base/text.h"
#include "tables/sql/arithmetic.h"
#include "tables/sql/comparison.h"
#include "tables/sql/functions.h"
#include "tables/sql/nodes.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// Tables keep this many characters of a column's name.
constexpr std::size_t kSignificantLength = 10;

bool SameColumnName(std::wstring_view left, std::wstring_view right) {
  return EqualIgnoringCase(left.substr(0, kSignificantLength), right.substr(0, kSignificantLength));
}

std::optional<std::size_t> FindColumn(const std::vector<Column>& columns, std::wstring_view name) {
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (SameColumnName(columns[i].name, name)) return i;
  return std::nullopt;
}

void RequireLogical(const BoundExpression& expression) {
  if (expression.type() == ValueType::kLogical || expression.type() == ValueType::kAny) return;
  std::wstring text = L"expected a condition, found ";
  text += Describe(expression.type());
  throw StatementError(expression.position(), text);
}

// Binds one kind of node each.
class Binder {
 public:
  Binder(Scope& scope, SubselectBinder& subselects, std::size_t position)
      : scope_(scope), subselects_(subselects), position_(position) {}

  BoundPointer operator()(const Literal& literal) { return MakeConstant(literal.value, position_); }

  BoundPointer operator()(const ColumnName& name) {
    const Scope::Place place = scope_.Resolve(name, position_);
    return MakeColumn(place.slot, place.index, place.column, position_);
  }

  BoundPointer operator()(const Negation& negation) {
    BoundPointer operand = Bind(*negation.operand);
    if (operand->type() != ValueType::kNumber && operand->type() != ValueType::kAny) {
      std::wstring text = L"Operator/operand type mismatch: - before ";
      text += Describe(operand->type());
      throw StatementError(position_, text);
    }
    return MakeNegation(std::move(operand), position_);
  }

  BoundPointer operator()(const Arithmetic& arithmetic) {
    BoundPointer first = Bind(*arithmetic.first);
    ValueType type = first->type();
    std::vector<BoundStep> steps;
    for (const Arithmetic::Step& step : arithmetic.steps) {
      BoundPointer operand = Bind(*step.operand);
      const std::optional<ValueType> result = ResultType(step.operation, type, operand->type());
      if (!result)
        throw OperandMismatch(step.position, Symbol(step.operation), type, operand->type());
      type = *result;
      steps.push_back({step.operation, step.position, std::move(operand)});
    }
    return MakeArithmetic(type, std::move(first), std::move(steps), position_);
  }

  BoundPointer operator()(const Connective& connective) {
    std::vector<BoundPointer> operands;
    for (const ExpressionPointer& operand : connective.operands)
      operands.push_back(BindCondition(*operand, scope_, subselects_));
    return MakeConnective(connective.conjunction, std::move(operands), position_);
  }

  BoundPointer operator()(const Not& negation) {
    return MakeNot(BindCondition(*negation.operand, scope_, subselects_), position_);
  }

  BoundPointer operator()(const Comparison& comparison) {
    BoundPointer left = Bind(*comparison.left);
    BoundPointer right = Bind(*comparison.right);
    CheckComparable(Symbol(comparison.operation), left->type(), right->type());
    return MakeComparison(comparison.operation, std::move(left), std::move(right), collation(),
                          position_);
  }

  BoundPointer operator()(const NullTest& test) {
    return MakeNullTest(Bind(*test.operand), test.negated, position_);
  }

  BoundPointer operator()(const Between& between) {
    BoundPointer operand = Bind(*between.operand);
    BoundPointer low = Bind(*between.low);
    BoundPointer high = Bind(*between.high);
    CheckComparable(L"BETWEEN", operand->type(), low->type());
    CheckComparable(L"BETWEEN", operand->type(), high->type());
    return MakeBetween(std::move(operand), std::move(low), std::move(high), between.negated,
                       collation(), position_);
  }

  BoundPointer operator()(const Like& like) {
    BoundPointer operand = Bind(*like.operand);
    BoundPointer pattern = Bind(*like.pattern);
    const auto is_text = [](ValueType type) {
      return type == ValueType::kText || type == ValueType::kAny;
    };
    if (!is_text(operand->type()) || !is_text(pattern->type()))
      throw OperandMismatch(position_, L"LIKE", operand->type(), pattern->type());
    return MakeLike(std::move(operand), std::move(pattern), like.escape, like.negated, collation(),
                    position_);
  }

  BoundPointer operator()(const InList& in) {
    BoundPointer operand = Bind(*in.operand);
    std::vector<BoundPointer> values;
    for (const ExpressionPointer& expression : in.values) {
      values.push_back(Bind(*expression));
      CheckComparable(L"IN", operand->type(), values.back()->type());
    }
    return MakeInList(std::move(operand), std::move(values), in.negated, collation(), position_);
  }

  BoundPointer operator()(const InSelect& in) {
    BoundPointer operand = Bind(*in.operand);
    auto subselect = subselects_.Bind(*in.select, scope_, SubselectUse::kMembership);
    CheckComparable(L"IN", operand->type(), subselect->type());
    return MakeInSelect(std::move(operand), std::move(subselect), in.negated, position_);
  }

  BoundPointer operator()(const Exists& exists) {
    return MakeExists(subselects_.Bind(*exists.select, scope_, SubselectUse::kExists), position_);
  }

  BoundPointer operator()(const ScalarSelect& scalar) {
    return MakeScalarSelect(subselects_.Bind(*scalar.select, scope_, SubselectUse::kScalar),
                            position_);
  }

  BoundPointer operator()(const FunctionCall& call) {
    if (call.function->kind == FunctionKind::kDeleted) return BindDeleted();
    std::vector<BoundPointer> arguments;
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
      arguments.push_back(Bind(*call.arguments[i]));
      CheckArgument(call.function->arguments[i], arguments.back()->type(), *call.function,
                    arguments.back()->position());
    }
    const ValueType type = CallType(*call.function, arguments);
    const CodePage page = CodePageOf(arguments).value_or(scope_.table().code_page());
    return MakeCall(*call.function, type, std::move(arguments), {position_, page});
  }

 private:
  BoundPointer BindDeleted() {
    const std::vector<Column>& columns = scope_.table().columns();
    const std::optional<std::size_t> index = FindColumn(columns, kDeletionMarkColumn);
    if (!index)
      throw StatementError(position_, L"DELETED() is known in the expressions of indexes only");
    return (*this)(ColumnName{{}, std::wstring(kDeletionMarkColumn)});
  }

  BoundPointer Bind(const Expression& expression) {
    return BindExpression(expression, scope_, subselects_);
  }

  [[nodiscard]] const Collation& collation() const { return scope_.table().collation(); }

  void CheckComparable(std::wstring_view symbol, ValueType left, ValueType right) const {
    if (!AreComparable(left, right)) throw OperandMismatch(position_, symbol, left, right);
  }

  static ValueType CallType(const Function& function, const std::vector<BoundPointer>& arguments) {
    switch (function.result) {
      case 'T':
        return ValueType::kText;
      case 'N':
        return ValueType::kNumber;
      case 'L':
        return ValueType::kLogical;
      case 'D':
        return ValueType::kDate;
      default:
        break;
    }
    // IIF and NVL give one of their last two arguments.
    const ValueType type = arguments[arguments.size() - 2]->type();
    return arguments.back()->type() == type ? type : ValueType::kAny;
  }

  Scope& scope_;
  SubselectBinder& subselects_;
  std::size_t position_;
};

}  // namespace

std::size_t Scope::FindOwn(const ColumnName& name, std::size_t position) const {
  if (!name.qualifier.empty() && !EqualIgnoringCase(name.qualifier, alias_))
    throw StatementError(
        position, L"there is no table or alias " + Quoted(name.qualifier) + L" in this statement");
  if (const auto index = FindColumn(table_.columns(), name.name)) return *index;
  throw StatementError(position, L"table " + alias_ + L" has no column " + Quoted(name.name));
}

Scope::Place Scope::Resolve(const ColumnName& name, std::size_t position) {
  if (!refusal_.empty()) throw StatementError(position, refusal_);
  bool known_qualifier = name.qualifier.empty();
  for (Scope* scope = this; scope != nullptr; scope = scope->outer_) {
    if (!name.qualifier.empty()) {
      if (!EqualIgnoringCase(name.qualifier, scope->alias_)) continue;
      known_qualifier = true;
    }
    const std::vector<Column>& columns = scope->table_.columns();
    const std::optional<std::size_t> index = FindColumn(columns, name.name);
    if (!index) {
      if (name.qualifier.empty()) continue;
      throw StatementError(position,
                           L"table " + scope->alias_ + L" has no column " + Quoted(name.name));
    }
    for (Scope* inner = this; inner != scope; inner = inner->outer_)
      inner->outer_slots_.push_back(&scope->slot_);
    scope->own_uses_.push_back(*index);
    return {columns[*index], scope->slot_, *index};
  }
  if (!known_qualifier)
    throw StatementError(
        position, L"there is no table or alias " + Quoted(name.qualifier) + L" in this statement");
  throw StatementError(position,
                       L"there is no column " + Quoted(name.name) + L" in " + TableNames());
}

std::wstring Scope::TableNames() const {
  std::wstring names = L"table " + alias_;
  for (const Scope* scope = outer_; scope != nullptr; scope = scope->outer_)
    names += L" or " + scope->alias_;
  return names;
}

BoundPointer BindExpression(const Expression& expression, Scope& scope,
                            SubselectBinder& subselects) {
  return std::visit(Binder(scope, subselects, expression.position), expression.node);
}

BoundPointer BindCondition(const Expression& expression, Scope& scope,
                           SubselectBinder& subselects) {
  BoundPointer bound = BindExpression(expression, scope, subselects);
  RequireLogical(*bound);
  return bound;
}

}  // namespace tdefault::tables::sql
