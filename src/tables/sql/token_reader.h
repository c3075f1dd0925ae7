// The tokens of one statement and the place that has been reached in them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tables/sql/lexer.h"

namespace tdefault::tables::sql {

class TokenReader {
 public:
  // Throws as Tokenize.
  explicit TokenReader(std::wstring_view text) : tokens_(Tokenize(text)) {}

  // The token `count` behind the current one; the end of the statement goes on for ever.
  [[nodiscard]] const Token& Ahead(std::size_t count) const {
    return tokens_[std::min(index_ + count, tokens_.size() - 1)];
  }
  [[nodiscard]] const Token& Current() const { return Ahead(0); }
  // The value of the current token, which is a literal; moved from it.
  [[nodiscard]] Value TakeLiteral();

  // Gives the current token and steps to the next one.
  const Token& Advance();

  [[nodiscard]] bool At(TokenKind kind) const { return Current().kind == kind; }
  [[nodiscard]] bool AtKeyword(std::wstring_view keyword) const {
    return IsKeyword(Current(), keyword);
  }
  // Step over the token if it is of this kind.
  bool Take(TokenKind kind);
  bool TakeKeyword(std::wstring_view keyword);

  // Throw StatementError "expected X, found Y" unless they find it.
  void Expect(TokenKind kind, std::wstring_view expected);
  std::wstring ExpectName(std::wstring_view expected);
  [[noreturn]] void ThrowExpected(std::wstring_view expected) const;

  // Whether the token is this keyword (upper case) in full or cut.
  [[nodiscard]] static bool IsKeyword(const Token& token, std::wstring_view keyword);
  // Whether the token can begin a value. Tells a keyword from a column of the same name.
  [[nodiscard]] static bool BeginsOperand(const Token& token);
  // Whether a SELECT begins at the current token.
  [[nodiscard]] bool BeginsSelect() const;

 private:
  std::vector<Token> tokens_;
  std::size_t index_ = 0;
};

}  // namespace tdefault::tables::sql
