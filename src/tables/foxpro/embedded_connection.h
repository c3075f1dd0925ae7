// A data folder opened by the embedded engine.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "platform/files.h"
#include "tables/foxpro/stored_table.h"
#include "tables/foxpro/table_locks.h"
#include "tables/table_access.h"

namespace tdefault::tables::foxpro {

class EmbeddedRecordset;

// Knows the recordsets that were opened on it: closing it closes them, as ADO does.
class EmbeddedConnection final : public Connection {
 public:
  EmbeddedConnection(platform::Files& files, const LockPatience& patience,
                     std::uint32_t ansi_code_page);
  ~EmbeddedConnection() override;

  EmbeddedConnection(const EmbeddedConnection&) = delete;
  EmbeddedConnection& operator=(const EmbeddedConnection&) = delete;

  void set_connection_string(const std::wstring& text) override { connection_string_ = text; }
  void set_cursor_location(CursorLocation location) override { cursor_location_ = location; }
  // Every mode reads alike; under kRead no table is changed.
  void set_mode(ConnectMode mode) override { mode_ = mode; }

  void Open() override;
  void Close() override;
  [[nodiscard]] ObjectState state() const override;
  std::unique_ptr<Recordset> Execute(const std::wstring& statement) override;
  [[nodiscard]] std::int32_t records_affected() const override { return records_affected_; }

  [[nodiscard]] CursorLocation cursor_location() const { return open_cursor_location_; }
  [[nodiscard]] ConnectMode mode() const { return open_mode_; }

  // REQUIRES of all three: the connection is open.
  [[nodiscard]] TableFinder& tables() { return *folder_; }
  void Add(EmbeddedRecordset& recordset) { recordsets_.insert(&recordset); }
  void Forget(EmbeddedRecordset& recordset) noexcept { recordsets_.erase(&recordset); }

 private:
  void Release() noexcept;
  void CheckFolder(const std::wstring& path) const;

  platform::Files& files_;
  LockPatience patience_;
  std::uint32_t ansi_code_page_;
  std::wstring connection_string_;
  CursorLocation cursor_location_ = CursorLocation::kServer;
  ConnectMode mode_ = ConnectMode::kUnknown;

  std::unique_ptr<TableFolder> folder_;  // null while closed
  CursorLocation open_cursor_location_ = CursorLocation::kServer;
  ConnectMode open_mode_ = ConnectMode::kUnknown;
  std::set<EmbeddedRecordset*> recordsets_;
  std::int32_t records_affected_ = -1;
};

}  // namespace tdefault::tables::foxpro
