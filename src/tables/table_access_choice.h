// Which table access serves a connection.
#pragma once

#include <memory>

#include "platform/platform.h"
#include "tables/table_access.h"

namespace tdefault::tables {

// Decides anew for every connection it makes, by the environment variable TDEFAULT_TABLES:
// "embedded" in any case, or no such variable, is the embedded engine. Any other value makes the
// connection's Open throw kTableDamaged with a text that names the value and what to set instead;
// "provider" is one of them, because this version has no access through the provider. `platform`
// outlives what is made.
[[nodiscard]] std::unique_ptr<TableAccess> MakeTableAccess(platform::Platform& platform);

}  // namespace tdefault::tables
