#include "tovocfg/suggestion.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

bool Same(char32_t left, char32_t right) {
  return SameText(FromCharacters({&left, 1}), FromCharacters({&right, 1}));
}

// How many letters have to be put in, left out, replaced or swapped with the next one.
std::size_t Distance(const std::u32string& from, const std::u32string& to) {
  // rows[i][j]: between the first i letters of one and the first j of the other.
  std::vector<std::vector<std::size_t>> rows(from.size() + 1,
                                             std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        rows[i][j] = i + j;
        continue;
      }
      const std::size_t replaced = rows[i - 1][j - 1] + (Same(from[i - 1], to[j - 1]) ? 0U : 1U);
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
      if (i > 1 && j > 1 && Same(from[i - 1], to[j - 2]) && Same(from[i - 2], to[j - 1]))
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows.back().back();
}

}  // namespace

std::string Closest(std::string_view word, const std::vector<std::string>& candidates) {
  // Nobody means a candidate by a much longer word, which would also take long to compare.
  constexpr std::size_t kLongest = 80;
  const std::u32string wanted = Characters(word);
  if (wanted.size() > kLongest) return {};
  std::string closest;
  std::size_t least = std::numeric_limits<std::size_t>::max();
  for (const std::string& candidate : candidates) {
    const std::u32string known = Characters(candidate);
    const std::size_t distance = Distance(wanted, known);
    // One letter of up to five, two of up to eight, three of more.
    const std::size_t allowed = known.size() <= 5 ? 1 : known.size() <= 8 ? 2 : 3;
    if (distance > allowed || distance >= least || distance >= known.size()) continue;
    least = distance;
    closest = candidate;
  }
  return closest;
}

}  // namespace tovocfg
