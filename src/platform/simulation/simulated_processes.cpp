#include "platform/simulation/simulated_processes.h"

#include <utility>

#include "platform/simulation/path_rules.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::uint32_t kStillRunning = 259;

class SimulatedProcess final : public Process {
 public:
  SimulatedProcess(World& world, StartedProgram program)
      : world_(world), program_(std::move(program)) {
    ++world_.open_handles;
  }
  ~SimulatedProcess() override { --world_.open_handles; }

  SystemStatus Wait() override {
    if (const auto code = world_.calls.Begin("Wait", program_.application))
      return SystemStatus(*code);
    if (!ended_ && world_.during_program) world_.during_program(program_);
    ended_ = true;
    return SystemStatus();
  }

  SystemResult<std::uint32_t> ExitCode() override {
    if (const auto code = world_.calls.Begin("ExitCode", program_.application))
      return SystemStatus(*code);
    return ended_ ? world_.program_exit_code : kStillRunning;
  }

 private:
  World& world_;
  StartedProgram program_;
  bool ended_ = false;
};

}  // namespace

SystemResult<std::unique_ptr<Process>> SimulatedProcesses::Start(const std::wstring& application,
                                                                 const std::wstring& command_line) {
  if (const auto code = world_.calls.Begin("Start", application, command_line))
    return SystemStatus(*code);
  const SystemResult<std::wstring> path = world_.Resolve(application);
  if (!path.ok()) return SystemStatus(path.code());
  const std::shared_ptr<Node> node = world_.disk.Find(path.value());
  if (!node) {
    const bool has_folder = world_.disk.Find(FolderOf(path.value())) != nullptr;
    return SystemStatus(has_folder ? system_code::kFileNotFound : system_code::kPathNotFound);
  }
  if (node->is_folder) return SystemStatus(system_code::kAccessDenied);
  const StartedProgram program{world_.Narrowed(application), world_.Narrowed(command_line)};
  world_.started_programs.push_back(program);
  return std::unique_ptr<Process>(std::make_unique<SimulatedProcess>(world_, program));
}

}  // namespace tdefault::platform::simulation
