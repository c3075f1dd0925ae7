#include "platform/win32/win32_files.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include "platform/win32/narrow_text.h"

namespace tdefault::platform::win32 {
namespace {

// GetTempFileNameA appends up to 14 characters to the folder.
constexpr std::size_t kUniqueFolderLimit = MAX_PATH - 14;

class FileHandle {
 public:
  explicit FileHandle(HANDLE handle) noexcept : handle_(handle) {}
  ~FileHandle() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  [[nodiscard]] HANDLE get() const noexcept { return handle_; }

 private:
  HANDLE handle_;
};

// More than this does not pass in one call.
constexpr std::size_t kLargestTransfer = std::numeric_limits<std::int32_t>::max();

OVERLAPPED PlaceAt(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

SystemStatus StatusOf(BOOL succeeded) { return succeeded ? SystemStatus() : LastFailure(); }

class Win32File final : public File {
 public:
  explicit Win32File(HANDLE handle) : handle_(handle) {}

  SystemResult<std::size_t> ReadAt(std::uint64_t offset, std::span<std::uint8_t> target) override {
    std::size_t total = 0;
    while (total < target.size()) {
      const auto wanted = static_cast<DWORD>(std::min(target.size() - total, kLargestTransfer));
      DWORD count = 0;
      if (!MoveTo(offset + total) ||
          !ReadFile(handle_.get(), target.data() + total, wanted, &count, nullptr)) {
        return LastFailure();
      }
      if (count == 0) break;
      total += count;
    }
    return total;
  }

  SystemStatus WriteAt(std::uint64_t offset, std::span<const std::uint8_t> source) override {
    std::size_t total = 0;
    while (total < source.size()) {
      const auto wanted = static_cast<DWORD>(std::min(source.size() - total, kLargestTransfer));
      DWORD count = 0;
      if (!MoveTo(offset + total) ||
          !WriteFile(handle_.get(), source.data() + total, wanted, &count, nullptr)) {
        return LastFailure();
      }
      if (count == 0) return SystemStatus(ERROR_DISK_FULL);
      total += count;
    }
    return SystemStatus();
  }

  SystemStatus Flush() override { return StatusOf(FlushFileBuffers(handle_.get())); }

  SystemStatus TryLock(std::uint64_t offset, std::uint64_t length) override {
    OVERLAPPED place = PlaceAt(offset);
    constexpr DWORD kHow = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    return StatusOf(LockFileEx(handle_.get(), kHow, 0, static_cast<DWORD>(length),
                               static_cast<DWORD>(length >> 32), &place));
  }

  SystemStatus Unlock(std::uint64_t offset, std::uint64_t length) override {
    OVERLAPPED place = PlaceAt(offset);
    return StatusOf(UnlockFileEx(handle_.get(), 0, static_cast<DWORD>(length),
                                 static_cast<DWORD>(length >> 32), &place));
  }

  SystemResult<std::uint64_t> Size() override {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(handle_.get(), &size)) return LastFailure();
    return static_cast<std::uint64_t>(size.QuadPart);
  }

 private:
  // The place goes apart from the transfer: one that carries its place reports its completion as
  // well, which costs more than the call saved.
  bool MoveTo(std::uint64_t offset) {
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(offset);
    return SetFilePointerEx(handle_.get(), place, nullptr, FILE_BEGIN) != FALSE;
  }

  FileHandle handle_;
};

class Win32FolderEnumeration final : public FolderEnumeration {
 public:
  Win32FolderEnumeration(HANDLE handle, const WIN32_FIND_DATAA& first)
      : handle_(handle), pending_(first) {}
  ~Win32FolderEnumeration() override { FindClose(handle_); }
  Win32FolderEnumeration(const Win32FolderEnumeration&) = delete;
  Win32FolderEnumeration& operator=(const Win32FolderEnumeration&) = delete;

  std::optional<FolderEntry> Next() override {
    if (!has_pending_) return std::nullopt;
    FolderEntry entry{Wide(pending_.cFileName),
                      (pending_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0};
    has_pending_ = FindNextFileA(handle_, &pending_) != FALSE;
    return entry;
  }

 private:
  HANDLE handle_;
  WIN32_FIND_DATAA pending_;
  bool has_pending_ = true;
};

DWORD AccessFlags(FileAccess access) {
  switch (access) {
    case FileAccess::kRead:
      return GENERIC_READ;
    case FileAccess::kWrite:
      return GENERIC_WRITE;
    case FileAccess::kReadWrite:
      break;
  }
  return GENERIC_READ | GENERIC_WRITE;
}

DWORD ShareFlags(FileShare share) {
  switch (share) {
    case FileShare::kNone:
      return 0;
    case FileShare::kRead:
      return FILE_SHARE_READ;
    case FileShare::kReadWrite:
      break;
  }
  return FILE_SHARE_READ | FILE_SHARE_WRITE;
}

// Makes sure that the content has reached the disk before a name points to it.
SystemStatus Flush(const std::string& path) {
  const FileHandle handle(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  if (handle.get() == INVALID_HANDLE_VALUE) return LastFailure();
  return StatusOf(FlushFileBuffers(handle.get()));
}

std::string FolderOf(const std::string& path) {
  const std::size_t end = path.find_last_of("\\/:");
  if (end == std::string::npos) return ".";
  return path.substr(0, end + 1);
}

// Whether both paths name files of one folder, as far as their spelling tells.
bool InOneFolder(const std::string& left, const std::string& right) {
  std::array<char, MAX_PATH> full_left{};
  std::array<char, MAX_PATH> full_right{};
  for (const auto& [path, full] : {std::pair(&left, &full_left), {&right, &full_right}}) {
    const DWORD count = GetFullPathNameA(path->c_str(), MAX_PATH, full->data(), nullptr);
    if (count == 0 || count >= MAX_PATH) return false;
  }
  return lstrcmpiA(FolderOf(full_left.data()).c_str(), FolderOf(full_right.data()).c_str()) == 0;
}

using Permissions = std::vector<std::uint8_t>;

// Empty where the file system has none, or there is no such file.
Permissions PermissionsOf(const std::string& path) {
  constexpr DWORD kUsualSize = 1024;
  DWORD size = 0;
  Permissions permissions(kUsualSize);
  if (!GetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, permissions.data(), kUsualSize,
                        &size)) {
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return {};
    permissions.resize(size);
    if (!GetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, permissions.data(), size, &size))
      return {};
  }
  permissions.resize(GetSecurityDescriptorLength(permissions.data()));
  // What was inherited is to count as inherited again.
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (GetSecurityDescriptorControl(permissions.data(), &control, &revision) &&
      (control & SE_DACL_AUTO_INHERITED) != 0)
    SetSecurityDescriptorControl(permissions.data(), SE_DACL_AUTO_INHERIT_REQ,
                                 SE_DACL_AUTO_INHERIT_REQ);
  return permissions;
}

// Where a share does not let them be changed, the file keeps those that it has.
void SetPermissions(const std::string& path, Permissions& permissions) {
  if (permissions.empty()) return;
  const DWORD attributes = GetFileAttributesA(path.c_str());
  SetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, permissions.data());
  // To Wine the read-only mark is a matter of permissions and goes with them.
  if (attributes != INVALID_FILE_ATTRIBUTES && GetFileAttributesA(path.c_str()) != attributes)
    SetFileAttributesA(path.c_str(), attributes);
}

// Lets the same users read and write `to` as `from`, as far as the system can.
void CopyPermissions(const std::string& from, const std::string& to) {
  Permissions permissions = PermissionsOf(from);
  SetPermissions(to, permissions);
}

// The move within one folder. The permissions go first, so that at no moment `to` is open to others
// than before.
SystemStatus ReplaceWithinFolder(const std::string& from, const std::string& to) {
  Permissions own = PermissionsOf(from);
  Permissions wanted = PermissionsOf(to);
  const bool differ = !wanted.empty() && wanted != own;
  if (differ) SetPermissions(from, wanted);
  const SystemStatus status = StatusOf(
      MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
  if (!status.ok() && differ) SetPermissions(from, own);
  return status;
}

// The move from another folder. The content goes under a name of its own beside `to` first, for
// two reasons: between volumes the system would write into `to` directly, and on one volume it
// would take the permissions of `from` along, so that a file from a user's temporary folder would
// be closed to everybody else. The last step is a rename within the folder.
SystemStatus ReplaceFromElsewhere(const std::string& from, const std::string& to) {
  std::array<char, MAX_PATH> staged{};
  if (GetTempFileNameA(FolderOf(to).c_str(), "tov", 0, staged.data()) == 0) {
    const SystemStatus failure = LastFailure();
    return failure.code() == ERROR_DIRECTORY ? SystemStatus(ERROR_PATH_NOT_FOUND) : failure;
  }
  SystemStatus status = StatusOf(CopyFileA(from.c_str(), staged.data(), FALSE));
  if (status.ok()) {
    SetFileAttributesA(staged.data(), FILE_ATTRIBUTE_NORMAL);
    status = Flush(staged.data());
  }
  if (status.ok()) {
    CopyPermissions(to, staged.data());
    const DWORD attributes = GetFileAttributesA(from.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) SetFileAttributesA(staged.data(), attributes);
    status = StatusOf(
        MoveFileExA(staged.data(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
  }
  if (!status.ok()) {
    SetFileAttributesA(staged.data(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(staged.data());
    return status;
  }
  // The replacement has happened; what is left of `from` is only litter.
  DeleteFileA(from.c_str());
  return status;
}

}  // namespace

SystemResult<std::unique_ptr<File>> Win32Files::Open(const std::wstring& path, FileAccess access,
                                                     FileShare share) {
  const SystemResult<std::string> narrow = NarrowPath(path);
  if (!narrow.ok()) return SystemStatus(narrow.code());
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE handle = CreateFileA(narrow.value().c_str(), AccessFlags(access), ShareFlags(share),
                                    &inheritable, OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return LastFailure();
  return std::unique_ptr<File>(std::make_unique<Win32File>(handle));
}

SystemResult<std::unique_ptr<FolderEnumeration>> Win32Files::Enumerate(
    const std::wstring& pattern) {
  const SystemResult<std::string> narrow = NarrowPath(pattern);
  if (!narrow.ok()) return SystemStatus(narrow.code());
  WIN32_FIND_DATAA first{};
  const HANDLE handle = FindFirstFileA(narrow.value().c_str(), &first);
  if (handle == INVALID_HANDLE_VALUE) return LastFailure();
  return std::unique_ptr<FolderEnumeration>(
      std::make_unique<Win32FolderEnumeration>(handle, first));
}

SystemStatus Win32Files::Remove(const std::wstring& path) {
  const SystemResult<std::string> narrow = NarrowPath(path);
  if (!narrow.ok()) return SystemStatus(narrow.code());
  return StatusOf(DeleteFileA(narrow.value().c_str()));
}

SystemStatus Win32Files::Replace(const std::wstring& from, const std::wstring& to) {
  const SystemResult<std::string> source = NarrowPath(from);
  if (!source.ok()) return SystemStatus(source.code());
  const SystemResult<std::string> target = NarrowPath(to);
  if (!target.ok()) return SystemStatus(target.code());
  // Windows refuses to replace a read-only file; Wine asks for the folder's permissions only.
  const DWORD attributes = GetFileAttributesA(target.value().c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
    return SystemStatus(ERROR_ACCESS_DENIED);
  if (!InOneFolder(source.value(), target.value()))
    return ReplaceFromElsewhere(source.value(), target.value());
  return ReplaceWithinFolder(source.value(), target.value());
}

SystemStatus Win32Files::Copy(const std::wstring& from, const std::wstring& to) {
  const SystemResult<std::string> source = NarrowPath(from);
  if (!source.ok()) return SystemStatus(source.code());
  const SystemResult<std::string> target = NarrowPath(to);
  if (!target.ok()) return SystemStatus(target.code());
  return StatusOf(CopyFileA(source.value().c_str(), target.value().c_str(), FALSE));
}

SystemStatus Win32Files::ClearReadOnly(const std::wstring& path) {
  const SystemResult<std::string> narrow = NarrowPath(path);
  if (!narrow.ok()) return SystemStatus(narrow.code());
  const DWORD attributes = GetFileAttributesA(narrow.value().c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return LastFailure();
  if ((attributes & FILE_ATTRIBUTE_READONLY) == 0) return SystemStatus();
  return StatusOf(
      SetFileAttributesA(narrow.value().c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}));
}

SystemResult<std::wstring> Win32Files::CreateUnique(const std::wstring& folder,
                                                    const std::wstring& prefix) {
  const SystemResult<std::string> narrow = NarrowPath(folder);
  // Whatever is wrong with the name, there is no such folder.
  if (!narrow.ok() || narrow.value().empty() || narrow.value().size() > kUniqueFolderLimit) {
    return SystemStatus(system_code::kInvalidFolder);
  }
  std::array<char, MAX_PATH> name;
  name.fill(' ');
  if (GetTempFileNameA(narrow.value().c_str(), NarrowArgument(prefix).c_str(), 0, name.data()) ==
      0) {
    return LastFailure();
  }
  return Wide(name.data());
}

SystemResult<std::wstring> Win32Files::CurrentFolder() {
  std::array<char, MAX_PATH> folder{};
  const DWORD count = GetCurrentDirectoryA(MAX_PATH, folder.data());
  if (count == 0) return LastFailure();
  if (count >= MAX_PATH) return SystemStatus(system_code::kNameTooLong);
  return Wide(std::string_view(folder.data(), count));
}

SystemResult<std::wstring> Win32Files::TemporaryFolder() {
  std::array<char, MAX_PATH + 1> folder{};
  const DWORD count = GetTempPathA(MAX_PATH, folder.data());
  if (count == 0) return LastFailure();
  if (count > MAX_PATH) return SystemStatus(system_code::kNameTooLong);
  return Wide(std::string_view(folder.data(), count));
}

SystemResult<std::wstring> Win32Files::Locate(const std::wstring& name, std::uint32_t capacity) {
  const SystemResult<std::string> narrow = NarrowPath(name);
  if (!narrow.ok() || narrow.value().empty()) return SystemStatus(system_code::kFileNotFound);
  std::string found(capacity, ' ');
  const DWORD count =
      SearchPathA(nullptr, narrow.value().c_str(), nullptr, capacity, found.data(), nullptr);
  // A count that reaches the capacity is the size the buffer ought to have had.
  if (count == 0 || count >= capacity) return SystemStatus(system_code::kFileNotFound);
  return Wide(std::string_view(found).substr(0, count));
}

}  // namespace tdefault::platform::win32
