// The simulated registry port.
#pragma once

#include "platform/registry.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedRegistry final : public Registry {
 public:
  explicit SimulatedRegistry(World& world) : world_(world) {}

  SystemResult<std::unique_ptr<RegistryKey>> OpenKey(std::uint32_t root, const std::wstring& path,
                                                     std::uint32_t access) override;
  SystemResult<std::unique_ptr<RegistryKey>> CreateKey(std::uint32_t root, const std::wstring& path,
                                                       const std::wstring& class_text,
                                                       std::uint32_t access) override;

 private:
  World& world_;
};

}  // namespace tdefault::platform::simulation
