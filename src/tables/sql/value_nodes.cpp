#include <algorithm>
#include <string>
#include <utility>

#include "tables/sql/arithmetic.h"
#include "tables/sql/nodes.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

bool AnyFromMemo(const std::vector<BoundPointer>& expressions) {
  return std::any_of(expressions.begin(), expressions.end(),
                     [](const BoundPointer& expression) { return expression->from_memo(); });
}

class ConstantNode final : public BoundExpression {
 public:
  ConstantNode(Value value, std::size_t position)
      : BoundExpression(sql::TypeOf(value), position), value_(std::move(value)) {}

  [[nodiscard]] Value Evaluate() const override { return value_; }
  [[nodiscard]] const Value* constant() const override { return &value_; }
  [[nodiscard]] bool from_memo() const override { return false; }

 private:
  Value value_;
};

class ColumnNode final : public BoundExpression {
 public:
  ColumnNode(const RowSlot& slot, std::size_t index, const Column& column, std::size_t position)
      : BoundExpression(TypeOf(column), position), slot_(slot), index_(index), column_(column) {}

  [[nodiscard]] Value Evaluate() const override { return slot_.cursor->Read(index_); }
  [[nodiscard]] const Column* column() const override { return &column_; }
  [[nodiscard]] std::optional<StoredTextSource> stored_text() const override {
    if (column_.kind != ColumnKind::kText || !column_.fixed_width || !column_.code_page)
      return std::nullopt;
    ByteReplacement replacement{};
    for (std::size_t byte = 0; byte < replacement.size(); ++byte)
      replacement.at(byte) = static_cast<unsigned char>(byte);
    return StoredTextSource{&slot_, index_, static_cast<std::size_t>(column_.length),
                            *column_.code_page, replacement};
  }
  [[nodiscard]] bool from_memo() const override { return column_.kind == ColumnKind::kMemo; }
  [[nodiscard]] std::optional<CodePage> code_page() const override { return column_.code_page; }

 private:
  const RowSlot& slot_;
  std::size_t index_;
  const Column& column_;
};

class NegationNode final : public BoundExpression {
 public:
  NegationNode(BoundPointer operand, std::size_t position)
      : BoundExpression(ValueType::kNumber, position), operand_(std::move(operand)) {}

  [[nodiscard]] Value Evaluate() const override { return Negate(operand_->Evaluate(), position()); }
  [[nodiscard]] bool from_memo() const override { return false; }

 private:
  BoundPointer operand_;
};

class ArithmeticNode final : public BoundExpression {
 public:
  ArithmeticNode(ValueType type, BoundPointer first, std::vector<BoundStep> steps,
                 std::size_t position)
      : BoundExpression(type, position), first_(std::move(first)), steps_(std::move(steps)) {}

  [[nodiscard]] Value Evaluate() const override {
    Value result = first_->Evaluate();
    for (const BoundStep& step : steps_) {
      if (const Value* constant = step.operand->constant())
        Apply(step.operation, result, *constant, step.position);
      else
        Apply(step.operation, result, step.operand->Evaluate(), step.position);
    }
    return result;
  }

  [[nodiscard]] bool from_memo() const override {
    return first_->from_memo() ||
           std::any_of(steps_.begin(), steps_.end(),
                       [](const BoundStep& step) { return step.operand->from_memo(); });
  }

  [[nodiscard]] std::optional<CodePage> code_page() const override {
    std::optional<CodePage> page = first_->code_page();
    for (auto step = steps_.begin(); !page && step != steps_.end(); ++step)
      page = step->operand->code_page();
    return page;
  }

 private:
  BoundPointer first_;
  std::vector<BoundStep> steps_;
};

class CallNode final : public BoundExpression {
 public:
  CallNode(const Function& function, ValueType type, std::vector<BoundPointer> arguments,
           const CallContext& context)
      : BoundExpression(type, context.position),
        function_(function),
        arguments_(std::move(arguments)),
        context_(context) {}

  [[nodiscard]] Value Evaluate() const override {
    std::vector<Value> values;
    values.reserve(arguments_.size());
    for (std::size_t i = 0; i < arguments_.size(); ++i) {
      values.push_back(arguments_[i]->Evaluate());
      CheckArgument(function_.arguments[i], sql::TypeOf(values.back()), function_,
                    arguments_[i]->position());
    }
    if (!function_.accepts_null && std::any_of(values.begin(), values.end(), IsNull)) return Null{};
    return function_.evaluate(values, context_);
  }

  [[nodiscard]] std::optional<StoredTextSource> stored_text() const override {
    const bool folds =
        function_.kind == FunctionKind::kUpper || function_.kind == FunctionKind::kLower;
    if (!folds && function_.kind != FunctionKind::kLeft) return std::nullopt;
    std::optional<StoredTextSource> text = arguments_[0]->stored_text();
    if (!text) return std::nullopt;
    if (!folds) {
      const Value* count = arguments_[1]->constant();
      if (count == nullptr || sql::TypeOf(*count) != ValueType::kNumber) return std::nullopt;
      text->length = std::min(text->length, CharacterCount(*count));
      return text;
    }
    const ByteReplacement folded = FoldBytes(function_.kind, context_.code_page);
    for (unsigned char& byte : text->replacement) byte = folded.at(byte);
    return text;
  }

  [[nodiscard]] bool from_memo() const override {
    return type() == ValueType::kText && AnyFromMemo(arguments_);
  }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return CodePageOf(arguments_);
  }

 private:
  const Function& function_;
  std::vector<BoundPointer> arguments_;
  CallContext context_;
};

// IIF: only the branch that is taken is evaluated; a null condition takes the second one.
class ChoiceNode final : public BoundExpression {
 public:
  ChoiceNode(ValueType type, std::vector<BoundPointer> arguments, std::size_t position)
      : BoundExpression(type, position), arguments_(std::move(arguments)) {}

  [[nodiscard]] Value Evaluate() const override {
    return arguments_[arguments_[0]->Test().value_or(false) ? 1 : 2]->Evaluate();
  }
  [[nodiscard]] bool from_memo() const override { return AnyFromMemo(arguments_); }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return CodePageOf(arguments_);
  }

 private:
  std::vector<BoundPointer> arguments_;
};

// NVL: the second argument is evaluated only for a null.
class ReplaceNullNode final : public BoundExpression {
 public:
  ReplaceNullNode(ValueType type, std::vector<BoundPointer> arguments, std::size_t position)
      : BoundExpression(type, position), arguments_(std::move(arguments)) {}

  [[nodiscard]] Value Evaluate() const override {
    Value value = arguments_[0]->Evaluate();
    return IsNull(value) ? arguments_[1]->Evaluate() : value;
  }
  [[nodiscard]] bool from_memo() const override { return AnyFromMemo(arguments_); }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return CodePageOf(arguments_);
  }

 private:
  std::vector<BoundPointer> arguments_;
};

class ScalarSelectNode final : public BoundExpression {
 public:
  ScalarSelectNode(std::unique_ptr<Subselect> subselect, std::size_t position)
      : BoundExpression(subselect->type(), position), subselect_(std::move(subselect)) {}

  [[nodiscard]] Value Evaluate() const override { return subselect_->Scalar(); }
  [[nodiscard]] bool from_memo() const override { return subselect_->from_memo(); }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return subselect_->code_page();
  }

 private:
  std::unique_ptr<Subselect> subselect_;
};

bool IsOfLetter(ValueType type, char letter) {
  switch (letter) {
    case 'T':
      return type == ValueType::kText;
    case 'N':
      return type == ValueType::kNumber;
    case 'L':
      return type == ValueType::kLogical;
    case 'D':
      return IsDay(type);
    default:
      return true;
  }
}

std::wstring_view DescribeLetter(char letter) {
  if (letter == 'T') return Describe(ValueType::kText);
  if (letter == 'N') return Describe(ValueType::kNumber);
  if (letter == 'L') return Describe(ValueType::kLogical);
  return Describe(ValueType::kDate);
}

}  // namespace

void CheckArgument(char letter, ValueType type, const Function& function, std::size_t position) {
  if (type == ValueType::kAny || IsOfLetter(type, letter)) return;
  std::wstring text(function.name);
  text += L" needs ";
  text += DescribeLetter(letter);
  text += L" here, found ";
  text += Describe(type);
  throw StatementError(position, text);
}

BoundPointer MakeConstant(Value value, std::size_t position) {
  return std::make_unique<ConstantNode>(std::move(value), position);
}

BoundPointer MakeColumn(const RowSlot& slot, std::size_t index, const Column& column,
                        std::size_t position) {
  return std::make_unique<ColumnNode>(slot, index, column, position);
}

BoundPointer MakeNegation(BoundPointer operand, std::size_t position) {
  return std::make_unique<NegationNode>(std::move(operand), position);
}

BoundPointer MakeArithmetic(ValueType type, BoundPointer first, std::vector<BoundStep> steps,
                            std::size_t position) {
  return std::make_unique<ArithmeticNode>(type, std::move(first), std::move(steps), position);
}

BoundPointer MakeCall(const Function& function, ValueType type, std::vector<BoundPointer> arguments,
                      const CallContext& context) {
  switch (function.kind) {
    case FunctionKind::kIif:
      return std::make_unique<ChoiceNode>(type, std::move(arguments), context.position);
    case FunctionKind::kNvl:
      return std::make_unique<ReplaceNullNode>(type, std::move(arguments), context.position);
    default:
      break;
  }
  return std::make_unique<CallNode>(function, type, std::move(arguments), context);
}

BoundPointer MakeScalarSelect(std::unique_ptr<Subselect> subselect, std::size_t position) {
  return std::make_unique<ScalarSelectNode>(std::move(subselect), position);
}

}  // namespace tdefault::tables::sql
