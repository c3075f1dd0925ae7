#include "tables/foxpro/table_locks.h"

#include <algorithm>
#include <utility>

#include "platform/system_result.h"

namespace tdefault::tables::foxpro {
namespace {

// The bytes lie behind everything that a file holds. Visual FoxPro's tables, and older ones with a
// structural index, count their records down from just under 2 GB; older ones without index lock
// each record at its own place, moved up by 1 GB.
constexpr std::uint64_t kHighBase = 0x7FFFFFFE;
constexpr std::uint64_t kLowBase = 0x40000000;
constexpr std::uint64_t kLockLength = 1;

constexpr std::uint32_t kFirstPause = 10;
constexpr std::uint32_t kLongestPause = 50;

bool CountsDown(const TableLayout& layout) { return layout.visual || layout.has_structural_index; }

// What is locked, and how an error names it.
struct LockedPart {
  const std::wstring& path;
  std::uint64_t offset;
  std::wstring name;
};

HeldLock Take(platform::File& file, const LockedPart& part, const TableIdentity& table,
              const LockPatience& patience) {
  const std::uint64_t start = patience.clock.Milliseconds();
  // What the pauses add up to counts too: the wait ends even if the clock stands still.
  std::uint64_t paused = 0;
  std::uint32_t pause = kFirstPause;
  for (;;) {
    const platform::SystemStatus status = file.TryLock(part.offset, kLockLength);
    if (status.ok()) return {file, part.offset, kLockLength};
    if (status.code() != platform::system_code::kLockViolation)
      throw FileFailure(table, part.path, L"locked", status.code());
    const std::uint64_t waited = std::max(patience.clock.Milliseconds() - start, paused);
    if (waited >= patience.milliseconds)
      throw LockedByAnother(table, part.path, part.name, patience.milliseconds);
    const auto left = static_cast<std::uint32_t>(patience.milliseconds - waited);
    const std::uint32_t length = std::min(pause, left);
    patience.clock.Pause(length, false);
    paused += length;
    pause = std::min(pause * 2, kLongestPause);
  }
}

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

std::uint64_t TableLocks::RecordByte(std::uint32_t record_number) const {
  if (CountsDown(layout_)) return kHighBase - record_number;
  return kLowBase + layout_.header_length +
         (std::uint64_t{record_number} - 1) * layout_.record_length;
}

HeldLock TableLocks::LockRecord(platform::File& table_file, std::uint32_t record_number) const {
  return Take(table_file,
              {table_.path, RecordByte(record_number), L"record " + std::to_wstring(record_number)},
              table_, patience_);
}

std::optional<HeldLock> TableLocks::TryLockRecord(platform::File& table_file,
                                                  std::uint32_t record_number) const {
  const std::uint64_t offset = RecordByte(record_number);
  const platform::SystemStatus status = table_file.TryLock(offset, kLockLength);
  if (status.ok()) return HeldLock(table_file, offset, kLockLength);
  if (status.code() == platform::system_code::kLockViolation) return std::nullopt;
  throw FileFailure(table_, table_.path, L"locked", status.code());
}

HeldLock TableLocks::LockHeader(platform::File& table_file) const {
  return Take(table_file,
              {table_.path, CountsDown(layout_) ? kHighBase : kLowBase,
               L"the table's header, which every new record needs,"},
              table_, patience_);
}

HeldLock TableLocks::LockIndex(platform::File& index_file, const std::wstring& path) const {
  return Take(index_file, {path, kHighBase, L"the index"}, table_, patience_);
}

HeldLock TableLocks::LockMemo(platform::File& memo_file, const std::wstring& path) const {
  return Take(memo_file, {path, kLowBase, L"the memo file"}, table_, patience_);
}

}  // namespace tdefault::tables::foxpro
