#include "tables/foxpro/table_locks.h"

#include <algorithm>
#include <utility>

#include "platform/system_result.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::uint32_t kFirstPause = 10;
constexpr std::uint32_t kLongestPause = 50;

bool CountsDown(const TableLayout& layout) { return layout.visual || layout.has_structural_index; }

}  // namespace

HeldLock::HeldLock(HeldLock&& other) noexcept
    : file_(std::exchange(other.file_, nullptr)), offset_(other.offset_), length_(other.length_) {}

HeldLock& HeldLock::operator=(HeldLock&& other) noexcept {
  if (this == &other) return *this;
  Release();
  file_ = std::exchange(other.file_, nullptr);
  offset_ = other.offset_;
  length_ = other.length_;
  return *this;
}

void HeldLock::Release() noexcept {
  // A lock that cannot be given up now either is given up when the file closes.
  if (file_ != nullptr && !file_->Unlock(offset_, length_).ok())
    static_cast<void>(file_->Unlock(offset_, length_));
  file_ = nullptr;
}

PausedWait::PausedWait(platform::Clock& clock, std::uint32_t milliseconds)
    : clock_(clock), longest_(milliseconds), start_(clock.Milliseconds()), pause_(kFirstPause) {}

bool PausedWait::Pause() {
  const std::uint64_t waited = std::max(clock_.Milliseconds() - start_, paused_);
  if (waited >= longest_) return false;
  const std::uint32_t length = std::min(pause_, static_cast<std::uint32_t>(longest_ - waited));
  clock_.Pause(length, false);
  paused_ += length;
  pause_ = std::min(pause_ * 2, kLongestPause);
  return true;
}

void LockWait::For(const LockPart& part) {
  if (!wait_.Pause()) throw LockedByAnother(table_, part.path, part.name, patience_.milliseconds);
}

LockPart TableLocks::Record(platform::File& table_file, std::uint32_t record_number) const {
  const std::uint64_t offset = CountsDown(layout_)
                                   ? kHighLocks - record_number
                                   : kLowLocks + layout_.header_length +
                                         (std::uint64_t{record_number} - 1) * layout_.record_length;
  return {&table_file, table_.path, offset, L"record " + std::to_wstring(record_number)};
}

LockPart TableLocks::Records(platform::File& table_file, std::uint32_t first,
                             std::uint32_t count) const {
  const std::uint32_t last = first + count - 1;
  const std::uint64_t one = Record(table_file, first).offset;
  const std::uint64_t other = Record(table_file, last).offset;
  return {&table_file, table_.path, std::min(one, other),
          L"records " + std::to_wstring(first) + L" to " + std::to_wstring(last),
          std::max(one, other) - std::min(one, other) + 1};
}

LockPart TableLocks::Header(platform::File& table_file) const {
  return {&table_file, table_.path, CountsDown(layout_) ? kHighLocks : kLowLocks,
          L"the table's header, which every new record needs,"};
}

LockPart TableLocks::Index(platform::File& index_file, const std::wstring& path) {
  return {&index_file, path, kHighLocks, L"the index"};
}

LockPart TableLocks::Memo(platform::File& memo_file, const std::wstring& path) {
  return {&memo_file, path, kLowLocks, L"the memo file"};
}

std::optional<HeldLock> TableLocks::TryLock(const LockPart& part) const {
  const platform::SystemStatus status = part.file->TryLock(part.offset, part.length);
  if (status.ok()) return HeldLock(*part.file, part.offset, part.length);
  if (status.code() == platform::system_code::kLockViolation) return std::nullopt;
  throw FileFailure(table_, part.path, L"locked", status.code());
}

HeldLock TableLocks::Lock(const LockPart& part) const {
  for (LockWait wait = Wait();;) {
    if (std::optional<HeldLock> lock = TryLock(part)) return std::move(*lock);
    wait.For(part);
  }
}

}  // namespace tdefault::tables::foxpro
