#include "tables/foxpro/stored_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/row_changes.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kBufferSize = 512 * std::size_t{1024};
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

}  // namespace

// Reads the records in stretches of kBufferSize, so that a scan costs few calls and little memory
// whatever the size of the table. What Seek stands on is read alone.
class StoredTable::Cursor final : public RowCursor {
 public:
  explicit Cursor(const StoredTable& table)
      : table_(*table.table_), record_count_(table.record_count_) {}

  bool Next() override {
    while (number_ < record_count_) {
      ++number_;
      if (number_ >= first_held_ + std::uint64_t{held_}) Fetch(Fitting());
      const std::size_t index = number_ - first_held_;
      record_ = buffer_.data() + index * table_.layout().record_length;
      if (IsShown()) return true;
    }
    return false;
  }

  bool Seek(std::uint32_t record_number) override {
    if (record_number == 0 || record_number > record_count_) return false;
    number_ = record_number;
    Fetch(1);
    if (table_.memo() != nullptr) table_.memo()->Forget();
    record_ = buffer_.data();
    return IsShown();
  }

  [[nodiscard]] std::uint32_t record_number() const override { return number_; }

  [[nodiscard]] Value Read(std::size_t column) const override {
    return table_.decoder().Decode(column, record_, number_);
  }

  [[nodiscard]] std::optional<std::string_view> StoredText(std::size_t column) const override {
    return table_.decoder().StoredText(column, record_, number_);
  }

 private:
  [[nodiscard]] std::uint32_t Fitting() const {
    const std::size_t fitting = kBufferSize / table_.layout().record_length;
    return static_cast<std::uint32_t>(std::max<std::size_t>(1, fitting));
  }

  // Fills the buffer with records from number_ on, at most `count`.
  void Fetch(std::uint32_t count) {
    const std::uint32_t left = record_count_ - number_ + 1;
    held_ = 0;
    buffer_.resize(static_cast<std::size_t>(std::min(left, count)) * table_.layout().record_length);
    table_.Read(table_.RecordOffset(number_), buffer_);
    first_held_ = number_;
    held_ = std::min(left, count);
  }

  [[nodiscard]] bool IsShown() const {
    if (*record_ == record_mark::kLive) return true;
    if (*record_ != record_mark::kDeleted) throw NoRecord(table_.identity(), number_);
    return !table_.view().hides_deleted;
  }

  const TableFiles& table_;
  const std::uint32_t record_count_;
  std::vector<std::uint8_t> buffer_;
  std::uint32_t first_held_ = 0;  // number of the buffer's first record; 0: none yet
  std::uint32_t held_ = 0;        // records in the buffer
  std::uint32_t number_ = 0;
  const std::uint8_t* record_ = nullptr;
};

StoredTable::StoredTable(std::shared_ptr<TableFiles> table)
    : table_(std::move(table)), record_count_(table_->layout().record_count) {
  columns_.reserve(table_->layout().columns.size());
  for (const StoredColumn& stored : table_->layout().columns) columns_.push_back(stored.column);
}

std::unique_ptr<RowCursor> StoredTable::Scan() { return std::make_unique<Cursor>(*this); }

std::unique_ptr<TableChanges> StoredTable::Change() {
  table_->AllowChanges();
  return std::make_unique<RowChanges>(table_);
}

TableFolder::TableFolder(platform::Files& files, std::wstring path, const TableView& view,
                         const LockPatience& patience)
    : files_(files), path_(std::move(path)), view_(view), patience_(patience) {}

// A table that fails to show what others have changed is given up: the next statement opens it
// anew, which may help after a lost connection.
std::shared_ptr<TableFiles> TableFolder::Find(const std::wstring& name) {
  const auto place = open_.find(name);
  if (place == open_.end()) return nullptr;
  auto table = std::move(place->second);
  open_.erase(place);
  if (!table->Refresh()) return nullptr;
  open_.emplace(name, table);
  return table;
}

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
  const std::wstring key = ToUpper(name);
  std::shared_ptr<TableFiles> table = Find(key);
  if (!table) {
    TableIdentity identity{name, path_ + L"\\" + name + std::wstring(file_ending::kTable)};
    table = std::make_shared<TableFiles>(files_, std::move(identity), view_, patience_);
    open_[key] = table;
  }
  return std::make_unique<StoredTable>(std::move(table));
}

void TableFolder::Flush() {
  std::optional<Error> failure;
  for (const auto& [name, table] : open_) {
    try {
      table->Flush();
    } catch (const Error& error) {
      if (!failure) failure = error;
    }
  }
  if (failure) throw Error(*failure);
}

}  // namespace tdefault::tables::foxpro
