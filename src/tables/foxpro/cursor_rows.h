// The rows of an open recordset and the current one among them, per kind of cursor.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "tables/foxpro/criteria.h"
#include "tables/sql/query.h"

namespace tdefault::tables::foxpro {

// Knows nothing of BOF and EOF: after a step that found no row, only First and Last are called.
// Steps throw what sql::Rows::Next throws.
class CursorRows : public CriteriaRow {
 public:
  // Steps to the row; false when there is none. REQUIRES of Last and Previous: MovesBack.
  virtual bool First() = 0;
  virtual bool Next() = 0;
  virtual bool Last() = 0;
  virtual bool Previous() = 0;
  [[nodiscard]] virtual bool MovesBack() const noexcept = 0;

  // Absent when only a pass over the rows would tell.
  [[nodiscard]] virtual std::optional<std::int32_t> Count() const = 0;

  // Shows only the rows that meet the criteria, all without any; then First is called. Throws what
  // reading the rows throws, and the rows are as before.
  virtual void SetFilter(std::optional<Criteria> criteria) = 0;

  // Of the current row. A row that was deleted meanwhile meets no criteria.
  [[nodiscard]] virtual bool Meets(const Criteria& criteria) const {
    return criteria.Accepts(*this);
  }
  // Throws kRowDeleted, and what sql::Rows::Read throws.
  [[nodiscard]] Value Read(std::size_t column) const override = 0;
  // In the table that rows().source() tells. REQUIRES: it tells one.
  [[nodiscard]] virtual std::uint32_t record_number() const = 0;

  // The current row was changed through this recordset; `row` is its record in the table.
  virtual void TakeChanged(const RowCursor& row) = 0;
  // Reads the current row anew, where the kind of cursor reads rows when they become current.
  virtual void Refresh() {}
};

// Gives one row after the other and keeps none.
[[nodiscard]] std::unique_ptr<CursorRows> MakeForwardRows(sql::Rows& rows);

// Keeps the values of all rows as they are now. When fetching fails behind the first row, the rows
// before stay, and what would need the rest throws. REQUIRES: `rows` outlives it.
[[nodiscard]] std::unique_ptr<CursorRows> MakeSnapshotRows(sql::Rows& rows);

// Keeps which records there are now, and reads each anew when it becomes the current row.
// REQUIRES: rows.source() tells a table, and `rows` outlives it.
[[nodiscard]] std::unique_ptr<CursorRows> MakeKeysetRows(sql::Rows& rows);

}  // namespace tdefault::tables::foxpro
