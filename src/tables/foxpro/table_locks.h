// The byte-range locks that keep writers of one table apart: those of a Visual FoxPro workstation.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/clock.h"
#include "platform/files.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {

// How long a lock that another program holds is waited for.
struct LockPatience {
  platform::Clock& clock;
  std::uint32_t milliseconds = 5000;
};

// One locked range. Destruction gives it up.
class HeldLock {
 public:
  // REQUIRES: `file`, which outlives the lock, holds the range.
  HeldLock(platform::File& file, std::uint64_t offset, std::uint64_t length) noexcept
      : file_(&file), offset_(offset), length_(length) {}
  HeldLock(HeldLock&& other) noexcept;
  HeldLock& operator=(HeldLock&& other) noexcept;
  ~HeldLock() { Release(); }

  void Release() noexcept;

 private:
  platform::File* file_;  // null when given up
  std::uint64_t offset_;
  std::uint64_t length_;
};

// The bytes that stand for locks. Visual FoxPro's tables, and older ones with a structural index,
// count their records down from just under 2 GB; older ones without index lock each record at its
// own place, moved up by 1 GB. Memo files are locked at the lower one, indexes at the higher one.
inline constexpr std::uint64_t kHighLocks = 0x7FFFFFFE;
inline constexpr std::uint64_t kLowLocks = 0x40000000;

// Pauses of 10, 20, 40 and then 50 milliseconds until a time is over.
class PausedWait {
 public:
  // The clock outlives the wait.
  PausedWait(platform::Clock& clock, std::uint32_t milliseconds);

  // False without a pause when the time is over.
  [[nodiscard]] bool Pause();

 private:
  platform::Clock& clock_;
  const std::uint32_t longest_;
  const std::uint64_t start_;
  // What the pauses add up to counts too: the wait ends even if the clock stands still.
  std::uint64_t paused_ = 0;
  std::uint32_t pause_;
};

// A range that stands for a part of the table, and how errors name it.
struct LockPart {
  platform::File* file;  // outlives the locks of it
  std::wstring path;
  std::uint64_t offset;
  std::wstring name;
  std::uint64_t length = 1;
};

// The waiting for parts that other programs hold, all together no longer than the patience.
class LockWait {
 public:
  LockWait(const TableIdentity& table, const LockPatience& patience)
      : table_(table), patience_(patience), wait_(patience.clock, patience.milliseconds) {}

  // Pauses until it is time to try again. Throws kInUseByAnother, naming table, file and part, when
  // the patience is at its end.
  void For(const LockPart& part);

 private:
  const TableIdentity& table_;
  const LockPatience& patience_;
  PausedWait wait_;
};

// The locks of one table. They are taken in the order record, header, index, memo file, and nothing
// but the row that a change is about is held while another one is waited for: so no two writers
// wait for each other for ever, and the header, without which a workstation opens no table, is
// never held for long.
class TableLocks {
 public:
  // All arguments outlive the locks.
  TableLocks(const TableLayout& layout, const TableIdentity& table, const LockPatience& patience)
      : layout_(layout), table_(table), patience_(patience) {}

  [[nodiscard]] LockPart Record(platform::File& table_file, std::uint32_t record_number) const;
  // Those of `count` records that stand together, at least one, in one range.
  [[nodiscard]] LockPart Records(platform::File& table_file, std::uint32_t first,
                                 std::uint32_t count) const;
  // For appending, and for what is allotted for the whole table (automatic numbers, memo blocks).
  [[nodiscard]] LockPart Header(platform::File& table_file) const;
  [[nodiscard]] static LockPart Index(platform::File& index_file, const std::wstring& path);
  [[nodiscard]] static LockPart Memo(platform::File& memo_file, const std::wstring& path);

  // Does not wait: absent while another program holds the part. Throws FileFailure when the system
  // refuses for another reason.
  [[nodiscard]] std::optional<HeldLock> TryLock(const LockPart& part) const;
  // Waits; throws what TryLock and LockWait throw.
  [[nodiscard]] HeldLock Lock(const LockPart& part) const;
  [[nodiscard]] LockWait Wait() const { return {table_, patience_}; }
  // The clock by which it is told how long a lock is held.
  [[nodiscard]] std::uint64_t Milliseconds() const { return patience_.clock.Milliseconds(); }

 private:
  const TableLayout& layout_;
  const TableIdentity& table_;
  const LockPatience& patience_;
};

}  // namespace tdefault::tables::foxpro
