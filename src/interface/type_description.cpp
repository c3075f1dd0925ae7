#include "interface/type_description.h"

namespace tdefault::automation {

TypeDescription::TypeDescription(ComPtr<ITypeInfo> type) : type_(std::move(type)) {
  FUNCDESC* function = nullptr;
  for (UINT index = 0; SUCCEEDED(type_->GetFuncDesc(index, &function)); ++index) {
    const std::pair member(function->memid, function->invkind);
    type_->ReleaseFuncDesc(function);
    functions_.emplace(member, index);
  }
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

}  // namespace tdefault::automation
