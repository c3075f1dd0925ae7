#include "support/session.h"

#include <algorithm>
#include <optional>

#include "support/locations.h"

namespace tdefault::support {

std::wstring GetUserName(platform::Session& session) {
  const std::optional<platform::NameBuffer> name = IsWin2000OrLater(session)
                                                       ? session.DisplayName(kPathCapacity)
                                                       : session.LogOnName(kPathCapacity);
  if (!name || name->count == 0) return {};
  return name->characters.substr(0, name->count - 1U);
}

bool IsWin2000OrLater(platform::Session& session) {
  constexpr std::uint32_t kNtFamily = 2;
  const std::optional<platform::WindowsVersion> version = session.Version();
  return version && version->platform_id == kNtFamily && version->major >= 5;
}

std::uint32_t Pause(platform::Clock& clock, std::int32_t milliseconds, bool alertable) {
  return clock.Pause(static_cast<std::uint32_t>(milliseconds), alertable);
}

}  // namespace tdefault::support
