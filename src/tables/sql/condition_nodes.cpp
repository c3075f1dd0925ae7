#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tables/sql/arithmetic.h"
#include "tables/sql/comparison.h"
#include "tables/sql/nodes.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// The operand's value, without a copy when it is a constant.
const Value& ValueOf(const BoundExpression& operand, Value& storage) {
  if (const Value* constant = operand.constant()) return *constant;
  storage = operand.Evaluate();
  return storage;
}

// The number of a value that is a whole or floating one; what is not a number for any other.
double PlainNumber(const Value& value) {
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
  return std::numeric_limits<double>::quiet_NaN();
}

// The order of numbers and logical values, which most conditions compare, without looking at their
// types twice; absent for all others.
std::optional<int> OrderAtOnce(const Value& left, const Value& right) {
  const double left_number = PlainNumber(left);
  const double right_number = PlainNumber(right);
  if (left_number < right_number) return -1;
  if (left_number > right_number) return 1;
  if (left_number == right_number) return 0;
  const auto* left_flag = std::get_if<bool>(&left);
  const auto* right_flag = std::get_if<bool>(&right);
  if (left_flag == nullptr || right_flag == nullptr) return std::nullopt;
  return static_cast<int>(*left_flag) - static_cast<int>(*right_flag);
}

// Absent when one of the values is null.
std::optional<bool> CompareNullable(ComparisonOperator operation, const Value& left,
                                    const Value& right, const Collation& collation,
                                    std::size_t position) {
  if (const std::optional<int> order = OrderAtOnce(left, right)) return Holds(operation, *order);
  if (IsNull(left) || IsNull(right)) return std::nullopt;
  if (!AreComparable(TypeOf(left), TypeOf(right)))
    throw OperandMismatch(position, Symbol(operation), TypeOf(left), TypeOf(right));
  return Compare(operation, left, right, collation);
}

class Condition : public BoundExpression {
 public:
  explicit Condition(std::size_t position) : BoundExpression(ValueType::kLogical, position) {}
  [[nodiscard]] Value Evaluate() const final {
    const std::optional<bool> flag = Test();
    return flag ? Value(*flag) : Value(Null{});
  }
  [[nodiscard]] bool from_memo() const final { return false; }
};

class ConnectiveNode final : public Condition {
 public:
  ConnectiveNode(bool conjunction, std::vector<BoundPointer> operands, std::size_t position)
      : Condition(position), conjunction_(conjunction), operands_(std::move(operands)) {}

  [[nodiscard]] std::optional<bool> Test() const override {
    bool open = false;
    for (const BoundPointer& operand : operands_) {
      const std::optional<bool> flag = operand->Test();
      if (!flag)
        open = true;
      else if (*flag != conjunction_)
        return *flag;
    }
    return open ? std::nullopt : std::optional(conjunction_);
  }

 private:
  bool conjunction_;
  std::vector<BoundPointer> operands_;
};

class NotNode final : public Condition {
 public:
  NotNode(BoundPointer operand, std::size_t position)
      : Condition(position), operand_(std::move(operand)) {}

  [[nodiscard]] std::optional<bool> Test() const override {
    const std::optional<bool> flag = operand_->Test();
    return flag ? std::optional(!*flag) : std::nullopt;
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

  [[nodiscard]] std::optional<bool> Test() const override {
    Value left_storage;
    const Value& left = ValueOf(*left_, left_storage);
    if (IsNull(left)) return std::nullopt;
    Value right_storage;
    const Value& right = ValueOf(*right_, right_storage);
    return CompareNullable(operation_, left, right, collation_, position());
  }

 private:
  ComparisonOperator operation_;
  BoundPointer left_;
  BoundPointer right_;
  const Collation& collation_;
};

// A comparison of stored text with a constant, carried out on the bytes.
class StoredComparisonNode final : public Condition {
 public:
  // `slow` is the same comparison, for rows that do not give the bytes. `mirrored`: the constant is
  // the left operand.
  StoredComparisonNode(ComparisonOperator operation, bool mirrored, const StoredTextSource& text,
                       std::unique_ptr<PreparedText> constant, BoundPointer slow)
      : Condition(slow->position()),
        operation_(operation),
        mirrored_(mirrored),
        slot_(*text.slot),
        column_(text.column),
        length_(text.length),
        constant_(std::move(constant)),
        slow_(std::move(slow)) {}

  [[nodiscard]] std::optional<bool> Test() const override {
    const std::optional<std::string_view> bytes = slot_.cursor->StoredText(column_);
    if (!bytes) return slow_->Test();
    const int order = constant_->CompareStored(bytes->substr(0, length_));
    return Holds(operation_, mirrored_ ? -order : order);
  }

 private:
  ComparisonOperator operation_;
  bool mirrored_;
  const RowSlot& slot_;
  std::size_t column_;
  std::size_t length_;
  std::unique_ptr<PreparedText> constant_;
  BoundPointer slow_;
};

class NullTestNode final : public Condition {
 public:
  NullTestNode(BoundPointer operand, bool negated, std::size_t position)
      : Condition(position), operand_(std::move(operand)), negated_(negated) {}

  [[nodiscard]] std::optional<bool> Test() const override {
    return IsNull(operand_->Evaluate()) != negated_;
  }

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

  [[nodiscard]] std::optional<bool> Test() const override {
    Value operand_storage;
    Value pattern_storage;
    const Value& operand = ValueOf(*operand_, operand_storage);
    const Value& pattern = ValueOf(*pattern_, pattern_storage);
    if (IsNull(operand) || IsNull(pattern)) return std::nullopt;
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

  [[nodiscard]] std::optional<bool> Test() const override {
    Value storage;
    const Value& operand = ValueOf(*operand_, storage);
    const std::optional<bool> above = Holds(ComparisonOperator::kGreaterOrEqual, operand, *low_);
    if (above == false) return negated_;
    const std::optional<bool> below = Holds(ComparisonOperator::kLessOrEqual, operand, *high_);
    if (below == false) return negated_;
    return above && below ? std::optional(!negated_) : std::nullopt;
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

  [[nodiscard]] std::optional<bool> Test() const override {
    Value operand_storage;
    const Value& operand = ValueOf(*operand_, operand_storage);
    if (IsNull(operand)) return std::nullopt;
    bool open = false;
    for (const BoundPointer& value : values_) {
      Value storage;
      const std::optional<bool> equal =
          CompareNullable(ComparisonOperator::kEqual, operand, ValueOf(*value, storage), collation_,
                          value->position());
      if (equal == true) return !negated_;
      if (!equal) open = true;
    }
    return open ? std::nullopt : std::optional(negated_);
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

  [[nodiscard]] std::optional<bool> Test() const override {
    Value storage;
    const std::optional<bool> found = subselect_->Contains(ValueOf(*operand_, storage));
    return found ? std::optional(*found != negated_) : std::nullopt;
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

  [[nodiscard]] std::optional<bool> Test() const override { return subselect_->Exists(); }

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
  const bool mirrored = left->constant() != nullptr;
  const Value* constant = mirrored ? left->constant() : right->constant();
  const auto* text = constant == nullptr ? nullptr : std::get_if<std::wstring>(constant);
  std::optional<StoredTextSource> stored;
  std::unique_ptr<PreparedText> prepared;
  if (text != nullptr && operation != ComparisonOperator::kExactlyEqual)
    stored = mirrored ? right->stored_text() : left->stored_text();
  if (stored) prepared = collation.Prepare(*text, stored->page, stored->replacement);
  auto comparison = std::make_unique<ComparisonNode>(operation, std::move(left), std::move(right),
                                                     collation, position);
  if (!prepared) return comparison;
  return std::make_unique<StoredComparisonNode>(operation, mirrored, *stored, std::move(prepared),
                                                std::move(comparison));
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
