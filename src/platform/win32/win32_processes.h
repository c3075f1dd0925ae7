// The processes port over CreateProcessA.
#pragma once

#include "platform/processes.h"

namespace tdefault::platform::win32 {

class Win32Processes final : public Processes {
 public:
  SystemResult<std::unique_ptr<Process>> Start(const std::wstring& application,
                                               const std::wstring& command_line) override;
};

}  // namespace tdefault::platform::win32
