#include "catalogue/ini_backup.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "support/paths.h"
#include "support/system_errors.h"
#include "support/temporary_files.h"

namespace tdefault::catalogue {
namespace {

using platform::SystemStatus;

constexpr const wchar_t* kBackupSource = L"Options";
constexpr const wchar_t* kCreateFile =
    L" If its folder is the right one, create an empty file of that name and save again.";

// The path of the previous version; empty text when the path is too short to have one.
std::wstring PreviousName(const std::wstring& path) {
  constexpr std::wstring_view kEnding = L"old";
  if (path.size() < kEnding.size()) return {};
  return path.substr(0, path.size() - kEnding.size()).append(kEnding);
}

// Whether both files can be read and hold the same bytes.
bool SameContent(platform::Files& files, const std::wstring& left, const std::wstring& right) {
  constexpr std::size_t kChunk = 16384;
  const auto a = files.Open(left, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  const auto b = files.Open(right, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (!a.ok() || !b.ok()) return false;
  std::array<std::uint8_t, kChunk> left_bytes{};
  std::array<std::uint8_t, kChunk> right_bytes{};
  for (std::uint64_t offset = 0;; offset += kChunk) {
    const auto left_count = a.value()->ReadAt(offset, left_bytes);
    const auto right_count = b.value()->ReadAt(offset, right_bytes);
    if (!left_count.ok() || !right_count.ok() || left_count.value() != right_count.value())
      return false;
    const auto end = left_bytes.begin() + static_cast<std::ptrdiff_t>(left_count.value());
    if (!std::equal(left_bytes.begin(), end, right_bytes.begin())) return false;
    if (left_count.value() < kChunk) return true;
  }
}

}  // namespace

IniBackup::IniBackup(platform::Platform& platform, std::wstring path)
    : platform_(platform), path_(std::move(path)) {}

void IniBackup::Make() {
  if (path_.empty()) return;
  // Settling the save would move the backup over what was just written.
  if (EqualIgnoringCase(PreviousName(path_), path_))
    throw Error(error_number::kPathFileAccess, kBackupSource,
                L"The file '" + path_ +
                    L"' cannot be saved, because its previous version would get the same name, so "
                    L"nothing was saved. Use an INI file whose name does not end in \"old\".");
  Copy();
}

void IniBackup::Copy() {
  if (path_.empty()) return;
  try {
    backup_ = support::MakeTempCopy(platform_, path_);
  } catch (const Error& error) {
    throw Error(error.number(), error.source(),
                error.description() +
                    L" A file that cannot be backed up is not written, so nothing was saved." +
                    (error.number() == error_number::kFileNotFound ? kCreateFile : L""));
  }
  if (backup_.empty())
    throw Error(
        error_number::kPathFileAccess, L"MakeTempCopy",
        L"No temporary file could be made in the folder '" +
            support::ParentFolder(path_, support::WithoutBackslash::kPathItself) +
            L"' for a backup of '" + path_ +
            L"', so nothing was saved. Make sure the folder exists and you may write to it.");
  state_ = State::kBackedUp;
}

void IniBackup::KeepAsPrevious() {
  if (state_ != State::kBackedUp) return;
  previous_ = PreviousName(path_);
  if (previous_.empty())
    throw Error(error_number::kOverflow, kBackupSource,
                L"Overflow: the path '" + path_ + L"' is too short to name its previous version");
  const SystemStatus status = MoveBackupTo(previous_);
  if (!status.ok())
    throw support::FileFailure(
        platform_.session, status.code(), kBackupSource,
        L"The previous version of '" + path_ + L"' could not be kept as '" + previous_ + L"'");
  // A backup that was copied and cannot be deleted is left over: the save has its outcome.
  static_cast<void>(Discard());
  state_ = State::kKeptAsPrevious;
}

std::optional<Error> IniBackup::Restore() {
  const State state = std::exchange(state_, State::kNone);
  if (state == State::kNone) return std::nullopt;
  if (state == State::kKeptAsPrevious) {
    if (!changed_) return std::nullopt;
    backup_ = CopyOf(previous_);
    if (backup_.empty())
      return Error(error_number::kPathFileAccess, kBackupSource,
                   L"The file '" + path_ +
                       L"' could not be put back as it was before the save: its "
                       L"previous version cannot be copied. Its content from before is in '" +
                       previous_ + L"'.");
  }
  // A file that another program holds refuses the move, but it has refused the writes as well.
  if (!changed_ || SameContent(platform_.files, backup_, path_)) return Discard();
  const SystemStatus status = MoveBackupTo(path_);
  if (status.ok()) return Discard();
  return support::FileFailure(platform_.session, status.code(), kBackupSource,
                              L"The file '" + path_ +
                                  L"' could not be put back as it was before the save. Its content "
                                  L"from before is in '" +
                                  backup_ + L"'");
}

SystemStatus IniBackup::MoveBackupTo(const std::wstring& target) {
  if (platform_.files.Replace(backup_, target).ok()) {
    backup_.clear();
    return {};
  }
  support::WaitBeforeRetry(platform_);
  static_cast<void>(platform_.files.ClearReadOnly(target));
  const SystemStatus status = platform_.files.Replace(backup_, target);
  if (status.ok()) {
    backup_.clear();
    return {};
  }
  // Whoever holds the backup may let it be read. The copy is moved, because copying onto the target
  // would tear it if it failed halfway.
  const std::wstring copy = CopyOf(backup_);
  if (copy.empty()) return status;
  if (platform_.files.Replace(copy, target).ok()) return {};
  static_cast<void>(support::RemoveWithRetry(platform_, copy));
  return status;
}

std::wstring IniBackup::CopyOf(const std::wstring& path) {
  try {
    return support::MakeTempCopy(platform_, path);
  } catch (const Error&) {
    return {};
  }
}

std::optional<Error> IniBackup::Discard() {
  if (backup_.empty()) return std::nullopt;
  const SystemStatus status = support::RemoveWithRetry(platform_, backup_);
  if (status.ok()) return std::nullopt;
  return support::FileFailure(platform_.session, status.code(), kBackupSource,
                              L"The file '" + path_ +
                                  L"' is as it was before the save, but its "
                                  L"backup '" +
                                  backup_ + L"' could not be deleted");
}

}  // namespace tdefault::catalogue
