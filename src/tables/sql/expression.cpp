#include "tables/sql/expression.h"

#include <string>

#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {

std::optional<bool> EvaluateLogical(const BoundExpression& expression) {
  const Value value = expression.Evaluate();
  if (const bool* flag = std::get_if<bool>(&value)) return *flag;
  if (IsNull(value)) return std::nullopt;
  std::wstring text = L"expected a condition, found ";
  text += Describe(TypeOf(value));
  throw StatementError(expression.position(), text);
}

}  // namespace tdefault::tables::sql
