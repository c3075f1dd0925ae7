// The values put into the current row of a recordset until they are stored.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tables/foxpro/cursor_rows.h"
#include "tables/table_access.h"

namespace tdefault::tables::foxpro {

// One row at a time. Destruction drops the values and gives up the lock.
class RowEdit {
 public:
  // `rows` and the table of `source` outlive it; `statement` is for error texts.
  RowEdit(CursorRows& rows, const sql::Rows::Source& source, LockType lock_type,
          std::wstring statement);

  [[nodiscard]] bool active() const { return active_; }

  // Begins the edit, where there is none, and puts the value in. Throws as Field::set_value.
  void Put(std::size_t field, const Value& value);

  // What the row shows: what was put in, else what stands under the lock, else what it showed
  // before.
  [[nodiscard]] Value Read(std::size_t field) const;

  // Stores the row and ends the edit. Throws as Recordset::Update, and the edit goes on.
  void Store();

  // Drops what was put in.
  void Drop() noexcept;

 private:
  void Begin();
  void RequireUnchanged() const;
  [[nodiscard]] bool pessimistic() const { return lock_type_ == LockType::kPessimistic; }
  [[nodiscard]] std::wstring RowName() const;

  CursorRows& rows_;
  Table& table_;
  const std::vector<std::size_t>& columns_;  // of the table, by field
  LockType lock_type_;
  std::wstring statement_;
  std::unique_ptr<TableChanges> changes_;  // made for the first edit
  bool active_ = false;
  std::map<std::size_t, Value> values_;  // by field
  std::vector<Value> before_;            // under optimistic locking
};

}  // namespace tdefault::tables::foxpro
