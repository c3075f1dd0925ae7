#include "tables/foxpro/collation.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tables/foxpro/general_weights.h"

namespace tdefault::tables::foxpro {
namespace {

// Starts, three times in a row, the weight of a character that the page lacks. No head of GENERAL
// is as high; under MACHINE only a text of three characters 255 comes close.
constexpr std::uint8_t kLacking = 255;

// The bytes of a page's characters, found faster than CodePage::Encode does.
class Encoder {
 public:
  explicit Encoder(CodePage page) {
    for (std::uint32_t byte = 0x80; byte <= 0xFF; ++byte)
      upper_half_[byte - 0x80] = {page.Decode(static_cast<unsigned char>(byte)),
                                  static_cast<std::uint8_t>(byte)};
    std::sort(upper_half_.begin(), upper_half_.end());
  }

  [[nodiscard]] std::optional<std::uint8_t> Encode(wchar_t character) const {
    if (static_cast<std::uint32_t>(character) < 0x80) return static_cast<std::uint8_t>(character);
    const auto* const found = std::lower_bound(
        upper_half_.begin(), upper_half_.end(), character,
        [](const Entry& entry, wchar_t searched) { return entry.first < searched; });
    if (found == upper_half_.end() || found->first != character) return std::nullopt;
    return found->second;
  }

 private:
  using Entry = std::pair<wchar_t, std::uint8_t>;
  std::array<Entry, 128> upper_half_{};
};

int Order(const std::string& left, const std::string& right) {
  const int order = left.compare(right);  // compares as unsigned bytes
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

void AppendByte(std::string& key, std::uint32_t byte) {
  key.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
}

void AppendLacking(std::string& key, wchar_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  AppendByte(key, kLacking);
  AppendByte(key, kLacking);
  AppendByte(key, kLacking);
  for (const std::uint32_t shift : {16U, 8U, 0U}) AppendByte(key, code >> shift & 0xFFU);
}

class MachineCollation final : public Collation {
 public:
  explicit MachineCollation(CodePage page) : encoder_(page) {}

  [[nodiscard]] std::string Key(std::wstring_view text) const override {
    text = TrimTrailingBlanks(text);
    std::string key;
    key.reserve(text.size());
    for (const wchar_t character : text) {
      if (const auto byte = encoder_.Encode(character)) {
        AppendByte(key, *byte);
      } else {
        AppendLacking(key, character);
      }
    }
    return key;
  }

  [[nodiscard]] int Compare(std::wstring_view left, std::wstring_view right) const override {
    left = TrimTrailingBlanks(left);
    right = TrimTrailingBlanks(right);
    if (left == right) return 0;
    return Order(Key(left), Key(right));
  }

 private:
  Encoder encoder_;
};

class GeneralCollation final : public Collation {
 public:
  GeneralCollation(CodePage page, const GeneralWeights& weights)
      : encoder_(page), weights_(weights) {}

  [[nodiscard]] std::string Key(std::wstring_view text) const override {
    text = TrimTrailingBlanks(text);
    std::string key;
    key.reserve(text.size() * 2);
    std::string tails;
    for (const wchar_t character : text) {
      const auto byte = encoder_.Encode(character);
      if (!byte) {
        AppendLacking(key, character);
        continue;
      }
      const GeneralWeight weight = weights_[*byte];
      if (weight.head != 0) {
        Append(weight, key, tails);
        continue;
      }
      for (const char letter : kExpansions[weight.tail])
        Append(weights_[static_cast<unsigned char>(letter)], key, tails);
    }
    key += tails;
    key.erase(key.find_last_not_of('\0') + 1);
    return key;
  }

  [[nodiscard]] int Compare(std::wstring_view left, std::wstring_view right) const override {
    left = TrimTrailingBlanks(left);
    right = TrimTrailingBlanks(right);
    if (left == right) return 0;
    // Most texts that differ do so in the first heads, and then no key is needed.
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
      const std::uint8_t left_head = PlainHead(left[i]);
      const std::uint8_t right_head = PlainHead(right[i]);
      if (left_head == 0 || right_head == 0) break;
      if (left_head != right_head) return left_head < right_head ? -1 : 1;
    }
    return Order(Key(left), Key(right));
  }

 private:
  static void Append(GeneralWeight weight, std::string& key, std::string& tails) {
    AppendByte(key, weight.head);
    if (weight.tail != kNoTail) AppendByte(tails, weight.tail);
  }

  // 0 for a character whose weight is not one head.
  [[nodiscard]] std::uint8_t PlainHead(wchar_t character) const {
    const auto byte = encoder_.Encode(character);
    return byte ? weights_[*byte].head : std::uint8_t{0};
  }

  Encoder encoder_;
  const GeneralWeights& weights_;
};

}  // namespace

std::unique_ptr<Collation> MakeCollation(CollatingSequence sequence, CodePage page) {
  const GeneralWeights* const weights = FindGeneralWeights(page.number());
  if (sequence == CollatingSequence::kGeneral && weights != nullptr)
    return std::make_unique<GeneralCollation>(page, *weights);
  return std::make_unique<MachineCollation>(page);
}

}  // namespace tdefault::tables::foxpro
