#include "tables/sql/subselect.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tables/sql/comparison.h"
#include "tables/sql/select_plan.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// Tells whether a result may be used again: as long as none of the rows has changed that it was
// computed for.
class Freshness {
 public:
  explicit Freshness(std::vector<const RowSlot*> slots) : slots_(std::move(slots)) {
    std::sort(slots_.begin(), slots_.end());
    slots_.erase(std::unique(slots_.begin(), slots_.end()), slots_.end());
  }

  // Whether Remember was called for the rows as they are now.
  [[nodiscard]] bool IsFresh() const {
    return !generations_.empty() && std::equal(slots_.begin(), slots_.end(), generations_.begin(),
                                               [](const RowSlot* slot, std::uint64_t generation) {
                                                 return slot->generation == generation;
                                               });
  }

  void Forget() { generations_.clear(); }

  void Remember() {
    generations_.clear();
    for (const RowSlot* slot : slots_) generations_.push_back(slot->generation);
  }

 private:
  std::vector<const RowSlot*> slots_;
  std::vector<std::uint64_t> generations_;
};

// Whether the expression consists of columns, literals, operators and functions. Only such ones are
// bound a second time, so that nested subselects do not multiply.
bool IsPlain(const Expression& expression) {
  const auto all_plain = [](const std::vector<ExpressionPointer>& expressions) {
    return std::all_of(expressions.begin(), expressions.end(),
                       [](const ExpressionPointer& operand) { return IsPlain(*operand); });
  };
  if (const auto* negation = std::get_if<Negation>(&expression.node))
    return IsPlain(*negation->operand);
  if (const auto* call = std::get_if<FunctionCall>(&expression.node))
    return all_plain(call->arguments);
  if (const auto* arithmetic = std::get_if<Arithmetic>(&expression.node))
    return IsPlain(*arithmetic->first) &&
           std::all_of(arithmetic->steps.begin(), arithmetic->steps.end(),
                       [](const Arithmetic::Step& step) { return IsPlain(*step.operand); });
  return std::holds_alternative<ColumnName>(expression.node) ||
         std::holds_alternative<Literal>(expression.node);
}

// EXISTS with conditions of the form "own column = expression around" only, apart from those that
// do not depend on the rows around: the table is read once, and every row around is a look-up.
class KeyedExists {
 public:
  struct KeyPart {
    BoundPointer own;
    BoundPointer outer;
  };

  KeyedExists(SelectPlan& plan, std::vector<KeyPart> parts, const RowSlot& run)
      : plan_(plan), parts_(std::move(parts)), freshness_({&run}) {}

  // Null when the conditions are of another form. Takes over those of this form from the plan.
  static std::unique_ptr<KeyedExists> Make(SelectPlan& plan, const RowSlot& run) {
    std::vector<KeyPart> parts;
    for (const FilteredScan::Condition& condition : plan.scan().conditions()) {
      if (!condition.uses_outer) continue;
      std::optional<KeyPart> part = SplitCondition(plan, *condition.syntax);
      if (!part) return nullptr;
      parts.push_back(std::move(*part));
    }
    if (parts.empty()) return nullptr;
    std::erase_if(plan.scan().conditions(),
                  [](const FilteredScan::Condition& condition) { return condition.uses_outer; });
    return std::make_unique<KeyedExists>(plan, std::move(parts), run);
  }

  bool Exists() {
    if (!freshness_.IsFresh()) Fill();
    const std::optional<std::string> key =
        MakeKey([](const KeyPart& part) -> const BoundExpression& { return *part.outer; });
    return key && keys_.contains(*key);
  }

 private:
  static std::optional<KeyPart> SplitCondition(SelectPlan& plan, const Expression& syntax) {
    const auto* comparison = std::get_if<Comparison>(&syntax.node);
    if (comparison == nullptr || comparison->operation != ComparisonOperator::kEqual ||
        !IsPlain(*comparison->left) || !IsPlain(*comparison->right))
      return std::nullopt;
    Side left = BindSide(plan, *comparison->left);
    Side right = BindSide(plan, *comparison->right);
    if (left.bound->type() != right.bound->type() || left.bound->type() == ValueType::kAny)
      return std::nullopt;
    if (left.own && !left.outer && right.outer && !right.own)
      return KeyPart{std::move(left.bound), std::move(right.bound)};
    if (right.own && !right.outer && left.outer && !left.own)
      return KeyPart{std::move(right.bound), std::move(left.bound)};
    return std::nullopt;
  }

  struct Side {
    BoundPointer bound;
    bool own;
    bool outer;
  };

  static Side BindSide(SelectPlan& plan, const Expression& syntax) {
    const std::size_t own = plan.scope().own_uses();
    const std::size_t outer = plan.scope().outer_uses();
    BoundPointer bound = BindExpression(syntax, plan.scope(), plan.subselects());
    return {std::move(bound), plan.scope().own_uses() != own, plan.scope().outer_uses() != outer};
  }

  // Absent when a part is null, which equals nothing.
  template <typename SideOf>
  std::optional<std::string> MakeKey(SideOf side_of) const {
    std::string keys;
    for (const KeyPart& part : parts_) {
      const Value value = side_of(part).Evaluate();
      if (IsNull(value)) return std::nullopt;
      AppendKey(keys, SortKey(value, plan_.scope().table().collation()));
    }
    return keys;
  }

  void Fill() {
    freshness_.Forget();
    keys_.clear();
    plan_.Restart();
    while (plan_.Next()) {
      std::optional<std::string> key =
          MakeKey([](const KeyPart& part) -> const BoundExpression& { return *part.own; });
      if (key) keys_.insert(std::move(*key));
    }
    freshness_.Remember();
  }

  SelectPlan& plan_;
  std::vector<KeyPart> parts_;
  Freshness freshness_;
  std::unordered_set<std::string> keys_;
};

std::vector<const RowSlot*> DependenciesOf(SelectPlan& plan, const RowSlot& run) {
  std::vector<const RowSlot*> slots = plan.scope().outer_slots();
  slots.push_back(&run);
  return slots;
}

class PlannedSubselect final : public Subselect {
 public:
  PlannedSubselect(const SelectStatement& select, Scope& outer, SubselectUse use,
                   OpenTables& tables)
      : position_(select.position),
        plan_(select, &outer, tables),
        freshness_(DependenciesOf(plan_, tables.run())) {
    if (use == SubselectUse::kExists) {
      keyed_ = KeyedExists::Make(plan_, tables.run());
      return;
    }
    if (plan_.items().size() != 1)
      throw StatementError(position_,
                           L"a subselect that stands for a value must select one column, not " +
                               std::to_wstring(plan_.items().size()));
    if (select.distinct) plan_.MakeDistinct();
  }

  bool Exists() override {
    if (keyed_) return keyed_->Exists();
    Compute([this] { found_ = plan_.Next(); });
    return found_;
  }

  const Value& Scalar() override {
    Compute([this] {
      scalar_ = Null{};
      if (!plan_.Next()) return;
      scalar_ = plan_.items()[0].expression->Evaluate();
      if (plan_.Next()) throw StatementError(position_, L"Subquery returned more than one record");
    });
    return scalar_;
  }

  std::optional<bool> Contains(const Value& value) override {
    Compute([this] { CollectMembers(); });
    if (!found_) return false;
    if (IsNull(value)) return std::nullopt;
    if (members_.contains(SortKey(value, collation()))) return true;
    return null_member_ ? std::nullopt : std::optional(false);
  }

  [[nodiscard]] ValueType type() const override { return plan_.items()[0].expression->type(); }
  [[nodiscard]] bool from_memo() const override { return plan_.items()[0].expression->from_memo(); }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return plan_.items()[0].column.code_page;
  }

 private:
  template <typename Computation>
  void Compute(Computation computation) {
    if (freshness_.IsFresh()) return;
    freshness_.Forget();
    plan_.Restart();
    computation();
    freshness_.Remember();
  }

  void CollectMembers() {
    found_ = false;
    null_member_ = false;
    members_.clear();
    while (plan_.Next()) {
      found_ = true;
      const Value value = plan_.items()[0].expression->Evaluate();
      if (IsNull(value))
        null_member_ = true;
      else
        members_.insert(SortKey(value, collation()));
    }
  }

  [[nodiscard]] const Collation& collation() { return plan_.scope().table().collation(); }

  std::size_t position_;
  SelectPlan plan_;
  Freshness freshness_;
  std::unique_ptr<KeyedExists> keyed_;
  bool found_ = false;  // any row
  Value scalar_;
  bool null_member_ = false;
  std::unordered_set<std::string> members_;
};

class PlanningBinder final : public SubselectBinder {
 public:
  explicit PlanningBinder(OpenTables& tables) : tables_(tables) {}

  std::unique_ptr<Subselect> Bind(const SelectStatement& select, Scope& outer,
                                  SubselectUse use) override {
    return std::make_unique<PlannedSubselect>(select, outer, use, tables_);
  }

 private:
  OpenTables& tables_;
};

}  // namespace

std::unique_ptr<SubselectBinder> MakeSubselectBinder(OpenTables& tables) {
  return std::make_unique<PlanningBinder>(tables);
}

}  // namespace tdefault::tables::sql
