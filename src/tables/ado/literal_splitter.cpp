#include "tables/ado/literal_splitter.h"

#include <algorithm>

namespace tdefault::tables::ado {
namespace {

constexpr std::size_t kNone = std::wstring_view::npos;

bool IsWhite(wchar_t character) {
  return character == L' ' || character == L'\t' || character == L'\r' || character == L'\n';
}

// Where the text that begins behind the mark at `open` ends: the position of its closing mark.
std::size_t ClosingMark(std::wstring_view statement, std::size_t open) {
  if (statement[open] == L'[') return statement.find(L']', open);
  const wchar_t mark = statement[open];
  for (std::size_t at = open + 1;; at += 2) {
    at = statement.find(mark, at);
    if (at == kNone || at + 1 == statement.size() || statement[at + 1] != mark) return at;
  }
}

// How much of `text`, which is longer than a literal may be, its first part takes.
std::size_t FirstPart(std::wstring_view text, wchar_t mark) {
  // Marks come in pairs, so an odd number of them at the end of the part has cut a pair.
  const std::wstring_view part = text.substr(0, kLongestLiteral);
  const std::size_t other = mark == L'[' ? part.size() - 1 : part.find_last_not_of(mark);
  const std::size_t marks = other == kNone ? part.size() : part.size() - 1 - other;
  return part.size() - marks % 2;
}

// What stands in front of a literal binds tighter than the sum would: C - C takes its right side
// before the next +.
bool BindsTighter(std::wstring_view before) {
  while (!before.empty() && IsWhite(before.back())) before.remove_suffix(1);
  return !before.empty() && before.back() == L'-';
}

void AppendSum(std::wstring& result, std::wstring_view text, wchar_t open, wchar_t close) {
  const bool in_parentheses = BindsTighter(result);
  if (in_parentheses) result += L'(';
  for (;;) {
    const std::size_t length = text.size() > kLongestLiteral ? FirstPart(text, open) : text.size();
    result += open;
    result += text.substr(0, length);
    result += close;
    text.remove_prefix(length);
    if (text.empty()) break;
    result += L" + ";
  }
  if (in_parentheses) result += L')';
}

}  // namespace

std::wstring SplitLongLiterals(std::wstring_view statement) {
  std::wstring result;
  result.reserve(statement.size() + statement.size() / 32);
  for (std::size_t position = 0; position < statement.size();) {
    const std::size_t open = std::min(statement.find_first_of(L"'\"[", position), statement.size());
    result += statement.substr(position, open - position);
    if (open == statement.size()) break;
    const std::size_t close = ClosingMark(statement, open);
    if (close == kNone) {
      result += statement.substr(open);
      break;
    }
    const std::wstring_view text = statement.substr(open + 1, close - open - 1);
    if (text.size() > kLongestLiteral) {
      AppendSum(result, text, statement[open], statement[close]);
    } else {
      result += statement.substr(open, close + 1 - open);
    }
    position = close + 1;
  }
  return result;
}

}  // namespace tdefault::tables::ado
