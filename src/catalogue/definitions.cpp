// Definitions: looked up, added, and deleted together with what they have in the INI file.
#include "catalogue/definitions.h"

#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "catalogue/choice_text.h"
#include "catalogue/ini_backup.h"
#include "catalogue/ini_comments.h"
#include "catalogue/sql_text.h"
#include "support/locations.h"
#include "support/session.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

using tables::ConnectMode;
using tables::CursorLocation;

// The pause between a profile write and reading the file line by line.
constexpr std::int32_t kSettlingMilliseconds = 500;

std::wstring LogicalLiteral(bool value) { return value ? L".T." : L".F."; }

std::wstring TrimmedText(tables::Recordset& recordset, const wchar_t* column) {
  const std::wstring text = ToText(recordset.field(column).value(), L":ReadDefinition");
  return std::wstring(TrimBlanks(text));
}

std::wstring InsertStatement(const records::INIOption& option) {
  const std::wstring choices = option.Choices() ? ChoicesToText(*option.Choices()) : std::wstring();
  return L"INSERT INTO DEFAULTS (Id,Localini,Inisection,Key,Linkfield,type,choices,minimum,"
         L"maximum,decimals,default,comment,addtnlproc) VALUES ('" +
         option.ID() + L"'," + LogicalLiteral(option.LocalINI()) + L",'" + option.Section() +
         L"','" + option.Key() + L"','" + option.Linkedfield() + L"'," +
         std::to_wstring(static_cast<std::int32_t>(option.OptionType())) + L",'" +
         SqlQuote(choices) + L"'," + std::to_wstring(option.Minimum()) + L"," +
         std::to_wstring(option.Maximum()) + L"," + std::to_wstring(option.Decimals()) + L",'" +
         option.Default() + L"','" + SqlQuote(option.Comment()) + L"','" + option.AdditionalProc() +
         L"')";
}

// The number of live keys of a section; absent when the file is not there or cannot be read,
// because a section that cannot be read looks like one without keys, and such a one goes as a
// whole. For that reason, too, the file is kept open meanwhile, so that nobody takes it for
// himself, and a section without keys is looked at twice.
std::optional<std::int16_t> CountKeys(platform::Platform& platform, const std::wstring& file,
                                      const std::wstring& section) {
  const auto held =
      platform.files.Open(file, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (!held.ok()) return std::nullopt;
  const std::int16_t count = CountSectionKeys(platform.profile_files, file, section);
  return count > 0 ? count : CountSectionKeys(platform.profile_files, file, section);
}

// Whether there is a copy that a removal which breaks off can be undone from, or else the file can
// be written at least: where it cannot, nothing is to be removed anyway.
bool IsPrepared(platform::Files& files, IniBackup& backup) {
  try {
    backup.Copy();
    return true;
  } catch (const Error&) {
    return files
        .Open(backup.path(), platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite)
        .ok();
  }
}

// Removes a key, or without one the whole section; false when the system does not. It writes in
// place, and a write that breaks off leaves the file torn: then a copy puts it back, which the end
// of the process leaves beside it. So does a failure of putting it back.
bool RemoveFromFile(platform::Platform& platform, const std::wstring& file,
                    const std::wstring& section, const std::optional<std::wstring>& key) {
  IniBackup backup(platform, file);
  if (!IsPrepared(platform.files, backup)) return false;
  const bool removed = platform.profile_files.WriteEntry(section, key, std::nullopt, file) != 0;
  if (!removed) backup.MarkChanged();
  static_cast<void>(backup.Restore());
  return removed;
}

}  // namespace

std::optional<StoredDefinition> FindDefinition(tables::Connection& connection,
                                               std::unique_ptr<tables::Recordset>& recordset,
                                               const std::wstring& id) {
  recordset = connection.Execute(
      L"SELECT Inisection, Key, Localini, Comment FROM DEFAULTS WHERE Id = '" + id + L"'");
  if (recordset->bof() && recordset->eof()) return std::nullopt;
  StoredDefinition definition;
  definition.section = TrimmedText(*recordset, L"Inisection");
  definition.key = TrimmedText(*recordset, L"Key");
  definition.comment = TrimmedText(*recordset, L"Comment");
  definition.local_ini = ToBoolean(recordset->field(L"Localini").value(), L":ReadDefinition");
  return definition;
}

bool InsertDefinition(tables::TableAccess& tables, const std::wstring& data_path,
                      const records::INIOption& option) {
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    connection = support::OpenConnection(tables, data_path, CursorLocation::kServer,
                                         ConnectMode::kReadWrite);
    recordset = connection->Execute(InsertStatement(option));
    support::CloseRecordset(connection, recordset);
    return true;
  } catch (const Error&) {
    support::CloseAfterFailure(connection, recordset);
    return false;
  }
}

bool Options::SectionKeyExists(const std::wstring& section, const std::wstring& key, bool local_ini,
                               std::wstring& record_id) {
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    connection =
        support::OpenConnection(tables_, DataPath(), CursorLocation::kServer, ConnectMode::kRead);
    recordset = tables_.MakeRecordset();
    recordset->Open(L"SELECT Id FROM DEFAULTS WHERE UPPER(Inisection) = '" + ToUpper(section) +
                        L"' AND UPPER(Key) = '" + ToUpper(key) + L"' AND Localini = " +
                        LogicalLiteral(local_ini),
                    *connection, tables::CursorType::kForwardOnly, tables::LockType::kReadOnly);
    const bool exists = !(recordset->bof() && recordset->eof());
    std::wstring found;
    if (exists) found = ToText(recordset->field(L"ID").value(), L":SectionKeyExists");
    support::CloseRecordset(connection, recordset);
    if (exists) record_id = found;
    return exists;
  } catch (const Error&) {
    support::CloseAfterFailure(connection, recordset);
    return false;
  }
}

bool Options::DeleteOption(const std::wstring& id) {
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    connection = support::OpenConnection(tables_, DataPath(), CursorLocation::kServer,
                                         ConnectMode::kReadWrite);
    const std::optional<StoredDefinition> definition = FindDefinition(*connection, recordset, id);
    std::unique_ptr<tables::Connection> kept;
    support::CloseRecordset(kept, recordset);
    if (definition)
      recordset = connection->Execute(L"DELETE FROM DEFAULTS WHERE Id = '" + id + L"'");
    support::CloseRecordset(connection, recordset);
    if (!definition) return false;
    // The catalogue before the file: where it cannot be loaded, the value is still there.
    const bool loaded = InitOptCollection();
    // The definition is gone, whatever becomes of the file.
    RemoveEntry(*definition);
    return loaded;
  } catch (const Error&) {
    support::CloseAfterFailure(connection, recordset);
    return false;
  }
}

void Options::RemoveEntry(const StoredDefinition& definition) {
  const std::wstring file =
      definition.local_ini
          ? support::GetIniPath(platform_, location_, support::LocalIniName(location_))
          : DataPath() + L"\\" + support::kGlobalIniName;
  const std::optional<std::int16_t> count = CountKeys(platform_, file, definition.section);
  if (!count) return;
  if (*count < 2) {
    // With the last key its section goes; comments that stand elsewhere stay.
    RemoveFromFile(platform_, file, definition.section, std::nullopt);
    return;
  }
  // The comment of a key that stays stays, too.
  if (!RemoveFromFile(platform_, file, definition.section, definition.key)) return;
  support::Pause(platform_.clock, kSettlingMilliseconds, false);
  RemoveIniComment(definition.local_ini ? INIFile() : file, definition.comment);
}

}  // namespace tdefault::catalogue
