#include "support/table_connection.h"

#include <cstdint>

#include "base/error.h"
#include "base/text.h"

namespace tdefault::support {
namespace {

// The status of a row with values that are not stored yet.
constexpr std::int32_t kModified = 2;

// Cancel ends a fetch but leaves an edit, with which a recordset may refuse to close.
void CancelRow(tables::Recordset& recordset) {
  const std::int32_t status = recordset.status();
  if (status == 0) return;
  recordset.Cancel();
  if (status == kModified) recordset.CancelUpdate();
}

}  // namespace

std::wstring ConnectionString(std::wstring_view data_path) {
  constexpr const wchar_t* kTemplate =
      L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=%DataPath%;"
      L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;";
  return ReplaceIgnoringCase(kTemplate, L"%DataPath%", data_path);
}

std::unique_ptr<tables::Connection> OpenConnection(tables::TableAccess& tables,
                                                   std::wstring_view data_path,
                                                   tables::CursorLocation cursors,
                                                   tables::ConnectMode mode) {
  std::unique_ptr<tables::Connection> connection = tables.MakeConnection();
  connection->set_connection_string(ConnectionString(data_path));
  connection->set_cursor_location(cursors);
  // Behind the string, which names a mode of its own.
  connection->set_mode(mode);
  connection->Open();
  return connection;
}

void CloseRecordset(std::unique_ptr<tables::Connection>& connection,
                    std::unique_ptr<tables::Recordset>& recordset) {
  if (recordset) {
    if (recordset->state() == tables::ObjectState::kOpen) {
      if (!recordset->bof() && !recordset->eof()) CancelRow(*recordset);
      recordset->Close();
    }
    recordset.reset();
  }
  if (connection) {
    if (connection->state() == tables::ObjectState::kOpen) connection->Close();
    connection.reset();
  }
}

void CloseAfterFailure(std::unique_ptr<tables::Connection>& connection,
                       std::unique_ptr<tables::Recordset>& recordset) {
  try {
    CloseRecordset(connection, recordset);
  } catch (const Error&) {
    // Destruction closes what is left.
    recordset.reset();
    connection.reset();
  }
}

}  // namespace tdefault::support
