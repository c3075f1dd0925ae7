// The files of one real folder as a platform port, for measuring on this machine: opens, reads,
// writes and locks them, refuses everything else. Every path names a file of the folder by its last
// part, in any letter case.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/files.h"

namespace tdefault::bench {

class FolderFiles final : public platform::Files {
 public:
  explicit FolderFiles(std::filesystem::path folder);

  platform::SystemResult<std::unique_ptr<platform::File>> Open(const std::wstring& path,
                                                               platform::FileAccess access,
                                                               platform::FileShare share) override;
  platform::SystemResult<std::unique_ptr<platform::FolderEnumeration>> Enumerate(
      const std::wstring& pattern) override;
  platform::SystemStatus Remove(const std::wstring& path) override;
  platform::SystemStatus Replace(const std::wstring& from, const std::wstring& to) override;
  platform::SystemStatus Copy(const std::wstring& from, const std::wstring& to) override;
  platform::SystemStatus ClearReadOnly(const std::wstring& path) override;
  platform::SystemResult<std::wstring> CreateUnique(const std::wstring& folder,
                                                    const std::wstring& prefix) override;
  platform::SystemResult<std::wstring> CurrentFolder() override;
  platform::SystemResult<std::wstring> TemporaryFolder() override;
  platform::SystemResult<std::wstring> Locate(const std::wstring& name,
                                              std::uint32_t capacity) override;

 private:
  std::filesystem::path folder_;
};

}  // namespace tdefault::bench
