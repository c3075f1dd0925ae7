// Time that passes.
#pragma once

#include <cstdint>

namespace tdefault::platform {

class Clock {
 public:
  virtual ~Clock() = default;

  // Suspends the calling thread; `alertable` lets completion routines run and end it early. The
  // system's result: 0 when the time has passed.
  virtual std::uint32_t Pause(std::uint32_t milliseconds, bool alertable) = 0;
};

}  // namespace tdefault::platform
