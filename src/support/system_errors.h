// The system's error codes as texts and as automation's numbers.
#pragma once

#include <cstdint>
#include <string>

#include "base/error.h"
#include "platform/session.h"

namespace tdefault::support {

// The system's message without line breaks, or "Error not found.".
[[nodiscard]] std::wstring SystemErrorText(platform::Session& session, std::int32_t code);

// What a failed file operation is to a host: automation's number for the system code, and "`what`:"
// followed by the system's message.
[[nodiscard]] Error FileFailure(platform::Session& session, std::uint32_t code, std::wstring source,
                                const std::wstring& what);

}  // namespace tdefault::support
