// Any bytes as the structural index of a real table: the check and every change of the table end
// well or say why not.
//
// The input: one byte that chooses the table and the settings, and the index file.
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "table_checks.h"

namespace {

struct RealTable {
  std::string table;
  std::string memo;
};

std::string FileBytes(const std::string& name) {
  std::ifstream file(std::string(TDEFAULT_SOURCE) + "/tests/fixtures/vfp-tables/" + name,
                     std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The table as one that belongs to no database container, because only such a one is changed.
RealTable ReadReal(const std::string& name) {
  constexpr std::size_t kBacklinkSize = 263;
  RealTable real{FileBytes(name + ".dbf"), FileBytes(name + ".FPT")};
  const std::size_t header = static_cast<unsigned char>(real.table.at(8)) |
                             static_cast<std::size_t>(static_cast<unsigned char>(real.table.at(9)))
                                 << 8U;
  real.table.replace(header - kBacklinkSize, kBacklinkSize, kBacklinkSize, '\0');
  return real;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tdefault;
  static const std::array<RealTable, 3> tables = {ReadReal("calls"), ReadReal("setup"),
                                                  ReadReal("types")};
  static platform::simulation::Simulation machine;
  if (size == 0) return 0;
  const RealTable& real = tables[data[0] % tables.size()];
  machine.PutFile(fuzz::kTable, real.table);
  if (real.memo.empty()) {
    if (machine.Exists(fuzz::kMemo)) machine.RemoveFile(fuzz::kMemo);
  } else {
    machine.PutFile(fuzz::kMemo, real.memo);
  }
  machine.PutFile(fuzz::kIndex, {reinterpret_cast<const char*>(data) + 1, size - 1});
  fuzz::ChangeTable(machine, 1);
  fuzz::Require(machine.open_handles() == 0);
  machine.Restart();
  return 0;
}
