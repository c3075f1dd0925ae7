#include "tables/foxpro/key_encoding.h"

#include <algorithm>
#include <bit>

namespace tdefault::tables::foxpro {
namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63U;
constexpr double kSecondsPerDay = 86400;

void AppendBigEndian(std::string& key, std::uint64_t bits, unsigned size) {
  for (unsigned shift = size * 8; shift > 0; shift -= 8)
    key.push_back(static_cast<char>(static_cast<unsigned char>(bits >> (shift - 8))));
}

}  // namespace

void AppendDoubleKey(std::string& key, double number) {
  if (number == 0) number = 0;  // Minus zero equals zero.
  const auto bits = std::bit_cast<std::uint64_t>(number);
  AppendBigEndian(key, (bits & kSignBit) != 0 ? ~bits : bits | kSignBit, 8);
}

void AppendIntegerKey(std::string& key, std::int32_t number) {
  AppendBigEndian(key, static_cast<std::uint32_t>(number) ^ 0x80000000U, 4);
}

void AppendCurrencyKey(std::string& key, std::int64_t ten_thousandths) {
  AppendBigEndian(key, static_cast<std::uint64_t>(ten_thousandths) ^ kSignBit, 8);
}

void AppendDateKey(std::string& key, Date date) {
  AppendDoubleKey(key, static_cast<double>(date.julian_day));
}

void AppendTimeKey(std::string& key, DateTime date_time) {
  const double seconds = static_cast<double>(date_time.milliseconds) / kMillisecondsPerSecond;
  AppendDoubleKey(key, date_time.date.julian_day + seconds / kSecondsPerDay);
}

void AppendLogicalKey(std::string& key, bool value) { key.push_back(value ? 'T' : 'F'); }

void AppendTextKey(std::string& key, std::string_view text, std::size_t length) {
  const std::size_t end = key.size() + length;
  key.append(text.substr(0, length));
  key.resize(end, ' ');
}

void AppendGeneralKey(std::string& key, std::string_view text, const GeneralWeights& weights,
                      std::size_t length) {
  text = text.substr(0, text.find_last_not_of(' ') + 1);
  const std::size_t end = key.size() + length;
  std::string tails;
  const auto append = [&](GeneralWeight weight) {
    key.push_back(static_cast<char>(weight.head));
    if (weight.tail != kNoTail) tails.push_back(static_cast<char>(weight.tail));
  };
  for (const char character : text) {
    const GeneralWeight weight = weights[static_cast<unsigned char>(character)];
    if (weight.head != 0) {
      append(weight);
      continue;
    }
    for (const char letter : kExpansions[weight.tail])
      append(weights[static_cast<unsigned char>(letter)]);
  }
  key += tails;
  key.resize(end, '\0');
}

double DoubleOfKey(std::string_view key) noexcept {
  std::uint64_t bits = 0;
  for (const char byte : key.substr(0, 8)) bits = bits << 8U | static_cast<unsigned char>(byte);
  return std::bit_cast<double>((bits & kSignBit) != 0 ? bits & ~kSignBit : ~bits);
}

}  // namespace tdefault::tables::foxpro
