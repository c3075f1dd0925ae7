// How every operation reaches the tables of the data folder, and lets go of them again.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tables/table_access.h"

namespace tdefault::support {

// The connection string for a data folder.
[[nodiscard]] std::wstring ConnectionString(std::wstring_view data_path);

// An open connection to a data folder.
[[nodiscard]] std::unique_ptr<tables::Connection> OpenConnection(tables::TableAccess& tables,
                                                                 std::wstring_view data_path,
                                                                 tables::CursorLocation cursors,
                                                                 tables::ConnectMode mode);

// Closes and releases both; either may be null. A recordset whose current row is in the middle of
// something is cancelled first, and values that were put into the row and not stored are dropped.
void CloseRecordset(std::unique_ptr<tables::Connection>& connection,
                    std::unique_ptr<tables::Recordset>& recordset);

// As CloseRecordset, on the way out of a failure: what closing throws is dropped, because the first
// error is the one to report. Both are released in any case.
void CloseAfterFailure(std::unique_ptr<tables::Connection>& connection,
                       std::unique_ptr<tables::Recordset>& recordset);

}  // namespace tdefault::support
