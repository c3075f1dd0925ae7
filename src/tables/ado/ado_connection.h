// A connection of ADO.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tables/ado/automation_object.h"
#include "tables/table_access.h"

namespace tdefault::tables::ado {

class AdoConnection final : public Connection {
 public:
  AdoConnection();
  ~AdoConnection() override;

  AdoConnection(const AdoConnection&) = delete;
  AdoConnection& operator=(const AdoConnection&) = delete;

  void set_connection_string(const std::wstring& text) override { connection_string_ = text; }
  void set_cursor_location(CursorLocation location) override { cursor_location_ = location; }
  void set_mode(ConnectMode mode) override { mode_ = mode; }

  void Open() override;
  void Close() override;
  [[nodiscard]] ObjectState state() const override;
  std::unique_ptr<Recordset> Execute(const std::wstring& statement) override;
  [[nodiscard]] std::int32_t records_affected() const override { return records_affected_; }

  [[nodiscard]] IDispatch* dispatch() const noexcept { return object_.dispatch(); }

 private:
  AutomationObject object_;
  std::wstring connection_string_;
  std::optional<CursorLocation> cursor_location_;
  std::optional<ConnectMode> mode_;
  std::int32_t records_affected_ = -1;
};

}  // namespace tdefault::tables::ado
