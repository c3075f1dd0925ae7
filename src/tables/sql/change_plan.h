// Carrying out INSERT, UPDATE and DELETE over TableChanges.
//
// UPDATE and DELETE go over the table twice. The first pass finds the rows and, for UPDATE,
// computes what they will hold, so that a value which does not fit is an error before anything is
// written; subselects see the tables as they are then. The second pass locks the found rows one by
// one. A row that was changed in between by another is looked at again, and is left as it is when
// the condition no longer accepts it. What was changed before an error in the second pass stays
// changed; the error's text then tells how many rows that are.
#pragma once

#include <cstdint>

#include "tables/sql/filtered_scan.h"
#include "tables/sql/syntax.h"

namespace tdefault::tables::sql {

// Give the number of rows that were changed. Throw StatementError, and what TableChanges throws.
std::int64_t RunInsert(const InsertStatement& statement, OpenTables& tables);
std::int64_t RunUpdate(const UpdateStatement& statement, OpenTables& tables);
std::int64_t RunDelete(const DeleteStatement& statement, OpenTables& tables);

}  // namespace tdefault::tables::sql
