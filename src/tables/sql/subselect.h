// Subselects inside expressions.
#pragma once

#include <memory>

#include "tables/sql/binder.h"

namespace tdefault::tables::sql {

class OpenTables;

// Binds subselects over `tables`, which outlives what it binds.
[[nodiscard]] std::unique_ptr<SubselectBinder> MakeSubselectBinder(OpenTables& tables);

}  // namespace tdefault::tables::sql
