// The signed-on user, the system's version, and waiting.
#pragma once

#include <cstdint>
#include <string>

#include "platform/clock.h"
#include "platform/session.h"

// windows.h defines a macro of this name, which would rename the function in the files that include
// both. Nothing of ours wants the system's call by its bare name.
#ifdef GetUserName
#undef GetUserName
#endif

namespace tdefault::support {

// The user's display name where the system has a directory, else the log-on name: all but the last
// of the characters that the call counted. Empty text when the system gives none.
[[nodiscard]] std::wstring GetUserName(platform::Session& session);

// True on the NT family from version 5 on.
[[nodiscard]] bool IsWin2000OrLater(platform::Session& session);

// Suspends the thread; the system's own result.
std::uint32_t Pause(platform::Clock& clock, std::int32_t milliseconds, bool alertable);

}  // namespace tdefault::support
