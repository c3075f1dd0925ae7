// Cuts a statement into words, literals and operators. Which words are keywords is decided by the
// parser, because keywords are not reserved.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "base/value.h"

namespace tdefault::tables::sql {

enum class TokenKind {
  kEnd,
  kWord,
  kLiteral,
  kNot,  // NOT as ".NOT." or "!"
  kAnd,  // ".AND."
  kOr,   // ".OR."
  kComma,
  kDot,
  kOpen,
  kClose,
  kStar,
  kPlus,
  kMinus,
  kSlash,
  kEqual,
  kExactlyEqual,
  kNotEqual,
  kLess,
  kLessOrEqual,
  kGreater,
  kGreaterOrEqual,
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::size_t position = 0;  // of its first character, from 0
  std::wstring_view text;    // as written
  Value literal;             // of a kLiteral
};

// The tokens of the statement, the last one a kEnd behind the text. They refer to `statement`.
// Throws StatementError for a literal without its end, a malformed number or date and a character
// that no statement contains.
[[nodiscard]] std::vector<Token> Tokenize(std::wstring_view statement);

}  // namespace tdefault::tables::sql
