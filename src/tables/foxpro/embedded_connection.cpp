#include "tables/foxpro/embedded_connection.h"

#include <utility>

#include "tables/foxpro/access_errors.h"
#include "tables/foxpro/connection_string.h"
#include "tables/foxpro/embedded_recordset.h"

namespace tdefault::tables::foxpro {
namespace {}  // namespace

EmbeddedConnection::EmbeddedConnection(platform::Files& files, const LockPatience& patience,
                                       std::uint32_t ansi_code_page)
    : files_(files), patience_(patience), ansi_code_page_(ansi_code_page) {}

EmbeddedConnection::~EmbeddedConnection() { Release(); }

void EmbeddedConnection::Open() {
  if (folder_) throw ObjectIsOpen(kConnectionSource, L"Open");
  ConnectionParts parts = ParseConnectionString(connection_string_);
  CheckFolder(parts.data_source);
  TableView view{parts.sequence, parts.hides_deleted, ansi_code_page_};
  if (mode_ == ConnectMode::kRead) {
    view.read_only_reason = L"its mode is Read (1)";
  } else if (parts.read_only) {
    view.read_only_reason = L"its connection string says Mode=Read";
  }
  folder_ = std::make_unique<TableFolder>(files_, std::move(parts.data_source), view, patience_);
  open_cursor_location_ = cursor_location_;
  open_mode_ = mode_;
}

void EmbeddedConnection::CheckFolder(const std::wstring& path) const {
  const auto entries = files_.Enumerate(path + L"\\*");
  // The root folder of an empty drive exists and has no entries: "file not found".
  namespace system_code = platform::system_code;
  if (entries.ok() || entries.code() == system_code::kFileNotFound) return;
  const bool denied = entries.code() == system_code::kAccessDenied;
  throw Error(denied ? error_number::kNoPermission : error_number::kTableDamaged, kConnectionSource,
              L"The data folder " + path +
                  (denied ? L" may not be listed. Ask for the right to read it."
                          : L" does not exist or cannot be reached (system error " +
                                std::to_wstring(entries.code()) +
                                L"). Check its path, the drive and the network connection."));
}

void EmbeddedConnection::Close() {
  if (!folder_) throw ObjectIsClosed(kConnectionSource, L"Close");
  while (!recordsets_.empty()) (*recordsets_.begin())->Release();
  // Closed whether or not what was written gets to the disk.
  const std::unique_ptr<TableFolder> folder = std::move(folder_);
  folder->Flush();
}

void EmbeddedConnection::Release() noexcept {
  while (!recordsets_.empty()) (*recordsets_.begin())->Release();
  folder_.reset();
}

ObjectState EmbeddedConnection::state() const {
  return folder_ ? ObjectState::kOpen : ObjectState::kClosed;
}

std::unique_ptr<Recordset> EmbeddedConnection::Execute(const std::wstring& statement) {
  if (!folder_) throw ObjectIsClosed(kConnectionSource, L"Execute " + statement);
  sql::Outcome outcome = sql::Execute(statement, *folder_);
  auto recordset = std::make_unique<EmbeddedRecordset>();
  if (outcome.rows != nullptr)
    recordset->Show(statement, std::move(outcome.rows), *this, CursorType::kForwardOnly,
                    LockType::kReadOnly);
  records_affected_ = static_cast<std::int32_t>(outcome.affected);
  return recordset;
}

}  // namespace tdefault::tables::foxpro
