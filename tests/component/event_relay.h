// An automation object "TovoDefaultsTest.EventRelay" that hands the events of an object to the
// methods of a script's object of the same names. Wine's script hosts cannot connect events
// themselves (WScript.ConnectObject).
//
//   Set relay = CreateObject("TovoDefaultsTest.EventRelay")
//   relay.Connect options, handler      ' handler.Modified, handler.Status text, ...
//   relay.Disconnect
#pragma once

#include <windows.h>
// After windows.h.
#include <oaidl.h>

namespace tdefault::component {

// The reference is the caller's.
[[nodiscard]] IDispatch* NewEventRelay();

}  // namespace tdefault::component
