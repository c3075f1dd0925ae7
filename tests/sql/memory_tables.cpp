#include "sql/memory_tables.h"

#include <stdexcept>
#include <utility>

#include "base/code_page.h"
#include "base/error.h"
#include "sql/memory_changes.h"

namespace tdefault::tests {
namespace {

using tables::Column;
using tables::ColumnKind;

constexpr std::uint32_t kCodePage = 1252;

class MemoryCursor final : public tables::RowCursor {
 public:
  explicit MemoryCursor(MemoryTable& table) : table_(table) {}

  bool Next() override {
    if (ended_) throw std::logic_error("Next was called again behind the last row");
    do {
      ended_ = row_ == table_.rows.size();
      if (ended_) return false;
      ++row_;
    } while (table_.deleted.contains(record_number()));
    if (table_.rows_visited == table_.most_rows_visited)
      throw Error(error_number::kInUseByAnother, L"Tables", L"The test visits no more rows.");
    ++table_.rows_visited;
    return true;
  }

  bool Seek(std::uint32_t record_number) override {
    ended_ = record_number == 0 || record_number > table_.rows.size();
    row_ = ended_ ? table_.rows.size() : record_number;
    ++table_.seeks;
    return !ended_ && !table_.deleted.contains(record_number);
  }

  [[nodiscard]] std::uint32_t record_number() const override {
    return static_cast<std::uint32_t>(row_);
  }

  [[nodiscard]] Value Read(std::size_t column) const override {
    if (row_ == 0 || ended_) throw std::logic_error("Read was called without a current row");
    ++table_.reads.at(column);
    Value value = table_.rows[row_ - 1].at(column);
    const Column& description = table_.columns[column];
    if (auto* text = std::get_if<std::wstring>(&value); text != nullptr && description.fixed_width)
      text->resize(static_cast<std::size_t>(description.length), L' ');
    return value;
  }

  [[nodiscard]] std::optional<std::string_view> StoredText(std::size_t column) const override {
    const Column& description = table_.columns.at(column);
    const auto* text = std::get_if<std::wstring>(&table_.rows[row_ - 1].at(column));
    if (!table_.gives_stored_text || text == nullptr || !description.fixed_width)
      return std::nullopt;
    ++table_.stored_reads;
    bytes_ = description.code_page->Encode(*text);
    bytes_.resize(static_cast<std::size_t>(description.length), ' ');
    return bytes_;
  }

 private:
  MemoryTable& table_;
  mutable std::string bytes_;  // of the text given last
  std::size_t row_ = 0;
  bool ended_ = false;
};

class OpenMemoryTable final : public tables::Table {
 public:
  OpenMemoryTable(MemoryTable& table, const tables::Collation& collation)
      : table_(table), collation_(collation) {}

  [[nodiscard]] const std::vector<Column>& columns() const override { return table_.columns; }
  [[nodiscard]] CodePage code_page() const override { return *CodePage::Find(kCodePage); }
  [[nodiscard]] const tables::Collation& collation() const override { return collation_; }

  std::unique_ptr<tables::RowCursor> Scan() override {
    ++table_.scans;
    return std::make_unique<MemoryCursor>(table_);
  }

  std::unique_ptr<tables::TableChanges> Change() override {
    return MakeMemoryChanges(table_, std::make_unique<MemoryCursor>(table_));
  }

 private:
  MemoryTable& table_;
  const tables::Collation& collation_;
};

ColumnKind KindOf(char type) {
  switch (type) {
    case 'C':
    case 'V':
      return ColumnKind::kText;
    case 'M':
      return ColumnKind::kMemo;
    case 'N':
    case 'F':
    case 'B':
      return ColumnKind::kNumber;
    case 'I':
      return ColumnKind::kInteger;
    case 'Y':
      return ColumnKind::kCurrency;
    case 'L':
      return ColumnKind::kLogical;
    case 'D':
      return ColumnKind::kDate;
    case 'T':
      return ColumnKind::kDateTime;
    case 'G':
    case 'P':
    case 'W':
    case 'Q':
      return ColumnKind::kBinary;
    default:
      throw std::invalid_argument("no such column type");
  }
}

}  // namespace

MemoryTables::MemoryTables() { set_collation(tables::foxpro::CollatingSequence::kGeneral); }

MemoryTable& MemoryTables::Add(const std::wstring& name, MemoryTable table) {
  table.reads.assign(table.columns.size(), 0);
  return tables_[name] = std::move(table);
}

void MemoryTables::set_collation(tables::foxpro::CollatingSequence sequence) {
  collation_ = tables::foxpro::MakeCollation(sequence, *CodePage::Find(kCodePage));
}

std::unique_ptr<tables::Table> MemoryTables::OpenTable(const std::wstring& name) {
  const auto found = tables_.find(name);
  if (found == tables_.end())
    throw Error(error_number::kNoSuchTable, L"Tables", L"There is no table " + name + L".");
  ++found->second.opened;
  return std::make_unique<OpenMemoryTable>(found->second, *collation_);
}

Column MakeColumn(const std::wstring& name, char type, std::int32_t length, std::int32_t decimals) {
  Column column;
  column.name = ToUpper(name);
  column.type = type;
  column.kind = KindOf(type);
  column.length = length;
  column.decimals = decimals;
  column.nullable = true;
  column.fixed_width = type == 'C';
  if (column.kind == ColumnKind::kText || column.kind == ColumnKind::kMemo)
    column.code_page = CodePage::Find(kCodePage);
  return column;
}

}  // namespace tdefault::tests
