// Late-bound calls.
#pragma once

#include "automation/com_types.h"
#include "interface/type_description.h"

namespace tdefault::automation {

// One call through IDispatch::Invoke, as the caller gave it.
struct LateBoundCall {
  DISPID id;
  LCID locale;
  WORD flags;
  DISPPARAMS* arguments;
  VARIANT* result;       // null when the caller wants none
  EXCEPINFO* exception;  // null when the caller wants none
  UINT* wrong_argument;  // null when the caller wants none
};

// Carries out a call on `object`, which implements the dual interface that `description` describes.
//
// Stands between the host and ITypeInfo::Invoke to give every host the same rules: omitted optional
// arguments get their default (0 or empty text without one); arguments may be named; each is
// converted to the declared type; a by-reference parameter takes a reference to a variant as well,
// which is what every script variable is, and the variable receives the value afterwards. A
// variable that already equals that value keeps its own type, and one that holds an object keeps it
// unless the member changed what the object was converted to. The enumerator member answers as a
// method and as a property. Arguments for a member that takes none and gives an object go to that
// object's default member; Nothing in its place is automation's error 91.
[[nodiscard]] HRESULT InvokeMember(const TypeDescription& description, void* object,
                                   const LateBoundCall& call) noexcept;

}  // namespace tdefault::automation
