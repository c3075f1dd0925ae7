#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tdefault {
namespace {

// A run of letters whose upper-case form is `offset` away. With step 2 upper and lower case
// alternate, and only every second character from `first` on is lower case.
struct LowerCaseRun {
  wchar_t first;
  wchar_t last;
  std::int32_t offset;
  std::int32_t step;
};

constexpr std::array kLowerCaseRuns = {
    LowerCaseRun{0x0061, 0x007A, -32, 1}, LowerCaseRun{0x00E0, 0x00F6, -32, 1},
    LowerCaseRun{0x00F8, 0x00FE, -32, 1}, LowerCaseRun{0x00FF, 0x00FF, 121, 1},
    LowerCaseRun{0x0101, 0x012F, -1, 2},  LowerCaseRun{0x0133, 0x0137, -1, 2},
    LowerCaseRun{0x013A, 0x0148, -1, 2},  LowerCaseRun{0x014B, 0x0177, -1, 2},
    LowerCaseRun{0x017A, 0x017E, -1, 2},  LowerCaseRun{0x03AC, 0x03AC, -38, 1},
    LowerCaseRun{0x03AD, 0x03AF, -37, 1}, LowerCaseRun{0x03B1, 0x03C1, -32, 1},
    LowerCaseRun{0x03C3, 0x03CB, -32, 1}, LowerCaseRun{0x03CC, 0x03CC, -64, 1},
    LowerCaseRun{0x03CD, 0x03CE, -63, 1}, LowerCaseRun{0x0430, 0x044F, -32, 1},
    LowerCaseRun{0x0450, 0x045F, -80, 1}, LowerCaseRun{0x0461, 0x0481, -1, 2},
    LowerCaseRun{0x048B, 0x04BF, -1, 2},  LowerCaseRun{0x0192, 0x0192, -1, 1},
};

constexpr bool IsLowerOf(const LowerCaseRun& run, std::int32_t code) {
  return code >= run.first && code <= run.last && (code - run.first) % run.step == 0;
}

void AppendUtf8(std::string& target, std::uint32_t code) {
  const auto byte = [&target](std::uint32_t value) {
    target.push_back(static_cast<char>(static_cast<unsigned char>(value)));
  };
  if (code < 0x80) {
    byte(code);
  } else if (code < 0x800) {
    byte(0xC0U | (code >> 6U));
    byte(0x80U | (code & 0x3FU));
  } else if (code < 0x10000) {
    byte(0xE0U | (code >> 12U));
    byte(0x80U | ((code >> 6U) & 0x3FU));
    byte(0x80U | (code & 0x3FU));
  } else {
    byte(0xF0U | (code >> 18U));
    byte(0x80U | ((code >> 12U) & 0x3FU));
    byte(0x80U | ((code >> 6U) & 0x3FU));
    byte(0x80U | (code & 0x3FU));
  }
}

void AppendWide(std::wstring& target, std::uint32_t code) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (code >= 0x10000) {
      target.push_back(static_cast<wchar_t>(0xD800U + ((code - 0x10000U) >> 10U)));
      target.push_back(static_cast<wchar_t>(0xDC00U + ((code - 0x10000U) & 0x3FFU)));
      return;
    }
  }
  target.push_back(static_cast<wchar_t>(code));
}

constexpr std::uint32_t kReplacement = 0xFFFD;

// Decodes one character at `position` and steps over it; over one byte only when it is malformed.
std::uint32_t NextUtf8(std::string_view text, std::size_t& position) {
  const auto at = [text](std::size_t index) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[index]));
  };
  const std::uint32_t lead = at(position++);
  if (lead < 0x80) return lead;
  const std::size_t following = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || position + following > text.size()) return kReplacement;
  std::uint32_t code = lead & (0x3FU >> following);
  for (std::size_t i = 0; i < following; ++i) {
    const std::uint32_t next = at(position + i);
    if ((next & 0xC0U) != 0x80U) return kReplacement;
    code = (code << 6U) | (next & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kSmallest[following] || code > 0x10FFFF || surrogate) return kReplacement;
  position += following;
  return code;
}

}  // namespace

wchar_t ToUpper(wchar_t character) noexcept {
  const auto code = static_cast<std::int32_t>(character);
  if (code < 0x80) return code >= 'a' && code <= 'z' ? static_cast<wchar_t>(code - 32) : character;
  for (const LowerCaseRun& run : kLowerCaseRuns)
    if (IsLowerOf(run, code)) return static_cast<wchar_t>(code + run.offset);
  return character;
}

wchar_t ToLower(wchar_t character) noexcept {
  const auto code = static_cast<std::int32_t>(character);
  if (code < 0x80) return code >= 'A' && code <= 'Z' ? static_cast<wchar_t>(code + 32) : character;
  for (const LowerCaseRun& run : kLowerCaseRuns)
    if (IsLowerOf(run, code - run.offset)) return static_cast<wchar_t>(code - run.offset);
  return character;
}

std::wstring ToUpper(std::wstring_view text) {
  std::wstring result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](wchar_t character) { return ToUpper(character); });
  return result;
}

std::wstring ToLower(std::wstring_view text) {
  std::wstring result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](wchar_t character) { return ToLower(character); });
  return result;
}

int CompareIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
  const std::size_t common = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common; ++i) {
    const wchar_t l = ToUpper(left[i]);
    const wchar_t r = ToUpper(right[i]);
    if (l != r) return l < r ? -1 : 1;
  }
  if (left.size() == right.size()) return 0;
  return left.size() < right.size() ? -1 : 1;
}

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
  return left.size() == right.size() && CompareIgnoringCase(left, right) == 0;
}

std::wstring_view TrimTrailingBlanks(std::wstring_view text) noexcept {
  const std::size_t last = text.find_last_not_of(L' ');
  return last == std::wstring_view::npos ? std::wstring_view() : text.substr(0, last + 1);
}

std::wstring_view TrimBlanks(std::wstring_view text) noexcept {
  const std::size_t first = text.find_first_not_of(L' ');
  return first == std::wstring_view::npos ? std::wstring_view()
                                          : TrimTrailingBlanks(text.substr(first));
}

std::vector<std::wstring> Split(std::wstring_view text, std::wstring_view separator) {
  std::vector<std::wstring> pieces;
  std::size_t start = 0;
  for (std::size_t found = text.find(separator); found != std::wstring_view::npos;
       found = text.find(separator, start)) {
    pieces.emplace_back(text.substr(start, found - start));
    start = found + separator.size();
  }
  pieces.emplace_back(text.substr(start));
  return pieces;
}

std::wstring ReplaceIgnoringCase(std::wstring_view text, std::wstring_view search,
                                 std::wstring_view replacement) {
  std::wstring result;
  if (search.empty()) return std::wstring(text);
  std::size_t position = 0;
  while (position < text.size()) {
    if (EqualIgnoringCase(text.substr(position, search.size()), search)) {
      result += replacement;
      position += search.size();
    } else {
      result += text[position++];
    }
  }
  return result;
}

std::string ToUtf8(std::wstring_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto code = static_cast<std::uint32_t>(text[i]);
    if constexpr (sizeof(wchar_t) == 2) code &= 0xFFFFU;
    if (code >= 0xD800 && code <= 0xDBFF && i + 1 < text.size()) {
      const auto low = static_cast<std::uint32_t>(text[i + 1]) & 0xFFFFU;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        code = 0x10000U + ((code - 0xD800U) << 10U) + (low - 0xDC00U);
        ++i;
      }
    }
    const bool malformed = (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF;
    AppendUtf8(result, malformed ? kReplacement : code);
  }
  return result;
}

std::wstring FromUtf8(std::string_view text) {
  std::wstring result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();)
    AppendWide(result, NextUtf8(text, position));
  return result;
}

}  // namespace tdefault
