// The simulated processes port: programs that a test scripts.
#pragma once

#include "platform/processes.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedProcesses final : public Processes {
 public:
  explicit SimulatedProcesses(World& world) : world_(world) {}

  SystemResult<std::unique_ptr<Process>> Start(const std::wstring& application,
                                               const std::wstring& command_line) override;

 private:
  World& world_;
};

}  // namespace tdefault::platform::simulation
