// The safety net of writing single values, by a save above all: what an INI file held before, kept
// beside it until the outcome is settled.
#pragma once

#include <optional>
#include <string>

#include "base/error.h"
#include "platform/platform.h"
#include "platform/system_result.h"

namespace tdefault::catalogue {

// One INI file during one save. At no instant is there no file under its name, and until it is
// settled or restored the backup holds the old content in full. A step that fails is tried once
// more after a moment, and then by copying, because scanners and other programs hold files briefly.
class IniBackup {
 public:
  // An empty path is a file that was not found: it has no backup and every step is skipped.
  IniBackup(platform::Platform& platform, std::wstring path);

  IniBackup(const IniBackup&) = delete;
  IniBackup& operator=(const IniBackup&) = delete;

  [[nodiscard]] const std::wstring& path() const noexcept { return path_; }

  // Copies the file. Throws when it cannot be copied, or when its previous version would have its
  // own name; then there is no backup.
  void Make();

  // As Make, for a file that gets no previous version.
  void Copy();

  // To be called before the first change of the file; a file that was not changed is not moved.
  void MarkChanged() noexcept { changed_ = true; }

  // Makes the backup the previous version: the path with its last three characters replaced by
  // "old", in place of an older one. Throws Overflow for a path shorter than that, and when the
  // previous version cannot be replaced; the backup is still there then.
  void KeepAsPrevious();

  // Gives the file its old content back, also after KeepAsPrevious, and leaves no backup. On
  // failure the error, which says where the old content is kept. Nothing to do is success.
  [[nodiscard]] std::optional<Error> Restore();

 private:
  enum class State { kNone, kBackedUp, kKeptAsPrevious };

  // Moves the backup onto the target; when it had to be copied, the backup is still there.
  platform::SystemStatus MoveBackupTo(const std::wstring& target);
  // The path of a new copy; empty text when it cannot be made.
  [[nodiscard]] std::wstring CopyOf(const std::wstring& path);
  // Deletes the backup where there is one.
  [[nodiscard]] std::optional<Error> Discard();

  platform::Platform& platform_;
  std::wstring path_;
  std::wstring backup_;  // empty when there is none
  std::wstring previous_;
  State state_ = State::kNone;
  bool changed_ = false;
};

}  // namespace tdefault::catalogue
