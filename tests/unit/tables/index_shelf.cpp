#include "index_shelf.h"

#include <stdexcept>

#include "base/text.h"
#include "tables/foxpro/index_format.h"

namespace tdefault::tables::testing {
namespace {

const std::wstring kIndexPath = L"C:\\Data\\T.cdx";

std::unique_ptr<platform::File> OpenFile(platform::simulation::Simulation& machine,
                                         const std::wstring& path) {
  return machine.platform()
      .files.Open(path, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite)
      .value();
}

void Write(platform::File& file, std::uint64_t offset, std::string_view bytes) {
  const std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
  if (!file.WriteAt(offset, copy).ok()) throw std::runtime_error("a write failed");
}

}  // namespace

IndexShelf::IndexShelf(std::string_view table, std::string_view index, std::string_view memo) {
  machine_.PutFile(L"C:\\Data\\T.dbf", table);
  machine_.PutFile(kIndexPath, index);
  if (!memo.empty()) machine_.PutFile(L"C:\\Data\\T.fpt", memo);
  Open();
}

IndexShelf::IndexShelf(const tests::TableSpec& spec) {
  const tests::BuiltTable files = tests::BuildTable(spec);
  machine_.PutFile(L"C:\\Data\\T.dbf", files.table);
  machine_.PutFile(kIndexPath, files.index);
  Open();
}

void IndexShelf::Open() {
  table_file_ = OpenFile(machine_, table_.path);
  index_file_ = OpenFile(machine_, kIndexPath);
  layout_ = foxpro::ReadTableLayout(*table_file_, table_, 1252);
  decoder_ = std::make_unique<foxpro::RecordDecoder>(*layout_, table_, nullptr);
}

std::unique_ptr<foxpro::StructuralIndex> IndexShelf::OpenIndex() {
  return std::make_unique<foxpro::StructuralIndex>(*index_file_, kIndexPath, *table_file_, *layout_,
                                                   table_, *decoder_);
}

foxpro::StructuralIndex& IndexShelf::index() {
  if (index_ == nullptr) index_ = OpenIndex();
  return *index_;
}

std::uint32_t IndexShelf::count() {
  std::vector<std::uint8_t> header(foxpro::table_header::kSize);
  if (!table_file_->ReadAt(0, header).ok()) throw std::runtime_error("a read failed");
  return foxpro::LittleEndian32(header, foxpro::table_header::kRecordCount);
}

std::string IndexShelf::Row(std::uint32_t number) {
  std::vector<std::uint8_t> bytes(layout_->record_length);
  const std::uint64_t offset =
      layout_->header_length + static_cast<std::uint64_t>(number - 1) * layout_->record_length;
  if (!table_file_->ReadAt(offset, bytes).ok()) throw std::runtime_error("a read failed");
  return {bytes.begin(), bytes.end()};
}

void IndexShelf::WriteRow(std::uint32_t number, std::string_view row, char mark) {
  std::string bytes(1, mark);
  bytes += row;
  bytes.resize(layout_->record_length, ' ');
  Write(*table_file_,
        layout_->header_length + static_cast<std::uint64_t>(number - 1) * layout_->record_length,
        bytes);
  if (number <= count()) return;
  std::string digits;
  for (unsigned shift = 0; shift < 32; shift += 8)
    digits.push_back(static_cast<char>(number >> shift));
  Write(*table_file_, foxpro::table_header::kRecordCount, digits);
}

std::uint32_t IndexShelf::Append(std::string_view row, char mark) {
  const std::uint32_t number = count() + 1;
  std::string bytes(1, mark);
  bytes += row;
  bytes.resize(layout_->record_length, ' ');
  const auto* const record = reinterpret_cast<const std::uint8_t*>(bytes.data());
  index().Refresh();
  const foxpro::RowKeys keys = index().KeysOf(record, number);
  index().CheckUnique(keys, number);
  index().CheckPresent(foxpro::RowKeys(keys.size()), keys, number);
  index().Begin(number);
  WriteRow(number, row, mark);
  index().Replace(nullptr, keys, number);
  index().Finish();
  return number;
}

void IndexShelf::Change(std::uint32_t number, std::string_view row, char mark) {
  const std::string old = Row(number);
  std::string bytes(1, mark);
  bytes += row;
  bytes.resize(layout_->record_length, ' ');
  index().Refresh();
  const foxpro::RowKeys before =
      index().KeysOf(reinterpret_cast<const std::uint8_t*>(old.data()), number);
  const foxpro::RowKeys after =
      index().KeysOf(reinterpret_cast<const std::uint8_t*>(bytes.data()), number);
  index().CheckUnique(after, number);
  index().CheckPresent(before, after, number);
  index().Begin(number);
  WriteRow(number, row, mark);
  index().Replace(&before, after, number);
  index().Finish();
}

foxpro::IndexReport IndexShelf::Verify() {
  return foxpro::VerifyIndex(*index_file_, kIndexPath, *table_file_, *layout_, table_, *decoder_);
}

std::string IndexShelf::Findings() {
  const foxpro::IndexReport report = Verify();
  std::string lines;
  for (const std::wstring& finding : report.findings) lines += ToUtf8(finding) + '\n';
  for (const foxpro::TagReport& tag : report.tags) {
    if (!tag.not_compared.empty()) lines += ToUtf8(tag.name + L": " + tag.not_compared) + '\n';
    for (const std::wstring& finding : tag.findings)
      lines += ToUtf8(tag.name + L": " + finding) + '\n';
  }
  return lines;
}

std::string IndexShelf::IndexBytes() const { return machine_.Contents(kIndexPath).value(); }

void IndexShelf::PutIndexByte(std::size_t offset, std::uint8_t byte) {
  Write(*index_file_, offset, std::string(1, static_cast<char>(byte)));
}

void IndexShelf::PutTableByte(std::size_t offset, std::uint8_t byte) {
  Write(*table_file_, offset, std::string(1, static_cast<char>(byte)));
}

}  // namespace tdefault::tables::testing
