#include "platform/simulation/simulated_drives.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/text.h"

namespace tdefault::platform::simulation {
namespace {

class SimulatedConnections final : public ConnectionEnumeration {
 public:
  explicit SimulatedConnections(World& world) : world_(world), connections_(world.connections) {
    ++world_.open_handles;
  }
  ~SimulatedConnections() override { --world_.open_handles; }
  SimulatedConnections(const SimulatedConnections&) = delete;
  SimulatedConnections& operator=(const SimulatedConnections&) = delete;

  // The buffer takes whatever the count admits.
  SystemResult<std::vector<NetworkConnection>> Read(std::uint32_t count,
                                                    std::uint32_t /*buffer_bytes*/) override {
    if (const auto code = world_.calls.Begin("Read")) return SystemStatus(*code);
    const std::size_t end = std::min<std::size_t>(connections_.size(), next_ + count);
    std::vector<NetworkConnection> read(
        connections_.begin() + static_cast<std::ptrdiff_t>(std::exchange(next_, end)),
        connections_.begin() + static_cast<std::ptrdiff_t>(end));
    return read;
  }

 private:
  World& world_;
  std::vector<NetworkConnection> connections_;
  std::size_t next_ = 0;
};

}  // namespace

std::vector<std::wstring> SimulatedDrives::Roots() {
  if (world_.calls.Begin("Roots")) return {};
  std::set<std::wstring, LessIgnoringCase> candidates;
  for (const std::wstring& root : world_.disk.Roots()) candidates.insert(root);
  for (const auto& [root, kind] : world_.drive_kinds) candidates.insert(root);
  std::vector<std::wstring> roots;
  for (const std::wstring& root : candidates) {
    const bool has_letter = root.size() == 3 && root[1] == L':';
    if (has_letter && Kind(root) != DriveKind::kNoRoot) roots.push_back(ToUpper(root));
  }
  return roots;
}

DriveKind SimulatedDrives::KindOf(const std::wstring& root) {
  if (world_.calls.Begin("KindOf", root)) return DriveKind::kUnknown;
  return Kind(root);
}

DriveKind SimulatedDrives::Kind(const std::wstring& root) const {
  const auto set = world_.drive_kinds.find(root);
  if (set != world_.drive_kinds.end()) return set->second;
  const bool on_disk = root.size() == 3 && world_.disk.Find(root);
  return on_disk ? DriveKind::kFixed : DriveKind::kNoRoot;
}

SystemResult<std::unique_ptr<ConnectionEnumeration>> SimulatedDrives::ConnectedResources() {
  if (const auto code = world_.calls.Begin("ConnectedResources")) return SystemStatus(*code);
  return std::unique_ptr<ConnectionEnumeration>(std::make_unique<SimulatedConnections>(world_));
}

}  // namespace tdefault::platform::simulation
