// Records that stand together, locked in one range and read at once.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tables/foxpro/table_files.h"
#include "tables/foxpro/table_locks.h"

namespace tdefault::tables::foxpro {

// To lock a record and to give it up may each ask a server, which takes far longer than the change
// of its bytes. So records that are changed in turn are locked some at a time, where no other
// program has locked one of them. Another one that asks for one of them meanwhile has to wait no
// longer than it takes to rewrite these few, and some milliseconds at most.
class RecordRun {
 public:
  // `table` outlives the run.
  explicit RecordRun(TableFiles& table) : table_(table) {}

  // `count` records from `first` are taken next, in ascending order.
  void Expect(std::uint32_t first, std::uint32_t count);
  // The bytes of the record, which is locked; false where it has to be locked alone. Throws what
  // TableLocks::TryLock and TableFiles::Read throw.
  [[nodiscard]] bool Take(std::uint32_t record_number, std::vector<std::uint8_t>& record);
  // Gives the lock up when the last locked record has been taken.
  void GiveUpTaken() noexcept;

 private:
  [[nodiscard]] bool IsLocked(std::uint32_t record_number) const;
  [[nodiscard]] bool LockFrom(std::uint32_t record_number);
  void Forget() noexcept;

  TableFiles& table_;
  std::uint32_t next_ = 0;  // the least that may be taken
  std::uint32_t end_ = 0;   // behind those that are expected
  std::optional<HeldLock> lock_;
  std::uint64_t locked_at_ = 0;
  std::uint32_t first_locked_ = 0;
  std::uint32_t end_locked_ = 0;
  std::vector<std::uint8_t> bytes_;  // of the locked records
};

}  // namespace tdefault::tables::foxpro
