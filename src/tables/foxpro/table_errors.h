// The errors of stored tables. Every text names the table, its file and what to do.
#pragma once

#include <cstdint>
#include <string>

#include "base/error.h"

namespace tdefault::tables::foxpro {

// What the errors of one table say about it.
struct TableIdentity {
  std::wstring name;  // as the statement names it
  std::wstring path;  // of the table file
};

// The source of every error of the tables themselves.
inline constexpr wchar_t kTablesSource[] = L"FoxPro tables";

// How an error's text begins that concerns a file of the table.
[[nodiscard]] std::wstring FileSubject(const TableIdentity& table, const std::wstring& file);

// Where in a table a value stands.
struct ValuePlace {
  const TableIdentity& table;
  std::uint32_t record_number;
  const std::wstring& column;
};

// The table file or its memo file does not hold what its own header declares.
[[nodiscard]] Error DamagedFile(const TableIdentity& table, const std::wstring& file,
                                const std::wstring& reason);

// What should be a record starts with no deletion mark.
[[nodiscard]] Error NoRecord(const TableIdentity& table, std::uint32_t record_number);

// The stored bytes are no value of the column.
[[nodiscard]] Error DamagedValue(const ValuePlace& place, const std::wstring& reason);

// A value that this library does not read; `remedy` is a sentence.
[[nodiscard]] Error RefusedValue(const ValuePlace& place, const std::wstring& reason,
                                 const std::wstring& remedy);

// A whole file of a kind that this library does not read; `remedy` is a sentence.
[[nodiscard]] Error RefusedFile(const TableIdentity& table, const std::wstring& file,
                                const std::wstring& reason, const std::wstring& remedy);

// A system call on a table's file failed with `code`; `action` is a verb ("opened", "read").
[[nodiscard]] Error FileFailure(const TableIdentity& table, const std::wstring& file,
                                const wchar_t* action, std::uint32_t code);

// Another program held the lock on `part` ("record 5") of the file for as long as it was waited
// for.
[[nodiscard]] Error LockedByAnother(const TableIdentity& table, const std::wstring& file,
                                    const std::wstring& part, std::uint32_t waited_milliseconds);

// No table of that name in the data folder.
[[nodiscard]] Error NoSuchTable(const std::wstring& name, const std::wstring& reason);

}  // namespace tdefault::tables::foxpro
