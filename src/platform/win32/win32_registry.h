// The registry port over the system's narrow registry calls.
#pragma once

#include "platform/registry.h"

namespace tdefault::platform::win32 {

class Win32Registry final : public Registry {
 public:
  SystemResult<std::unique_ptr<RegistryKey>> OpenKey(std::uint32_t root, const std::wstring& path,
                                                     std::uint32_t access) override;
  SystemResult<std::unique_ptr<RegistryKey>> CreateKey(std::uint32_t root, const std::wstring& path,
                                                       const std::wstring& class_text,
                                                       std::uint32_t access) override;
};

}  // namespace tdefault::platform::win32
