// The rows that the processes of the stress test write: everything in a row follows from its ID and
// its version, so that a reader can tell whether it is whole.
#pragma once

#include <cstdint>
#include <string>

#include "base/value.h"
#include "platform/platform.h"
#include "tables/table_access.h"
#include "tables/table_builder.h"

namespace tdefault::tests {

inline constexpr int kSharedRows = 8;

// STRESS.dbf: a memo column, automatic numbers, and tags with unique keys, texts, numbers and a
// condition. `empty` tells which.
[[nodiscard]] BuiltTable EmptyStressTable();

// Rows of one worker, and the rows whose VER all of them count up.
[[nodiscard]] std::wstring OwnId(int worker, std::uint32_t number);
[[nodiscard]] std::wstring SharedId(int number);

[[nodiscard]] std::wstring InsertStatement(const std::wstring& id, std::uint32_t version);
[[nodiscard]] std::wstring UpdateStatement(const std::wstring& id, std::uint32_t version);
[[nodiscard]] std::wstring CountStatement(const std::wstring& id);
[[nodiscard]] std::wstring CountAllStatement();
[[nodiscard]] std::wstring DeleteStatement(const std::wstring& id);

// What is wrong with the row that the recordset stands on, as that version of its ID; empty when
// nothing is. `counts` for a shared row, whose version only counts.
[[nodiscard]] std::wstring WrongInRow(tables::Recordset& row, std::uint32_t version, bool counts);

[[nodiscard]] std::unique_ptr<tables::Connection> Connect(tables::TableAccess& access,
                                                          const std::wstring& folder);

// The text without blanks at its end, and the whole number, of a field.
[[nodiscard]] std::wstring TextOf(tables::Recordset& row, const wchar_t* column);
[[nodiscard]] std::uint32_t NumberOf(tables::Recordset& row, const wchar_t* column);

}  // namespace tdefault::tests
