// Whether an INI file holds a key. The library does not tell: its answer to a deletion is about the
// definition.
#pragma once

#include <string>

#include "platform/platform.h"

namespace tovocfg {

enum class KeyState { kAbsent, kPresent, kUnreadable };

// Looks as the profile calls do: of equal sections and keys at the first one only. Only opens the
// file for reading.
[[nodiscard]] KeyState LookForKey(tdefault::platform::Platform& platform, const std::wstring& file,
                                  const std::wstring& section, const std::wstring& key);

}  // namespace tovocfg
