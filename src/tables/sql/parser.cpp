#include "tables/sql/parser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tables/sql/abbreviation.h"
#include "tables/sql/functions.h"
#include "tables/sql/lexer.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// Deep enough for every statement that a person or program writes, and far from the end of the
// smallest stack the library runs on.
constexpr std::size_t kDeepestNesting = 100;

constexpr std::array<std::wstring_view, 5> kAggregates = {L"COUNT", L"SUM", L"AVG", L"MIN", L"MAX"};

// The words that begin a part of a SELECT which the dialect does not have.
constexpr std::array<std::wstring_view, 11> kRefusedClauses = {
    L"GROUP", L"HAVING", L"UNION", L"INTO", L"TO",    L"JOIN",
    L"INNER", L"LEFT",   L"RIGHT", L"FULL", L"CROSS",
};

template <typename Node>
ExpressionPointer MakeExpression(std::size_t position, Node node) {
  return std::make_unique<Expression>(Expression{position, std::move(node)});
}

class Parser {
 public:
  explicit Parser(std::wstring_view text) : tokens_(Tokenize(text)) {}

  Statement Run() {
    if (Current().kind == TokenKind::kEnd)
      throw StatementError(0, L"the statement is empty; expected SELECT");
    for (const std::wstring_view refused : {L"INSERT", L"UPDATE", L"DELETE"}) {
      if (!AtKeyword(refused)) continue;
      std::wstring text(refused);
      text += L" statements are not supported yet; this version runs SELECT statements only";
      throw StatementError(Current().position, text);
    }
    if (!AtKeyword(L"SELECT")) ThrowExpected(L"SELECT");
    Statement statement = ParseSelect();
    if (Current().kind != TokenKind::kEnd) ThrowExpected(Continuations());
    return statement;
  }

 private:
  // Counts one level of nesting while it lives.
  class Level {
   public:
    explicit Level(Parser& parser) : parser_(parser) {
      if (parser_.depth_ == kDeepestNesting)
        throw StatementError(parser_.Current().position, L"the statement is nested more than " +
                                                             std::to_wstring(kDeepestNesting) +
                                                             L" levels deep");
      ++parser_.depth_;
    }
    ~Level() { --parser_.depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Parser& parser_;
  };

  [[nodiscard]] const Token& Ahead(std::size_t count) const {
    return tokens_[std::min(index_ + count, tokens_.size() - 1)];
  }
  [[nodiscard]] const Token& Current() const { return Ahead(0); }

  const Token& Advance() {
    const Token& token = Current();
    if (index_ + 1 < tokens_.size()) ++index_;
    return token;
  }

  [[nodiscard]] bool At(TokenKind kind) const { return Current().kind == kind; }

  bool Take(TokenKind kind) {
    if (!At(kind)) return false;
    Advance();
    return true;
  }

  static bool IsKeyword(const Token& token, std::wstring_view keyword) {
    return token.kind == TokenKind::kWord && Abbreviates(token.text, keyword);
  }
  [[nodiscard]] bool AtKeyword(std::wstring_view keyword) const {
    return IsKeyword(Current(), keyword);
  }

  bool TakeKeyword(std::wstring_view keyword) {
    if (!AtKeyword(keyword)) return false;
    Advance();
    return true;
  }

  [[noreturn]] void ThrowExpected(std::wstring_view expected) const {
    std::wstring text = L"expected ";
    text += expected;
    text += At(TokenKind::kEnd) ? L", but the statement ends here"
                                : L", found " + Quoted(Current().text);
    throw StatementError(Current().position, text);
  }

  void Expect(TokenKind kind, std::wstring_view expected) {
    if (!Take(kind)) ThrowExpected(expected);
  }

  std::wstring ExpectName(std::wstring_view expected) {
    if (!At(TokenKind::kWord)) ThrowExpected(expected);
    return std::wstring(Advance().text);
  }

  // What may follow the part that was read last.
  [[nodiscard]] std::wstring_view Continuations() const {
    if (in_order_) return L"\",\" or the end of the statement";
    if (in_where_) return L"an operator, AND, OR, ORDER BY or the end of the statement";
    return L"WHERE, ORDER BY or the end of the statement";
  }

  // Whether the token can begin a value. Tells a keyword from a column of the same name.
  static bool BeginsOperand(const Token& token) {
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

  [[nodiscard]] bool BeginsSelect(std::size_t ahead) const {
    const Token& next = Ahead(ahead + 1);
    return IsKeyword(Ahead(ahead), L"SELECT") &&
           (BeginsOperand(next) || next.kind == TokenKind::kStar);
  }

  SelectStatement ParseSelect() {
    SelectStatement select{};
    select.position = Advance().position;
    ParseReduction(select);
    do select.items.push_back(ParseSelectItem());
    while (Take(TokenKind::kComma));
    if (!TakeKeyword(L"FROM")) ThrowExpected(L"\",\" or FROM");
    select.table = ParseTableName();
    in_where_ = TakeKeyword(L"WHERE");
    in_order_ = false;
    if (in_where_) select.where = ParseExpression();
    if (AtKeyword(L"ORDER")) ParseOrder(select);
    RefuseClauses();
    return select;
  }

  // DISTINCT and ALL are columns when no column follows them.
  void ParseReduction(SelectStatement& select) {
    if (IsKeyword(Current(), L"TOP") && Ahead(1).kind == TokenKind::kLiteral)
      throw StatementError(Current().position, L"TOP is not supported");
    const Token& next = Ahead(1);
    const bool column_follows =
        (BeginsOperand(next) && !IsKeyword(next, L"FROM") && !IsKeyword(next, L"AS")) ||
        next.kind == TokenKind::kStar;
    if (!column_follows) return;
    select.distinct = TakeKeyword(L"DISTINCT");
    if (!select.distinct) TakeKeyword(L"ALL");
  }

  SelectItem ParseSelectItem() {
    SelectItem item{};
    item.position = Current().position;
    if (Take(TokenKind::kStar)) return item;
    if (At(TokenKind::kWord) && Ahead(1).kind == TokenKind::kDot &&
        Ahead(2).kind == TokenKind::kStar) {
      item.star_qualifier = ExpectName(L"a table");
      Advance();
      Advance();
      return item;
    }
    const bool from = AtKeyword(L"FROM") && Ahead(1).kind == TokenKind::kWord;
    if (from && !IsKeyword(Ahead(1), L"FROM") && !IsKeyword(Ahead(1), L"AS"))
      ThrowExpected(L"a column, an expression or \"*\"");
    item.expression = ParseExpression();
    const bool renamed = TakeKeyword(L"AS") || AtImplicitAlias();
    if (renamed) item.alias = ExpectName(L"a name for the column");
    return item;
  }

  // A word behind an expression is its alias only where the list or FROM follows, so that a
  // misspelt FROM is reported itself.
  [[nodiscard]] bool AtImplicitAlias() const {
    return At(TokenKind::kWord) && !AtKeyword(L"FROM") &&
           (Ahead(1).kind == TokenKind::kComma || IsKeyword(Ahead(1), L"FROM"));
  }

  TableName ParseTableName() {
    TableName table{};
    table.position = Current().position;
    table.name = ExpectName(L"the name of a table");
    const bool renamed = TakeKeyword(L"AS") || (At(TokenKind::kWord) && !AtClause());
    table.alias = renamed ? ExpectName(L"an alias for the table") : table.name;
    if (At(TokenKind::kComma))
      throw StatementError(Current().position,
                           L"only one table can follow FROM; joins are not supported");
    return table;
  }

  [[nodiscard]] bool AtClause() const {
    if (AtKeyword(L"WHERE") || AtKeyword(L"ORDER") || AtKeyword(L"AND") || AtKeyword(L"OR"))
      return true;
    return std::any_of(kRefusedClauses.begin(), kRefusedClauses.end(),
                       [this](std::wstring_view clause) { return AtKeyword(clause); });
  }

  void RefuseClauses() const {
    for (const std::wstring_view clause : kRefusedClauses) {
      if (!AtKeyword(clause)) continue;
      std::wstring text(clause);
      text += L" is not supported";
      throw StatementError(Current().position, text);
    }
  }

  void ParseOrder(SelectStatement& select) {
    if (select_depth_ > 0)
      throw StatementError(Current().position, L"a subselect cannot have ORDER BY");
    Advance();
    if (!TakeKeyword(L"BY")) ThrowExpected(L"BY");
    do select.order.push_back(ParseOrderItem());
    while (Take(TokenKind::kComma));
    in_order_ = true;
  }

  OrderItem ParseOrderItem() {
    OrderItem item{};
    item.position = Current().position;
    if (At(TokenKind::kWord)) {
      item.key = ParseColumnName();
    } else {
      const double* number = std::get_if<double>(&Current().literal);
      if (number == nullptr || *number < 1 || *number > 65535 || std::floor(*number) != *number)
        ThrowExpected(L"a column or the position of a selected column");
      item.key = static_cast<std::size_t>(*number);
      Advance();
    }
    item.descending = TakeKeyword(L"DESCENDING");
    const bool ascending = AtKeyword(L"ASC") || AtKeyword(L"ASCENDING");
    if (!item.descending && ascending) Advance();
    return item;
  }

  ColumnName ParseColumnName() {
    ColumnName column;
    column.name = ExpectName(L"a column");
    if (!Take(TokenKind::kDot)) return column;
    column.qualifier = std::move(column.name);
    column.name = ExpectName(L"a column behind the point");
    return column;
  }

  // Every way of nesting passes here.
  ExpressionPointer ParseExpression() {
    const Level level(*this);
    return ParseConnective(false);
  }

  bool TakeConnective(bool conjunction) {
    return Take(conjunction ? TokenKind::kAnd : TokenKind::kOr) ||
           TakeKeyword(conjunction ? L"AND" : L"OR");
  }

  ExpressionPointer ParseConnective(bool conjunction) {
    ExpressionPointer first = conjunction ? ParseNot() : ParseConnective(true);
    if (!TakeConnective(conjunction)) return first;
    Connective connective{conjunction, {}};
    const std::size_t position = first->position;
    connective.operands.push_back(std::move(first));
    do connective.operands.push_back(conjunction ? ParseNot() : ParseConnective(true));
    while (TakeConnective(conjunction));
    return MakeExpression(position, std::move(connective));
  }

  bool TakeNot() {
    if (Take(TokenKind::kNot)) return true;
    return BeginsOperand(Ahead(1)) && !IsInfixKeyword(Ahead(1)) && TakeKeyword(L"NOT");
  }

  // Words that stand between operands, so that what is before them is a column.
  static bool IsInfixKeyword(const Token& token) {
    return IsKeyword(token, L"IS") || IsKeyword(token, L"IN") || IsKeyword(token, L"AND") ||
           IsKeyword(token, L"OR");
  }

  // NOT NOT is carried out as written up to two, which stand for any longer row of them.
  ExpressionPointer ParseNot() {
    const std::size_t position = Current().position;
    std::size_t count = 0;
    while (TakeNot()) ++count;
    ExpressionPointer expression = ParsePredicate();
    for (std::size_t i = 0; i < (count == 0 ? 0 : 2 - count % 2); ++i)
      expression = MakeExpression(position, Not{std::move(expression)});
    return expression;
  }

  ExpressionPointer ParsePredicate() {
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

  [[nodiscard]] bool SetPredicateAhead() const {
    return IsKeyword(Ahead(1), L"IN") || IsKeyword(Ahead(1), L"BETWEEN") ||
           IsKeyword(Ahead(1), L"LIKE");
  }

  ExpressionPointer ParseSetPredicate(std::size_t position, ExpressionPointer left, bool negated) {
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

  std::optional<wchar_t> ParseEscape() {
    if (!TakeKeyword(L"ESCAPE")) return std::nullopt;
    const auto* text = std::get_if<std::wstring>(&Current().literal);
    if (text == nullptr || text->size() != 1) ThrowExpected(L"one character in quotation marks");
    const wchar_t escape = text->front();
    Advance();
    return escape;
  }

  ExpressionPointer ParseIn(std::size_t position, ExpressionPointer left, bool negated) {
    Expect(TokenKind::kOpen, L"\"(\" behind IN");
    if (BeginsSelect(0)) {
      InSelect in{std::move(left), ParseSubselect(), negated};
      return MakeExpression(position, std::move(in));
    }
    InList in{std::move(left), {}, negated};
    do in.values.push_back(ParseExpression());
    while (Take(TokenKind::kComma));
    Expect(TokenKind::kClose, L"\",\" or \")\"");
    return MakeExpression(position, std::move(in));
  }

  // From SELECT to the closing parenthesis.
  SelectPointer ParseSubselect() {
    const Level level(*this);
    const bool in_where = in_where_;
    ++select_depth_;
    auto select = std::make_unique<SelectStatement>(ParseSelect());
    --select_depth_;
    Expect(TokenKind::kClose, in_where_ ? L"an operator, AND, OR or \")\"" : L"WHERE or \")\"");
    in_where_ = in_where;
    return select;
  }

  static std::optional<ComparisonOperator> ComparisonAt(TokenKind kind) {
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

  ExpressionPointer ParseSum() {
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

  ExpressionPointer ParseProduct() {
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
  ExpressionPointer ParseSigned() {
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

  ExpressionPointer ParsePrimary() {
    const std::size_t position = Current().position;
    if (At(TokenKind::kLiteral)) return MakeExpression(position, Literal{Advance().literal});
    if (Take(TokenKind::kOpen)) {
      if (BeginsSelect(0)) return MakeExpression(position, ScalarSelect{ParseSubselect()});
      ExpressionPointer inner = ParseExpression();
      Expect(TokenKind::kClose, L"an operator or \")\"");
      return inner;
    }
    const bool misplaced_operator =
        IsInfixKeyword(Current()) && BeginsOperand(Ahead(1)) && !IsInfixKeyword(Ahead(1));
    if (!At(TokenKind::kWord) || misplaced_operator) ThrowExpected(L"a column or a value");
    if (Ahead(1).kind == TokenKind::kOpen) return ParseCall();
    if (EqualIgnoringCase(Current().text, L"NULL") && Ahead(1).kind != TokenKind::kDot) {
      Advance();
      return MakeExpression(position, Literal{Null{}});
    }
    return MakeExpression(position, ParseColumnName());
  }

  ExpressionPointer ParseCall() {
    const Token& name = Advance();
    if (IsKeyword(name, L"EXISTS")) {
      Advance();
      if (!BeginsSelect(0)) ThrowExpected(L"SELECT behind EXISTS");
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

  static const Function* ResolveFunction(const Token& name) {
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

  static void CheckArgumentCount(const Function& function, std::size_t count,
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

  std::vector<Token> tokens_;
  std::size_t index_ = 0;
  std::size_t depth_ = 0;
  std::size_t select_depth_ = 0;
  bool in_where_ = false;
  bool in_order_ = false;
};

}  // namespace

Statement ParseStatement(std::wstring_view text) { return Parser(text).Run(); }

}  // namespace tdefault::tables::sql
