// The files of one table, as a connection holds them open from statement to statement.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/collation.h"
#include "tables/foxpro/memo_file.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/record_encoder.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"
#include "tables/foxpro/table_locks.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

class StructuralIndex;

// The path of the table's file with another ending, which stands beside it.
[[nodiscard]] std::wstring CompanionPath(const TableIdentity& identity, std::wstring_view ending);

// Sees to it that the file has the records that `layout` counts. A workstation that appends may
// raise the count before its record is there: without the lock of the table's header, count and
// file are looked at again for a moment, not longer than a lock is waited for. Settles the count.
// Throws FileFailure, and DamagedFile when the file stays too short.
void AwaitRecords(platform::File& file, const TableIdentity& table, TableLayout& layout,
                  const LockPatience& patience);

// How a connection sees its tables.
struct TableView {
  CollatingSequence sequence = CollatingSequence::kMachine;
  bool hides_deleted = true;
  std::uint32_t ansi_code_page = 1252;  // of tables without a code page mark
  // Why the connection changes no table, for the errors that say so; empty: it may.
  std::wstring read_only_reason = {};
};

// Others may read and write the files meanwhile. They are open for reading until the first change.
class TableFiles {
 public:
  // Opens `identity.path` and, for a table with memo columns, the memo file beside it. `files` and
  // the clock outlive the table. Throws what TableFinder::OpenTable throws.
  TableFiles(platform::Files& files, TableIdentity identity, const TableView& view,
             const LockPatience& patience);
  // Sees to it that what was written reaches the disk, where the system lets it.
  ~TableFiles();

  TableFiles(const TableFiles&) = delete;
  TableFiles& operator=(const TableFiles&) = delete;

  // Starts another statement: takes what others have changed since. False when the file has become
  // another table, so that it has to be opened anew.
  [[nodiscard]] bool Refresh();

  // Makes the files ready for changes. Throws as Table::Change.
  void AllowChanges();

  // Returns when what was written has reached the disk.
  void Flush();

  [[nodiscard]] const TableIdentity& identity() const { return identity_; }
  [[nodiscard]] const TableView& view() const { return view_; }
  [[nodiscard]] const TableLayout& layout() const { return layout_; }
  [[nodiscard]] const Collation& collation() const { return *collation_; }
  [[nodiscard]] const RecordDecoder& decoder() const { return decoder_; }
  [[nodiscard]] const RecordEncoder& encoder() const { return encoder_; }
  [[nodiscard]] const TableLocks& locks() const { return locks_; }
  [[nodiscard]] Date Today() const { return patience_.clock.Today(); }

  [[nodiscard]] platform::File& file() const { return *file_; }
  // Null for a table without a memo file.
  [[nodiscard]] MemoFile* memo() const { return memo_.get(); }

  // Fills `target` from `offset` of the table file.
  void Read(std::uint64_t offset, std::span<std::uint8_t> target) const;
  // Reads the count of records anew, and checks that the file has them. REQUIRES: the lock of the
  // header is held, so that nobody appends.
  void ReadRecordCount();
  // The same without that lock: what another program appends just now is awaited.
  void AwaitRecordCount();
  void set_record_count(std::uint32_t count) { layout_.record_count = count; }
  [[nodiscard]] std::uint64_t RecordOffset(std::uint32_t record_number) const;

  // REQUIRES of all below: AllowChanges.

  // Call before the files change, so that Flush knows of it.
  void NoteChange() { written_ = true; }
  void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes);

  // Null for a table without a structural index.
  [[nodiscard]] StructuralIndex* index();
  // Forgets what is known of the index, after a change of it that failed.
  void ForgetIndex();
  [[nodiscard]] LockPart IndexLock() const;
  // REQUIRES: there is a memo file. Throws FileFull when it has no place for further values: there
  // the byte that stands for its lock may be data.
  [[nodiscard]] LockPart MemoLock() const;

 private:
  void CheckChangeable() const;
  [[nodiscard]] std::unique_ptr<platform::File> OpenForChanges(const std::wstring& path) const;
  void OpenIndex();
  void FlushFile(platform::File& file, const std::wstring& path) const;
  [[nodiscard]] std::vector<std::uint8_t> ReadFixedHeader() const;

  platform::Files& files_;
  const TableIdentity identity_;
  const TableView view_;
  const LockPatience patience_;
  std::unique_ptr<platform::File> file_;
  TableLayout layout_;
  std::unique_ptr<MemoFile> memo_;
  RecordDecoder decoder_;
  RecordEncoder encoder_;
  std::unique_ptr<Collation> collation_;
  TableLocks locks_;
  // The header without what changes of rows change in it.
  std::vector<std::uint8_t> fixed_header_;

  bool allows_changes_ = false;
  bool written_ = false;  // since the last flush
  std::wstring index_path_;
  std::unique_ptr<platform::File> index_file_;
  std::unique_ptr<StructuralIndex> index_;
};

}  // namespace tdefault::tables::foxpro
