#include "folder_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "base/text.h"

namespace tdefault::bench {
namespace {

using platform::SystemResult;
using platform::SystemStatus;
namespace system_code = platform::system_code;

constexpr SystemStatus kRefused(system_code::kAccessDenied);

class FolderFile final : public platform::File {
 public:
  explicit FolderFile(int descriptor) : descriptor_(descriptor) {}
  ~FolderFile() override { close(descriptor_); }
  FolderFile(const FolderFile&) = delete;
  FolderFile& operator=(const FolderFile&) = delete;

  SystemResult<std::size_t> ReadAt(std::uint64_t offset, std::span<std::uint8_t> target) override {
    std::size_t done = 0;
    while (done < target.size()) {
      const auto count = pread(descriptor_, target.data() + done, target.size() - done,
                               static_cast<off_t>(offset + done));
      if (count < 0) return kRefused;
      if (count == 0) break;
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

  SystemResult<std::uint64_t> Size() override {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) return kRefused;
    return static_cast<std::uint64_t>(status.st_size);
  }

  SystemStatus WriteAt(std::uint64_t offset, std::span<const std::uint8_t> source) override {
    std::size_t done = 0;
    while (done < source.size()) {
      const auto count = pwrite(descriptor_, source.data() + done, source.size() - done,
                                static_cast<off_t>(offset + done));
      if (count <= 0) return kRefused;
      done += static_cast<std::size_t>(count);
    }
    return SystemStatus();
  }

  SystemStatus Flush() override { return fdatasync(descriptor_) == 0 ? SystemStatus() : kRefused; }

  SystemStatus TryLock(std::uint64_t offset, std::uint64_t length) override {
    return SetLock(F_WRLCK, offset, length);
  }

  SystemStatus Unlock(std::uint64_t offset, std::uint64_t length) override {
    return SetLock(F_UNLCK, offset, length);
  }

 private:
  SystemStatus SetLock(short kind, std::uint64_t offset, std::uint64_t length) {
    struct flock lock {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(offset);
    lock.l_len = static_cast<off_t>(length);
    if (fcntl(descriptor_, F_OFD_SETLK, &lock) == 0) return SystemStatus();
    return SystemStatus(system_code::kLockViolation);
  }

  int descriptor_;
};

class NoEntries final : public platform::FolderEnumeration {
 public:
  std::optional<platform::FolderEntry> Next() override { return std::nullopt; }
};

}  // namespace

FolderFiles::FolderFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

SystemResult<std::unique_ptr<platform::File>> FolderFiles::Open(const std::wstring& path,
                                                                platform::FileAccess access,
                                                                platform::FileShare /*share*/) {
  const std::wstring name = path.substr(path.rfind(L'\\') + 1);
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    if (!EqualIgnoringCase(FromUtf8(entry.path().filename().string()), name)) continue;
    const int mode = access == platform::FileAccess::kRead ? O_RDONLY : O_RDWR;
    const int descriptor = open(entry.path().c_str(), mode | O_CLOEXEC);
    if (descriptor < 0) return kRefused;
    return std::unique_ptr<platform::File>(std::make_unique<FolderFile>(descriptor));
  }
  return SystemStatus(system_code::kFileNotFound);
}

SystemResult<std::unique_ptr<platform::FolderEnumeration>> FolderFiles::Enumerate(
    const std::wstring& /*pattern*/) {
  return std::unique_ptr<platform::FolderEnumeration>(std::make_unique<NoEntries>());
}

SystemStatus FolderFiles::Remove(const std::wstring& /*path*/) { return kRefused; }

SystemStatus FolderFiles::Replace(const std::wstring& /*from*/, const std::wstring& /*to*/) {
  return kRefused;
}

SystemStatus FolderFiles::Copy(const std::wstring& /*from*/, const std::wstring& /*to*/) {
  return kRefused;
}

SystemStatus FolderFiles::ClearReadOnly(const std::wstring& /*path*/) { return kRefused; }

SystemResult<std::wstring> FolderFiles::CreateUnique(const std::wstring& /*folder*/,
                                                     const std::wstring& /*prefix*/) {
  return kRefused;
}

SystemResult<std::wstring> FolderFiles::CurrentFolder() { return kRefused; }

SystemResult<std::wstring> FolderFiles::TemporaryFolder() { return kRefused; }

SystemResult<std::wstring> FolderFiles::Locate(const std::wstring& /*name*/,
                                               std::uint32_t /*capacity*/) {
  return kRefused;
}

}  // namespace tdefault::bench
