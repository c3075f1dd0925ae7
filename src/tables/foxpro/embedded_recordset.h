// The rows of a query, as the embedded engine gives them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tables/sql/query.h"
#include "tables/table_access.h"

namespace tdefault::tables::foxpro {

class EmbeddedConnection;

// Fetches its rows one at a time, whatever the cursor: a client cursor costs no more than a
// forward-only one until somebody asks for its record count, which then costs a pass of its own.
class EmbeddedRecordset final : public Recordset {
 public:
  EmbeddedRecordset() = default;
  ~EmbeddedRecordset() override;

  EmbeddedRecordset(const EmbeddedRecordset&) = delete;
  EmbeddedRecordset& operator=(const EmbeddedRecordset&) = delete;

  // Without a location of its own a recordset takes its connection's.
  void set_cursor_location(CursorLocation location) override { cursor_location_ = location; }

  void Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
            LockType lock_type) override;
  // Shows the rows of a statement that was run on the connection. REQUIRES: closed.
  void Show(const std::wstring& source, std::unique_ptr<sql::Rows> rows,
            EmbeddedConnection& connection, CursorType cursor_type);
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

  void RequireOpen(const wchar_t* operation) const;
  // Steps to the next row or to EOF. A step that fails leaves the recordset at EOF.
  void Step() const;
  // Stands on a row that was the current one before. A step that fails leaves it at EOF.
  void ReturnTo(std::int64_t row) const;

  std::optional<CursorLocation> cursor_location_;
  EmbeddedConnection* connection_ = nullptr;  // null while closed
  std::wstring statement_;
  bool counts_ = false;
  std::vector<std::unique_ptr<Field>> fields_;

  // Counting goes through the rows and comes back, so it moves these without changing what a user
  // of the recordset sees.
  mutable std::unique_ptr<sql::Rows> rows_;
  mutable std::int64_t row_number_ = 0;  // of the current row, from 1
  mutable std::int64_t step_count_ = 0;  // changes whenever the current row does
  mutable bool eof_ = true;
  mutable std::optional<std::int32_t> record_count_;
};

}  // namespace tdefault::tables::foxpro
