// The weights of the collating sequence GENERAL, byte by byte for each code page.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tdefault::tables::foxpro {

// How one byte of a code page sorts. Head 0 marks a character that sorts as two letters; `tail` is
// then its place in kExpansions.
struct GeneralWeight {
  std::uint8_t head;
  std::uint8_t tail;
};

inline constexpr std::uint8_t kNoTail = 255;
inline constexpr std::uint8_t kLowestHead = 16;  // of all heads but 0; every tail is below it
inline constexpr std::array<std::string_view, 4> kExpansions = {"OE", "AE", "TH", "SS"};

using GeneralWeights = std::array<GeneralWeight, 256>;

// The weights of a code page that base/code_page.h carries; null for any other.
[[nodiscard]] const GeneralWeights* FindGeneralWeights(std::uint32_t page) noexcept;

}  // namespace tdefault::tables::foxpro
