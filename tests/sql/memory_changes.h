// Changes of tables in memory. They keep the promises of tables::TableChanges and hold those who
// call them to theirs.
#pragma once

#include <memory>

#include "sql/memory_tables.h"
#include "tables/row_source.h"

namespace tdefault::tests {

// `row` is a cursor over the same table, which shows the locked row.
[[nodiscard]] std::unique_ptr<tables::TableChanges> MakeMemoryChanges(
    MemoryTable& table, std::unique_ptr<tables::RowCursor> row);

}  // namespace tdefault::tests
