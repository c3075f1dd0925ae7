#include "tables/sql/filtered_scan.h"

#include <cstddef>
#include <utility>
#include <variant>

#include "tables/sql/subselect.h"

namespace tdefault::tables::sql {

Table& OpenTables::Open(const std::wstring& name) {
  auto found = tables_.find(name);
  if (found == tables_.end()) found = tables_.emplace(name, finder_->OpenTable(name)).first;
  return *found->second;
}

FilteredScan::FilteredScan(const TableName& name, Scope* outer, OpenTables& tables)
    : table_(tables.Open(name.name)),
      scope_(outer, ToUpper(name.alias), table_, slot_),
      subselects_(MakeSubselectBinder(tables)) {}

void FilteredScan::BindConditions(const Expression& where) {
  const auto* connective = std::get_if<Connective>(&where.node);
  if (connective != nullptr && connective->conjunction) {
    for (const ExpressionPointer& operand : connective->operands) BindConditions(*operand);
    return;
  }
  const std::size_t before = scope_.outer_uses();
  BoundPointer bound = BindCondition(where, scope_, *subselects_);
  conditions_.push_back({&where, std::move(bound), scope_.outer_uses() != before});
}

void FilteredScan::Restart() {
  seeker_ = nullptr;
  cursor_ = table_.Scan();
  StandOn(*cursor_);
}

void FilteredScan::Restart(RowCursor& cursor, std::span<const std::uint32_t> records) {
  seeker_ = &cursor;
  records_ = records;
  StandOn(cursor);
}

bool FilteredScan::Next() {
  while (seeker_ != nullptr && !records_.empty()) {
    const std::uint32_t record = records_.front();
    records_ = records_.subspan(1);
    ++slot_.generation;
    if (seeker_->Seek(record) && Accepts()) return true;
  }
  if (seeker_ != nullptr || cursor_ == nullptr) return false;
  while (cursor_->Next()) {
    ++slot_.generation;
    if (Accepts()) return true;
  }
  slot_.cursor = nullptr;
  cursor_.reset();
  return false;
}

void FilteredScan::StandOn(const RowCursor& cursor) {
  slot_.cursor = &cursor;
  ++slot_.generation;
}

bool FilteredScan::Accepts() const {
  for (const Condition& condition : conditions_)
    if (!condition.bound->Test().value_or(false)) return false;
  return true;
}

}  // namespace tdefault::tables::sql
