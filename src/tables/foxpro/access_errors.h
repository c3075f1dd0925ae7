// The errors of misused connections and recordsets, with the texts that users of ADO know.
#pragma once

#include <string>

#include "base/error.h"

namespace tdefault::tables::foxpro {

// `source` is the object: L"Connection", L"Recordset", L"Field". `detail` names what was asked for.
[[nodiscard]] Error ObjectIsOpen(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error ObjectIsClosed(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NoCurrentRow(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error CannotMoveBack(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NotUpdatable(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error RowDeleted(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error RowChanged(const wchar_t* source, const std::wstring& detail);
[[nodiscard]] Error NoSuchItem(const wchar_t* source, const std::wstring& detail);

}  // namespace tdefault::tables::foxpro
