// The rows of a query, as the embedded engine gives them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tables/foxpro/cursor_rows.h"
#include "tables/foxpro/row_edit.h"
#include "tables/sql/query.h"
#include "tables/table_access.h"

namespace tdefault::tables::foxpro {

class EmbeddedConnection;

// A cursor at the client, and a static one, keep the values of all rows as they were at Open. A
// forward-only one at the server keeps nothing. A keyset or dynamic one at the server keeps which
// records there are, where the statement gives plain columns of one table, else the values.
class EmbeddedRecordset final : public Recordset {
 public:
  EmbeddedRecordset() = default;
  ~EmbeddedRecordset() override;

  EmbeddedRecordset(const EmbeddedRecordset&) = delete;
  EmbeddedRecordset& operator=(const EmbeddedRecordset&) = delete;

  // Without a location of its own a recordset takes its connection's.
  void set_cursor_location(CursorLocation location) override { cursor_location_ = location; }

  // At the client, pessimistic locking is optimistic.
  void Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
            LockType lock_type) override;
  // Shows the rows that a statement gave. REQUIRES: closed.
  void Show(const std::wstring& statement, std::unique_ptr<sql::Rows> rows,
            EmbeddedConnection& connection, CursorType cursor_type, LockType lock_type);
  // Drops what was put into the current row.
  void Close() override;
  // Closes if open; for the connection and both destructors.
  void Release() noexcept;
  // No fetch runs between two calls, so there is none to end.
  void Cancel() override {}

  [[nodiscard]] ObjectState state() const override;
  [[nodiscard]] std::int32_t status() const override;
  [[nodiscard]] bool bof() const override;
  [[nodiscard]] bool eof() const override;
  [[nodiscard]] std::int32_t record_count() const override;

  void MoveFirst() override;
  void MoveLast() override;
  void MoveNext() override;
  void MovePrevious() override;
  void set_filter(const std::wstring& criteria) override;
  void Find(const std::wstring& criteria) override;
  void Update() override;
  void CancelUpdate() override;

  [[nodiscard]] std::int32_t field_count() const override;
  [[nodiscard]] Field& field(std::int32_t position) override;
  [[nodiscard]] Field& field(const std::wstring& name) override;

  // What the fields show. REQUIRES: open.
  [[nodiscard]] const std::vector<Column>& columns() const { return rows_->columns(); }

 private:
  class RowField;

  // Where the recordset stands; without rows nowhere.
  enum class Place { kNowhere, kBeforeFirst, kOnRow, kBehindLast };

  void RequireOpen(const wchar_t* operation) const;
  void RequireRow(const wchar_t* source, const std::wstring& operation) const;
  // Before a move: a row that is being edited is stored.
  void StoreEdit();
  // Carries out a step of the cursor. One that fails leaves the recordset at EOF.
  void Step(bool (CursorRows::*step)(), Place without_row);

  std::optional<CursorLocation> cursor_location_;
  EmbeddedConnection* connection_ = nullptr;  // null while closed
  std::wstring statement_;
  bool tells_count_ = false;
  std::unique_ptr<sql::Rows> rows_;
  std::unique_ptr<CursorRows> cursor_;
  std::unique_ptr<RowEdit> edit_;  // null where rows cannot be edited
  std::vector<std::unique_ptr<Field>> fields_;
  Place place_ = Place::kNowhere;
  std::int64_t step_count_ = 0;  // changes whenever what the current row shows may have changed
};

}  // namespace tdefault::tables::foxpro
