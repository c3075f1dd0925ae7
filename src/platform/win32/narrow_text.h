// Text on its way to and from the system's narrow (ANSI) calls.
#pragma once

#include <string>
#include <string_view>

#include "platform/system_result.h"

namespace tdefault::platform::win32 {

// In the system code page; a character that the page lacks becomes "?".
[[nodiscard]] std::string Narrow(std::wstring_view text);
[[nodiscard]] std::wstring Wide(std::string_view text);

// An argument that is no path: it ends at the first NUL, as the call sees it.
[[nodiscard]] std::string NarrowArgument(std::wstring_view text);

// A path for a call. Fails with 123 when it holds a NUL and with 206 when it has 260 characters or
// more.
[[nodiscard]] SystemResult<std::string> NarrowPath(std::wstring_view path);

// The failure of the call just made.
[[nodiscard]] SystemStatus LastFailure();

}  // namespace tdefault::platform::win32
