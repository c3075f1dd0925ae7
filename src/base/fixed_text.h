// Text fields of fixed capacity, as the option and report records hold them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/text.h"

namespace tdefault {

// Holds exactly `Capacity` characters: an assignment keeps the first `Capacity` characters and
// pads shorter text with blanks on the right; a read returns the text without leading and trailing
// blanks. A new field holds blanks only.
template <std::size_t Capacity>
class FixedText {
 public:
  static constexpr std::size_t kCapacity = Capacity;

  FixedText() : stored_(Capacity, L' ') {}

  void Assign(std::wstring_view text) {
    stored_.assign(text.substr(0, Capacity));
    stored_.resize(Capacity, L' ');
  }

  [[nodiscard]] std::wstring Trimmed() const { return std::wstring(TrimBlanks(stored_)); }

 private:
  std::wstring stored_;
};

}  // namespace tdefault
