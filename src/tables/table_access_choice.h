// Which table access serves a connection.
#pragma once

#include <memory>

#include "platform/platform.h"
#include "tables/table_access.h"

namespace tdefault::tables {

// Decides anew for every connection it makes, by the environment variable TDEFAULT_TABLES:
// "embedded" in any case, or no such variable, is the embedded engine. Any other value makes the
// connection's Open throw kTableDamaged with a text that names the value and what to set instead;
// "provider" is one of them, because this version has no access through the provider. The
// environment variable TDEFAULT_LOCK_WAIT tells how many milliseconds the embedded engine waits for
// a lock that another program holds, 5000 without it and 0 for a single try; what is no whole
// number up to 600000 makes Open throw likewise. `platform` outlives what is made.
[[nodiscard]] std::unique_ptr<TableAccess> MakeTableAccess(platform::Platform& platform);

}  // namespace tdefault::tables
