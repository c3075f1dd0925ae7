#include "tables/foxpro/change_errors.h"

#include "platform/system_result.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kShownCharacters = 40;

std::wstring ColumnSubject(const TableIdentity& table, const std::wstring& column) {
  return FileSubject(table, table.path) + L"column " + column + L": ";
}

// The value as the error texts show it.
struct Shown {
  std::wstring operator()(Null) const { return L".NULL."; }
  std::wstring operator()(bool value) const { return value ? L".T." : L".F."; }
  std::wstring operator()(std::int32_t value) const { return std::to_wstring(value); }
  std::wstring operator()(double value) const { return NumberToText(value); }
  std::wstring operator()(Currency value) const {
    return NumberToText(static_cast<double>(value.ten_thousandths) / 10000);
  }
  std::wstring operator()(const std::wstring& value) const {
    if (value.size() <= kShownCharacters) return L"'" + value + L"'";
    return L"'" + value.substr(0, kShownCharacters) + L"...' (" + std::to_wstring(value.size()) +
           L" characters)";
  }
  std::wstring operator()(Date value) const { return L"{" + ToText(value) + L"}"; }
  std::wstring operator()(DateTime value) const { return L"{" + ToText(value) + L"}"; }
  std::wstring operator()(const Bytes& value) const {
    return L"of " + std::to_wstring(value.size()) + L" bytes";
  }
};

// A day outside the calendar has no text.
bool HasText(Date day) { return day.empty() || (day >= kFirstDay && day <= kLastDay); }

std::wstring Show(const Value& value) {
  const auto* day = std::get_if<Date>(&value);
  const auto* moment = std::get_if<DateTime>(&value);
  if (day != nullptr && !HasText(*day)) return L"of day " + std::to_wstring(day->julian_day);
  if (moment != nullptr && !HasText(moment->date))
    return L"of day " + std::to_wstring(moment->date.julian_day);
  return std::visit(Shown(), value);
}

std::wstring KindName(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      return L"text";
    case ColumnKind::kNumber:
    case ColumnKind::kInteger:
    case ColumnKind::kCurrency:
      return L"numbers";
    case ColumnKind::kLogical:
      return L"logical values";
    case ColumnKind::kDate:
    case ColumnKind::kDateTime:
      return L"dates";
    case ColumnKind::kBinary:
      return L"bytes";
  }
  return L"values";
}

}  // namespace

Error ValueDoesNotFit(const TableIdentity& table, const std::wstring& column, const Value& value,
                      const std::wstring& reason) {
  return {error_number::kValueDoesNotFit, kTablesSource,
          ColumnSubject(table, column) + L"the value " + Show(value) + L" does not fit, " + reason +
              L". Nothing was stored; correct the value."};
}

Error DataTypeMismatch(const TableIdentity& table, const Column& column, const Value& value) {
  return {error_number::kStatementError, kTablesSource,
          L"Data type mismatch. " + ColumnSubject(table, column.name) + L"the value " +
              Show(value) + L" is of another type, the column takes " + KindName(column.kind) +
              L". Nothing was stored; correct the value."};
}

Error NullRefused(const TableIdentity& table, const std::wstring& column) {
  return {error_number::kStatementError, kTablesSource,
          ColumnSubject(table, column) +
              L"the column does not accept null values. Nothing was stored; give it a value."};
}

Error AutomaticColumn(const TableIdentity& table, const std::wstring& column) {
  return {error_number::kStatementError, kTablesSource,
          ColumnSubject(table, column) +
              L"the column numbers its rows itself and takes no value. Nothing was stored; leave "
              L"the column out."};
}

Error ConnectionOnlyReads(const TableIdentity& table, const std::wstring& setting) {
  return {error_number::kNoPermission, kTablesSource,
          FileSubject(table, table.path) + L"the connection is open for reading only, " + setting +
              L". Open it with the mode ReadWrite (3) to change tables."};
}

Error FileNotWritable(const TableIdentity& table, const std::wstring& file) {
  return {error_number::kNoPermission, kTablesSource,
          FileSubject(table, file) +
              L"the file may be read, but not changed. Take its read-only mark off, or ask for the "
              L"right to write to it and its folder."};
}

Error TableNotChangeable(const TableIdentity& table, const std::wstring& reason,
                         const std::wstring& remedy) {
  return {error_number::kTableDamaged, kTablesSource,
          FileSubject(table, table.path) + L"the table may be read, but not changed: " + reason +
              L". " + remedy};
}

Error FileFull(const TableIdentity& table, const std::wstring& file, const std::wstring& reason) {
  return {error_number::kTableDamaged, kTablesSource,
          FileSubject(table, file) + L"the file is full, " + reason +
              L". Nothing was stored; move rows that are no longer needed to another table, and "
              L"pack this one with FoxPro."};
}

Error WriteFailure(const TableIdentity& table, const std::wstring& file, const wchar_t* action,
                   std::uint32_t code) {
  namespace system_code = platform::system_code;
  switch (code) {
    case system_code::kAccessDenied:
      return FileNotWritable(table, file);
    case system_code::kLockViolation:
    case system_code::kSharingViolation:
      return {error_number::kInUseByAnother, kTablesSource,
              FileSubject(table, file) +
                  L"the file is in use by another program, which allows nobody else to change it. "
                  L"Close it there and try again."};
    case system_code::kDiskFull:
      return {error_number::kTableDamaged, kTablesSource,
              FileSubject(table, file) + L"the file could not be " + action +
                  L" because the disk is full. Make room on it and try again."};
    default:
      return FileFailure(table, file, action, code);
  }
}

}  // namespace tdefault::tables::foxpro
