// The simulated drives port: the drives of the disk and those that a test sets, its connections.
#pragma once

#include "platform/drives.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedDrives final : public Drives {
 public:
  explicit SimulatedDrives(World& world) : world_(world) {}

  std::vector<std::wstring> Roots() override;
  DriveKind KindOf(const std::wstring& root) override;
  SystemResult<std::unique_ptr<ConnectionEnumeration>> ConnectedResources() override;

 private:
  [[nodiscard]] DriveKind Kind(const std::wstring& root) const;

  World& world_;
};

}  // namespace tdefault::platform::simulation
