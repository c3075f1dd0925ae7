#include "tables/foxpro/table_files.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "tables/foxpro/change_errors.h"
#include "tables/foxpro/structural_index.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

bool IsMissing(std::uint32_t code) {
  namespace system_code = platform::system_code;
  return code == system_code::kFileNotFound || code == system_code::kPathNotFound;
}

// For how long a file is looked at again that is too short for the count of its records.
constexpr std::uint32_t kLongestAppend = 250;  // milliseconds

std::uint32_t CountOfRecords(platform::File& file, const TableIdentity& table) {
  std::array<std::uint8_t, 4> bytes{};
  const auto read = file.ReadAt(table_header::kRecordCount, bytes);
  if (!read.ok()) throw FileFailure(table, table.path, L"read", read.code());
  if (read.value() < bytes.size())
    throw DamagedFile(table, table.path, L"it became shorter while it was read");
  return LittleEndian32(bytes, 0);
}

// How many records the file has room for. Ask after the count was read: then a record that is
// being appended meanwhile is there before it is counted.
std::uint64_t RoomForRecords(platform::File& file, const TableIdentity& table,
                             const TableLayout& layout) {
  const auto size = file.Size();
  if (!size.ok()) throw FileFailure(table, table.path, L"read", size.code());
  if (size.value() < layout.header_length) return 0;
  return (size.value() - layout.header_length) / layout.record_length;
}

Error CutShort(const TableIdentity& table, const TableLayout& layout, std::uint64_t room) {
  return DamagedFile(table, table.path,
                     L"it is cut short and has room for " + std::to_wstring(room) + L" of its " +
                         std::to_wstring(layout.record_count) + L" records");
}

std::unique_ptr<platform::File> OpenTableFile(platform::Files& files,
                                              const TableIdentity& identity) {
  auto file =
      files.Open(identity.path, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (file.ok()) return std::move(file).value();
  if (IsMissing(file.code()))
    throw NoSuchTable(identity.name, L"the file " + identity.path + L" does not exist");
  throw FileFailure(identity, identity.path, L"opened", file.code());
}

TableLayout ReadLayout(platform::File& file, const TableIdentity& identity, const TableView& view,
                       const LockPatience& patience) {
  TableLayout layout = ReadTableLayout(file, identity, view.ansi_code_page);
  AwaitRecords(file, identity, layout, patience);
  return layout;
}

std::unique_ptr<MemoFile> OpenMemoFile(platform::Files& files, const TableIdentity& identity) {
  const std::wstring path = CompanionPath(identity, file_ending::kMemo);
  auto file = files.Open(path, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (file.ok()) return std::make_unique<MemoFile>(std::move(file).value(), path, identity);
  if (!IsMissing(file.code())) throw FileFailure(identity, path, L"opened", file.code());
  throw RefusedFile(identity, identity.path,
                    L"its memo file " + path +
                        L", which holds the values of its memo columns, "
                        L"does not exist",
                    L"Restore that file from the same backup as the table.");
}

std::unique_ptr<MemoFile> MemoFileOf(platform::Files& files, const TableIdentity& identity,
                                     const TableLayout& layout) {
  const bool dbase = layout.version == table_version::kDbase3Memo;
  if (!layout.has_memo_columns || dbase) return nullptr;
  return OpenMemoFile(files, identity);
}

}  // namespace

std::wstring CompanionPath(const TableIdentity& identity, std::wstring_view ending) {
  return identity.path.substr(0, identity.path.size() - file_ending::kTable.size()) +
         std::wstring(ending);
}

void AwaitRecords(platform::File& file, const TableIdentity& table, TableLayout& layout,
                  const LockPatience& patience) {
  std::uint64_t room = RoomForRecords(file, table, layout);
  if (room >= layout.record_count) return;
  PausedWait wait(patience.clock, std::min(patience.milliseconds, kLongestAppend));
  while (room < layout.record_count) {
    if (!wait.Pause()) throw CutShort(table, layout, room);
    layout.record_count = CountOfRecords(file, table);
    room = RoomForRecords(file, table, layout);
  }
}

TableFiles::TableFiles(platform::Files& files, TableIdentity identity, const TableView& view,
                       const LockPatience& patience)
    : files_(files),
      identity_(std::move(identity)),
      view_(view),
      patience_(patience),
      file_(OpenTableFile(files, identity_)),
      layout_(ReadLayout(*file_, identity_, view, patience)),
      memo_(MemoFileOf(files, identity_, layout_)),
      decoder_(layout_, identity_, memo_.get()),
      encoder_(layout_, identity_),
      collation_(MakeCollation(view.sequence, layout_.code_page)),
      locks_(layout_, identity_, patience_) {}

TableFiles::~TableFiles() {
  if (!written_) return;
  static_cast<void>(file_->Flush());
  if (memo_) static_cast<void>(memo_->file().Flush());
  if (index_file_) static_cast<void>(index_file_->Flush());
}

void TableFiles::Read(std::uint64_t offset, std::span<std::uint8_t> target) const {
  const auto read = file_->ReadAt(offset, target);
  if (!read.ok()) throw FileFailure(identity_, identity_.path, L"read", read.code());
  if (read.value() < target.size())
    throw DamagedFile(identity_, identity_.path, L"it became shorter while it was read");
}

// Reads the header, with the count of records that it declares, and blanks what every change of
// rows may change: day, count and the next automatic numbers.
std::vector<std::uint8_t> TableFiles::ReadFixedHeader() const {
  std::vector<std::uint8_t> header(layout_.header_length);
  Read(0, header);
  for (const StoredColumn& stored : layout_.columns) {
    if (!stored.automatic) continue;
    PutLittleEndian32(header, stored.descriptor_offset + field_descriptor::kNextNumber, 0);
  }
  return header;
}

bool TableFiles::Refresh() {
  std::vector<std::uint8_t> header = ReadFixedHeader();
  const std::uint32_t count = LittleEndian32(header, table_header::kRecordCount);
  constexpr std::size_t kChanging = table_header::kRecordCount + 4 - table_header::kChangeDate;
  std::fill_n(header.begin() + table_header::kChangeDate, kChanging, std::uint8_t{0});
  if (!fixed_header_.empty() && header != fixed_header_) return false;
  fixed_header_ = std::move(header);
  layout_.record_count = count;
  AwaitRecords(*file_, identity_, layout_, patience_);
  if (memo_) memo_->Forget();
  return true;
}

void TableFiles::ReadRecordCount() {
  layout_.record_count = CountOfRecords(*file_, identity_);
  const std::uint64_t room = RoomForRecords(*file_, identity_, layout_);
  if (room < layout_.record_count) throw CutShort(identity_, layout_, room);
}

void TableFiles::AwaitRecordCount() {
  layout_.record_count = CountOfRecords(*file_, identity_);
  AwaitRecords(*file_, identity_, layout_, patience_);
}

std::uint64_t TableFiles::RecordOffset(std::uint32_t record_number) const {
  return layout_.header_length +
         (std::uint64_t{record_number} - 1) * std::uint64_t{layout_.record_length};
}

void TableFiles::CheckChangeable() const {
  if (!view_.read_only_reason.empty()) throw ConnectionOnlyReads(identity_, view_.read_only_reason);
  const auto refused = [this](const std::wstring& reason, const std::wstring& remedy) {
    return TableNotChangeable(identity_, reason, remedy);
  };
  const std::wstring free_table =
      L"Make it a free table with FoxPro (REMOVE TABLE), or change it there.";
  if (layout_.is_database_container)
    throw refused(L"it is a database container", L"Change it with FoxPro.");
  if (layout_.has_backlink) {
    throw refused(L"it belongs to a database container, whose rules would be passed over",
                  free_table);
  }
  if (layout_.version == table_version::kDbase3Memo) {
    throw refused(L"its memo file is one of dBASE (.dbt)",
                  L"Copy the table to a new table with FoxPro and use that one.");
  }
  if (layout_.has_hidden_columns) {
    throw refused(L"it has hidden columns of a kind that is not known", L"Change it with FoxPro.");
  }
  for (const StoredColumn& stored : layout_.columns) {
    if (!stored.automatic || stored.automatic->step != 0) continue;
    throw refused(L"its column " + stored.column.name + L" numbers its rows in steps of 0",
                  L"Set the step of the column with FoxPro.");
  }
}

std::unique_ptr<platform::File> TableFiles::OpenForChanges(const std::wstring& path) const {
  auto file = files_.Open(path, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite);
  if (file.ok()) return std::move(file).value();
  if (file.code() == platform::system_code::kAccessDenied) throw FileNotWritable(identity_, path);
  throw WriteFailure(identity_, path, L"opened", file.code());
}

void TableFiles::AllowChanges() {
  if (allows_changes_) return;
  CheckChangeable();
  auto file = OpenForChanges(identity_.path);
  auto memo = memo_ ? OpenForChanges(memo_->path()) : nullptr;
  if (layout_.has_structural_index) OpenIndex();
  file_ = std::move(file);
  if (memo) memo_->Use(std::move(memo));
  static_cast<void>(index());
  allows_changes_ = true;
}

void TableFiles::OpenIndex() {
  index_.reset();
  index_path_ = CompanionPath(identity_, file_ending::kIndex);
  auto file =
      files_.Open(index_path_, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite);
  if (file.ok()) {
    index_file_ = std::move(file).value();
    return;
  }
  if (file.code() == platform::system_code::kAccessDenied)
    throw FileNotWritable(identity_, index_path_);
  if (!IsMissing(file.code())) throw WriteFailure(identity_, index_path_, L"opened", file.code());
  throw TableNotChangeable(
      identity_,
      L"its structural index " + index_path_ + L", which its header tells of, does not exist",
      L"Restore that file from the same backup as the table, or make it again with FoxPro.");
}

StructuralIndex* TableFiles::index() {
  if (!index_file_) return nullptr;
  if (!index_) {
    index_ = std::make_unique<StructuralIndex>(*index_file_, index_path_, *file_, layout_,
                                               identity_, decoder_);
  }
  return index_.get();
}

void TableFiles::ForgetIndex() { index_.reset(); }

LockPart TableFiles::IndexLock() const { return TableLocks::Index(*index_file_, index_path_); }

LockPart TableFiles::MemoLock() const {
  memo_->CheckGrowable();
  return TableLocks::Memo(memo_->file(), memo_->path());
}

void TableFiles::Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  const auto status = file_->WriteAt(offset, bytes);
  if (!status.ok()) throw WriteFailure(identity_, identity_.path, L"written", status.code());
}

void TableFiles::FlushFile(platform::File& file, const std::wstring& path) const {
  const auto status = file.Flush();
  if (!status.ok()) throw WriteFailure(identity_, path, L"brought to the disk", status.code());
}

void TableFiles::Flush() {
  if (!written_) return;
  written_ = false;
  FlushFile(*file_, identity_.path);
  if (memo_) FlushFile(memo_->file(), memo_->path());
  if (index_file_) FlushFile(*index_file_, index_path_);
}

}  // namespace tdefault::tables::foxpro
