// Any bytes as a table with its memo file and its structural index: read to the last value,
// checked, and changed.
//
// The input: one byte of settings (see table_checks.h), the lengths of table and memo file as two
// little-endian bytes each, the table file, the memo file, and the index file in what is left.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "table_checks.h"

namespace {

constexpr std::size_t kSettings = 5;

std::string_view Cut(std::string_view& rest, const std::uint8_t* length) {
  const std::size_t declared = length[0] | static_cast<std::size_t>(length[1]) << 8U;
  const std::string_view part = rest.substr(0, declared);
  rest.remove_prefix(part.size());
  return part;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tdefault;
  if (size < kSettings) return 0;
  static platform::simulation::Simulation machine;
  std::string_view rest(reinterpret_cast<const char*>(data) + kSettings, size - kSettings);
  machine.PutFile(fuzz::kTable, Cut(rest, data + 1));
  machine.PutFile(fuzz::kMemo, Cut(rest, data + 3));
  machine.PutFile(fuzz::kIndex, rest);
  fuzz::ReadTable(machine, data[0]);
  fuzz::ChangeTable(machine, data[0]);
  fuzz::Require(machine.open_handles() == 0);
  machine.Restart();
  return 0;
}
