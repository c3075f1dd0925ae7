// Conditions, values and index keys of the model: built once, then evaluated over a row of the
// model, written as SQL, or written as FoxPro stores a tag's expression.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "base/value.h"

namespace tdefault::tests::model {

struct Row {
  std::vector<Value> values;  // as a query gives them: text of fixed width padded
  bool deleted = false;
};

enum class Operator {
  kColumn,
  kLiteral,
  kEqual,
  kUnequal,
  kLess,
  kLessOrEqual,
  kGreater,
  kGreaterOrEqual,
  kAnd,
  kOr,
  kNot,
  kIsNull,
  kIsNotNull,
  kPlus,  // numbers, texts, a date and days
  kUpper,
  kLeft,  // of `count` characters
  kStr,   // `count` characters wide
  kDtos,
  kEmpty,
  kDeleted
};

struct Expression;
using ExpressionPointer = std::shared_ptr<const Expression>;

struct Expression {
  Operator what = Operator::kLiteral;
  std::size_t column = 0;
  Value literal = {};
  std::string text = {};  // of a literal, where its value alone does not tell how to write it
  int count = 0;
  std::vector<ExpressionPointer> parts = {};
};

[[nodiscard]] ExpressionPointer ColumnOf(std::size_t column);
[[nodiscard]] ExpressionPointer Literal(Value value, std::string text = {});
[[nodiscard]] ExpressionPointer Of(Operator what, std::vector<ExpressionPointer> parts,
                                   int count = 0);

// Less than, equal to or greater than 0. Text is compared as if the shorter one went on with
// blanks; `folds` is the GENERAL sequence for ASCII letters, digits and blanks, the only characters
// it is used with here. REQUIRES: no null, and both of one kind.
[[nodiscard]] int Compare(const Value& left, const Value& right, bool folds);

// Null stands for the unknown truth value, too.
[[nodiscard]] Value Evaluate(const Expression& expression, const Row& row, bool folds);
[[nodiscard]] bool IsTrue(const Value& value);

// The code page 1252 bytes become characters and back; only characters whose code is their byte.
[[nodiscard]] std::wstring Widened(const std::string& bytes);

enum class Spelling { kStatement, kTag };
[[nodiscard]] std::wstring ToText(const Expression& expression,
                                  const std::vector<std::string>& columns, Spelling spelling);
[[nodiscard]] std::wstring LiteralText(const Value& value, Spelling spelling);

}  // namespace tdefault::tests::model
