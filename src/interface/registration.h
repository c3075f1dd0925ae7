// The library's entries in the registry: what lets hosts create Options by its name and use the
// type library from other processes and apartments.
#pragma once

#include "automation/com_types.h"

namespace tdefault::automation {

// Writes the entries for this file, over those of another copy of the library. On failure
// nothing of the library stays registered.
[[nodiscard]] HRESULT Register() noexcept;

// Removes every entry of the library; entries that are not there are no failure. Goes on after one
// that cannot be removed and then reports the first such failure.
[[nodiscard]] HRESULT Unregister() noexcept;

}  // namespace tdefault::automation
