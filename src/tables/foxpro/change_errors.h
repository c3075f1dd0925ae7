// The errors of changes to stored tables. Every text names the table, its file and what to do.
#pragma once

#include <cstdint>
#include <string>

#include "base/error.h"
#include "base/value.h"
#include "tables/foxpro/table_errors.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// A value that the column cannot hold; the text shows it, shortened. `reason` is a clause.
[[nodiscard]] Error ValueDoesNotFit(const TableIdentity& table, const std::wstring& column,
                                    const Value& value, const std::wstring& reason);

// A value of another kind than the column's.
[[nodiscard]] Error DataTypeMismatch(const TableIdentity& table, const Column& column,
                                     const Value& value);

// A null for a column that does not take nulls.
[[nodiscard]] Error NullRefused(const TableIdentity& table, const std::wstring& column);

// A value for a column that numbers its rows itself.
[[nodiscard]] Error AutomaticColumn(const TableIdentity& table, const std::wstring& column);

// The connection was opened for reading; `setting` says by what ("its mode is 1").
[[nodiscard]] Error ConnectionOnlyReads(const TableIdentity& table, const std::wstring& setting);

// The system does not let this file be opened for changes.
[[nodiscard]] Error FileNotWritable(const TableIdentity& table, const std::wstring& file);

// A table that cannot be changed as a whole; `remedy` is a sentence.
[[nodiscard]] Error TableNotChangeable(const TableIdentity& table, const std::wstring& reason,
                                       const std::wstring& remedy);

// A file that has no room for more.
[[nodiscard]] Error FileFull(const TableIdentity& table, const std::wstring& file,
                             const std::wstring& reason);

// A system call that changes a table's file failed with `code`; `action` is a verb ("written").
[[nodiscard]] Error WriteFailure(const TableIdentity& table, const std::wstring& file,
                                 const wchar_t* action, std::uint32_t code);

}  // namespace tdefault::tables::foxpro
