// Changes of the rows of one table: record, memo values and structural index, kept whole together.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "tables/foxpro/record_run.h"
#include "tables/foxpro/table_files.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// A change goes: what it needs is locked, read anew and checked; memo values are written where
// nothing refers to them yet; the index is marked as behind; the record is written, with its memo
// block numbers, and behind it for a new row the count that makes it one; the index follows and
// loses its mark. So a change that ends anywhere leaves the old or the new row, whole.
class RowChanges final : public TableChanges {
 public:
  // REQUIRES: the table allows changes.
  explicit RowChanges(std::shared_ptr<TableFiles> table);
  ~RowChanges() override;

  RowChanges(const RowChanges&) = delete;
  RowChanges& operator=(const RowChanges&) = delete;

  [[nodiscard]] Value Stored(std::size_t column, const Value& value) const override;
  std::uint32_t Insert(std::span<const ColumnValue> values) override;
  void Expect(const RowRun& run) override;
  bool LockRow(std::uint32_t record_number) override;
  [[nodiscard]] const RowCursor& row() const override;
  void Update(std::span<const ColumnValue> values) override;
  void Delete() override;
  void UnlockRow() noexcept override;

 private:
  using Record = std::vector<std::uint8_t>;
  class LockedRow;

  // A row on its way into the table. The blocks of its memo values are numbers that stand for those
  // they will get.
  struct NewRow {
    Record record;
    std::vector<MemoValue> memos;
    std::vector<std::size_t> columns;  // that were given values
  };
  class Announcement;
  class IndexChange;
  struct NextNumber;
  struct ChangeLocks;

  void Put(NewRow& row, std::size_t column, const Value& value, const Record* old_record) const;
  void PutMemo(NewRow& row, std::size_t column, const Value& stored,
               const Record* old_record) const;
  [[nodiscard]] std::optional<MemoValue> OldMemo(std::size_t column,
                                                 const Record& old_record) const;
  [[nodiscard]] std::optional<MemoValue> InPlace(const NewRow& row) const;
  void WriteMemos(NewRow& row) const;

  // Locks together what `try_all` asks for: it gives the part that another program holds, and
  // nothing when it has locked all. While a part is waited for, none of them is held.
  template <class TryAll>
  void Lock(ChangeLocks& locks, const TryAll& try_all) const;
  [[nodiscard]] std::optional<LockPart> TryLockPlace(ChangeLocks& locks, bool with_memos);
  [[nodiscard]] std::optional<LockPart> TryLockFiles(ChangeLocks& locks, bool with_index,
                                                     bool with_memos) const;
  [[nodiscard]] std::uint32_t NewRecordNumber() const;
  [[nodiscard]] std::vector<NextNumber> PutNextNumbers(Record& record) const;
  void WriteNewRow(const Record& record, const std::vector<NextNumber>& numbers,
                   std::uint32_t number);
  // Makes a change that failed undone, as far as the files let it: whether the row is as before. A
  // row that stays all the same is told of by the mark of the index.
  bool TakeBackNewRow(std::uint32_t number);
  [[nodiscard]] std::array<std::uint8_t, 3> DayBytes() const;
  void WriteCount(std::uint32_t count);
  void WriteDay();

  [[nodiscard]] bool NeedsNoOtherLock(const RowRun& run);
  void ReplaceRow(NewRow row);
  bool TakeBackReplaced(const std::optional<MemoValue>& old_memo);

  const std::shared_ptr<TableFiles> shared_;
  TableFiles& table_;
  RecordRun run_;
  std::optional<HeldLock> row_lock_;  // of a row that is locked alone
  std::uint32_t row_number_ = 0;      // of the locked row
  Record record_;                     // the locked row's bytes
  std::unique_ptr<LockedRow> row_;
  bool day_written_ = false;
};

}  // namespace tdefault::tables::foxpro
