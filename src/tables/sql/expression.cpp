#include "tables/sql/expression.h"

#include <string>

#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {

ValueType TypeOf(const Column& column) {
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      return ValueType::kText;
    case ColumnKind::kNumber:
    case ColumnKind::kInteger:
    case ColumnKind::kCurrency:
      return ValueType::kNumber;
    case ColumnKind::kLogical:
      return ValueType::kLogical;
    case ColumnKind::kDate:
      return ValueType::kDate;
    case ColumnKind::kDateTime:
      return ValueType::kDateTime;
    case ColumnKind::kBinary:
      return ValueType::kBinary;
  }
  return ValueType::kAny;
}

std::optional<CodePage> CodePageOf(const std::vector<BoundPointer>& expressions) {
  for (const BoundPointer& expression : expressions)
    if (const std::optional<CodePage> page = expression->code_page()) return page;
  return std::nullopt;
}

std::optional<bool> BoundExpression::Test() const {
  const Value value = Evaluate();
  if (const bool* flag = std::get_if<bool>(&value)) return *flag;
  if (IsNull(value)) return std::nullopt;
  std::wstring text = L"expected a condition, found ";
  text += Describe(TypeOf(value));
  throw StatementError(position(), text);
}

}  // namespace tdefault::tables::sql
