// Globally unique identifiers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace tdefault::platform {

struct Guid {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4{};
};

class GuidSource {
 public:
  virtual ~GuidSource() = default;

  // Absent when the system cannot make one.
  virtual std::optional<Guid> Create() = 0;
};

}  // namespace tdefault::platform
