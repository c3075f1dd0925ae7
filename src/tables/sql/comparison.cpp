#include "tables/sql/comparison.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "base/text.h"

namespace tdefault::tables::sql {
namespace {

template <typename T>
int Order(const T& left, const T& right) {
  if (left < right) return -1;
  return right < left ? 1 : 0;
}

// What is not a number sorts before all numbers, so that the order is total.
int OrderNumbers(double left, double right) {
  if (std::isnan(left) || std::isnan(right)) return Order(!std::isnan(left), !std::isnan(right));
  return Order(left, right);
}

int OrderTimes(const DateTime& left, const DateTime& right) {
  const int days = Order(left.date.julian_day, right.date.julian_day);
  return days != 0 ? days : Order(left.milliseconds, right.milliseconds);
}

int OrderValues(const Value& left, const Value& right, const Collation& collation) {
  switch (TypeOf(left)) {
    case ValueType::kText:
      return collation.Compare(std::get<std::wstring>(left), std::get<std::wstring>(right));
    case ValueType::kNumber: {
      const auto* left_currency = std::get_if<Currency>(&left);
      const auto* right_currency = std::get_if<Currency>(&right);
      if (left_currency != nullptr && right_currency != nullptr)
        return Order(left_currency->ten_thousandths, right_currency->ten_thousandths);
      return OrderNumbers(NumberOf(left), NumberOf(right));
    }
    case ValueType::kDate:
    case ValueType::kDateTime:
      return OrderTimes(DateTimeOf(left), DateTimeOf(right));
    case ValueType::kLogical:
      return Order(std::get<bool>(left), std::get<bool>(right));
    default:
      return 0;
  }
}

// First bytes of sort keys, so that unlike values never have equal keys.
enum class KeyTag : char { kNull = 0, kLogical = 1, kNumber = 2, kDay = 3, kText = 4 };

void AppendBigEndian(std::string& key, std::uint64_t bits) {
  for (int shift = 56; shift >= 0; shift -= 8)
    key.push_back(
        static_cast<char>(static_cast<unsigned char>(bits >> static_cast<unsigned>(shift))));
}

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63U;

void AppendNumber(std::string& key, double number) {
  if (std::isnan(number)) return AppendBigEndian(key, 0);
  if (number == 0) number = 0;  // Minus zero equals zero.
  const auto bits = std::bit_cast<std::uint64_t>(number);
  AppendBigEndian(key, (bits & kSignBit) != 0 ? ~bits : bits | kSignBit);
}

// From here on neighbouring currency values share a double, and the exact value has to follow it.
constexpr std::int64_t kExactInDouble = std::int64_t{1} << 53U;

void AppendCurrency(std::string& key, const Currency& currency) {
  AppendNumber(key, NumberOf(currency));
  const std::int64_t exact = currency.ten_thousandths;
  if (exact > kExactInDouble || exact < -kExactInDouble)
    AppendBigEndian(key, static_cast<std::uint64_t>(exact) ^ kSignBit);
}

// One character of a pattern, or one of its wildcards.
struct PatternElement {
  enum class Kind { kCharacter, kAnyCharacter, kAnyRun } kind;
  wchar_t character;
};

std::vector<PatternElement> ReadPattern(std::wstring_view pattern, std::optional<wchar_t> escape) {
  using Kind = PatternElement::Kind;
  std::vector<PatternElement> elements;
  pattern = TrimTrailingBlanks(pattern);
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (escape == pattern[i] && i + 1 < pattern.size()) {
      elements.push_back({Kind::kCharacter, pattern[++i]});
      continue;
    }
    Kind kind = Kind::kCharacter;
    if (pattern[i] == L'%') kind = Kind::kAnyRun;
    if (pattern[i] == L'_') kind = Kind::kAnyCharacter;
    elements.push_back({kind, pattern[i]});
  }
  return elements;
}

}  // namespace

bool AreComparable(ValueType left, ValueType right) noexcept {
  if (left == ValueType::kBinary || right == ValueType::kBinary) return false;
  if (left == ValueType::kAny || right == ValueType::kAny) return true;
  return left == right || (IsDay(left) && IsDay(right));
}

bool Compare(ComparisonOperator operation, const Value& left, const Value& right,
             const Collation& collation) {
  if (operation == ComparisonOperator::kExactlyEqual) {
    const auto* left_text = std::get_if<std::wstring>(&left);
    const auto* right_text = std::get_if<std::wstring>(&right);
    if (left_text != nullptr && right_text != nullptr)
      return TrimTrailingBlanks(*left_text) == TrimTrailingBlanks(*right_text);
  }
  return Holds(operation, OrderValues(left, right, collation));
}

bool Holds(ComparisonOperator operation, int order) noexcept {
  switch (operation) {
    case ComparisonOperator::kEqual:
    case ComparisonOperator::kExactlyEqual:
      return order == 0;
    case ComparisonOperator::kNotEqual:
      return order != 0;
    case ComparisonOperator::kLess:
      return order < 0;
    case ComparisonOperator::kLessOrEqual:
      return order <= 0;
    case ComparisonOperator::kGreater:
      return order > 0;
    case ComparisonOperator::kGreaterOrEqual:
      return order >= 0;
  }
  return false;
}

std::wstring_view Symbol(ComparisonOperator operation) noexcept {
  switch (operation) {
    case ComparisonOperator::kEqual:
      return L"=";
    case ComparisonOperator::kExactlyEqual:
      return L"==";
    case ComparisonOperator::kNotEqual:
      return L"<>";
    case ComparisonOperator::kLess:
      return L"<";
    case ComparisonOperator::kLessOrEqual:
      return L"<=";
    case ComparisonOperator::kGreater:
      return L">";
    case ComparisonOperator::kGreaterOrEqual:
      return L">=";
  }
  return {};
}

std::string SortKey(const Value& value, const Collation& collation) {
  std::string key;
  const auto begin = [&key](KeyTag tag) { key.push_back(static_cast<char>(tag)); };
  switch (TypeOf(value)) {
    case ValueType::kLogical:
      begin(KeyTag::kLogical);
      key.push_back(std::get<bool>(value) ? '\1' : '\0');
      break;
    case ValueType::kNumber:
      begin(KeyTag::kNumber);
      if (const auto* currency = std::get_if<Currency>(&value))
        AppendCurrency(key, *currency);
      else
        AppendNumber(key, NumberOf(value));
      break;
    case ValueType::kDate:
    case ValueType::kDateTime: {
      begin(KeyTag::kDay);
      const DateTime time = DateTimeOf(value);
      const auto day = static_cast<std::uint32_t>(time.date.julian_day);
      AppendBigEndian(key, (static_cast<std::uint64_t>(day) << 32U) |
                               static_cast<std::uint32_t>(time.milliseconds));
      break;
    }
    case ValueType::kText:
      begin(KeyTag::kText);
      key.append(collation.Key(std::get<std::wstring>(value)));
      break;
    default:
      begin(KeyTag::kNull);
      break;
  }
  return key;
}

int CompareSortKeys(std::string_view left, std::string_view right, const Collation& collation) {
  constexpr auto kText = static_cast<char>(KeyTag::kText);
  if (left.front() != kText || right.front() != kText) return left.compare(right);
  return collation.CompareKeys(left.substr(1), right.substr(1));
}

bool MatchesPattern(std::wstring_view text, std::wstring_view pattern,
                    std::optional<wchar_t> escape, const Collation& collation) {
  const std::vector<PatternElement> elements = ReadPattern(pattern, escape);
  const auto matches = [&](const PatternElement& element, wchar_t character) {
    if (element.kind == PatternElement::Kind::kAnyCharacter) return true;
    return element.character == character ||
           collation.Compare({&element.character, 1}, {&character, 1}) == 0;
  };
  // The blanks behind the text may be matched, but need not be.
  const std::size_t required = TrimTrailingBlanks(text).size();
  std::size_t at_text = 0;
  std::size_t at_element = 0;
  std::optional<std::size_t> run;  // the latest "%" met
  std::size_t run_end = 0;         // what it covers so far
  while (at_element < elements.size() || at_text < required) {
    if (at_element < elements.size()) {
      const PatternElement& element = elements[at_element];
      if (element.kind == PatternElement::Kind::kAnyRun) {
        run = at_element++;
        run_end = at_text;
        continue;
      }
      if (at_text < text.size() && matches(element, text[at_text])) {
        ++at_element;
        ++at_text;
        continue;
      }
    }
    if (!run || run_end >= text.size()) return false;
    at_text = ++run_end;
    at_element = *run + 1;
  }
  return true;
}

}  // namespace tdefault::tables::sql
