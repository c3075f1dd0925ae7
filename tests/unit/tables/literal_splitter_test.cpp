// Long literals of statements for the provider: written in parts that mean the same.
#include "tables/ado/literal_splitter.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tables/sql/lexer.h"

using namespace tdefault;
using namespace tdefault::tables;
using ado::SplitLongLiterals;

namespace {

std::wstring Times(std::size_t count, const std::wstring& text) {
  std::wstring result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

struct Reading {
  std::vector<std::wstring> tokens;  // literals by what they mean, sums of literals as one
  std::size_t longest_literal = 0;   // as written, without its marks
};

// The statement as the dialect reads it, where a sum of literals counts as one literal.
Reading Read(const std::wstring& statement) {
  Reading reading;
  bool continues = false;
  for (const sql::Token& token : sql::Tokenize(statement)) {
    const auto* text = std::get_if<std::wstring>(&token.literal);
    const bool is_text = token.kind == sql::TokenKind::kLiteral && text != nullptr;
    if (is_text) reading.longest_literal = std::max(reading.longest_literal, token.text.size() - 2);
    if (is_text && continues) {
      reading.tokens.pop_back();
      reading.tokens.back() += *text;
    } else {
      reading.tokens.push_back(is_text ? *text : std::wstring(token.text));
    }
    continues = token.kind == sql::TokenKind::kPlus && reading.tokens.size() > 1;
  }
  return reading;
}

}  // namespace

TEST_CASE("a statement without a long literal stays the same byte for byte") {
  const std::wstring full = Times(255, L"x");
  for (const std::wstring& statement :
       {std::wstring(), std::wstring(L"SELECT * FROM DEFAULTS"),
        L"INSERT INTO T (A, B) VALUES ('" + full + L"', \"" + full + L"\", [" + full + L"])",
        std::wstring(L"UPDATE T SET A = 'it''s' + CHR(13) + CHR(10) + ''  WHERE  B=\t''"),
        Times(1000, L" ") + L"SELECT {^2001-03-07} FROM T",
        L"SELECT " + Times(300, L"x") + L" FROM T WHERE A = 'un''ended" + full}) {
    CHECK(SplitLongLiterals(statement) == statement);
  }
}

TEST_CASE("a literal of 256 characters becomes two parts, one of 510 two, one of 511 three") {
  const std::wstring full = Times(255, L"a");
  CHECK(SplitLongLiterals(L"SELECT '" + full + L"b' FROM T") ==
        L"SELECT '" + full + L"' + 'b' FROM T");
  CHECK(SplitLongLiterals(L"'" + full + full + L"'") == L"'" + full + L"' + '" + full + L"'");
  CHECK(SplitLongLiterals(L"'" + full + full + L"c'") ==
        L"'" + full + L"' + '" + full + L"' + 'c'");
}

TEST_CASE("text in quotation marks and in brackets is split with its own marks") {
  const std::wstring full = Times(255, L"a");
  CHECK(SplitLongLiterals(L"INSERT INTO T VALUES (\"" + full + L"it's\", [" + full + L"\"'b])") ==
        L"INSERT INTO T VALUES (\"" + full + L"\" + \"it's\", [" + full + L"] + [\"'b])");
}

TEST_CASE("no part ends between doubled marks") {
  for (const std::wstring mark : {L"'", L"\""}) {
    const std::wstring before = Times(254, L"a");
    // The pair would stand across the end of the first part; one character on it does not.
    CHECK(SplitLongLiterals(mark + before + mark + mark + L"b" + mark) ==
          mark + before + mark + L" + " + mark + mark + mark + L"b" + mark);
    CHECK(SplitLongLiterals(mark + Times(253, L"a") + mark + mark + L"b" + mark) ==
          mark + Times(253, L"a") + mark + mark + mark + L" + " + mark + L"b" + mark);
    // Nothing but doubled marks: 254 characters fit, which is 127 pairs.
    CHECK(SplitLongLiterals(mark + Times(128, mark + mark) + mark) ==
          mark + Times(127, mark + mark) + mark + L" + " + mark + mark + mark + mark);
  }
}

TEST_CASE("literals are split in INSERT, UPDATE and WHERE, and everything between them stays") {
  const std::wstring full = Times(255, L"a");
  CHECK(SplitLongLiterals(L"UPDATE T SET A = '" + full + L"x', B=.T. WHERE C  = '" + full +
                          L"y' AND D <> 'z'") == L"UPDATE T SET A = '" + full +
                                                     L"' + 'x', B=.T. WHERE C  = '" + full +
                                                     L"' + 'y' AND D <> 'z'");
}

TEST_CASE("a split literal behind a minus is put in parentheses, because the minus binds first") {
  const std::wstring full = Times(255, L"a");
  CHECK(SplitLongLiterals(L"SELECT A -  '" + full + L"b' FROM T") ==
        L"SELECT A -  ('" + full + L"' + 'b') FROM T");
}

TEST_CASE("whatever the lengths and marks, the split statement means the same in short literals") {
  std::uint32_t random = 12345;
  const auto next = [&random](std::uint32_t below) {
    random = random * 1664525U + 1013904223U;
    return (random >> 8) % below;
  };
  for (int round = 0; round < 300; ++round) {
    std::wstring statement = L"INSERT INTO T VALUES (";
    for (std::uint32_t count = 1 + next(3); count > 0; --count) {
      const wchar_t mark = L"'\"["[next(3)];
      statement += mark;
      for (std::uint32_t length = next(900); length > 0; --length) {
        const wchar_t character = L"a'\" \n;"[next(6)];
        statement += character;
        if (character == mark) statement += character;
      }
      statement += mark == L'[' ? L']' : mark;
      statement += count > 1 ? L"," : L")";
    }
    const std::wstring split = SplitLongLiterals(statement);
    const Reading before = Read(statement);
    const Reading after = Read(split);
    CHECK(after.tokens == before.tokens);
    CHECK(after.longest_literal <= ado::kLongestLiteral);
    if (before.longest_literal <= ado::kLongestLiteral) CHECK(split == statement);
    CHECK(SplitLongLiterals(split) == split);
  }
}
