// Files and folders. Paths are Windows paths (drive letters, backslashes, UNC), compared without
// regard to case; a relative path counts from the process's current folder. A path travels in the
// system (ANSI) code page: one with a character outside it, or with a NUL, is refused with 123, one
// of 260 characters or more with 206. A missing file is reported with 2, a missing folder with 3.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/system_result.h"

namespace tdefault::platform {

enum class FileAccess { kRead, kWrite, kReadWrite };

// What others may do with the file while it is open here.
enum class FileShare { kNone, kRead, kReadWrite };

// An open file. Destruction closes it. Not shared between threads.
class File {
 public:
  virtual ~File() = default;

  // Fills `target` from `offset`; the count is smaller only at the end of the file, 0 behind it.
  // Fails with 5 on a file opened for writing only, 33 where another holder has locked a byte of
  // the place.
  virtual SystemResult<std::size_t> ReadAt(std::uint64_t offset,
                                           std::span<std::uint8_t> target) = 0;

  virtual SystemResult<std::uint64_t> Size() = 0;

  // Writes all of `source` at `offset`, lengthening the file where it ends before. Fails with 5 on
  // a file opened for reading only, 33 where another holder has locked a byte of the place, 112 on
  // a full disk; of a write that failed a part may have been done. (Wine lets reads and writes
  // through others' locks: locks keep only those apart who ask for them.)
  virtual SystemStatus WriteAt(std::uint64_t offset, std::span<const std::uint8_t> source) = 0;

  // Returns when what was written has reached the disk.
  virtual SystemStatus Flush() = 0;

  // Takes bytes for this open file alone, without waiting; they may lie behind the end of the file.
  // Fails with 33 when any of them is locked through another open of the file, by this process or
  // another one, or through this one. Closing the file gives up its locks.
  virtual SystemStatus TryLock(std::uint64_t offset, std::uint64_t length) = 0;

  // Gives up a lock of exactly these bytes; fails with 158 when this open file does not hold it
  // (under Wine with 33).
  virtual SystemStatus Unlock(std::uint64_t offset, std::uint64_t length) = 0;
};

struct FolderEntry {
  std::wstring name;  // as stored, without folder
  bool is_folder = false;
};

// The entries of one folder that match a pattern. Destruction ends the enumeration.
class FolderEnumeration {
 public:
  virtual ~FolderEnumeration() = default;

  // The next entry, "." and ".." included; absent at the end.
  virtual std::optional<FolderEntry> Next() = 0;
};

class Files {
 public:
  virtual ~Files() = default;

  // Opens an existing file. The handle is inheritable, as every file handle of this library.
  // Fails with 2 or 3 when there is none, 5 for a refused access, 32 when another holder's share
  // mode forbids it.
  virtual SystemResult<std::unique_ptr<File>> Open(const std::wstring& path, FileAccess access,
                                                   FileShare share) = 0;

  // Lists what matches `pattern` (a path whose last part may hold * and ?). Fails with 2 when
  // nothing matches; the entries of a folder always match its path with \* behind it, except in an
  // empty root.
  virtual SystemResult<std::unique_ptr<FolderEnumeration>> Enumerate(
      const std::wstring& pattern) = 0;

  // Deletes a file. Fails with 5 for a read-only file or a folder, 32 while it is open.
  virtual SystemStatus Remove(const std::wstring& path) = 0;

  // Renames `from` to `to`, replacing a file of that name in one step: at every moment `to` is the
  // old or the new file. On failure both are as before. Fails with 32 while `from` is open, 5 when
  // `to` is open, read-only or a folder. As far as the system lets them be set, the new file has
  // the permissions of the old one. Between folders the content is first written under a unique
  // name beside `to`, so that where there was no old one the new file has the permissions that new
  // files get in its folder, not those of `from`; should `from` then not go away, it stays as a
  // leftover and the replacement still counts as done.
  virtual SystemStatus Replace(const std::wstring& from, const std::wstring& to) = 0;

  // Copies content and attributes over `to`, which may exist. On failure `to` may be incomplete.
  // Refused before the first byte: 5 for a read-only `to`, 32 when `to` is open or the share mode
  // of a holder of `from` forbids reading.
  virtual SystemStatus Copy(const std::wstring& from, const std::wstring& to) = 0;

  // Takes the read-only mark off a file; a file without it is left alone.
  virtual SystemStatus ClearReadOnly(const std::wstring& path) = 0;

  // Creates an empty file with a unique name that starts with up to three characters of `prefix`
  // in `folder`, and gives its path: the folder as passed, a backslash and the name. Fails with 267
  // when the folder does not exist.
  virtual SystemResult<std::wstring> CreateUnique(const std::wstring& folder,
                                                  const std::wstring& prefix) = 0;

  // The process's current folder, without a trailing backslash but that of a root. Fails with 206
  // when that has 260 characters or more.
  virtual SystemResult<std::wstring> CurrentFolder() = 0;

  // The user's folder for temporary files, with its trailing backslash. Fails with 206 when that
  // has 260 characters or more.
  virtual SystemResult<std::wstring> TemporaryFolder() = 0;

  // The full path of the file that the system's search order (program, current, system and Windows
  // folder, PATH) finds for a bare name; a name with a folder is looked for there only. The order
  // among the folders is the system's and its administrator's affair. Fails with 2 when there is
  // none, or when the path has `capacity` characters or more.
  virtual SystemResult<std::wstring> Locate(const std::wstring& name, std::uint32_t capacity) = 0;
};

}  // namespace tdefault::platform
