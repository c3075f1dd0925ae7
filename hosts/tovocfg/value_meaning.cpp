#include "tovocfg/value_meaning.h"

#include <array>
#include <vector>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

// The usual pair is the first.
constexpr std::array<TruthPair, 7> kTruthPairs = {
    {kUsualTruth, {"1", "0"}, {"-1", "0"}, {"Yes", "No"}, {"On", "Off"}, {"Y", "N"}, {"T", "F"}}};

bool AllDigits(std::string_view text) {
  for (const char character : text)
    if (character < '0' || character > '9') return false;
  return true;
}

bool SameNumber(std::string_view left, std::string_view right) {
  const Decimal a = ReadDecimal(left);
  const Decimal b = ReadDecimal(right);
  return a.valid && b.valid && a.negative == b.negative && a.whole == b.whole &&
         a.fraction == b.fraction;
}

bool SameTruth(std::string_view left, std::string_view right) {
  const std::optional<bool> truth = TruthOf(left);
  return truth.has_value() && truth == TruthOf(right);
}

// Name, size, four yes/no values, colour.
bool SameFont(const std::string& left, const std::string& right) {
  const std::vector<std::string> a = Split(left, '|');
  const std::vector<std::string> b = Split(right, '|');
  // Where only the name of one is known, nothing else can be compared.
  if (a.size() == 1 || b.size() == 1) return SameText(Trimmed(a[0]), Trimmed(b[0]));
  if (a.size() != b.size()) return false;
  for (std::size_t part = 0; part < a.size(); ++part) {
    const std::string x = Trimmed(a[part]);
    const std::string y = Trimmed(b[part]);
    const bool same = SameText(x, y) || (part > 0 && SameNumber(x, y)) ||
                      (part >= 2 && part <= 5 && SameTruth(x, y));
    if (!same) return false;
  }
  return true;
}

}  // namespace

Decimal ReadDecimal(std::string_view text) {
  Decimal number;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    number.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  const std::size_t point = text.find('.');
  std::string_view whole = text.substr(0, point);
  std::string_view fraction;
  if (point != std::string_view::npos) fraction = text.substr(point + 1);
  if ((whole.empty() && fraction.empty()) || !AllDigits(whole) || !AllDigits(fraction))
    return number;
  number.valid = true;
  number.decimals = fraction.size();
  while (!whole.empty() && whole.front() == '0') whole.remove_prefix(1);
  while (!fraction.empty() && fraction.back() == '0') fraction.remove_suffix(1);
  number.whole = whole;
  number.fraction = fraction;
  if (number.whole.empty() && number.fraction.empty()) number.negative = false;
  return number;
}

const TruthPair* PairOf(std::string_view spelling) {
  for (const TruthPair& pair : kTruthPairs)
    if (SameText(spelling, pair.yes) || SameText(spelling, pair.no)) return &pair;
  return nullptr;
}

std::optional<bool> TruthOf(std::string_view spelling) {
  const TruthPair* const pair = PairOf(spelling);
  if (pair == nullptr) return std::nullopt;
  return SameText(spelling, pair->yes);
}

bool SameMeaning(KeyType type, const std::string& left, const std::string& right) {
  if (left == right) return true;
  switch (type) {
    case KeyType::kNumeric:
      return SameNumber(left, right);
    case KeyType::kBoolean:
      return SameTruth(left, right);
    case KeyType::kFont:
      return SameFont(left, right);
    default:
      return false;
  }
}

}  // namespace tovocfg
