// Statements as trees, as the parser builds them. Positions count the statement's characters from
// 0. Operators of one kind in a row are one node with many operands, so that only nesting makes a
// tree deep, and nesting is bounded (docs/sql-dialect.md).
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/value.h"

namespace tdefault::tables::sql {

struct Function;
struct Expression;
struct SelectStatement;
using ExpressionPointer = std::unique_ptr<Expression>;
using SelectPointer = std::unique_ptr<SelectStatement>;

enum class ArithmeticOperator { kAdd, kSubtract, kMultiply, kDivide };

enum class ComparisonOperator {
  kEqual,
  kExactlyEqual,
  kNotEqual,
  kLess,
  kLessOrEqual,
  kGreater,
  kGreaterOrEqual,
};

struct Literal {
  Value value;
};

struct ColumnName {
  std::wstring qualifier;  // empty when there is none
  std::wstring name;
};

struct Negation {
  ExpressionPointer operand;
};

// From left to right: first, then every further operand with its operator.
struct Arithmetic {
  struct Step {
    ArithmeticOperator operation;
    std::size_t position;
    ExpressionPointer operand;
  };
  ExpressionPointer first;
  std::vector<Step> steps;
};

// AND or OR between all operands.
struct Connective {
  bool conjunction;
  std::vector<ExpressionPointer> operands;
};

struct Not {
  ExpressionPointer operand;
};

struct Comparison {
  ComparisonOperator operation;
  ExpressionPointer left;
  ExpressionPointer right;
};

struct NullTest {
  ExpressionPointer operand;
  bool negated;
};

struct Between {
  ExpressionPointer operand;
  ExpressionPointer low;
  ExpressionPointer high;
  bool negated;
};

struct Like {
  ExpressionPointer operand;
  ExpressionPointer pattern;
  std::optional<wchar_t> escape;
  bool negated;
};

struct InList {
  ExpressionPointer operand;
  std::vector<ExpressionPointer> values;
  bool negated;
};

struct InSelect {
  ExpressionPointer operand;
  SelectPointer select;
  bool negated;
};

struct Exists {
  SelectPointer select;
};

// A subselect as a value.
struct ScalarSelect {
  SelectPointer select;
};

struct FunctionCall {
  const Function* function;
  std::vector<ExpressionPointer> arguments;
};

struct Expression {
  std::size_t position;
  std::variant<Literal, ColumnName, Negation, Arithmetic, Connective, Not, Comparison, NullTest,
               Between, Like, InList, InSelect, Exists, ScalarSelect, FunctionCall>
      node;
};

// "*", "ALIAS.*" or an expression.
struct SelectItem {
  std::size_t position;
  std::wstring star_qualifier;   // of "ALIAS.*"
  ExpressionPointer expression;  // absent for a star
  std::wstring alias;            // empty when there is none
};

struct OrderItem {
  std::size_t position;
  std::variant<ColumnName, std::size_t> key;  // a column, or the 1-based position in the list
  bool descending;
};

struct TableName {
  std::size_t position;
  std::wstring name;
  std::wstring alias;  // the name when none was given
};

struct SelectStatement {
  std::size_t position;
  bool distinct;
  std::vector<SelectItem> items;
  TableName table;
  ExpressionPointer where;  // absent when there is none
  std::vector<OrderItem> order;
};

// INSERT INTO table [(columns)] VALUES (values).
struct InsertStatement {
  struct Target {
    std::size_t position;
    std::wstring name;
  };
  std::size_t position;
  TableName table;
  std::vector<Target> columns;  // empty: all of the table
  std::vector<ExpressionPointer> values;
  std::size_t end;  // the position of the parenthesis behind the last value
};

struct Assignment {
  std::size_t position;
  ColumnName column;
  ExpressionPointer value;
};

struct UpdateStatement {
  std::size_t position;
  TableName table;
  std::vector<Assignment> assignments;
  ExpressionPointer where;  // absent when there is none
};

struct DeleteStatement {
  std::size_t position;
  TableName table;
  ExpressionPointer where;  // absent when there is none
};

using Statement = std::variant<SelectStatement, InsertStatement, UpdateStatement, DeleteStatement>;

}  // namespace tdefault::tables::sql
