#include "tables/foxpro/table_errors.h"

#include "platform/system_result.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr wchar_t kRemedy[] =
    L" Restore the file from a backup, or have it checked and repaired with FoxPro.";

}  // namespace

std::wstring FileSubject(const TableIdentity& table, const std::wstring& file) {
  return L"Table " + table.name + L", file " + file + L": ";
}

Error DamagedFile(const TableIdentity& table, const std::wstring& file,
                  const std::wstring& reason) {
  return {error_number::kTableDamaged, kTablesSource,
          FileSubject(table, file) + L"the file is damaged, " + reason + L"." + kRemedy};
}

Error NoRecord(const TableIdentity& table, std::uint32_t record_number) {
  return DamagedFile(table, table.path,
                     L"what should be its record " + std::to_wstring(record_number) +
                         L" does not start as a record does");
}

Error DamagedValue(const ValuePlace& place, const std::wstring& reason) {
  return RefusedValue(place, reason,
                      L"Correct the value with FoxPro, or restore the file from a backup.");
}

Error RefusedValue(const ValuePlace& place, const std::wstring& reason,
                   const std::wstring& remedy) {
  return {error_number::kTableDamaged, kTablesSource,
          FileSubject(place.table, place.table.path) + L"record " +
              std::to_wstring(place.record_number) + L", column " + place.column + L": " + reason +
              L". " + remedy};
}

Error RefusedFile(const TableIdentity& table, const std::wstring& file, const std::wstring& reason,
                  const std::wstring& remedy) {
  return {error_number::kTableDamaged, kTablesSource,
          FileSubject(table, file) + reason + L". " + remedy};
}

Error FileFailure(const TableIdentity& table, const std::wstring& file, const wchar_t* action,
                  std::uint32_t code) {
  namespace system_code = platform::system_code;
  switch (code) {
    case system_code::kSharingViolation:
    case system_code::kLockViolation:
      return {error_number::kInUseByAnother, kTablesSource,
              FileSubject(table, file) +
                  L"the file is in use by another program, which allows nobody else to read it. "
                  L"Close it there and try again."};
    case system_code::kAccessDenied:
      return {error_number::kNoPermission, kTablesSource,
              FileSubject(table, file) +
                  L"access to the file is denied. Ask for the right to read it."};
    default:
      return {error_number::kTableDamaged, kTablesSource,
              FileSubject(table, file) + L"the file could not be " + action + L" (system error " +
                  std::to_wstring(code) + L"). Check the drive and the network connection."};
  }
}

Error LockedByAnother(const TableIdentity& table, const std::wstring& file,
                      const std::wstring& part, std::uint32_t waited_milliseconds) {
  return {error_number::kInUseByAnother, kTablesSource,
          FileSubject(table, file) + part + L" is in use by another program or user, who did not " +
              L"release it within " + std::to_wstring(waited_milliseconds) +
              L" milliseconds. Try again when the other has finished with it, or have it waited "
              L"for longer with the environment variable TDEFAULT_LOCK_WAIT."};
}

Error NoSuchTable(const std::wstring& name, const std::wstring& reason) {
  return {error_number::kNoSuchTable, kTablesSource,
          L"There is no table " + name + L": " + reason + L". Check the name and the data folder."};
}

}  // namespace tdefault::tables::foxpro
