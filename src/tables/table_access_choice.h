// Which table access serves a connection.
#pragma once

#include <functional>
#include <memory>

#include "platform/platform.h"
#include "tables/table_access.h"

namespace tdefault::tables {

// Access through the provider, where a build has it.
struct ProviderAccess {
  std::unique_ptr<TableAccess> access;  // null in a build without
  // Whether the provider is registered for programs like this one. Asked for every connection.
  std::function<bool()> is_registered;
};

// Decides anew for every connection it makes: the provider where it is registered, else the
// embedded engine. The environment variable TDEFAULT_TABLES, set to "provider" or "embedded" in any
// case, decides instead; with any other value, and with "provider" in a build without, the
// connection's Open throws kTableDamaged with a text that names the value and what to set. The
// environment variable TDEFAULT_LOCK_WAIT tells how many milliseconds the embedded engine waits for
// a lock that another program holds, 5000 without it and 0 for a single try; what is no whole
// number up to 600000 makes Open throw likewise. Recordsets open on connections of either
// kind. `platform` outlives what is made.
[[nodiscard]] std::unique_ptr<TableAccess> MakeTableAccess(platform::Platform& platform,
                                                           ProviderAccess provider = {});

}  // namespace tdefault::tables
