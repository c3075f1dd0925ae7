#include "catalogue/ini_backup.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "support/paths.h"
#include "support/system_errors.h"
#include "support/temporary_files.h"

namespace tdefault::catalogue {
namespace {

using platform::SystemStatus;

constexpr const wchar_t* kSource = L"Options";

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
  try {
    backup_ = support::MakeTempCopy(platform_, path_);
  } catch (const Error& error) {
    throw Error(error.number(), error.source(),
                error.description() +
                    L" A file that cannot be backed up is not written, so nothing was saved.");
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
  constexpr std::size_t kEnding = 3;
  if (state_ != State::kBackedUp) return;
  if (path_.size() < kEnding)
    throw Error(error_number::kOverflow, kSource,
                L"Overflow: the path '" + path_ + L"' is too short to name its previous version");
  previous_ = path_.substr(0, path_.size() - kEnding) + L"old";
  SystemStatus status = platform_.files.Replace(backup_, previous_);
  if (!status.ok()) {
    support::WaitBeforeRetry(platform_);
    static_cast<void>(platform_.files.ClearReadOnly(previous_));
    status = platform_.files.Replace(backup_, previous_);
  }
  if (!status.ok()) {
    if (!platform_.files.Copy(backup_, previous_).ok())
      throw support::FileFailure(
          platform_.session, status.code(), kSource,
          L"The previous version of '" + path_ + L"' could not be kept as '" + previous_ + L"'");
    // A backup that cannot be deleted is left over; the save has its outcome all the same.
    static_cast<void>(support::RemoveWithRetry(platform_, backup_));
  }
  state_ = State::kKeptAsPrevious;
}

std::optional<Error> IniBackup::Restore() {
  const State state = std::exchange(state_, State::kNone);
  if (state == State::kNone) return std::nullopt;
  if (state == State::kKeptAsPrevious) {
    if (!changed_) return std::nullopt;
    try {
      backup_ = support::MakeTempCopy(platform_, previous_);
    } catch (const Error&) {
      backup_.clear();
    }
    if (backup_.empty())
      return Error(error_number::kPathFileAccess, kSource,
                   L"The file '" + path_ +
                       L"' could not be put back as it was before the save. Its " +
                       L"content from before is in '" + previous_ + L"'.");
  }
  return changed_ ? RestoreFromBackup() : Discard();
}

std::optional<Error> IniBackup::RestoreFromBackup() {
  if (platform_.files.Replace(backup_, path_).ok()) return std::nullopt;
  // A file that another program holds refuses the move, but it refused the writes as well.
  if (SameContent(platform_.files, backup_, path_)) return Discard();
  support::WaitBeforeRetry(platform_);
  const SystemStatus status = platform_.files.Replace(backup_, path_);
  if (status.ok()) return std::nullopt;
  if (platform_.files.Copy(backup_, path_).ok()) return Discard();
  Error failure = support::FileFailure(
      platform_.session, status.code(), kSource,
      L"The file '" + path_ +
          L"' could not be put back as it was before the save. Its content from "
          L"before is in '" +
          backup_ + L"'");
  return failure;
}

std::optional<Error> IniBackup::Discard() {
  const SystemStatus status = support::RemoveWithRetry(platform_, backup_);
  if (status.ok()) return std::nullopt;
  return support::FileFailure(platform_.session, status.code(), kSource,
                              L"The file '" + path_ +
                                  L"' is as it was before the save, but its "
                                  L"backup '" +
                                  backup_ + L"' could not be deleted");
}

}  // namespace tdefault::catalogue
