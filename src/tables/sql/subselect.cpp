#include "tables/sql/subselect.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tables/sql/comparison.h"
#include "tables/sql/keyed_rows.h"
#include "tables/sql/select_plan.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

std::vector<const RowSlot*> DependenciesOf(SelectPlan& plan, const RowSlot& run) {
  std::vector<const RowSlot*> slots = plan.scope().outer_slots();
  slots.push_back(&run);
  return slots;
}

// The values that a subselect gave, to be looked up by "=".
class Members {
 public:
  void Add(const Value& value, const Collation& collation) {
    std::string key = SortKey(value, collation);
    if (IsExactCurrency(value)) {
      keys_.insert(Rounded(value, collation) + kRoundedMark);
      any_rounded_ = true;
    }
    keys_.insert(std::move(key));
  }

  [[nodiscard]] bool Contain(const Value& value, const Collation& collation) const {
    std::string key = SortKey(value, collation);
    if (keys_.contains(key)) return true;
    if (IsExactCurrency(value)) return keys_.contains(Rounded(value, collation));
    return any_rounded_ && keys_.contains(key + kRoundedMark);
  }

 private:
  static constexpr char kRoundedMark = 'r';  // behind the key of a currency value as a number

  // Currency beyond the exact whole numbers of a double: it equals other currency to the last
  // decimal but any other number as that number rounds, so it has two keys.
  static bool IsExactCurrency(const Value& value) {
    constexpr std::int64_t kExactInDouble = std::int64_t{1} << 53U;
    const auto* currency = std::get_if<Currency>(&value);
    return currency != nullptr && (currency->ten_thousandths > kExactInDouble ||
                                   currency->ten_thousandths < -kExactInDouble);
  }

  static std::string Rounded(const Value& value, const Collation& collation) {
    return SortKey(NumberOf(value), collation);
  }

  std::unordered_set<std::string> keys_;
  bool any_rounded_ = false;
};

class PlannedSubselect final : public Subselect {
 public:
  PlannedSubselect(const SelectStatement& select, Scope& outer, SubselectUse use,
                   OpenTables& tables)
      : position_(select.position),
        plan_(select, &outer, tables),
        freshness_(DependenciesOf(plan_, tables.run())),
        keyed_(KeyedRows::Make(plan_, tables.run())) {
    if (use == SubselectUse::kExists) return;
    if (plan_.items().size() != 1)
      throw StatementError(position_,
                           L"a subselect that stands for a value must select one column, not " +
                               std::to_wstring(plan_.items().size()));
    if (select.distinct) plan_.MakeDistinct();
  }

  bool Exists() override {
    if (keyed_ && !keyed_->conditions_remain()) {
      keyed_->Refresh();
      const std::optional<std::string> key = keyed_->Key();
      return key && keyed_->Has(*key);
    }
    return AnswerForRow([this](Answer& answer) { answer.found = plan_.Next(); }).found;
  }

  const Value& Scalar() override {
    return Find([this](Answer& answer) {
             if (!plan_.Next()) return;
             answer.scalar = plan_.items()[0].expression->Evaluate();
             if (plan_.Next())
               throw StatementError(position_, L"Subquery returned more than one record");
           })
        .scalar;
  }

  std::optional<bool> Contains(const Value& value) override {
    const Answer& answer = Find([this](Answer& found) { CollectMembers(found); });
    if (!answer.found) return false;
    if (IsNull(value)) return std::nullopt;
    if (answer.members.Contain(value, collation())) return true;
    return answer.null_member ? std::nullopt : std::optional(false);
  }

  [[nodiscard]] ValueType type() const override { return plan_.items()[0].expression->type(); }
  [[nodiscard]] bool from_memo() const override { return plan_.items()[0].expression->from_memo(); }
  [[nodiscard]] std::optional<CodePage> code_page() const override {
    return plan_.items()[0].column.code_page;
  }

 private:
  // What the rows of the subselect come to; of no rows at the start.
  struct Answer {
    bool found = false;  // any row
    Value scalar;
    bool null_member = false;
    Members members;
  };

  // The answer for the rows around, computed once for each key where it depends on that only.
  template <typename Computation>
  const Answer& Find(Computation computation) {
    if (!keyed_ || keyed_->conditions_remain() || plan_.items_use_outer())
      return AnswerForRow(computation);
    if (keyed_->Refresh()) answers_.clear();
    const std::optional<std::string> key = keyed_->Key();
    if (!key || !keyed_->Has(*key)) return no_rows_;
    const auto known = answers_.find(*key);
    if (known != answers_.end()) return known->second;
    Answer answer;
    plan_.Restart(keyed_->cursor(), keyed_->Records(*key));
    computation(answer);
    return answers_.emplace(*key, std::move(answer)).first->second;
  }

  // The answer for the rows around, kept as long as they stay.
  template <typename Computation>
  const Answer& AnswerForRow(Computation computation) {
    if (freshness_.IsFresh()) return answer_;
    freshness_.Forget();
    answer_ = {};
    if (Restart()) computation(answer_);
    freshness_.Remember();
    return answer_;
  }

  // False when there are no rows for the rows around.
  bool Restart() {
    if (!keyed_) {
      plan_.Restart();
      return true;
    }
    keyed_->Refresh();
    const std::optional<std::string> key = keyed_->Key();
    if (!key || !keyed_->Has(*key)) return false;
    plan_.Restart(keyed_->cursor(), keyed_->Records(*key));
    return true;
  }

  void CollectMembers(Answer& answer) {
    while (plan_.Next()) {
      answer.found = true;
      const Value value = plan_.items()[0].expression->Evaluate();
      if (IsNull(value))
        answer.null_member = true;
      else
        answer.members.Add(value, collation());
    }
  }

  [[nodiscard]] const Collation& collation() { return plan_.scope().table().collation(); }

  std::size_t position_;
  SelectPlan plan_;
  Freshness freshness_;
  std::unique_ptr<KeyedRows> keyed_;  // null: the table is gone over for every row around
  Answer answer_;
  const Answer no_rows_;
  std::unordered_map<std::string, Answer> answers_;  // by key
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
