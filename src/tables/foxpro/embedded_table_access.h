// Table access served by the embedded engine.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/files.h"
#include "tables/foxpro/table_locks.h"
#include "tables/table_access.h"

namespace tdefault::tables::foxpro {

class EmbeddedTableAccess final : public TableAccess {
 public:
  // `files` and the clock outlive every connection and recordset. `ansi_code_page` is the page of
  // tables that have no code page mark.
  EmbeddedTableAccess(platform::Files& files, const LockPatience& patience,
                      std::uint32_t ansi_code_page);

  std::unique_ptr<Connection> MakeConnection() override;
  std::unique_ptr<Recordset> MakeRecordset() override;

 private:
  platform::Files& files_;
  LockPatience patience_;
  std::uint32_t ansi_code_page_;
};

}  // namespace tdefault::tables::foxpro
