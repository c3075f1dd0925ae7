#include "tables/foxpro/row_edit.h"

#include <utility>

#include "tables/foxpro/access_errors.h"
#include "tables/foxpro/field_values.h"

namespace tdefault::tables::foxpro {
namespace {

// Gives the lock up unless the change is done or goes on.
class LockGuard {
 public:
  explicit LockGuard(TableChanges* changes) : changes_(changes) {}
  ~LockGuard() {
    if (changes_ != nullptr) changes_->UnlockRow();
  }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  TableChanges* changes_;
};

}  // namespace

RowEdit::RowEdit(CursorRows& rows, const sql::Rows::Source& source, LockType lock_type,
                 std::wstring statement)
    : rows_(rows),
      table_(*source.table),
      columns_(source.columns),
      lock_type_(lock_type),
      statement_(std::move(statement)) {}

std::wstring RowEdit::RowName() const {
  return L"record " + std::to_wstring(rows_.record_number()) + L" in " + statement_;
}

void RowEdit::Put(std::size_t field, const Value& value) {
  if (changes_ == nullptr) changes_ = table_.Change();
  const std::size_t column = columns_[field];
  Value stored = changes_->Stored(column, ConvertForColumn(value, table_.columns()[column]));
  if (!active_) Begin();
  values_.insert_or_assign(field, std::move(stored));
}

void RowEdit::Begin() {
  if (pessimistic()) {
    if (!changes_->LockRow(rows_.record_number())) throw RowDeleted(kRecordsetSource, RowName());
  } else {
    before_.clear();
    for (std::size_t field = 0; field < columns_.size(); ++field)
      before_.push_back(rows_.Read(field));
  }
  active_ = true;
}

Value RowEdit::Read(std::size_t field) const {
  const auto put = values_.find(field);
  if (put != values_.end()) return put->second;
  return pessimistic() ? changes_->row().Read(columns_[field]) : rows_.Read(field);
}

void RowEdit::Store() {
  const LockGuard guard(pessimistic() ? nullptr : changes_.get());
  if (!pessimistic()) {
    if (!changes_->LockRow(rows_.record_number())) throw RowDeleted(kRecordsetSource, RowName());
    RequireUnchanged();
  }
  std::vector<ColumnValue> values;
  for (const auto& [field, value] : values_) values.push_back({columns_[field], value});
  changes_->Update(values);
  const LockGuard done(changes_.get());
  active_ = false;
  values_.clear();
  before_.clear();
  rows_.TakeChanged(changes_->row());
}

void RowEdit::RequireUnchanged() const {
  for (std::size_t field = 0; field < columns_.size(); ++field)
    if (changes_->row().Read(columns_[field]) != before_[field])
      throw RowChanged(kRecordsetSource,
                       RowName() + L", column " + table_.columns()[columns_[field]].name);
}

void RowEdit::Drop() noexcept {
  active_ = false;
  values_.clear();
  before_.clear();
  if (changes_ != nullptr) changes_->UnlockRow();
}

}  // namespace tdefault::tables::foxpro
