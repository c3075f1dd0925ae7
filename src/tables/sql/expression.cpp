#include "tables/sql/expression.h"

#include <string>

#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {

std::optional<CodePage> CodePageOf(const std::vector<BoundPointer>& expressions) {
  for (const BoundPointer& expression : expressions)
    if (const std::optional<CodePage> page = expression->code_page()) return page;
  return std::nullopt;
}

std::optional<bool> EvaluateLogical(const BoundExpression& expression) {
  const Value value = expression.Evaluate();
  if (const bool* flag = std::get_if<bool>(&value)) return *flag;
  if (IsNull(value)) return std::nullopt;
  std::wstring text = L"expected a condition, found ";
  text += Describe(TypeOf(value));
  throw StatementError(expression.position(), text);
}

}  // namespace tdefault::tables::sql
