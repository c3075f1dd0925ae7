// An automation object "TovoDefaultsTest.Module": an additional processing module whose methods end
// in every way that one can.
//
//   Succeed     gives True            Nothing   gives nothing
//   Fail        leaves a text in AddtnlProcError and gives False
//   Raise       raises error 1003     Perhaps   gives the text "perhaps"
//   CallBack    loads the catalogue again, leaves its Count as text and gives False
//   Replace     puts Nothing in place of its argument and gives True
//   B:C         gives True
//
// Every method refuses, with a text, to be called in another way than modules are.
#pragma once

#include <windows.h>
// After windows.h.
#include <oaidl.h>

namespace tdefault::component {

// The reference is the caller's.
[[nodiscard]] IDispatch* NewTestModule();

}  // namespace tdefault::component
