// The product's adapter: every port over the system's own calls. Text becomes narrow in the system
// (ANSI) code page at the call and wide again behind it; a character that the page lacks becomes
// "?", which no file name may hold, so that never a wrong file is found. A path with a NUL in it
// fails with 123 instead of being cut, one of 260 characters or more with 206; other arguments end
// at their first NUL.
#pragma once

#include <memory>

#include "platform/platform.h"

namespace tdefault::platform::win32 {

class Win32Platform {
 public:
  Win32Platform();
  ~Win32Platform();
  Win32Platform(const Win32Platform&) = delete;
  Win32Platform& operator=(const Win32Platform&) = delete;

  [[nodiscard]] Platform& platform() noexcept;

 private:
  struct Ports;
  std::unique_ptr<Ports> ports_;
};

}  // namespace tdefault::platform::win32
