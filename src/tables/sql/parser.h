// Reads statements. The grammar is in docs/sql-dialect.md.
#pragma once

#include <string_view>

#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

// Throws StatementError at the first character that does not fit.
[[nodiscard]] Statement ParseStatement(std::wstring_view text);

// Reads an expression that stands alone, such as the key of an index.
[[nodiscard]] ExpressionPointer ParseLoneExpression(std::wstring_view text);

}  // namespace tdefault::tables::sql
