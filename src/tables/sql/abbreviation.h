// Keywords and function names may be cut to their first four or more letters.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <variant>

namespace tdefault::tables::sql {

// Whether `word`, in any case, is `name` (upper case) or at least its first four letters.
[[nodiscard]] bool Abbreviates(std::wstring_view word, std::wstring_view name) noexcept;

struct NoMatch {};

// Two of the names that the word may stand for.
struct AmbiguousMatch {
  std::wstring_view first;
  std::wstring_view second;
};

// The position in `names` of the one that `word` stands for; a full name wins over longer names
// that begin with it.
[[nodiscard]] std::variant<NoMatch, AmbiguousMatch, std::size_t> FindAbbreviated(
    std::wstring_view word, std::span<const std::wstring_view> names);

}  // namespace tdefault::tables::sql
