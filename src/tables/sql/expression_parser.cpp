#include "tables/sql/expression_parser.h"

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "base/text.h"
#include "tables/sql/abbreviation.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// Deep enough for every statement that a person or program writes, and far from the end of the
// smallest stack the library runs on.
constexpr std::size_t kDeepestNesting = 100;

constexpr std::array<std::wstring_view, 5> kAggregates = {L"COUNT", L"SUM", L"AVG", L"MIN", L"MAX"};

template <typename Node>
ExpressionPointer MakeExpression(std::size_t position, Node node) {
  return std::make_unique<Expression>(Expression{position, std::move(node)});
}

}  // namespace

ExpressionParser::Level::Level(ExpressionParser& parser) : parser_(parser) {
  if (parser_.depth_ == kDeepestNesting)
    throw StatementError(
        parser_.Current().position,
        L"the statement is nested more than " + std::to_wstring(kDeepestNesting) + L" levels deep");
  ++parser_.depth_;
}

ColumnName ExpressionParser::ParseColumnName() {
  ColumnName column;
  column.name = ExpectName(L"a column");
  if (!Take(TokenKind::kDot)) return column;
  column.qualifier = std::move(column.name);
  column.name = ExpectName(L"a column behind the point");
  return column;
}

// Every way of nesting passes here.
ExpressionPointer ExpressionParser::ParseExpression() {
  const Level level(*this);
  return ParseConnective(false);
}

bool ExpressionParser::TakeConnective(bool conjunction) {
  return Take(conjunction ? TokenKind::kAnd : TokenKind::kOr) ||
         TakeKeyword(conjunction ? L"AND" : L"OR");
}

ExpressionPointer ExpressionParser::ParseConnective(bool conjunction) {
  ExpressionPointer first = conjunction ? ParseNot() : ParseConnective(true);
  if (!TakeConnective(conjunction)) return first;
  Connective connective{conjunction, {}};
  const std::size_t position = first->position;
  connective.operands.push_back(std::move(first));
  do connective.operands.push_back(conjunction ? ParseNot() : ParseConnective(true));
  while (TakeConnective(conjunction));
  return MakeExpression(position, std::move(connective));
}

bool ExpressionParser::TakeNot() {
  if (Take(TokenKind::kNot)) return true;
  return BeginsOperand(Ahead(1)) && !IsInfixKeyword(Ahead(1)) && TakeKeyword(L"NOT");
}

// Words that stand between operands, so that what is before them is a column.
bool ExpressionParser::IsInfixKeyword(const Token& token) {
  return IsKeyword(token, L"IS") || IsKeyword(token, L"IN") || IsKeyword(token, L"AND") ||
         IsKeyword(token, L"OR");
}

// NOT NOT is carried out as written up to two, which stand for any longer row of them.
ExpressionPointer ExpressionParser::ParseNot() {
  const std::size_t position = Current().position;
  std::size_t count = 0;
  while (TakeNot()) ++count;
  ExpressionPointer expression = ParsePredicate();
  for (std::size_t i = 0; i < (count == 0 ? 0 : 2 - count % 2); ++i)
    expression = MakeExpression(position, Not{std::move(expression)});
  return expression;
}

ExpressionPointer ExpressionParser::ParsePredicate() {
  ExpressionPointer left = ParseSum();
  const std::size_t position = Current().position;
  if (const std::optional<ComparisonOperator> operation = ComparisonAt(Current().kind)) {
    Advance();
    ExpressionPointer right = ParseSum();
    return MakeExpression(position, Comparison{*operation, std::move(left), std::move(right)});
  }
  if (TakeKeyword(L"IS")) {
    const bool negated = TakeKeyword(L"NOT");
    const bool dotted = At(TokenKind::kLiteral) && IsNull(Current().literal);
    if (!dotted && !AtKeyword(L"NULL")) ThrowExpected(negated ? L"NULL" : L"NULL or NOT NULL");
    Advance();
    return MakeExpression(position, NullTest{std::move(left), negated});
  }
  const bool negated = (AtKeyword(L"NOT") || At(TokenKind::kNot)) && SetPredicateAhead();
  if (negated) Advance();
  return ParseSetPredicate(position, std::move(left), negated);
}

bool ExpressionParser::SetPredicateAhead() const {
  return IsKeyword(Ahead(1), L"IN") || IsKeyword(Ahead(1), L"BETWEEN") ||
         IsKeyword(Ahead(1), L"LIKE");
}

ExpressionPointer ExpressionParser::ParseSetPredicate(std::size_t position, ExpressionPointer left,
                                                      bool negated) {
  if (TakeKeyword(L"BETWEEN")) {
    ExpressionPointer low = ParseSum();
    if (!TakeConnective(true)) ThrowExpected(L"AND and the upper bound of BETWEEN");
    ExpressionPointer high = ParseSum();
    return MakeExpression(position,
                          Between{std::move(left), std::move(low), std::move(high), negated});
  }
  if (TakeKeyword(L"LIKE")) {
    ExpressionPointer pattern = ParseSum();
    const std::optional<wchar_t> escape = ParseEscape();
    return MakeExpression(position, Like{std::move(left), std::move(pattern), escape, negated});
  }
  if (TakeKeyword(L"IN")) return ParseIn(position, std::move(left), negated);
  return left;
}

std::optional<wchar_t> ExpressionParser::ParseEscape() {
  if (!TakeKeyword(L"ESCAPE")) return std::nullopt;
  const auto* text = std::get_if<std::wstring>(&Current().literal);
  if (text == nullptr || text->size() != 1) ThrowExpected(L"one character in quotation marks");
  const wchar_t escape = text->front();
  Advance();
  return escape;
}

ExpressionPointer ExpressionParser::ParseIn(std::size_t position, ExpressionPointer left,
                                            bool negated) {
  Expect(TokenKind::kOpen, L"\"(\" behind IN");
  if (BeginsSelect()) {
    InSelect in{std::move(left), ParseSubselect(), negated};
    return MakeExpression(position, std::move(in));
  }
  InList in{std::move(left), {}, negated};
  do in.values.push_back(ParseExpression());
  while (Take(TokenKind::kComma));
  Expect(TokenKind::kClose, L"\",\" or \")\"");
  return MakeExpression(position, std::move(in));
}

std::optional<ComparisonOperator> ExpressionParser::ComparisonAt(TokenKind kind) {
  switch (kind) {
    case TokenKind::kEqual:
      return ComparisonOperator::kEqual;
    case TokenKind::kExactlyEqual:
      return ComparisonOperator::kExactlyEqual;
    case TokenKind::kNotEqual:
      return ComparisonOperator::kNotEqual;
    case TokenKind::kLess:
      return ComparisonOperator::kLess;
    case TokenKind::kLessOrEqual:
      return ComparisonOperator::kLessOrEqual;
    case TokenKind::kGreater:
      return ComparisonOperator::kGreater;
    case TokenKind::kGreaterOrEqual:
      return ComparisonOperator::kGreaterOrEqual;
    default:
      return std::nullopt;
  }
}

ExpressionPointer ExpressionParser::ParseSum() {
  ExpressionPointer first = ParseProduct();
  if (!At(TokenKind::kPlus) && !At(TokenKind::kMinus)) return first;
  Arithmetic sum{std::move(first), {}};
  while (At(TokenKind::kPlus) || At(TokenKind::kMinus)) {
    const auto operation =
        At(TokenKind::kPlus) ? ArithmeticOperator::kAdd : ArithmeticOperator::kSubtract;
    const std::size_t position = Advance().position;
    sum.steps.push_back({operation, position, ParseProduct()});
  }
  const std::size_t position = sum.first->position;
  return MakeExpression(position, std::move(sum));
}

ExpressionPointer ExpressionParser::ParseProduct() {
  ExpressionPointer first = ParseSigned();
  if (!At(TokenKind::kStar) && !At(TokenKind::kSlash)) return first;
  Arithmetic product{std::move(first), {}};
  while (At(TokenKind::kStar) || At(TokenKind::kSlash)) {
    const auto operation =
        At(TokenKind::kStar) ? ArithmeticOperator::kMultiply : ArithmeticOperator::kDivide;
    const std::size_t position = Advance().position;
    product.steps.push_back({operation, position, ParseSigned()});
  }
  const std::size_t position = product.first->position;
  return MakeExpression(position, std::move(product));
}

// A row of signs is one sign, or two where they cancel out, so that only a number can follow.
ExpressionPointer ExpressionParser::ParseSigned() {
  const std::size_t position = Current().position;
  bool any = false;
  bool negative = false;
  for (; At(TokenKind::kMinus) || At(TokenKind::kPlus); Advance()) {
    any = true;
    negative = negative != At(TokenKind::kMinus);
  }
  ExpressionPointer expression = ParsePrimary();
  if (!any) return expression;
  auto* literal = std::get_if<Literal>(&expression->node);
  if (double* number = literal == nullptr ? nullptr : std::get_if<double>(&literal->value)) {
    if (negative) *number = -*number;
    return expression;
  }
  expression = MakeExpression(position, Negation{std::move(expression)});
  if (!negative) expression = MakeExpression(position, Negation{std::move(expression)});
  return expression;
}

// Whether the word where an operand has to stand is what comes behind one. ORDER BY is a column and
// its alias inside of a list only.
bool ExpressionParser::OperandIsMissing() const {
  if (IsKeyword(Current(), L"ORDER") && IsKeyword(Ahead(1), L"BY"))
    return Ahead(2).kind != TokenKind::kComma && !IsKeyword(Ahead(2), L"FROM");
  return IsInfixKeyword(Current()) && BeginsOperand(Ahead(1)) && !IsInfixKeyword(Ahead(1));
}

ExpressionPointer ExpressionParser::ParsePrimary() {
  const std::size_t position = Current().position;
  if (At(TokenKind::kLiteral)) return MakeExpression(position, Literal{TakeLiteral()});
  if (Take(TokenKind::kOpen)) {
    if (BeginsSelect()) return MakeExpression(position, ScalarSelect{ParseSubselect()});
    ExpressionPointer inner = ParseExpression();
    Expect(TokenKind::kClose, L"an operator or \")\"");
    return inner;
  }
  if (!At(TokenKind::kWord) || OperandIsMissing()) ThrowExpected(L"a column or a value");
  if (Ahead(1).kind == TokenKind::kOpen) return ParseCall();
  if (EqualIgnoringCase(Current().text, L"NULL") && Ahead(1).kind != TokenKind::kDot) {
    Advance();
    return MakeExpression(position, Literal{Null{}});
  }
  return MakeExpression(position, ParseColumnName());
}

ExpressionPointer ExpressionParser::ParseCall() {
  const Token& name = Advance();
  if (IsKeyword(name, L"EXISTS")) {
    Advance();
    if (!BeginsSelect()) ThrowExpected(L"SELECT behind EXISTS");
    return MakeExpression(name.position, Exists{ParseSubselect()});
  }
  FunctionCall call{ResolveFunction(name), {}};
  Advance();
  if (!At(TokenKind::kClose)) {
    do call.arguments.push_back(ParseExpression());
    while (Take(TokenKind::kComma));
  }
  Expect(TokenKind::kClose, L"an operator, \",\" or \")\"");
  CheckArgumentCount(*call.function, call.arguments.size(), name.position);
  return MakeExpression(name.position, std::move(call));
}

const Function* ExpressionParser::ResolveFunction(const Token& name) {
  const auto found = FindFunction(name.text);
  if (const auto* function = std::get_if<const Function*>(&found)) return *function;
  if (const auto* ambiguous = std::get_if<AmbiguousMatch>(&found)) {
    std::wstring text = Quoted(name.text) + L" is short for both ";
    text += ambiguous->first;
    text += L" and ";
    text += ambiguous->second;
    throw StatementError(name.position, text);
  }
  for (const std::wstring_view aggregate : kAggregates) {
    if (!Abbreviates(name.text, aggregate)) continue;
    std::wstring text(aggregate);
    text += L" and the other functions over several rows are not supported";
    throw StatementError(name.position, text);
  }
  throw StatementError(name.position, L"there is no function " + Quoted(name.text));
}

void ExpressionParser::CheckArgumentCount(const Function& function, std::size_t count,
                                          std::size_t position) {
  const std::size_t most = function.arguments.size();
  if (count >= function.fewest_arguments && count <= most) return;
  std::wstring text(function.name);
  text += L" takes " + std::to_wstring(function.fewest_arguments);
  if (most != function.fewest_arguments) text += L" to " + std::to_wstring(most);
  text += most == 1 ? L" argument, not " : L" arguments, not ";
  text += std::to_wstring(count);
  throw StatementError(position, text);
}

}  // namespace tdefault::tables::sql
