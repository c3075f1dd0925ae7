// What a piece of work costs, for the benchmarks, and the lines that they print.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>

namespace tdefault::bench {

// In seconds: by the clock, and of this process's processor time. The machine may be busy with
// other things, so rounds are repeated and the least of each is kept.
struct Cost {
  double wall = std::numeric_limits<double>::max();
  double processor = std::numeric_limits<double>::max();

  void KeepLeast(const Cost& other);
};

// Of this process so far.
[[nodiscard]] double ProcessorSeconds();
// The most memory that this process held at any time.
[[nodiscard]] double PeakMegabytes();

template <class Measured>
[[nodiscard]] Cost CostOf(const Measured& measured) {
  const double processor = ProcessorSeconds();
  const auto start = std::chrono::steady_clock::now();
  measured();
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
  return {spent.count(), ProcessorSeconds() - processor};
}

// A line of name, rows, seconds and processor seconds, separated by tabs.
void Print(const char* name, std::uint64_t rows, const Cost& cost);
// A line of the word "peak" and the most memory in MB.
void PrintPeak();

}  // namespace tdefault::bench
