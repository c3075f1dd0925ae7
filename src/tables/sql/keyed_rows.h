// Finding the rows of a subselect without going over its table for every row around it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tables/row_source.h"
#include "tables/sql/expression.h"
#include "tables/sql/select_plan.h"

namespace tdefault::tables::sql {

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

// The rows of a subselect's table by the values that its conditions "own expression = expression
// around" ask for. One pass over the table, which carries out the conditions that do not depend on
// the rows around, makes every row around a look-up.
class KeyedRows {
 public:
  // Null when no condition has this form. Takes over the plan's conditions of this form and those
  // that do not depend on the rows around; the others remain to be asked for each row that is
  // found.
  static std::unique_ptr<KeyedRows> Make(SelectPlan& plan, const RowSlot& run);

  KeyedRows(const KeyedRows&) = delete;
  KeyedRows& operator=(const KeyedRows&) = delete;

  // Whether conditions remain with the plan.
  [[nodiscard]] bool conditions_remain() const { return conditions_remain_; }

  // Goes over the table if that was not done for this run of the statement; then true.
  bool Refresh();

  // The key that the rows around ask for now; absent when a part is null, which equals nothing.
  // REQUIRES: refreshed.
  [[nodiscard]] std::optional<std::string> Key() const;
  [[nodiscard]] bool Has(const std::string& key) const { return records_.contains(key); }
  // In record order.
  [[nodiscard]] std::span<const std::uint32_t> Records(const std::string& key) const;
  // Reads them.
  [[nodiscard]] RowCursor& cursor() { return *cursor_; }

 private:
  struct Part {
    BoundPointer own;
    BoundPointer outer;
    bool exact_currency;  // both are currency columns, which compare to the last decimal
  };

  KeyedRows(SelectPlan& plan, const RowSlot& run) : plan_(plan), freshness_({&run}) {}

  static std::optional<Part> Split(SelectPlan& plan, const Expression& syntax);
  [[nodiscard]] bool IsOwnRow() const;
  [[nodiscard]] std::optional<std::string> MakeKey(BoundPointer Part::*side) const;

  SelectPlan& plan_;
  Freshness freshness_;
  std::vector<Part> parts_;
  std::vector<FilteredScan::Condition> own_conditions_;
  bool conditions_remain_ = false;
  std::unordered_map<std::string, std::vector<std::uint32_t>> records_;
  std::unique_ptr<RowCursor> cursor_;
};

}  // namespace tdefault::tables::sql
