#include "tables/sql/abbreviation.h"

#include "base/text.h"

namespace tdefault::tables::sql {
namespace {

constexpr std::size_t kShortestAbbreviation = 4;

}  // namespace

bool Abbreviates(std::wstring_view word, std::wstring_view name) noexcept {
  if (word.size() > name.size()) return false;
  if (word.size() < name.size() && word.size() < kShortestAbbreviation) return false;
  return EqualIgnoringCase(word, name.substr(0, word.size()));
}

std::variant<NoMatch, AmbiguousMatch, std::size_t> FindAbbreviated(
    std::wstring_view word, std::span<const std::wstring_view> names) {
  std::variant<NoMatch, AmbiguousMatch, std::size_t> found;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!Abbreviates(word, names[i])) continue;
    if (word.size() == names[i].size()) return i;
    if (const std::size_t* earlier = std::get_if<std::size_t>(&found))
      found = AmbiguousMatch{names[*earlier], names[i]};
    else if (std::holds_alternative<NoMatch>(found))
      found = i;
  }
  return found;
}

}  // namespace tdefault::tables::sql
