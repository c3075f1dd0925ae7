// A type of our type library, with a table of the members that it offers to late-bound callers.
#pragma once

#include <map>
#include <optional>
#include <utility>

#include "automation/com_types.h"

namespace tdefault::automation {

class TypeDescription {
 public:
  // Throws std::bad_alloc.
  explicit TypeDescription(ComPtr<ITypeInfo> type);

  [[nodiscard]] ITypeInfo* type() const noexcept { return type_.Get(); }

  // The IDs of a member's name and of its parameters' names behind it, as GetIDsOfNames gives them.
  [[nodiscard]] HRESULT FindIds(LPOLESTR* names, UINT count, DISPID* ids) const noexcept;

  // The index (for GetFuncDesc) of the member that a call by id with `flags` (DISPATCH_*) means;
  // absent when the type has none. The enumerator member answers to both ways of asking for it.
  [[nodiscard]] std::optional<UINT> FindFunction(DISPID id, WORD flags) const noexcept;

 private:
  [[nodiscard]] bool HasMember(DISPID id) const noexcept;

  ComPtr<ITypeInfo> type_;
  std::map<std::pair<DISPID, INVOKEKIND>, UINT> functions_;
};

}  // namespace tdefault::automation
