#include "tables/sql/token_reader.h"

#include <utility>

#include "tables/sql/abbreviation.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {

Value TokenReader::TakeLiteral() {
  Value literal = std::move(tokens_[index_].literal);
  Advance();
  return literal;
}

const Token& TokenReader::Advance() {
  const Token& token = Current();
  if (index_ + 1 < tokens_.size()) ++index_;
  return token;
}

bool TokenReader::Take(TokenKind kind) {
  if (!At(kind)) return false;
  Advance();
  return true;
}

bool TokenReader::TakeKeyword(std::wstring_view keyword) {
  if (!AtKeyword(keyword)) return false;
  Advance();
  return true;
}

void TokenReader::Expect(TokenKind kind, std::wstring_view expected) {
  if (!Take(kind)) ThrowExpected(expected);
}

std::wstring TokenReader::ExpectName(std::wstring_view expected) {
  if (!At(TokenKind::kWord)) ThrowExpected(expected);
  return std::wstring(Advance().text);
}

void TokenReader::ThrowExpected(std::wstring_view expected) const {
  std::wstring text = L"expected ";
  text += expected;
  text +=
      At(TokenKind::kEnd) ? L", but the statement ends here" : L", found " + Quoted(Current().text);
  throw StatementError(Current().position, text);
}

bool TokenReader::IsKeyword(const Token& token, std::wstring_view keyword) {
  return token.kind == TokenKind::kWord && Abbreviates(token.text, keyword);
}

bool TokenReader::BeginsOperand(const Token& token) {
  switch (token.kind) {
    case TokenKind::kWord:
    case TokenKind::kLiteral:
    case TokenKind::kNot:
    case TokenKind::kOpen:
    case TokenKind::kMinus:
    case TokenKind::kPlus:
      return true;
    default:
      return false;
  }
}

bool TokenReader::BeginsSelect() const {
  const Token& next = Ahead(1);
  return AtKeyword(L"SELECT") && (BeginsOperand(next) || next.kind == TokenKind::kStar);
}

}  // namespace tdefault::tables::sql
