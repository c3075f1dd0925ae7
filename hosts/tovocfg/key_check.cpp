#include "tovocfg/key_check.h"

#include <cstdint>

#include "platform/system_result.h"

namespace tovocfg {

using tdefault::platform::FileAccess;
using tdefault::platform::FileShare;
using tdefault::platform::Platform;
namespace system_code = tdefault::platform::system_code;

KeyState LookForKey(Platform& platform, const std::wstring& file, const std::wstring& section,
                    const std::wstring& key) {
  // The profile calls do not tell a file that cannot be read from one without the key.
  const auto held = platform.files.Open(file, FileAccess::kRead, FileShare::kReadWrite);
  if (!held.ok()) {
    const bool missing =
        held.code() == system_code::kFileNotFound || held.code() == system_code::kPathNotFound;
    return missing ? KeyState::kAbsent : KeyState::kUnreadable;
  }
  constexpr std::uint32_t kCapacity = 8;
  for (const wchar_t* fallback : {L"a", L"b"})
    if (platform.profile_files.ReadEntry(section, key, fallback, kCapacity, file) != fallback)
      return KeyState::kPresent;
  return KeyState::kAbsent;
}

}  // namespace tovocfg
