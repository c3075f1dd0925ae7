#include "base/value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "base/error.h"
#include "base/text.h"

namespace tdefault {
namespace {

constexpr bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

std::wstring_view TrimWhite(std::wstring_view text) {
  constexpr std::wstring_view kWhite = L" \t";
  const std::size_t first = text.find_first_not_of(kWhite);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhite) - first + 1);
}

// &H1F and &O17 after the ampersand's letter; the value is unsigned and has at most 32 bits.
std::optional<double> ParseRadix(std::wstring_view digits, std::uint32_t radix) {
  std::uint64_t value = 0;
  if (digits.empty()) return std::nullopt;
  for (const wchar_t character : digits) {
    std::uint32_t digit = radix;
    if (IsDigit(character)) digit = static_cast<std::uint32_t>(character - L'0');
    const wchar_t upper = ToUpper(character);
    if (upper >= L'A' && upper <= L'F') digit = static_cast<std::uint32_t>(upper - L'A') + 10U;
    if (digit >= radix) return std::nullopt;
    value = value * radix + digit;
    if (value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  }
  return static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
}

// Reads the signs, parentheses and currency sign around the digits, each at most once and in any
// order of sign and currency; what is left between is the number proper.
class Decorations {
 public:
  // Absent when the decorations contradict each other.
  std::optional<std::wstring_view> Strip(std::wstring_view text) {
    while (!text.empty() && TakeLeading(text.front())) text = TrimWhite(text.substr(1));
    while (!text.empty() && TakeTrailing(text.back()))
      text = TrimWhite(text.substr(0, text.size() - 1));
    if (contradiction_ || opened_ != closed_ || (opened_ && signed_)) return std::nullopt;
    return text;
  }

  [[nodiscard]] bool negative() const { return negative_ || opened_; }

 private:
  bool TakeLeading(wchar_t character) {
    if (character == L'(') return Once(opened_);
    return TakeEither(character);
  }

  bool TakeTrailing(wchar_t character) {
    if (character == L')') return Once(closed_);
    return TakeEither(character);
  }

  bool TakeEither(wchar_t character) {
    if (character == L'$') return Once(currency_);
    if (character != L'-' && character != L'+') return false;
    negative_ = negative_ || character == L'-';
    return Once(signed_);
  }

  bool Once(bool& seen) {
    contradiction_ = contradiction_ || seen;
    seen = true;
    return true;
  }

  bool opened_ = false;
  bool closed_ = false;
  bool currency_ = false;
  bool signed_ = false;
  bool negative_ = false;
  bool contradiction_ = false;
};

// Digits with thousands separators, point and exponent, as the plain text that from_chars reads;
// empty when the text is not of this form.
std::string PlainNumber(std::wstring_view text) {
  std::string plain;
  std::size_t position = 0;
  bool any_digit = false;
  bool point = false;
  for (; position < text.size(); ++position) {
    const wchar_t character = text[position];
    if (IsDigit(character)) {
      any_digit = true;
      plain.push_back(static_cast<char>(character));
    } else if (character == L'.' && !point) {
      point = true;
      plain.push_back('.');
    } else if (character != L',' || point || !any_digit) {
      break;
    }
  }
  if (!any_digit) return {};
  if (position == text.size()) return plain;
  const wchar_t marker = ToUpper(text[position++]);
  if (marker != L'E' && marker != L'D') return {};
  plain.push_back('e');
  if (position < text.size() && (text[position] == L'-' || text[position] == L'+')) {
    if (text[position] == L'-') plain.push_back('-');
    ++position;
  }
  if (position == text.size()) return {};
  for (; position < text.size(); ++position) {
    if (!IsDigit(text[position])) return {};
    plain.push_back(static_cast<char>(text[position]));
  }
  return plain;
}

std::optional<double> ParseDecimal(std::wstring_view text) {
  const std::string plain = PlainNumber(text);
  if (plain.empty()) return std::nullopt;
  double number = 0;
  const auto [end, failure] = std::from_chars(plain.data(), plain.data() + plain.size(), number);
  if (failure == std::errc::result_out_of_range) {
    // Too small is zero, too large is no number.
    const std::size_t exponent = plain.find('e');
    if (exponent != std::string::npos && plain[exponent + 1] == '-') return 0.0;
    return std::nullopt;
  }
  if (failure != std::errc() || end != plain.data() + plain.size()) return std::nullopt;
  return number;
}

// Nearest whole number, halves to the even one, without regard to the floating-point environment.
double RoundHalfEven(double number) {
  const double below = std::floor(number);
  const double fraction = number - below;
  if (fraction < 0.5) return below;
  if (fraction > 0.5) return below + 1;
  return std::fmod(below, 2.0) == 0.0 ? below : below + 1;
}

double ToNumber(const Value& value, std::wstring_view source) {
  struct Visitor {
    std::wstring_view source;

    double operator()(const Null&) const { throw InvalidUseOfNull(std::wstring(source)); }
    double operator()(bool flag) const { return flag ? -1 : 0; }
    double operator()(std::int32_t number) const { return number; }
    double operator()(double number) const { return number; }
    double operator()(const Currency& number) const {
      return static_cast<double>(number.ten_thousandths) / 10000.0;
    }
    double operator()(const std::wstring& text) const {
      if (const std::optional<double> number = ParseNumber(text)) return *number;
      throw TypeMismatch(std::wstring(source));
    }
    // Automation counts days from 1899-12-30; the empty date is that day.
    double operator()(const Date& date) const {
      return date.empty() ? 0 : date.julian_day - 2415019;
    }
    double operator()(const DateTime& time) const {
      return (*this)(time.date) + time.milliseconds / 86400000.0;
    }
    double operator()(const Bytes&) const { throw TypeMismatch(std::wstring(source)); }
  };
  return std::visit(Visitor{source}, value);
}

template <class Integer>
Integer ToWhole(const Value& value, std::wstring_view source) {
  const double rounded = RoundHalfEven(ToNumber(value, source));
  // The negated comparison also catches a not-a-number.
  if (!(rounded >= std::numeric_limits<Integer>::min() &&
        rounded <= std::numeric_limits<Integer>::max()))
    throw Overflow(std::wstring(source));
  return static_cast<Integer>(rounded);
}

std::wstring CurrencyToText(Currency number) {
  const bool negative = number.ten_thousandths < 0;
  auto magnitude = static_cast<std::uint64_t>(number.ten_thousandths);
  if (negative) magnitude = 0U - magnitude;
  std::wstring text = std::to_wstring(magnitude / 10000U);
  std::wstring decimals = std::to_wstring(10000U + magnitude % 10000U).substr(1);
  decimals.erase(decimals.find_last_not_of(L'0') + 1);
  if (!decimals.empty()) text += L"." + decimals;
  return negative ? L"-" + text : text;
}

}  // namespace

std::optional<double> ParseNumber(std::wstring_view text) {
  text = TrimWhite(text);
  if (text.size() > 1 && text.front() == L'&') {
    const wchar_t radix = ToUpper(text[1]);
    if (radix == L'H') return ParseRadix(text.substr(2), 16);
    if (radix == L'O') return ParseRadix(text.substr(2), 8);
    return std::nullopt;
  }
  Decorations decorations;
  const std::optional<std::wstring_view> digits = decorations.Strip(text);
  if (!digits) return std::nullopt;
  const std::optional<double> number = ParseDecimal(*digits);
  if (!number) return std::nullopt;
  return decorations.negative() ? -*number : *number;
}

std::wstring NumberToText(double number) {
  if (number == 0) return L"0";
  std::array<char, 400> buffer{};
  const double magnitude = std::fabs(number);
  const bool plain = magnitude < 1e15 && magnitude >= 1e-4;
  const auto result =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                    plain ? std::chars_format::fixed : std::chars_format::scientific);
  std::wstring text(buffer.data(), result.ptr);
  std::replace(text.begin(), text.end(), L'e', L'E');
  return text;
}

std::wstring ToText(const Value& value, std::wstring_view source) {
  struct Visitor {
    std::wstring_view source;

    std::wstring operator()(const Null&) const { throw InvalidUseOfNull(std::wstring(source)); }
    std::wstring operator()(bool flag) const { return flag ? L"True" : L"False"; }
    std::wstring operator()(std::int32_t number) const { return std::to_wstring(number); }
    std::wstring operator()(double number) const { return NumberToText(number); }
    std::wstring operator()(const Currency& number) const { return CurrencyToText(number); }
    std::wstring operator()(const std::wstring& text) const { return text; }
    std::wstring operator()(const Date& date) const { return tdefault::ToText(date); }
    std::wstring operator()(const DateTime& time) const { return tdefault::ToText(time); }
    std::wstring operator()(const Bytes&) const { throw TypeMismatch(std::wstring(source)); }
  };
  return std::visit(Visitor{source}, value);
}

double ToDouble(const Value& value, std::wstring_view source) { return ToNumber(value, source); }

std::int32_t ToLong(const Value& value, std::wstring_view source) {
  return ToWhole<std::int32_t>(value, source);
}

std::int16_t ToInteger(const Value& value, std::wstring_view source) {
  return ToWhole<std::int16_t>(value, source);
}

bool ToBoolean(const Value& value, std::wstring_view source) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* text = std::get_if<std::wstring>(&value)) {
    if (EqualIgnoringCase(*text, L"True") || EqualIgnoringCase(*text, L"#TRUE#")) return true;
    if (EqualIgnoringCase(*text, L"False") || EqualIgnoringCase(*text, L"#FALSE#")) return false;
  }
  return ToNumber(value, source) != 0;
}

}  // namespace tdefault
