#include "support/table_connection.h"

#include "base/error.h"
#include "base/text.h"

namespace tdefault::support {

std::wstring ConnectionString(std::wstring_view data_path) {
  constexpr const wchar_t* kTemplate =
      L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=%DataPath%;"
      L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;";
  return ReplaceIgnoringCase(kTemplate, L"%DataPath%", data_path);
}

void CloseRecordset(std::unique_ptr<tables::Connection>& connection,
                    std::unique_ptr<tables::Recordset>& recordset) {
  if (recordset) {
    if (recordset->state() == tables::ObjectState::kOpen) {
      if (!recordset->bof() && !recordset->eof() && recordset->status() != 0) recordset->Cancel();
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
