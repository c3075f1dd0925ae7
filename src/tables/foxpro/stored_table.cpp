#include "tables/foxpro/stored_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kBufferSize = 512 * std::size_t{1024};
constexpr std::wstring_view kTableEnding = L".dbf";
constexpr std::wstring_view kMemoEnding = L".fpt";
constexpr std::wstring_view kNotInNames = L"\\/:*?\"<>|";

// Names that open a device instead of a file, which could wait for input for ever.
bool IsDeviceName(std::wstring_view name) {
  constexpr std::array<std::wstring_view, 4> kDevices = {L"CON", L"PRN", L"AUX", L"NUL"};
  constexpr std::array<std::wstring_view, 2> kNumbered = {L"COM", L"LPT"};
  const std::wstring_view stem = TrimTrailingBlanks(name.substr(0, name.find(L'.')));
  const auto is = [](std::wstring_view text) {
    return [text](std::wstring_view device) { return EqualIgnoringCase(text, device); };
  };
  if (std::any_of(kDevices.begin(), kDevices.end(), is(stem))) return true;
  const bool numbered = stem.size() == 4 && stem.back() >= L'0' && stem.back() <= L'9';
  return numbered && std::any_of(kNumbered.begin(), kNumbered.end(), is(stem.substr(0, 3)));
}

std::unique_ptr<platform::File> OpenTableFile(platform::Files& files,
                                              const TableIdentity& identity) {
  auto file =
      files.Open(identity.path, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (file.ok()) return std::move(file).value();
  namespace system_code = platform::system_code;
  if (file.code() == system_code::kFileNotFound || file.code() == system_code::kPathNotFound)
    throw NoSuchTable(identity.name, L"the file " + identity.path + L" does not exist");
  throw FileFailure(identity, identity.path, L"opened", file.code());
}

std::unique_ptr<MemoFile> OpenMemoFile(platform::Files& files, const TableIdentity& identity) {
  std::wstring path = identity.path.substr(0, identity.path.size() - kTableEnding.size());
  path += kMemoEnding;
  auto file = files.Open(path, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (file.ok()) return std::make_unique<MemoFile>(std::move(file).value(), path, identity);
  namespace system_code = platform::system_code;
  if (file.code() != system_code::kFileNotFound && file.code() != system_code::kPathNotFound)
    throw FileFailure(identity, path, L"opened", file.code());
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

// Reads the records in stretches of kBufferSize, so that a scan costs few calls and little memory
// whatever the size of the table.
class StoredTable::Cursor final : public RowCursor {
 public:
  explicit Cursor(const StoredTable& table) : table_(table) {}

  bool Next() override {
    const TableLayout& layout = table_.layout_;
    while (number_ < layout.record_count) {
      ++number_;
      if (number_ >= first_held_ + std::uint64_t{held_}) Fetch();
      const std::size_t index = number_ - first_held_;
      record_ = buffer_.data() + index * layout.record_length;
      if (*record_ == record_mark::kLive) return true;
      if (*record_ != record_mark::kDeleted) throw NoRecord();
      if (!table_.hides_deleted_) return true;
    }
    return false;
  }

  bool Seek(std::uint32_t record_number) override {
    const TableLayout& layout = table_.layout_;
    if (record_number == 0 || record_number > layout.record_count) return false;
    number_ = record_number;
    Fetch();
    record_ = buffer_.data();
    if (*record_ == record_mark::kLive) return true;
    if (*record_ != record_mark::kDeleted) throw NoRecord();
    return !table_.hides_deleted_;
  }

  [[nodiscard]] std::uint32_t record_number() const override { return number_; }

  [[nodiscard]] Value Read(std::size_t column) const override {
    return table_.decoder_.Decode(column, record_, number_);
  }

 private:
  // Fills the buffer from the record number_ on.
  void Fetch() {
    const TableLayout& layout = table_.layout_;
    const std::uint32_t left = layout.record_count - number_ + 1;
    const auto fitting =
        static_cast<std::uint32_t>(std::max<std::size_t>(1, kBufferSize / layout.record_length));
    const std::uint32_t count = std::min(left, fitting);
    buffer_.resize(static_cast<std::size_t>(count) * layout.record_length);
    const std::uint64_t offset =
        layout.header_length + static_cast<std::uint64_t>(number_ - 1) * layout.record_length;
    const auto read = table_.file_->ReadAt(offset, buffer_);
    const TableIdentity& identity = table_.identity_;
    if (!read.ok()) throw FileFailure(identity, identity.path, L"read", read.code());
    if (read.value() < buffer_.size())
      throw DamagedFile(identity, identity.path, L"it became shorter while it was read");
    first_held_ = number_;
    held_ = count;
  }

  [[nodiscard]] Error NoRecord() const {
    return DamagedFile(table_.identity_, table_.identity_.path,
                       L"what should be its record " + std::to_wstring(number_) +
                           L" does not start as a record does");
  }

  const StoredTable& table_;
  std::vector<std::uint8_t> buffer_;
  std::uint32_t first_held_ = 0;  // number of the buffer's first record; 0: none yet
  std::uint32_t held_ = 0;        // records in the buffer
  std::uint32_t number_ = 0;
  const std::uint8_t* record_ = nullptr;
};

StoredTable::StoredTable(platform::Files& files, TableIdentity identity, const TableView& view)
    : identity_(std::move(identity)),
      hides_deleted_(view.hides_deleted),
      file_(OpenTableFile(files, identity_)),
      layout_(ReadTableLayout(*file_, identity_, view.ansi_code_page)),
      memo_(MemoFileOf(files, identity_, layout_)),
      decoder_(layout_, identity_, memo_.get()),
      collation_(MakeCollation(view.sequence, layout_.code_page)) {
  columns_.reserve(layout_.columns.size());
  for (const StoredColumn& stored : layout_.columns) columns_.push_back(stored.column);
}

std::unique_ptr<RowCursor> StoredTable::Scan() { return std::make_unique<Cursor>(*this); }

std::unique_ptr<TableChanges> StoredTable::Change() {
  throw RefusedFile(identity_, identity_.path, L"tables are not changed yet",
                    L"Wait for the next version.");
}

TableFolder::TableFolder(platform::Files& files, std::wstring path, const TableView& view,
                         const LockPatience& patience)
    : files_(files), path_(std::move(path)), view_(view), patience_(patience) {}

std::unique_ptr<Table> TableFolder::OpenTable(const std::wstring& name) {
  const bool refused = std::any_of(name.begin(), name.end(), [](wchar_t character) {
    return static_cast<std::uint32_t>(character) < 0x20 ||
           kNotInNames.find(character) != std::wstring_view::npos;
  });
  if (name.empty() || refused) {
    throw NoSuchTable(name,
                      L"a table is named without folder and without any of \\ / : * ? \" < > |");
  }
  if (IsDeviceName(name))
    throw NoSuchTable(name, L"the system keeps this name for a device, with any ending");
  TableIdentity identity{name, path_ + L"\\" + name + std::wstring(kTableEnding)};
  return std::make_unique<StoredTable>(files_, std::move(identity), view_);
}

}  // namespace tdefault::tables::foxpro
