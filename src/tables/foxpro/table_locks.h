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

// Takes the locks of one table. They are taken in the order record, header, index, memo file and
// given up in reverse, so that no two writers wait for each other for ever. All throw
// kInUseByAnother, naming table, file and record, when another program does not give the range up
// within the patience; FileFailure when the system refuses for another reason.
class TableLocks {
 public:
  // All arguments outlive the locks.
  TableLocks(const TableLayout& layout, const TableIdentity& table, const LockPatience& patience)
      : layout_(layout), table_(table), patience_(patience) {}

  [[nodiscard]] HeldLock LockRecord(platform::File& table_file, std::uint32_t record_number) const;
  // Does not wait: absent while another program holds the record.
  [[nodiscard]] std::optional<HeldLock> TryLockRecord(platform::File& table_file,
                                                      std::uint32_t record_number) const;
  // For appending, and for what is allotted for the whole table (automatic numbers, memo blocks).
  [[nodiscard]] HeldLock LockHeader(platform::File& table_file) const;
  [[nodiscard]] HeldLock LockIndex(platform::File& index_file, const std::wstring& path) const;
  [[nodiscard]] HeldLock LockMemo(platform::File& memo_file, const std::wstring& path) const;

 private:
  [[nodiscard]] std::uint64_t RecordByte(std::uint32_t record_number) const;

  const TableLayout& layout_;
  const TableIdentity& table_;
  const LockPatience& patience_;
};

}  // namespace tdefault::tables::foxpro
