#include "interface/type_description.h"

#include <algorithm>

namespace tdefault::automation {

TypeDescription::TypeDescription(ComPtr<ITypeInfo> type) : type_(std::move(type)) {
  FUNCDESC* function = nullptr;
  for (UINT index = 0; SUCCEEDED(type_->GetFuncDesc(index, &function)); ++index) {
    const std::pair member(function->memid, function->invkind);
    // The members of IUnknown and IDispatch, which a dual interface describes along with its own.
    const bool restricted = (function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0;
    type_->ReleaseFuncDesc(function);
    if (!restricted) functions_.emplace(member, index);
  }
}

HRESULT TypeDescription::FindIds(LPOLESTR* names, UINT count, DISPID* ids) const noexcept {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  std::fill_n(ids, count, DISPID_UNKNOWN);
  const HRESULT found = DispGetIDsOfNames(type_.Get(), names, count, ids);
  if (ids[0] == DISPID_UNKNOWN || HasMember(ids[0])) return found;
  std::fill_n(ids, count, DISPID_UNKNOWN);
  return DISP_E_UNKNOWNNAME;
}

std::optional<UINT> TypeDescription::FindFunction(DISPID id, WORD flags) const noexcept {
  if (id == DISPID_NEWENUM && (flags & DISPATCH_PROPERTYGET) != 0) flags |= DISPATCH_METHOD;
  for (const INVOKEKIND kind : {INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT}) {
    if ((flags & kind) == 0) continue;
    const auto found = functions_.find({id, kind});
    if (found != functions_.end()) return found->second;
  }
  return std::nullopt;
}

bool TypeDescription::HasMember(DISPID id) const noexcept {
  const auto first = functions_.lower_bound({id, static_cast<INVOKEKIND>(0)});
  return first != functions_.end() && first->first.first == id;
}

}  // namespace tdefault::automation
