// Files of another machine, as they are: what a test derives from to change one operation.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/files.h"

namespace tdefault::tests {

class ForwardingFiles : public platform::Files {
 public:
  // `files` outlives this.
  explicit ForwardingFiles(platform::Files& files) : files_(files) {}

  platform::SystemResult<std::unique_ptr<platform::File>> Open(const std::wstring& path,
                                                               platform::FileAccess access,
                                                               platform::FileShare share) override {
    return files_.Open(path, access, share);
  }
  platform::SystemResult<std::unique_ptr<platform::FolderEnumeration>> Enumerate(
      const std::wstring& pattern) override {
    return files_.Enumerate(pattern);
  }
  platform::SystemStatus Remove(const std::wstring& path) override { return files_.Remove(path); }
  platform::SystemStatus Replace(const std::wstring& from, const std::wstring& to) override {
    return files_.Replace(from, to);
  }
  platform::SystemStatus Copy(const std::wstring& from, const std::wstring& to) override {
    return files_.Copy(from, to);
  }
  platform::SystemStatus ClearReadOnly(const std::wstring& path) override {
    return files_.ClearReadOnly(path);
  }
  platform::SystemResult<std::wstring> CreateUnique(const std::wstring& folder,
                                                    const std::wstring& prefix) override {
    return files_.CreateUnique(folder, prefix);
  }
  platform::SystemResult<std::wstring> CurrentFolder() override { return files_.CurrentFolder(); }
  platform::SystemResult<std::wstring> TemporaryFolder() override {
    return files_.TemporaryFolder();
  }
  platform::SystemResult<std::wstring> Locate(const std::wstring& name,
                                              std::uint32_t capacity) override {
    return files_.Locate(name, capacity);
  }

 private:
  platform::Files& files_;
};

}  // namespace tdefault::tests
