#include "measure.h"

#ifdef _WIN32
// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on
#else
#include <sys/resource.h>

#include <fstream>
#include <string>
#endif

#include <algorithm>
#include <cstdio>

namespace tdefault::bench {

#ifdef _WIN32

namespace {

double Seconds(const FILETIME& time) {
  return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) * 1e-7;
}

}  // namespace

double ProcessorSeconds() {
  FILETIME created{};
  FILETIME exited{};
  FILETIME kernel{};
  FILETIME user{};
  if (!GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user)) return 0;
  return Seconds(kernel) + Seconds(user);
}

double PeakMegabytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return static_cast<double>(counters.PeakWorkingSetSize) / 1048576.0;
}

#else

namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

// What getrusage tells begins with the memory of the process that started this one.
double PeakMegabytes() {
  std::ifstream status("/proc/self/status");
  std::string word;
  double kilobytes = 0;
  while (status >> word)
    if (word == "VmHWM:") status >> kilobytes;
  return kilobytes / 1024.0;
}

#endif

void Cost::KeepLeast(const Cost& other) {
  wall = std::min(wall, other.wall);
  processor = std::min(processor, other.processor);
}

void Print(const char* name, std::uint64_t rows, const Cost& cost) {
  std::printf("%s\t%llu\t%.6f\t%.6f\n", name, static_cast<unsigned long long>(rows), cost.wall,
              cost.processor);
  std::fflush(stdout);
}

void PrintPeak() {
  std::printf("peak\t0\t%.1f\t0\n", PeakMegabytes());
  std::fflush(stdout);
}

}  // namespace tdefault::bench
