// A recordset of ADO and its fields.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tables/ado/automation_object.h"
#include "tables/table_access.h"

namespace tdefault::tables::ado {

class AdoField;

class AdoRecordset final : public Recordset {
 public:
  AdoRecordset();
  // What a statement gave.
  explicit AdoRecordset(ComPtr<IDispatch> recordset);
  ~AdoRecordset() override;

  AdoRecordset(const AdoRecordset&) = delete;
  AdoRecordset& operator=(const AdoRecordset&) = delete;

  void set_cursor_location(CursorLocation location) override { cursor_location_ = location; }
  void Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
            LockType lock_type) override;
  void Close() override;
  void Cancel() override;
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

 private:
  friend class AdoField;

  // Every call that may change the current row: what fields keep of it is no longer true.
  void CallOnRows(const wchar_t* member, std::initializer_list<VARIANT> arguments = {});
  [[nodiscard]] bool IsEdited() const;
  // The fields, asked for once per opening. Throws kObjectClosed.
  [[nodiscard]] const std::vector<std::unique_ptr<AdoField>>& Fields() const;

  AutomationObject object_;
  std::optional<CursorLocation> cursor_location_;
  mutable std::vector<std::unique_ptr<AdoField>> fields_;
  mutable std::int64_t step_count_ = 1;
};

}  // namespace tdefault::tables::ado
