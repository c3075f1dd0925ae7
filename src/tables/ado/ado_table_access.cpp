#include "tables/ado/ado_table_access.h"

#include "automation/com_types.h"
// After windows.h.
#include <array>
#include <string>

#include "tables/ado/ado_connection.h"
#include "tables/ado/ado_recordset.h"

namespace tdefault::tables::ado {

std::unique_ptr<Connection> AdoTableAccess::MakeConnection() {
  return std::make_unique<AdoConnection>();
}

std::unique_ptr<Recordset> AdoTableAccess::MakeRecordset() {
  return std::make_unique<AdoRecordset>();
}

bool IsProviderRegistered(const wchar_t* programmatic_identifier) {
  // The name leads to the class for programs of both bitnesses; the server of the class is
  // registered for each apart.
  CLSID identifier{};
  if (FAILED(CLSIDFromProgID(programmatic_identifier, &identifier))) return false;
  std::array<wchar_t, 40> text{};
  if (StringFromGUID2(identifier, text.data(), static_cast<int>(text.size())) == 0) return false;
  const std::wstring name = L"CLSID\\" + std::wstring(text.data()) + L"\\InprocServer32";
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
    return false;
  RegCloseKey(key);
  return true;
}

}  // namespace tdefault::tables::ado
