// Reads expressions. Subselects in them are read by the one who reads statements.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "tables/sql/functions.h"
#include "tables/sql/syntax.h"
#include "tables/sql/token_reader.h"

namespace tdefault::tables::sql {

class ExpressionParser : protected TokenReader {
 public:
  explicit ExpressionParser(std::wstring_view text) : TokenReader(text) {}
  virtual ~ExpressionParser() = default;
  ExpressionParser(const ExpressionParser&) = delete;
  ExpressionParser& operator=(const ExpressionParser&) = delete;

 protected:
  // Counts one level of nesting while it lives. Throws StatementError for one too many.
  class Level {
   public:
    explicit Level(ExpressionParser& parser);
    ~Level() { --parser_.depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    ExpressionParser& parser_;
  };

  // From SELECT to the closing parenthesis.
  virtual SelectPointer ParseSubselect() = 0;

  // Every way of nesting passes here.
  ExpressionPointer ParseExpression();
  ColumnName ParseColumnName();

 private:
  bool TakeConnective(bool conjunction);
  ExpressionPointer ParseConnective(bool conjunction);
  bool TakeNot();
  static bool IsInfixKeyword(const Token& token);
  [[nodiscard]] bool OperandIsMissing() const;
  ExpressionPointer ParseNot();
  ExpressionPointer ParsePredicate();
  [[nodiscard]] bool SetPredicateAhead() const;
  ExpressionPointer ParseSetPredicate(std::size_t position, ExpressionPointer left, bool negated);
  std::optional<wchar_t> ParseEscape();
  ExpressionPointer ParseIn(std::size_t position, ExpressionPointer left, bool negated);
  static std::optional<ComparisonOperator> ComparisonAt(TokenKind kind);
  ExpressionPointer ParseSum();
  ExpressionPointer ParseProduct();
  ExpressionPointer ParseSigned();
  ExpressionPointer ParsePrimary();
  ExpressionPointer ParseCall();
  static const Function* ResolveFunction(const Token& name);
  static void CheckArgumentCount(const Function& function, std::size_t count, std::size_t position);

  std::size_t depth_ = 0;
};

}  // namespace tdefault::tables::sql
