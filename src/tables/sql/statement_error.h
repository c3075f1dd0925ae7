// The error for a statement that cannot be run as it stands.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/error.h"

namespace tdefault::tables::sql {

// kStatementError reading "Statement error at character N: TEXT." with N counted from 1;
// `position` counts from 0.
[[nodiscard]] Error StatementError(std::size_t position, std::wstring_view text);

// The text between double quotation marks, shortened when it is long, as error texts show it.
[[nodiscard]] std::wstring Quoted(std::wstring_view text);

}  // namespace tdefault::tables::sql
