// Table access through ADO with the provider VFPOLEDB.1.
#pragma once

#include <memory>

#include "tables/table_access.h"

namespace tdefault::tables::ado {

// Makes connections and recordsets over ADODB.Connection and ADODB.Recordset, used late bound, for
// a thread on which COM is initialised; making one throws otherwise. Errors are those that ADO and
// the provider raise, unchanged. Statements may hold literals of any length.
class AdoTableAccess final : public TableAccess {
 public:
  std::unique_ptr<Connection> MakeConnection() override;
  std::unique_ptr<Recordset> MakeRecordset() override;
};

// The class of the FoxPro provider.
inline constexpr wchar_t kProviderClass[] = L"VFPOLEDB.1";

// Whether the class, by its programmatic identifier, has a server for programs of this bitness.
[[nodiscard]] bool IsProviderRegistered(const wchar_t* programmatic_identifier = kProviderClass);

}  // namespace tdefault::tables::ado
