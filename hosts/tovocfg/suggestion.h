// What a user may have meant by a word that is misspelt.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovocfg {

// The candidate that differs least from the word, letters swapped, left out, too many or replaced;
// case does not count. Empty when every one differs in too much to be meant.
[[nodiscard]] std::string Closest(std::string_view word,
                                  const std::vector<std::string>& candidates);

}  // namespace tovocfg
