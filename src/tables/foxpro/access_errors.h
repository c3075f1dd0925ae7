// The errors of misused connections and recordsets, with the texts that users of ADO know.
#pragma once

#include <string>

#include "base/error.h"

namespace tdefault::tables::foxpro {

// The objects that errors name as their source.
inline constexpr wchar_t kConnectionSource[] = L"Connection";
inline constexpr wchar_t kRecordsetSource[] = L"Recordset";
inline constexpr wchar_t kFieldSource[] = L"Field";

// `source` is one of these. `detail` names what was asked for.
[[nodiscard]] Error ObjectIsOpen(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error ObjectIsClosed(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NoCurrentRow(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error CannotMoveBack(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NotUpdatable(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error RowDeleted(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error RowChanged(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NoSuchItem(const wchar_t* source, const std::wstring& detail);

}  // namespace tdefault::tables::foxpro
