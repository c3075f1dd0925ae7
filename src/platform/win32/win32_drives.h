// The drives port over GetLogicalDriveStringsA, GetDriveTypeA and the network provider's calls.
#pragma once

// clang-format off
#include <windows.h>
#include <winnetwk.h>
// clang-format on

#include "platform/drives.h"

namespace tdefault::platform::win32 {

// The three calls of the network provider, so that a test can give answers of its own: a machine
// without a network has none to read.
struct NetworkCalls {
  decltype(&WNetOpenEnumA) open = &WNetOpenEnumA;
  decltype(&WNetEnumResourceA) read = &WNetEnumResourceA;
  decltype(&WNetCloseEnum) close = &WNetCloseEnum;
};

class Win32Drives final : public Drives {
 public:
  explicit Win32Drives(const NetworkCalls& network = {}) : network_(network) {}

  std::vector<std::wstring> Roots() override;
  DriveKind KindOf(const std::wstring& root) override;
  SystemResult<std::unique_ptr<ConnectionEnumeration>> ConnectedResources() override;

 private:
  NetworkCalls network_;
};

}  // namespace tdefault::platform::win32
