// Statements for a provider that reads no text literal of more than 255 characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tdefault::tables::ado {

// The longest text that the provider reads between two quotation marks or brackets.
inline constexpr std::size_t kLongestLiteral = 255;

// The statement with every longer literal ('..', ".." or [..]) written as a sum of literals of at
// most that length, 'part' + 'part', which means the same. Characters are counted as they stand
// between the marks, and no part ends inside a doubled mark. Everything else stays as it is, text
// without its closing mark included: what that means is the provider's to say.
[[nodiscard]] std::wstring SplitLongLiterals(std::wstring_view statement);

}  // namespace tdefault::tables::ado
