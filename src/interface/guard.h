// The one place where the core's errors become what automation hosts see.
#pragma once

#include "automation/com_types.h"

namespace tdefault::automation {

// Turns the exception in flight into a result code and the thread's error information for the
// interface: an Error keeps source and description, its number as Hresult() says; lack of memory
// is E_OUTOFMEMORY; anything else E_UNEXPECTED.
// REQUIRES: called inside a catch block.
[[nodiscard]] HRESULT TranslateException(REFIID iid) noexcept;

// Numbers below 65536, the automation run-time's own, become 0x800A0000 + number; negative ones
// are result codes already.
[[nodiscard]] HRESULT Hresult(long number) noexcept;

// Runs one member of an interface. What an earlier call left as the thread's error information is
// gone, so that what a host finds there is this member's.
template <class Body>
[[nodiscard]] HRESULT Guard(REFIID iid, Body&& body) noexcept {
  SetErrorInfo(0, nullptr);
  try {
    body();
    return S_OK;
  } catch (...) {
    return TranslateException(iid);
  }
}

}  // namespace tdefault::automation
