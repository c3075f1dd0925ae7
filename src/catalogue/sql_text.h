// Text inside statements of the tables' dialect.
#pragma once

#include <string>
#include <string_view>

namespace tdefault::catalogue {

// The text for the inside of a literal in apostrophes: apostrophes doubled, and each pair of
// carriage return and line feed, which no literal may hold, added as characters between two
// literals.
[[nodiscard]] std::wstring SqlQuote(std::wstring_view text);

}  // namespace tdefault::catalogue
