// What the texts of values mean: numbers and yes/no values have several spellings.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tovocfg/option.h"

namespace tovocfg {

// A plain decimal number, taken apart; the automation run-time's other spellings are not for files.
struct Decimal {
  bool valid = false;
  bool negative = false;
  std::string whole;         // digits without leading zeros
  std::string fraction;      // digits without trailing zeros
  std::size_t decimals = 0;  // as written
};

[[nodiscard]] Decimal ReadDecimal(std::string_view text);

struct TruthPair {
  const char* yes;
  const char* no;
};

// What yes/no values are written as where nothing tells another spelling.
inline constexpr TruthPair kUsualTruth = {"True", "False"};

// The pair of words that a word belongs to, without regard to case; null when it is neither yes nor
// no.
[[nodiscard]] const TruthPair* PairOf(std::string_view spelling);

// Absent when the word is neither yes nor no.
[[nodiscard]] std::optional<bool> TruthOf(std::string_view spelling);

// Whether two values of an option say the same: numbers by their value, yes/no values by their
// truth, fonts part by part, all others by their text.
[[nodiscard]] bool SameMeaning(KeyType type, const std::string& left, const std::string& right);

}  // namespace tovocfg
