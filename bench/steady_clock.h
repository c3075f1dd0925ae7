// This machine's time as a platform port, for measuring.
#pragma once

#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/clock.h"

namespace tdefault::bench {

class SteadyClock final : public platform::Clock {
 public:
  std::uint32_t Pause(std::uint32_t milliseconds, bool /*alertable*/) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return 0;
  }

  std::uint64_t Milliseconds() override {
    const auto passed = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
  }

  // The same day in every run, so that runs write the same bytes.
  DateTime Now() override { return {*MakeDate(2001, 3, 7), 0}; }
};

}  // namespace tdefault::bench
