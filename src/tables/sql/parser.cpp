#include "tables/sql/parser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tables/sql/expression_parser.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

constexpr std::wstring_view kStatements = L"SELECT, INSERT, UPDATE or DELETE";

// The words that begin a part of a SELECT which the dialect does not have.
constexpr std::array<std::wstring_view, 11> kRefusedClauses = {
    L"GROUP", L"HAVING", L"UNION", L"INTO", L"TO",    L"JOIN",
    L"INNER", L"LEFT",   L"RIGHT", L"FULL", L"CROSS",
};

class StatementParser final : private ExpressionParser {
 public:
  using ExpressionParser::ExpressionParser;

  Statement Run() {
    if (At(TokenKind::kEnd)) {
      std::wstring text = L"the statement is empty; expected ";
      text += kStatements;
      throw StatementError(0, text);
    }
    Statement statement = ParseAny();
    if (!At(TokenKind::kEnd)) ThrowExpected(continuations_);
    return statement;
  }

  ExpressionPointer RunExpression() {
    ExpressionPointer expression = ParseExpression();
    if (Current().kind != TokenKind::kEnd) ThrowExpected(L"an operator or the end");
    return expression;
  }

 private:
  Statement ParseAny() {
    if (AtKeyword(L"INSERT")) return ParseInsert();
    if (AtKeyword(L"UPDATE")) return ParseUpdate();
    if (AtKeyword(L"DELETE")) return ParseDelete();
    if (!AtKeyword(L"SELECT")) ThrowExpected(kStatements);
    SelectStatement select = ParseSelect();
    continuations_ = SelectContinuations();
    return select;
  }

  // What may follow the part of a SELECT that was read last.
  [[nodiscard]] std::wstring_view SelectContinuations() const {
    if (in_order_) return L"\",\" or the end of the statement";
    if (in_where_) return L"an operator, AND, OR, ORDER BY or the end of the statement";
    return L"WHERE, ORDER BY or the end of the statement";
  }

  InsertStatement ParseInsert() {
    InsertStatement insert{};
    insert.position = Advance().position;
    if (!TakeKeyword(L"INTO")) ThrowExpected(L"INTO");
    insert.table = ParseChangedTable();
    if (Take(TokenKind::kOpen)) {
      do {
        const std::size_t position = Current().position;
        insert.columns.push_back({position, ExpectName(L"a column")});
      } while (Take(TokenKind::kComma));
      Expect(TokenKind::kClose, L"\",\" or \")\"");
      if (!AtKeyword(L"VALUES")) ThrowExpected(L"VALUES");
    }
    if (!TakeKeyword(L"VALUES")) ThrowExpected(L"\"(\" and columns, or VALUES");
    Expect(TokenKind::kOpen, L"\"(\" behind VALUES");
    do insert.values.push_back(ParseExpression());
    while (Take(TokenKind::kComma));
    insert.end = Current().position;
    Expect(TokenKind::kClose, L"an operator, \",\" or \")\"");
    continuations_ = L"the end of the statement";
    return insert;
  }

  UpdateStatement ParseUpdate() {
    UpdateStatement update{};
    update.position = Advance().position;
    update.table = ParseChangedTable();
    if (!TakeKeyword(L"SET")) ThrowExpected(L"SET");
    do update.assignments.push_back(ParseAssignment());
    while (Take(TokenKind::kComma));
    update.where = ParseWhere(L"an operator, \",\", WHERE or the end of the statement");
    return update;
  }

  Assignment ParseAssignment() {
    Assignment assignment{};
    assignment.position = Current().position;
    if (AtKeyword(L"WHERE") && Ahead(1).kind != TokenKind::kEqual &&
        Ahead(1).kind != TokenKind::kDot)
      ThrowExpected(L"a column");
    assignment.column = ParseColumnName();
    Expect(TokenKind::kEqual, L"\"=\" behind the column");
    assignment.value = ParseExpression();
    return assignment;
  }

  DeleteStatement ParseDelete() {
    DeleteStatement statement{};
    statement.position = Advance().position;
    if (!TakeKeyword(L"FROM")) ThrowExpected(L"FROM");
    statement.table = ParseChangedTable();
    statement.where = ParseWhere(L"WHERE or the end of the statement");
    return statement;
  }

  // The condition of a statement that changes rows, null without one.
  ExpressionPointer ParseWhere(std::wstring_view instead) {
    continuations_ = instead;
    if (!TakeKeyword(L"WHERE")) return nullptr;
    continuations_ = L"an operator, AND, OR or the end of the statement";
    return ParseExpression();
  }

  // A table that is changed goes by its own name.
  TableName ParseChangedTable() {
    TableName table{};
    table.position = Current().position;
    table.name = ExpectName(L"the name of a table");
    table.alias = table.name;
    return table;
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

  SelectPointer ParseSubselect() override {
    const Level level(*this);
    const bool in_where = in_where_;
    ++select_depth_;
    auto select = std::make_unique<SelectStatement>(ParseSelect());
    --select_depth_;
    Expect(TokenKind::kClose, in_where_ ? L"an operator, AND, OR or \")\"" : L"WHERE or \")\"");
    in_where_ = in_where;
    return select;
  }

  std::size_t select_depth_ = 0;
  bool in_where_ = false;
  bool in_order_ = false;
  std::wstring_view continuations_;
};

}  // namespace

Statement ParseStatement(std::wstring_view text) { return StatementParser(text).Run(); }

ExpressionPointer ParseLoneExpression(std::wstring_view text) {
  return StatementParser(text).RunExpression();
}

}  // namespace tdefault::tables::sql
