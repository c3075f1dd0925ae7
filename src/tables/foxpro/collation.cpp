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

int Order(std::uint8_t left, std::uint8_t right) {
  if (left == right) return 0;
  return left < right ? -1 : 1;
}

std::uint8_t ByteAt(std::string_view key, std::size_t index) {
  return static_cast<std::uint8_t>(key[index]);
}

// The number of bytes that both keys begin with.
std::size_t CommonLength(std::string_view left, std::string_view right) {
  const std::size_t shorter = std::min(left.size(), right.size());
  std::size_t common = 0;
  while (common < shorter && left[common] == right[common]) ++common;
  return common;
}

// How the text of these weights compares with as many blanks.
int OrderAgainstBlanks(std::string_view weights, std::uint8_t blank) {
  for (const char weight : weights)
    if (const int order = Order(static_cast<std::uint8_t>(weight), blank); order != 0) return order;
  return 0;
}

void AppendByte(std::string& key, std::uint32_t byte) {
  key.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
}

// All its bytes are above any blank's weight.
void AppendLacking(std::string& key, wchar_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  AppendByte(key, kLacking);
  AppendByte(key, kLacking);
  AppendByte(key, kLacking);
  for (const std::uint32_t shift : {14U, 7U, 0U}) AppendByte(key, 0x80U | (code >> shift & 0x7FU));
}

std::uint8_t ByteOf(char byte) { return static_cast<unsigned char>(byte); }

// The bytes without the blanks behind them.
std::string_view TrimStored(std::string_view bytes) {
  return bytes.substr(0, bytes.find_last_not_of(' ') + 1);
}

class MachineText final : public PreparedText {
 public:
  // `key` is that of the text.
  MachineText(std::string key, const ByteReplacement& replacement)
      : key_(std::move(key)), replacement_(replacement) {}

  [[nodiscard]] int CompareStored(std::string_view bytes) const override {
    const std::size_t longer = std::max(bytes.size(), key_.size());
    for (std::size_t i = 0; i < longer; ++i) {
      const std::uint8_t left = i < bytes.size() ? replacement_[ByteOf(bytes[i])] : kBlank;
      const std::uint8_t right = i < key_.size() ? ByteOf(key_[i]) : kBlank;
      if (left != right) return Order(left, right);
    }
    return 0;
  }

 private:
  static constexpr std::uint8_t kBlank = 0x20;

  std::string key_;
  ByteReplacement replacement_;
};

class MachineCollation final : public Collation {
 public:
  explicit MachineCollation(CodePage page) : page_(page), encoder_(page) {}

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
    return CompareKeys(Key(left), Key(right));
  }

  [[nodiscard]] int CompareKeys(std::string_view left, std::string_view right) const override {
    const std::size_t common = CommonLength(left, right);
    if (common == left.size()) return -OrderAgainstBlanks(right.substr(common), kBlank);
    if (common == right.size()) return OrderAgainstBlanks(left.substr(common), kBlank);
    return Order(ByteAt(left, common), ByteAt(right, common));
  }

  [[nodiscard]] std::unique_ptr<PreparedText> Prepare(
      std::wstring_view text, const CodePage& page,
      const ByteReplacement& replacement) const override {
    if (page.number() != page_.number()) return nullptr;
    return std::make_unique<MachineText>(Key(text), replacement);
  }

 private:
  static constexpr std::uint8_t kBlank = 0x20;

  CodePage page_;
  Encoder encoder_;
};

// The weights of what replaces a byte: one character, or the two letters of a ligature.
struct StoredWeight {
  GeneralWeight first;
  GeneralWeight second;  // head 0: there is none
};

std::array<StoredWeight, 256> WeightsOf(const GeneralWeights& weights,
                                        const ByteReplacement& replacement) {
  std::array<StoredWeight, 256> stored{};
  for (std::size_t byte = 0; byte < stored.size(); ++byte) {
    const GeneralWeight weight = weights.at(replacement.at(byte));
    if (weight.head != 0) {
      stored.at(byte) = {weight, {0, kNoTail}};
      continue;
    }
    const std::string_view letters = kExpansions.at(weight.tail);
    stored.at(byte) = {weights[ByteOf(letters[0])], weights[ByteOf(letters[1])]};
  }
  return stored;
}

class GeneralText final : public PreparedText {
 public:
  // `key` is that of the text.
  GeneralText(const std::string& key, const GeneralWeights& weights,
              const ByteReplacement& replacement)
      : weights_(WeightsOf(weights, replacement)), blank_(weights[ByteOf(' ')].head) {
    std::size_t tails = 0;
    while (tails < key.size() && ByteOf(key[tails]) >= kLowestHead) ++tails;
    heads_ = key.substr(0, tails);
    tails_ = key.substr(tails);
  }

  [[nodiscard]] int CompareStored(std::string_view bytes) const override {
    std::size_t next = 0;
    for (const char byte : bytes) {
      const StoredWeight& weight = weights_[ByteOf(byte)];
      if (const int order = Order(weight.first.head, Head(next++)); order != 0) return order;
      if (weight.second.head == 0) continue;
      if (const int order = Order(weight.second.head, Head(next++)); order != 0) return order;
    }
    for (; next < heads_.size(); ++next)
      if (const int order = Order(blank_, Head(next)); order != 0) return order;
    return CompareTails(TrimStored(bytes));
  }

 private:
  [[nodiscard]] std::uint8_t Head(std::size_t index) const {
    return index < heads_.size() ? ByteOf(heads_[index]) : blank_;
  }

  // The shorter row of tails goes on with zeros.
  [[nodiscard]] int CompareTails(std::string_view bytes) const {
    std::size_t next = 0;
    const auto order_of = [this, &next](GeneralWeight weight) {
      if (weight.tail == kNoTail) return 0;
      const std::size_t index = next++;
      return Order(weight.tail, index < tails_.size() ? ByteOf(tails_[index]) : std::uint8_t{0});
    };
    for (const char byte : bytes) {
      const StoredWeight& weight = weights_[ByteOf(byte)];
      if (const int order = order_of(weight.first); order != 0) return order;
      if (const int order = order_of(weight.second); order != 0) return order;
    }
    for (; next < tails_.size(); ++next)
      if (tails_[next] != 0) return -1;
    return 0;
  }

  std::array<StoredWeight, 256> weights_;
  std::uint8_t blank_;  // the blank's head
  std::string heads_;
  std::string tails_;
};

// A key is the heads of all characters and, behind them, the tails: every tail is below every head.
class GeneralCollation final : public Collation {
 public:
  GeneralCollation(CodePage page, const GeneralWeights& weights)
      : page_(page),
        encoder_(page),
        weights_(weights),
        blank_(weights[static_cast<unsigned char>(' ')].head) {}

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
    key.erase(key.find_last_not_of(static_cast<char>(blank_)) + 1);
    key += tails;
    key.erase(key.find_last_not_of('\0') + 1);
    return key;
  }

  [[nodiscard]] int Compare(std::wstring_view left, std::wstring_view right) const override {
    left = TrimTrailingBlanks(left);
    right = TrimTrailingBlanks(right);
    if (left == right) return 0;
    // Most texts that differ do so in the first heads, and then no key is needed.
    const std::size_t longer = std::max(left.size(), right.size());
    for (std::size_t i = 0; i < longer; ++i) {
      const std::uint8_t left_head = i < left.size() ? PlainHead(left[i]) : blank_;
      const std::uint8_t right_head = i < right.size() ? PlainHead(right[i]) : blank_;
      if (left_head == 0 || right_head == 0) break;
      if (left_head != right_head) return left_head < right_head ? -1 : 1;
    }
    return CompareKeys(Key(left), Key(right));
  }

  [[nodiscard]] int CompareKeys(std::string_view left, std::string_view right) const override {
    const std::size_t common = CommonLength(left, right);
    const bool left_head = HasHead(left, common);
    const bool right_head = HasHead(right, common);
    if (left_head && right_head) return Order(ByteAt(left, common), ByteAt(right, common));
    // The heads of one key are over: blanks follow, whose tails are none.
    if (left_head) return OrderAgainstBlanks(left.substr(common), blank_);
    if (right_head) return -OrderAgainstBlanks(right.substr(common), blank_);
    const int order = left.compare(right);  // the tails, which zero bytes would fill up
    return order < 0 ? -1 : order > 0 ? 1 : 0;
  }

  [[nodiscard]] std::unique_ptr<PreparedText> Prepare(
      std::wstring_view text, const CodePage& page,
      const ByteReplacement& replacement) const override {
    if (page.number() != page_.number()) return nullptr;
    return std::make_unique<GeneralText>(Key(text), weights_, replacement);
  }

 private:
  static bool HasHead(std::string_view key, std::size_t index) {
    return index < key.size() && ByteAt(key, index) >= kLowestHead;
  }

  static void Append(GeneralWeight weight, std::string& key, std::string& tails) {
    AppendByte(key, weight.head);
    if (weight.tail != kNoTail) AppendByte(tails, weight.tail);
  }

  // 0 for a character whose weight is not one head.
  [[nodiscard]] std::uint8_t PlainHead(wchar_t character) const {
    const auto byte = encoder_.Encode(character);
    return byte ? weights_[*byte].head : std::uint8_t{0};
  }

  CodePage page_;
  Encoder encoder_;
  const GeneralWeights& weights_;
  std::uint8_t blank_;  // the blank's head
};

}  // namespace

std::unique_ptr<Collation> MakeCollation(CollatingSequence sequence, CodePage page) {
  const GeneralWeights* const weights = FindGeneralWeights(page.number());
  if (sequence == CollatingSequence::kGeneral && weights != nullptr)
    return std::make_unique<GeneralCollation>(page, *weights);
  return std::make_unique<MachineCollation>(page);
}

}  // namespace tdefault::tables::foxpro
