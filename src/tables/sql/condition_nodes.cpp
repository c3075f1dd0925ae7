#include <string>
#include <utility>

#include "tables/sql/arithmetic.h"
#include "tables/sql/comparison.h"
#include "tables/sql/nodes.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

Value FromLogical(std::optional<bool> flag) { return flag ? Value(*flag) : Value(Null{}); }

// The operand's value, without a copy when it is a constant.
const Value& ValueOf(const BoundExpression& operand, Value& storage) {
  if (const Value* constant = operand.constant()) return *constant;
  storage = operand.Evaluate();
  return storage;
}

// Absent when one of the values is null.
std::optional<bool> CompareNullable(ComparisonOperator operation, const Value& left,
                                    const Value& right, const Collation& collation,
                                    std::size_t position) {
  if (IsNull(left) || IsNull(right)) return std::nullopt;
  if (!AreComparable(TypeOf(left), TypeOf(right)))
    throw OperandMismatch(position, Symbol(operation), TypeOf(left), TypeOf(right));
  return Compare(operation, left, right, collation);
}

class Condition : public BoundExpression {
 public:
  explicit Condition(std::size_t position) : BoundExpression(ValueType::kLogical, position) {}
  [[nodiscard]] bool from_memo() const final { return false; }
};

class ConnectiveNode final : public Condition {
 public:
  ConnectiveNode(bool conjunction, std::vector<BoundPointer> operands, std::size_t position)
      : Condition(position), conjunction_(conjunction), operands_(std::move(operands)) {}

  [[nodiscard]] Value Evaluate() const override {
    bool open = false;
    for (const BoundPointer& operand : operands_) {
      const std::optional<bool> flag = EvaluateLogical(*operand);
      if (!flag)
        open = true;
      else if (*flag != conjunction_)
        return *flag;
    }
    return open ? Value(Null{}) : Value(conjunction_);
  }

 private:
  bool conjunction_;
  std::vector<BoundPointer> operands_;
};

class NotNode final : public Condition {
 public:
  NotNode(BoundPointer operand, std::size_t position)
      : Condition(position), operand_(std::move(operand)) {}

  [[nodiscard]] Value Evaluate() const override {
    const std::optional<bool> flag = EvaluateLogical(*operand_);
    return flag ? Value(!*flag) : Value(Null{});
  }

 private:
  BoundPointer operand_;
};

class ComparisonNode final : public Condition {
 public:
  ComparisonNode(ComparisonOperator operation, BoundPointer left, BoundPointer right,
                 const Collation& collation, std::size_t position)
      : Condition(position),
        operation_(operation),
        left_(std::move(left)),
        right_(std::move(right)),
        collation_(collation) {}

  [[nodiscard]] Value Evaluate() const override {
    Value left_storage;
    const Value& left = ValueOf(*left_, left_storage);
    if (IsNull(left)) return Null{};
    Value right_storage;
    const Value& right = ValueOf(*right_, right_storage);
    return FromLogical(CompareNullable(operation_, left, right, collation_, position()));
  }

 private:
  ComparisonOperator operation_;
  BoundPointer left_;
  BoundPointer right_;
  const Collation& collation_;
};

class NullTestNode final : public Condition {
 public:
  NullTestNode(BoundPointer operand, bool negated, std::size_t position)
      : Condition(position), operand_(std::move(operand)), negated_(negated) {}

  [[nodiscard]] Value Evaluate() const override { return IsNull(operand_->Evaluate()) != negated_; }

 private:
  BoundPointer operand_;
  bool negated_;
};

class LikeNode final : public Condition {
 public:
  LikeNode(BoundPointer operand, BoundPointer pattern, std::optional<wchar_t> escape, bool negated,
           const Collation& collation, std::size_t position)
      : Condition(position),
        operand_(std::move(operand)),
        pattern_(std::move(pattern)),
        escape_(escape),
        negated_(negated),
        collation_(collation) {}

  [[nodiscard]] Value Evaluate() const override {
    Value operand_storage;
    Value pattern_storage;
    const Value& operand = ValueOf(*operand_, operand_storage);
    const Value& pattern = ValueOf(*pattern_, pattern_storage);
    if (IsNull(operand) || IsNull(pattern)) return Null{};
    const auto* text = std::get_if<std::wstring>(&operand);
    const auto* form = std::get_if<std::wstring>(&pattern);
    if (text == nullptr || form == nullptr)
      throw OperandMismatch(position(), L"LIKE", TypeOf(operand), TypeOf(pattern));
    return MatchesPattern(*text, *form, escape_, collation_) != negated_;
  }

 private:
  BoundPointer operand_;
  BoundPointer pattern_;
  std::optional<wchar_t> escape_;
  bool negated_;
  const Collation& collation_;
};

class BetweenNode final : public Condition {
 public:
  BetweenNode(BoundPointer operand, BoundPointer low, BoundPointer high, bool negated,
              const Collation& collation, std::size_t position)
      : Condition(position),
        operand_(std::move(operand)),
        low_(std::move(low)),
        high_(std::move(high)),
        negated_(negated),
        collation_(collation) {}

  [[nodiscard]] Value Evaluate() const override {
    Value storage;
    const Value& operand = ValueOf(*operand_, storage);
    const std::optional<bool> above = Holds(ComparisonOperator::kGreaterOrEqual, operand, *low_);
    if (above == false) return negated_;
    const std::optional<bool> below = Holds(ComparisonOperator::kLessOrEqual, operand, *high_);
    if (below == false) return negated_;
    return above && below ? Value(!negated_) : Value(Null{});
  }

 private:
  [[nodiscard]] std::optional<bool> Holds(ComparisonOperator operation, const Value& operand,
                                          const BoundExpression& bound) const {
    Value storage;
    return CompareNullable(operation, operand, ValueOf(bound, storage), collation_,
                           bound.position());
  }

  BoundPointer operand_;
  BoundPointer low_;
  BoundPointer high_;
  bool negated_;
  const Collation& collation_;
};

class InListNode final : public Condition {
 public:
  InListNode(BoundPointer operand, std::vector<BoundPointer> values, bool negated,
             const Collation& collation, std::size_t position)
      : Condition(position),
        operand_(std::move(operand)),
        values_(std::move(values)),
        negated_(negated),
        collation_(collation) {}

  [[nodiscard]] Value Evaluate() const override {
    Value operand_storage;
    const Value& operand = ValueOf(*operand_, operand_storage);
    if (IsNull(operand)) return Null{};
    bool open = false;
    for (const BoundPointer& value : values_) {
      Value storage;
      const std::optional<bool> equal =
          CompareNullable(ComparisonOperator::kEqual, operand, ValueOf(*value, storage), collation_,
                          value->position());
      if (equal == true) return !negated_;
      if (!equal) open = true;
    }
    return open ? Value(Null{}) : Value(negated_);
  }

 private:
  BoundPointer operand_;
  std::vector<BoundPointer> values_;
  bool negated_;
  const Collation& collation_;
};

class InSelectNode final : public Condition {
 public:
  InSelectNode(BoundPointer operand, std::unique_ptr<Subselect> subselect, bool negated,
               std::size_t position)
      : Condition(position),
        operand_(std::move(operand)),
        subselect_(std::move(subselect)),
        negated_(negated) {}

  [[nodiscard]] Value Evaluate() const override {
    Value storage;
    const std::optional<bool> found = subselect_->Contains(ValueOf(*operand_, storage));
    return found ? Value(*found != negated_) : Value(Null{});
  }

 private:
  BoundPointer operand_;
  std::unique_ptr<Subselect> subselect_;
  bool negated_;
};

class ExistsNode final : public Condition {
 public:
  ExistsNode(std::unique_ptr<Subselect> subselect, std::size_t position)
      : Condition(position), subselect_(std::move(subselect)) {}

  [[nodiscard]] Value Evaluate() const override { return subselect_->Exists(); }

 private:
  std::unique_ptr<Subselect> subselect_;
};

}  // namespace

BoundPointer MakeConnective(bool conjunction, std::vector<BoundPointer> operands,
                            std::size_t position) {
  return std::make_unique<ConnectiveNode>(conjunction, std::move(operands), position);
}

BoundPointer MakeNot(BoundPointer operand, std::size_t position) {
  return std::make_unique<NotNode>(std::move(operand), position);
}

BoundPointer MakeComparison(ComparisonOperator operation, BoundPointer left, BoundPointer right,
                            const Collation& collation, std::size_t position) {
  return std::make_unique<ComparisonNode>(operation, std::move(left), std::move(right), collation,
                                          position);
}

BoundPointer MakeNullTest(BoundPointer operand, bool negated, std::size_t position) {
  return std::make_unique<NullTestNode>(std::move(operand), negated, position);
}

BoundPointer MakeLike(BoundPointer operand, BoundPointer pattern, std::optional<wchar_t> escape,
                      bool negated, const Collation& collation, std::size_t position) {
  return std::make_unique<LikeNode>(std::move(operand), std::move(pattern), escape, negated,
                                    collation, position);
}

BoundPointer MakeBetween(BoundPointer operand, BoundPointer low, BoundPointer high, bool negated,
                         const Collation& collation, std::size_t position) {
  return std::make_unique<BetweenNode>(std::move(operand), std::move(low), std::move(high), negated,
                                       collation, position);
}

BoundPointer MakeInList(BoundPointer operand, std::vector<BoundPointer> values, bool negated,
                        const Collation& collation, std::size_t position) {
  return std::make_unique<InListNode>(std::move(operand), std::move(values), negated, collation,
                                      position);
}

BoundPointer MakeInSelect(BoundPointer operand, std::unique_ptr<Subselect> subselect, bool negated,
                          std::size_t position) {
  return std::make_unique<InSelectNode>(std::move(operand), std::move(subselect), negated,
                                        position);
}

BoundPointer MakeExists(std::unique_ptr<Subselect> subselect, std::size_t position) {
  return std::make_unique<ExistsNode>(std::move(subselect), position);
}

}  // namespace tdefault::tables::sql
