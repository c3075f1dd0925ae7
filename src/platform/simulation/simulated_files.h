// The simulated files port.
#pragma once

#include "platform/files.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedFiles final : public Files {
 public:
  explicit SimulatedFiles(World& world) : world_(world) {}

  SystemResult<std::unique_ptr<File>> Open(const std::wstring& path, FileAccess access,
                                           FileShare share) override;
  SystemResult<std::unique_ptr<FolderEnumeration>> Enumerate(const std::wstring& pattern) override;
  SystemStatus Remove(const std::wstring& path) override;
  SystemStatus Replace(const std::wstring& from, const std::wstring& to) override;
  SystemStatus Copy(const std::wstring& from, const std::wstring& to) override;
  SystemStatus ClearReadOnly(const std::wstring& path) override;
  SystemResult<std::wstring> CreateUnique(const std::wstring& folder,
                                          const std::wstring& prefix) override;
  SystemResult<std::wstring> CurrentFolder() override;
  SystemResult<std::wstring> TemporaryFolder() override;
  SystemResult<std::wstring> Locate(const std::wstring& name, std::uint32_t capacity) override;

 private:
  World& world_;
};

}  // namespace tdefault::platform::simulation
