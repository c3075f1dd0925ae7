// Time that passes.
#pragma once

#include <cstdint>

#include "base/date_time.h"

namespace tdefault::platform {

class Clock {
 public:
  virtual ~Clock() = default;

  // Suspends the calling thread; `alertable` lets completion routines run and end it early. The
  // system's result: 0 when the time has passed.
  virtual std::uint32_t Pause(std::uint32_t milliseconds, bool alertable) = 0;

  // Milliseconds since some moment in the past; never runs backwards.
  virtual std::uint64_t Milliseconds() = 0;

  // The day and time of the user's calendar and clock, both of the same moment.
  virtual DateTime Now() = 0;

  // The day of the user's calendar.
  Date Today() { return Now().date; }
};

}  // namespace tdefault::platform
