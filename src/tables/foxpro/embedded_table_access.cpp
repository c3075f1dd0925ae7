#include "tables/foxpro/embedded_table_access.h"

#include <memory>
#include <string>
#include <utility>

#include "tables/foxpro/embedded_connection.h"
#include "tables/foxpro/embedded_recordset.h"

namespace tdefault::tables::foxpro {

EmbeddedTableAccess::EmbeddedTableAccess(platform::Files& files, const LockPatience& patience,
                                         std::uint32_t ansi_code_page)
    : files_(files), patience_(patience), ansi_code_page_(ansi_code_page) {}

std::unique_ptr<Connection> EmbeddedTableAccess::MakeConnection() {
  return std::make_unique<EmbeddedConnection>(files_, patience_, ansi_code_page_);
}

std::unique_ptr<Recordset> EmbeddedTableAccess::MakeRecordset() {
  return std::make_unique<EmbeddedRecordset>();
}

}  // namespace tdefault::tables::foxpro
