#include "tables/sql/functions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "base/code_page.h"
#include "base/date_time.h"
#include "base/text.h"
#include "tables/sql/date_text.h"
#include "tables/sql/statement_error.h"
#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {
namespace {

using Arguments = std::span<const Value>;

// The code page of CHR above 127.
constexpr std::uint32_t kCharacterCodePage = 1252;

constexpr std::size_t kWidestNumber = 255;
constexpr std::size_t kMostDecimals = 18;

const std::wstring& Text(const Value& value) { return std::get<std::wstring>(value); }

std::size_t CheckedLength(const Value& value, std::size_t position) {
  const std::size_t length = CharacterCount(value);
  if (length > kLongestText)
    throw StatementError(position, L"the text becomes longer than " +
                                       std::to_wstring(kLongestText) + L" characters");
  return length;
}

std::wstring_view TrimLeadingBlanks(std::wstring_view text) {
  const std::size_t first = text.find_first_not_of(L' ');
  return first == std::wstring_view::npos ? std::wstring_view() : text.substr(first);
}

// The character's other case, or the character itself where the page lacks that: it could not be
// stored in the table.
template <class Fold>
wchar_t FoldCharacter(wchar_t character, const CodePage& page, Fold fold) {
  const wchar_t folded = fold(character);
  return folded != character && page.Encode(folded) ? folded : character;
}

template <class Fold>
Value FoldCase(std::wstring text, const CodePage& page, Fold fold) {
  for (wchar_t& character : text) character = FoldCharacter(character, page, fold);
  return text;
}

wchar_t ToUpperCharacter(wchar_t character) { return ToUpper(character); }
wchar_t ToLowerCharacter(wchar_t character) { return ToLower(character); }

Value Upper(Arguments arguments, const CallContext& context) {
  return FoldCase(Text(arguments[0]), context.code_page, ToUpperCharacter);
}

Value Lower(Arguments arguments, const CallContext& context) {
  return FoldCase(Text(arguments[0]), context.code_page, ToLowerCharacter);
}

Value AllTrim(Arguments arguments, const CallContext&) {
  return std::wstring(TrimBlanks(Text(arguments[0])));
}
Value LeftTrim(Arguments arguments, const CallContext&) {
  return std::wstring(TrimLeadingBlanks(Text(arguments[0])));
}
Value RightTrim(Arguments arguments, const CallContext&) {
  return std::wstring(TrimTrailingBlanks(Text(arguments[0])));
}

Value Left(Arguments arguments, const CallContext&) {
  return Text(arguments[0]).substr(0, CharacterCount(arguments[1]));
}

Value Right(Arguments arguments, const CallContext&) {
  const std::wstring& text = Text(arguments[0]);
  return text.substr(text.size() - std::min(text.size(), CharacterCount(arguments[1])));
}

// From a position that counts from 1; nothing where the position is outside of the text.
Value Substring(Arguments arguments, const CallContext&) {
  const std::wstring& text = Text(arguments[0]);
  const std::size_t start = CharacterCount(arguments[1]);
  if (start == 0 || start > text.size()) return std::wstring();
  return text.substr(start - 1,
                     arguments.size() > 2 ? CharacterCount(arguments[2]) : std::wstring::npos);
}

Value Length(Arguments arguments, const CallContext&) {
  return static_cast<double>(Text(arguments[0]).size());
}

// The position of the n-th occurrence, 0 when there is none.
Value At(Arguments arguments, const CallContext&) {
  const std::wstring& search = Text(arguments[0]);
  const std::wstring& text = Text(arguments[1]);
  std::size_t occurrence = arguments.size() > 2 ? CharacterCount(arguments[2]) : 1;
  if (search.empty() || occurrence == 0) return 0.0;
  std::size_t found = text.find(search);
  while (found != std::wstring::npos && --occurrence > 0) found = text.find(search, found + 1);
  return found == std::wstring::npos ? 0.0 : static_cast<double>(found + 1);
}

wchar_t Filler(Arguments arguments) {
  return arguments.size() > 2 && !Text(arguments[2]).empty() ? Text(arguments[2]).front() : L' ';
}

Value PadRight(Arguments arguments, const CallContext& context) {
  std::wstring text = Text(arguments[0]);
  text.resize(CheckedLength(arguments[1], context.position), Filler(arguments));
  return text;
}

Value PadLeft(Arguments arguments, const CallContext& context) {
  std::wstring text = Text(arguments[0]);
  const std::size_t length = CheckedLength(arguments[1], context.position);
  if (text.size() < length) text.insert(0, length - text.size(), Filler(arguments));
  text.resize(length);
  return text;
}

Value Character(Arguments arguments, const CallContext& context) {
  const double number = NumberOf(arguments[0]);
  if (!(number >= 0 && number < 256))
    throw StatementError(context.position, L"CHR takes a number from 0 to 255");
  const auto byte = static_cast<unsigned char>(number);
  return std::wstring(1, CodePage::Find(kCharacterCodePage)->Decode(byte));
}

// The number with this many decimals, halves away from zero.
std::string FormatFixed(double number, std::size_t decimals) {
  const double scale = std::pow(10.0, static_cast<double>(decimals));
  const double scaled = std::round(number * scale);
  // Beyond this the number has no decimals that could be rounded.
  constexpr double kLargestRounded = 9e15;
  if (std::fabs(scaled) < kLargestRounded) number = scaled / scale;
  if (number == 0) number = 0;
  std::array<char, 400> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                    std::chars_format::fixed, static_cast<int>(decimals));
  return {buffer.data(), result.ptr};
}

// STR: right-aligned; gives up decimals to fit, and is asterisks when that does not help.
Value NumberText(Arguments arguments, const CallContext& context) {
  constexpr std::size_t kUsualWidth = 10;
  const std::size_t width = arguments.size() > 1 ? CharacterCount(arguments[1]) : kUsualWidth;
  if (width > kWidestNumber)
    throw StatementError(context.position,
                         L"STR makes at most " + std::to_wstring(kWidestNumber) + L" characters");
  std::size_t decimals =
      arguments.size() > 2 ? std::min(CharacterCount(arguments[2]), kMostDecimals) : 0;
  const double number = NumberOf(arguments[0]);
  std::string digits = FormatFixed(number, decimals);
  while (digits.size() > width && decimals > 0) digits = FormatFixed(number, --decimals);
  if (digits.size() > width) return std::wstring(width, L'*');
  std::wstring text(width - digits.size(), L' ');
  text.append(digits.begin(), digits.end());
  return text;
}

// VAL: the number that the text begins with, else 0.
Value TextNumber(Arguments arguments, const CallContext&) {
  std::string digits;
  for (const wchar_t character : TrimLeadingBlanks(Text(arguments[0]))) {
    if (character >= 0x80) break;
    digits.push_back(static_cast<char>(character));
  }
  const char* begin = digits.data();
  const char* end = begin + digits.size();
  if (begin != end && *begin == '+') ++begin;
  const bool numeric =
      begin != end && (*begin == '-' || *begin == '.' || (*begin >= '0' && *begin <= '9'));
  double number = 0;
  const bool converted = numeric && std::from_chars(begin, end, number).ec == std::errc();
  return converted && std::isfinite(number) ? number : 0.0;
}

// DTOS: "YYYYMMDD", blanks for the empty date.
Value DateDigits(Arguments arguments, const CallContext&) {
  const Date date = DateTimeOf(arguments[0]).date;
  if (date.empty()) return std::wstring(8, L' ');
  std::wstring text = ToText(date);
  std::erase(text, L'-');
  return text;
}

// CTOD: the empty date for text that is no date.
Value TextDate(Arguments arguments, const CallContext&) {
  const std::optional<Value> date = ParseDateText(Text(arguments[0]));
  return date ? DateTimeOf(*date).date : Date{};
}

// BINTOC: the whole number as 1, 2 or 4 characters whose codes sort as the numbers do.
Value SortableCharacters(Arguments arguments, const CallContext& context) {
  const std::size_t size = arguments.size() > 1 ? CharacterCount(arguments[1]) : 4;
  if (size != 1 && size != 2 && size != 4)
    throw StatementError(context.position, L"BINTOC makes 1, 2 or 4 characters");
  const double number = std::trunc(NumberOf(arguments[0]));
  const auto half = static_cast<double>(std::int64_t{1} << (size * 8 - 1));
  if (!(number >= -half && number < half))
    throw StatementError(context.position, L"the number is too large for " + std::to_wstring(size) +
                                               L" characters of BINTOC");
  const auto bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(number + half));
  std::wstring text;
  for (std::size_t shift = size * 8; shift > 0; shift -= 8)
    text.push_back(context.code_page.Decode(static_cast<unsigned char>(bits >> (shift - 8))));
  return text;
}

bool IsBlankText(std::wstring_view text) {
  return text.find_first_not_of(L" \t\r\n") == std::wstring_view::npos;
}

Value Empty(Arguments arguments, const CallContext&) {
  const Value& value = arguments[0];
  switch (TypeOf(value)) {
    case ValueType::kLogical:
      return !std::get<bool>(value);
    case ValueType::kNumber:
      return NumberOf(value) == 0;
    case ValueType::kText:
      return IsBlankText(Text(value));
    case ValueType::kDate:
    case ValueType::kDateTime:
      return DateTimeOf(value).empty();
    case ValueType::kBinary:
      return std::get<Bytes>(value).empty();
    case ValueType::kAny:
      break;
  }
  return false;
}

Value IsNullValue(Arguments arguments, const CallContext&) { return IsNull(arguments[0]); }

constexpr std::array kFunctions = {
    Function{L"ALLTRIM", "T", 1, 'T', false, AllTrim},
    Function{L"AT", "TTN", 2, 'N', false, At},
    Function{L"BINTOC", "NN", 1, 'T', false, SortableCharacters},
    Function{L"CHR", "N", 1, 'T', false, Character},
    Function{L"CTOD", "T", 1, 'D', false, TextDate},
    Function{L"DELETED", "", 0, 'L', true, nullptr, FunctionKind::kDeleted},
    Function{L"DTOS", "D", 1, 'T', false, DateDigits},
    Function{L"EMPTY", "A", 1, 'L', true, Empty},
    Function{L"IIF", "LAA", 3, 'A', true, nullptr, FunctionKind::kIif},
    Function{L"ISNULL", "A", 1, 'L', true, IsNullValue},
    Function{L"LEFT", "TN", 2, 'T', false, Left, FunctionKind::kLeft},
    Function{L"LEN", "T", 1, 'N', false, Length},
    Function{L"LOWER", "T", 1, 'T', false, Lower, FunctionKind::kLower},
    Function{L"LTRIM", "T", 1, 'T', false, LeftTrim},
    Function{L"NVL", "AA", 2, 'A', true, nullptr, FunctionKind::kNvl},
    Function{L"PADL", "TNT", 2, 'T', false, PadLeft},
    Function{L"PADR", "TNT", 2, 'T', false, PadRight},
    Function{L"RIGHT", "TN", 2, 'T', false, Right},
    Function{L"RTRIM", "T", 1, 'T', false, RightTrim},
    Function{L"STR", "NNN", 1, 'T', false, NumberText},
    Function{L"SUBSTR", "TNN", 2, 'T', false, Substring},
    Function{L"TRIM", "T", 1, 'T', false, RightTrim},
    Function{L"UPPER", "T", 1, 'T', false, Upper, FunctionKind::kUpper},
    Function{L"VAL", "T", 1, 'N', false, TextNumber},
};

constexpr auto kNames = [] {
  std::array<std::wstring_view, kFunctions.size()> names;
  std::transform(kFunctions.begin(), kFunctions.end(), names.begin(),
                 [](const Function& function) { return function.name; });
  return names;
}();

}  // namespace

ByteReplacement FoldBytes(FunctionKind kind, const CodePage& page) {
  ByteReplacement folded{};
  for (std::size_t byte = 0; byte < folded.size(); ++byte) {
    const wchar_t character = page.Decode(static_cast<unsigned char>(byte));
    const wchar_t other = FoldCharacter(
        character, page, kind == FunctionKind::kUpper ? ToUpperCharacter : ToLowerCharacter);
    folded.at(byte) = page.Encode(other).value_or(static_cast<unsigned char>(byte));
  }
  return folded;
}

std::size_t CharacterCount(const Value& value) {
  const double number = NumberOf(value);
  if (!(number >= 1)) return 0;
  return number >= static_cast<double>(kLongestText) + 1 ? kLongestText + 1
                                                         : static_cast<std::size_t>(number);
}

std::variant<NoMatch, AmbiguousMatch, const Function*> FindFunction(std::wstring_view name) {
  const auto found = FindAbbreviated(name, kNames);
  if (const auto* index = std::get_if<std::size_t>(&found)) return &kFunctions.at(*index);
  if (const auto* ambiguous = std::get_if<AmbiguousMatch>(&found)) return *ambiguous;
  return NoMatch{};
}

}  // namespace tdefault::tables::sql
