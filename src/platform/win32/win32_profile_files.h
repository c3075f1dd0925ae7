// The profile-file port over GetPrivateProfileStringA, GetPrivateProfileSectionA and
// WritePrivateProfileStringA.
#pragma once

#include "platform/profile_files.h"

namespace tdefault::platform::win32 {

class Win32ProfileFiles final : public ProfileFiles {
 public:
  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override;
  std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                           const std::wstring& file) override;
  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override;
};

}  // namespace tdefault::platform::win32
