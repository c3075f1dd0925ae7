// The values that table fields and untyped arguments carry, and automation's conversions of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/date_time.h"

namespace tdefault {

struct Null {
  friend bool operator==(const Null&, const Null&) = default;
};

// A number with four decimals, exact.
struct Currency {
  std::int64_t ten_thousandths = 0;
  friend auto operator<=>(const Currency&, const Currency&) = default;
};

using Bytes = std::vector<std::uint8_t>;

using Value =
    std::variant<Null, bool, std::int32_t, double, Currency, std::wstring, Date, DateTime, Bytes>;

[[nodiscard]] inline bool IsNull(const Value& value) noexcept {
  return std::holds_alternative<Null>(value);
}

// The number that automation reads from text for a US-English user: surrounding blanks and tabs,
// one sign (in front or behind) or parentheses for a negative number, one currency sign "$", digits
// with "," anywhere before the decimal point, ".", an exponent (e or d), and the forms &H and &O.
// So "12,5" is 125. Absent when the text is not numeric; empty text is not.
[[nodiscard]] std::optional<double> ParseNumber(std::wstring_view text);

// The shortest decimal text that reads back as the same number, without exponent up to 15 digits:
// 12, -0.5, 1E+20.
[[nodiscard]] std::wstring NumberToText(double number);

// Conversions by automation's rules. They throw InvalidUseOfNull for a null, TypeMismatch for a
// value that does not convert, Overflow for a number out of range; rounding is to nearest, halves
// to even. `source` becomes the source of the error.
[[nodiscard]] std::wstring ToText(const Value& value, std::wstring_view source);
[[nodiscard]] double ToDouble(const Value& value, std::wstring_view source);
[[nodiscard]] std::int32_t ToLong(const Value& value, std::wstring_view source);
[[nodiscard]] std::int16_t ToInteger(const Value& value, std::wstring_view source);
// Text converts when it is True or False in any case, #TRUE#, #FALSE#, or numeric (not 0 is true).
[[nodiscard]] bool ToBoolean(const Value& value, std::wstring_view source);

}  // namespace tdefault
