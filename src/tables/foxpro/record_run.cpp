#include "tables/foxpro/record_run.h"

#include <algorithm>
#include <cstddef>

namespace tdefault::tables::foxpro {
namespace {

constexpr std::uint32_t kMostRecords = 64;
constexpr std::uint32_t kMostBytes = 64 * 1024;
constexpr std::uint64_t kLongestMilliseconds = 10;

}  // namespace

void RecordRun::Expect(std::uint32_t first, std::uint32_t count) {
  Forget();
  next_ = first;
  end_ = first + count;
}

bool RecordRun::Take(std::uint32_t record_number, std::vector<std::uint8_t>& record) {
  if (record_number < next_ || record_number >= end_) {
    Forget();
    return false;
  }
  if (!IsLocked(record_number) && !LockFrom(record_number)) return false;
  next_ = record_number + 1;
  const std::size_t length = table_.layout().record_length;
  const std::size_t offset = (record_number - first_locked_) * length;
  const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
  record.assign(begin, begin + static_cast<std::ptrdiff_t>(length));
  return true;
}

void RecordRun::GiveUpTaken() noexcept {
  if (next_ >= end_locked_) lock_.reset();
}

bool RecordRun::IsLocked(std::uint32_t record_number) const {
  return lock_ && record_number < end_locked_ &&
         table_.locks().Milliseconds() - locked_at_ < kLongestMilliseconds;
}

// A run of which another program holds a record is not tried again: its records are waited for, one
// by one.
bool RecordRun::LockFrom(std::uint32_t record_number) {
  lock_.reset();
  const TableLayout& layout = table_.layout();
  const std::uint32_t most = std::min(kMostRecords, kMostBytes / layout.record_length);
  const std::uint32_t count =
      std::min({end_ - record_number, most, layout.record_count - record_number + 1});
  if (count >= 2)
    lock_ = table_.locks().TryLock(table_.locks().Records(table_.file(), record_number, count));
  if (!lock_) {
    Forget();
    return false;
  }
  locked_at_ = table_.locks().Milliseconds();
  first_locked_ = record_number;
  end_locked_ = record_number + count;
  bytes_.resize(std::size_t{count} * layout.record_length);
  table_.Read(table_.RecordOffset(record_number), bytes_);
  return true;
}

void RecordRun::Forget() noexcept {
  lock_.reset();
  next_ = 0;
  end_ = 0;
}

}  // namespace tdefault::tables::foxpro
