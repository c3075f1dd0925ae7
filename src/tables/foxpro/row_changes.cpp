#include "tables/foxpro/row_changes.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <limits>
#include <utility>

#include "tables/foxpro/change_errors.h"
#include "tables/foxpro/structural_index.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

std::uint32_t SignatureOf(char type) {
  switch (type) {
    case 'G':
      return memo_block::kObject;
    case 'P':
      return memo_block::kPicture;
    default:
      return memo_block::kText;
  }
}

// Blocks that no memo file reaches: they stand for those that values will get.
std::uint32_t AnnouncedBlock(std::size_t column) {
  return std::numeric_limits<std::uint32_t>::max() - static_cast<std::uint32_t>(column);
}

}  // namespace

// The row that is locked, as its bytes are now.
class RowChanges::LockedRow final : public RowCursor {
 public:
  explicit LockedRow(const RowChanges& changes) : changes_(changes) {}

  bool Next() override { return false; }
  bool Seek(std::uint32_t record_number) override { return record_number == changes_.row_number_; }
  [[nodiscard]] std::uint32_t record_number() const override { return changes_.row_number_; }
  [[nodiscard]] Value Read(std::size_t column) const override {
    return changes_.table_.decoder().Decode(column, changes_.record_.data(), changes_.row_number_);
  }

 private:
  const RowChanges& changes_;
};

// The next automatic number of a column, to be written at its place in the header.
struct RowChanges::NextNumber {
  std::uint64_t offset;
  std::uint32_t next;
};

// What a change holds besides the row that it is about. It is given up from the last to the first.
struct RowChanges::ChangeLocks {
  std::optional<HeldLock> header = {};
  std::optional<HeldLock> record = {};  // the place of a row to come, behind all others
  std::uint32_t number = 0;             // its number
  std::optional<HeldLock> index = {};
  std::optional<HeldLock> memo = {};

  void GiveUp() {
    memo.reset();
    index.reset();
    record.reset();
    header.reset();
  }
};

// Lets the memo file give values that it does not have yet, as long as it lives.
class RowChanges::Announcement {
 public:
  Announcement(MemoFile* memo, std::span<const MemoValue> values)
      : memo_(values.empty() ? nullptr : memo) {
    if (memo_ != nullptr) memo_->Announce(values);
  }
  ~Announcement() {
    if (memo_ != nullptr) memo_->Announce({});
  }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

 private:
  MemoFile* memo_;
};

// What one change of a row means for the structural index; nothing for a table without one.
class RowChanges::IndexChange {
 public:
  IndexChange(TableFiles& table, std::uint32_t record_number)
      : table_(table), number_(record_number) {}

  // `before` is null for a new row; `columns` are those whose values may differ. The index is left
  // alone where no key changes.
  void Compare(const Record* before, const NewRow& row) {
    StructuralIndex* const index = table_.index();
    if (index == nullptr || (before != nullptr && !Touches(*index, *before, row))) return;
    {
      const Announcement announcement(table_.memo(), row.memos);
      after_ = index->KeysOf(row.record.data(), number_);
    }
    if (before == nullptr) {
      before_.resize(after_.size());
    } else {
      before_ = index->KeysOf(before->data(), number_);
    }
    is_new_ = before == nullptr;
    if (before_ != after_) index_ = index;
  }

  [[nodiscard]] bool needed() const { return index_ != nullptr; }

  // Checks that the change can be made. REQUIRES: the index is locked where it is needed.
  void Check() {
    if (index_ == nullptr) return;
    index_->Refresh();
    RowKeys changed = after_;
    for (std::size_t tag = 0; tag < changed.size(); ++tag)
      if (before_[tag] == after_[tag]) changed[tag].reset();
    index_->CheckUnique(changed, number_);
    index_->CheckPresent(before_, after_, number_);
  }

  void Begin() {
    if (index_ == nullptr) return;
    begun_ = true;
    index_->Begin(number_);
  }

  void Finish() {
    if (index_ == nullptr) return;
    index_->Replace(is_new_ ? nullptr : &before_, after_, number_);
    index_->Finish();
  }

  // The change was broken off. Where the row is as it was before, the index becomes so, too; else
  // the mark stays in the file, and the next change compares the index with the rows.
  void TakeBack(bool row_is_back) {
    if (!begun_) return;
    try {
      if (row_is_back) return index_->TakeBack();
    } catch (const std::exception&) {
      // The mark tells.
    }
    table_.ForgetIndex();
  }

 private:
  static bool Touches(const StructuralIndex& index, const Record& before, const NewRow& row) {
    if (before.front() != row.record.front() && index.UsesDeletionMark()) return true;
    return std::any_of(row.columns.begin(), row.columns.end(),
                       [&index](std::size_t column) { return index.Uses(column); });
  }

  TableFiles& table_;
  const std::uint32_t number_;
  StructuralIndex* index_ = nullptr;  // null: nothing to do
  bool is_new_ = false;
  bool begun_ = false;
  RowKeys before_;
  RowKeys after_;
};

RowChanges::RowChanges(std::shared_ptr<TableFiles> table)
    : shared_(std::move(table)),
      table_(*shared_),
      run_(table_),
      row_(std::make_unique<LockedRow>(*this)) {}

RowChanges::~RowChanges() = default;

Value RowChanges::Stored(std::size_t column, const Value& value) const {
  return table_.encoder().Stored(column, value);
}

const RowCursor& RowChanges::row() const { return *row_; }

void RowChanges::Put(NewRow& row, std::size_t column, const Value& value,
                     const Record* old_record) const {
  const Value stored = Stored(column, value);
  row.columns.push_back(column);
  if (table_.encoder().IsMemo(column)) {
    PutMemo(row, column, stored, old_record);
  } else {
    table_.encoder().Put(column, stored, row.record.data());
  }
}

void RowChanges::PutMemo(NewRow& row, std::size_t column, const Value& stored,
                         const Record* old_record) const {
  const std::uint32_t announced = AnnouncedBlock(column);
  std::erase_if(row.memos, [announced](const MemoValue& memo) { return memo.block == announced; });
  if (IsNull(stored)) return table_.encoder().Put(column, stored, row.record.data());
  MemoValue memo{.signature = SignatureOf(table_.layout().columns[column].column.type),
                 .bytes = table_.encoder().MemoBytes(stored),
                 .block = announced};
  const auto old = old_record == nullptr ? std::nullopt : OldMemo(column, *old_record);
  std::uint32_t block = 0;
  if (old && old->bytes == memo.bytes) {
    block = old->block;
  } else if (!memo.bytes.empty()) {
    block = announced;
    row.memos.push_back(std::move(memo));
  }
  table_.encoder().PutMemoBlock(column, block, row.record.data());
}

// The value that the record refers to. Absent when it is empty or cannot be read: then a new value
// takes its place without a look at it.
std::optional<MemoValue> RowChanges::OldMemo(std::size_t column, const Record& old_record) const {
  const ValuePlace place{table_.identity(), row_number_,
                         table_.layout().columns[column].column.name};
  try {
    const std::uint32_t block = table_.decoder().MemoBlock(column, old_record.data(), row_number_);
    if (block == 0) return std::nullopt;
    return MemoValue{.bytes = std::string(table_.memo()->Read(block, place)), .block = block};
  } catch (const Error& error) {
    if (error.number() != error_number::kTableDamaged) throw;
    return std::nullopt;
  }
}

// The old value of the one memo that is the whole change of the locked row, where the new one fits
// its blocks: then one write makes the change.
std::optional<MemoValue> RowChanges::InPlace(const NewRow& row) const {
  if (row.memos.size() != 1) return std::nullopt;
  const MemoValue& memo = row.memos.front();
  const std::size_t column = AnnouncedBlock(memo.block);
  auto old = OldMemo(column, record_);
  if (!old || !table_.memo()->HasRoom(old->bytes.size(), memo.bytes.size())) return std::nullopt;
  Record record = row.record;
  table_.encoder().PutMemoBlock(column, old->block, record.data());
  if (record != record_) return std::nullopt;
  old->signature = memo.signature;
  return old;
}

// REQUIRES: header and memo file are locked.
void RowChanges::WriteMemos(NewRow& row) const {
  if (row.memos.empty()) return;
  MemoFile& memo = *table_.memo();
  std::vector<std::size_t> columns;
  for (const MemoValue& value : row.memos) columns.push_back(AnnouncedBlock(value.block));
  memo.Append(row.memos);
  for (std::size_t i = 0; i < columns.size(); ++i)
    table_.encoder().PutMemoBlock(columns[i], row.memos[i].block, row.record.data());
}

std::uint32_t RowChanges::Insert(std::span<const ColumnValue> values) {
  NewRow row;
  row.record.resize(table_.layout().record_length);
  table_.encoder().PutUngiven(row.record.data());
  for (const ColumnValue& given : values) Put(row, given.column, given.value, nullptr);

  ChangeLocks locks;
  Lock(locks, [&] { return TryLockPlace(locks, !row.memos.empty()); });
  const std::uint32_t number = locks.number;
  const std::vector<NextNumber> numbers = PutNextNumbers(row.record);
  IndexChange index(table_, number);
  index.Compare(nullptr, row);
  index.Check();
  table_.NoteChange();
  WriteMemos(row);
  locks.memo.reset();
  try {
    index.Begin();
    WriteNewRow(row.record, numbers, number);
    index.Finish();
  } catch (const std::exception&) {
    index.TakeBack(TakeBackNewRow(number));
    throw;
  }
  return number;
}

template <class TryAll>
void RowChanges::Lock(ChangeLocks& locks, const TryAll& try_all) const {
  for (LockWait wait = table_.locks().Wait(); const std::optional<LockPart> busy = try_all();) {
    locks.GiveUp();
    wait.For(*busy);
  }
}

// Locks what a new row needs, without waiting: the part that another program holds; absent when all
// are had. Who has locked the whole table has locked the places of rows to come, too, but not the
// header.
std::optional<LockPart> RowChanges::TryLockPlace(ChangeLocks& locks, bool with_memos) {
  const TableLocks& parts = table_.locks();
  const LockPart header = parts.Header(table_.file());
  if (!(locks.header = parts.TryLock(header))) return header;
  table_.ReadRecordCount();
  locks.number = NewRecordNumber();
  const LockPart record = parts.Record(table_.file(), locks.number);
  if (!(locks.record = parts.TryLock(record))) return record;
  return TryLockFiles(locks, table_.index() != nullptr, with_memos);
}

std::optional<LockPart> RowChanges::TryLockFiles(ChangeLocks& locks, bool with_index,
                                                 bool with_memos) const {
  const TableLocks& parts = table_.locks();
  if (with_index) {
    const LockPart index = table_.IndexLock();
    if (!(locks.index = parts.TryLock(index))) return index;
  }
  if (with_memos) {
    const LockPart memo = table_.MemoLock();
    if (!(locks.memo = parts.TryLock(memo))) return memo;
  }
  return std::nullopt;
}

// REQUIRES: the header lock is held, and the count was read under it.
std::uint32_t RowChanges::NewRecordNumber() const {
  const TableLayout& layout = table_.layout();
  const std::uint64_t number = std::uint64_t{layout.record_count} + 1;
  const std::uint64_t end = layout.header_length + number * layout.record_length + 1;
  const bool new_locks = layout.visual || layout.has_structural_index;
  const std::uint64_t limit = new_locks ? kHighLocks - std::min(number, kHighLocks) : kLowLocks;
  if (end > limit) {
    throw FileFull(table_.identity(), table_.identity().path,
                   L"its records reach the bytes that stand for the locks of records");
  }
  return static_cast<std::uint32_t>(number);
}

std::vector<RowChanges::NextNumber> RowChanges::PutNextNumbers(Record& record) const {
  std::vector<NextNumber> numbers;
  for (const StoredColumn& stored : table_.layout().columns) {
    if (!stored.automatic) continue;
    const std::uint64_t offset = stored.descriptor_offset + field_descriptor::kNextNumber;
    std::array<std::uint8_t, 4> bytes{};
    table_.Read(offset, bytes);
    const auto number = static_cast<std::int32_t>(LittleEndian32(bytes, 0));
    const std::int64_t next = std::int64_t{number} + stored.automatic->step;
    if (next > std::numeric_limits<std::int32_t>::max()) {
      throw ValueDoesNotFit(table_.identity(), stored.column.name, Value(number),
                            L"it is the last automatic number of the column");
    }
    std::copy(bytes.begin(), bytes.end(),
              record.begin() + static_cast<std::ptrdiff_t>(stored.offset));
    numbers.push_back({offset, static_cast<std::uint32_t>(next)});
  }
  return numbers;
}

void RowChanges::WriteNewRow(const Record& record, const std::vector<NextNumber>& numbers,
                             std::uint32_t number) {
  for (const NextNumber& automatic : numbers) {
    std::array<std::uint8_t, 4> bytes{};
    PutLittleEndian32(bytes, 0, automatic.next);
    table_.Write(automatic.offset, bytes);
  }
  Record bytes = record;
  bytes.push_back(record_mark::kEnd);
  table_.Write(table_.RecordOffset(number), bytes);
  WriteCount(number);
}

bool RowChanges::TakeBackNewRow(std::uint32_t number) {
  try {
    WriteCount(number - 1);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// The day, year without century first.
std::array<std::uint8_t, 3> RowChanges::DayBytes() const {
  const CalendarDay today = ToCalendarDay(table_.Today());
  return {static_cast<std::uint8_t>(today.year % 100), static_cast<std::uint8_t>(today.month),
          static_cast<std::uint8_t>(today.day)};
}

// The day and the count stand side by side: one write.
void RowChanges::WriteCount(std::uint32_t count) {
  constexpr std::size_t kCountPlace = table_header::kRecordCount - table_header::kChangeDate;
  std::array<std::uint8_t, kCountPlace + 4> bytes{};
  const auto day = DayBytes();
  std::copy(day.begin(), day.end(), bytes.begin());
  PutLittleEndian32(bytes, kCountPlace, count);
  table_.Write(table_header::kChangeDate, bytes);
  table_.set_record_count(count);
  day_written_ = true;
}

void RowChanges::WriteDay() {
  if (day_written_) return;
  table_.Write(table_header::kChangeDate, DayBytes());
  day_written_ = true;
}

// Rows are locked together for a moment only, so none that may have to wait for index, memo file or
// header on its way.
bool RowChanges::NeedsNoOtherLock(const RowRun& run) {
  const StructuralIndex* const index = table_.index();
  if (run.columns.empty()) return index == nullptr || !index->UsesDeletionMark();
  return std::none_of(run.columns.begin(), run.columns.end(), [&](std::size_t column) {
    return table_.encoder().IsMemo(column) || (index != nullptr && index->Uses(column));
  });
}

void RowChanges::Expect(const RowRun& run) {
  UnlockRow();
  run_.Expect(run.first, run.count > 1 && NeedsNoOtherLock(run) ? run.count : 0);
}

bool RowChanges::LockRow(std::uint32_t record_number) {
  UnlockRow();
  if (record_number == 0) return false;
  if (record_number > table_.layout().record_count) {
    table_.AwaitRecordCount();
    if (record_number > table_.layout().record_count) return false;
  }
  std::optional<HeldLock> lock;
  if (!run_.Take(record_number, record_)) {
    lock = table_.locks().Lock(table_.locks().Record(table_.file(), record_number));
    record_.resize(table_.layout().record_length);
    table_.Read(table_.RecordOffset(record_number), record_);
  }
  if (table_.memo() != nullptr) table_.memo()->Forget();
  const bool deleted = record_.front() == record_mark::kDeleted;
  if (deleted && table_.view().hides_deleted) return false;
  if (!deleted && record_.front() != record_mark::kLive)
    throw NoRecord(table_.identity(), record_number);
  row_lock_ = std::move(lock);
  row_number_ = record_number;
  return true;
}

void RowChanges::UnlockRow() noexcept {
  row_lock_.reset();
  row_number_ = 0;
  run_.GiveUpTaken();
}

void RowChanges::Update(std::span<const ColumnValue> values) {
  NewRow row;
  row.record = record_;
  for (const ColumnValue& given : values) Put(row, given.column, given.value, &record_);
  ReplaceRow(std::move(row));
}

void RowChanges::Delete() {
  NewRow row;
  row.record = record_;
  row.record.front() = record_mark::kDeleted;
  ReplaceRow(std::move(row));
}

void RowChanges::ReplaceRow(NewRow row) {
  assert(row_number_ != 0);
  if (row.memos.empty() && row.record == record_) return;
  const std::optional<MemoValue> old_memo = InPlace(row);
  const bool appends = !row.memos.empty() && !old_memo;
  ChangeLocks locks;
  IndexChange index(table_, row_number_);
  index.Compare(&record_, row);
  Lock(locks, [&]() -> std::optional<LockPart> {
    const LockPart header = table_.locks().Header(table_.file());
    if (appends && !(locks.header = table_.locks().TryLock(header))) return header;
    return TryLockFiles(locks, index.needed(), appends);
  });
  index.Check();
  table_.NoteChange();
  WriteDay();
  if (appends) {
    WriteMemos(row);
    locks.memo.reset();
    locks.header.reset();
  }
  try {
    index.Begin();
    if (old_memo) {
      row.memos.front().block = old_memo->block;
      table_.memo()->Overwrite(row.memos.front());
    } else {
      table_.Write(table_.RecordOffset(row_number_), row.record);
    }
    index.Finish();
  } catch (const std::exception&) {
    index.TakeBack(TakeBackReplaced(old_memo));
    throw;
  }
  if (!old_memo) record_ = std::move(row.record);
}

bool RowChanges::TakeBackReplaced(const std::optional<MemoValue>& old_memo) {
  try {
    if (old_memo) {
      table_.memo()->Overwrite(*old_memo);
    } else {
      table_.Write(table_.RecordOffset(row_number_), record_);
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace tdefault::tables::foxpro
