// One process of the stress test: changes its own rows and the shared ones for a while and writes
// down what was acknowledged.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace tdefault::tests {

struct WorkOrder {
  std::wstring folder;  // of the table
  int worker = 0;
  std::uint32_t seconds = 0;
  std::uint64_t seed = 0;
};

// What a worker was told by the engine.
struct WorkReport {
  std::map<std::wstring, std::uint32_t> live;    // ID and version of its own rows
  std::vector<std::wstring> deleted;             // IDs of its own rows
  std::map<std::wstring, std::uint32_t> counts;  // how often it counted up a shared row
  std::uint32_t inserts = 0;
  std::uint32_t updates = 0;
  std::uint32_t deletes = 0;
  std::uint32_t reads = 0;
  std::uint32_t busy = 0;  // statements that ended with "in use by another"
  std::uint32_t longest_milliseconds = 0;
  std::vector<std::wstring> failures;  // what should not have happened
};

[[nodiscard]] WorkReport Work(platform::Platform& platform, const WorkOrder& order);

// A report as lines of UTF-8 text and back. A text without its last line, of a worker that did not
// come to its end, reads as a failure.
[[nodiscard]] std::string ToLines(const WorkReport& report);
[[nodiscard]] WorkReport FromLines(const std::string& lines);

}  // namespace tdefault::tests
