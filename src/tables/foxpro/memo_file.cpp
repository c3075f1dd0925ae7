#include "tables/foxpro/memo_file.h"

#include <algorithm>
#include <utility>

#include "tables/foxpro/change_errors.h"
#include "tables/foxpro/table_format.h"
#include "tables/foxpro/table_locks.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kWindowSize = 64 * std::size_t{1024};
// What is read first for a single row, of which one value is wanted mostly.
constexpr std::size_t kSmallWindowSize = std::size_t{1024};

void PutHeader(const MemoValue& value, std::span<std::uint8_t> block) {
  PutBigEndian32(block, memo_block::kSignature, value.signature);
  PutBigEndian32(block, memo_block::kDataLength, static_cast<std::uint32_t>(value.bytes.size()));
  std::copy(value.bytes.begin(), value.bytes.end(), block.begin() + memo_block::kData);
}

std::uint64_t BlocksOf(std::uint64_t bytes, std::uint32_t block_size) {
  return (bytes + block_size - 1) / block_size;
}

}  // namespace

std::wstring WrongNextFree(std::uint64_t declared, std::uint64_t file_size,
                           std::uint32_t block_size) {
  const std::uint64_t first = BlocksOf(memo_header::kSize, block_size);
  const std::uint64_t end = BlocksOf(file_size, block_size);
  const std::uint64_t ahead = declared - std::min(declared, end);
  if (declared >= first && ahead * block_size <= kFarthestNextFree) return {};
  return L"its header says that block " + std::to_wstring(declared) +
         L" is the next free one, where blocks start at " + std::to_wstring(first) +
         L" and the file ends before block " + std::to_wstring(end);
}

MemoFile::MemoFile(std::unique_ptr<platform::File> file, std::wstring path,
                   const TableIdentity& table)
    : file_(std::move(file)), path_(std::move(path)), table_(table), window_size_(kWindowSize) {
  Measure();
  if (size_ < memo_header::kSize) {
    throw DamagedFile(table_, path_,
                      L"it ends after " + std::to_wstring(size_) + L" of the " +
                          std::to_wstring(memo_header::kSize) + L" bytes of its header");
  }
  block_size_ = BigEndian16(Fetch(0, memo_header::kSize), memo_header::kBlockSize);
  if (block_size_ == 0) throw DamagedFile(table_, path_, L"its block size is 0");
}

void MemoFile::Use(std::unique_ptr<platform::File> file) {
  file_ = std::move(file);
  Forget();
}

// The window grows back while value after value is read, as a scan does.
void MemoFile::Forget() {
  window_.clear();
  window_size_ = kSmallWindowSize;
}

void MemoFile::Measure() {
  const auto size = file_->Size();
  if (!size.ok()) throw FileFailure(table_, path_, L"read", size.code());
  size_ = size.value();
}

bool MemoFile::Holds(std::uint64_t offset, std::uint64_t length) {
  if (offset + length > size_) Measure();
  return offset + length <= size_;
}

std::string_view MemoFile::Read(std::uint32_t block, const ValuePlace& place) {
  for (const MemoValue& value : announced_)
    if (value.block == block) return value.bytes;
  const std::uint64_t start = static_cast<std::uint64_t>(block) * block_size_;
  if (start < memo_header::kSize || !Holds(start, memo_block::kData)) {
    throw DamagedValue(place, L"the value should start at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_ + L", which has no such block");
  }
  const auto head = Fetch(start, memo_block::kData);
  const std::uint32_t length = BigEndian32(head, memo_block::kDataLength);
  // Never written: an empty value has no block.
  if (length == 0 && BigEndian32(head, memo_block::kSignature) == 0) {
    throw DamagedValue(place, L"no value starts at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_);
  }
  if (!Holds(start + memo_block::kData, length)) {
    throw DamagedValue(place, L"the value at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_ + L" should be " +
                                  std::to_wstring(length) +
                                  L" bytes long and reaches behind the end of that file");
  }
  const auto data = Fetch(start + memo_block::kData, length);
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::span<const std::uint8_t> MemoFile::Fetch(std::uint64_t offset, std::size_t length) {
  const auto held = [&] {
    return offset >= window_offset_ && offset + length <= window_offset_ + window_.size();
  };
  if (!held()) {
    FetchWindow(offset, std::max(length, window_size_));
    window_size_ = std::min(kWindowSize, window_size_ * 2);
  }
  if (!held()) throw DamagedFile(table_, path_, L"it became shorter while it was read");
  return std::span<const std::uint8_t>(window_).subspan(
      static_cast<std::size_t>(offset - window_offset_), length);
}

void MemoFile::FetchWindow(std::uint64_t offset, std::size_t size) {
  const std::uint64_t left = size_ - std::min(size_, offset);
  window_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, left)));
  window_offset_ = offset;
  const auto read = file_->ReadAt(offset, window_);
  if (!read.ok()) {
    window_.clear();
    throw FileFailure(table_, path_, L"read", read.code());
  }
  window_.resize(read.value());
}

std::uint64_t MemoFile::Blocks(std::size_t size) const {
  return BlocksOf(memo_block::kData + std::uint64_t{size}, block_size_);
}

void MemoFile::CheckEnd(std::uint64_t end) const {
  // Nothing that we write makes the byte data, which nobody could read while the lock is held.
  if (end <= kLowLocks) return;
  throw FileFull(table_, path_,
                 L"its values would reach the byte that stands for the lock of the file");
}

void MemoFile::CheckGrowable() {
  Measure();
  CheckEnd(size_);
}

// The first block behind all that are in use. A file that is longer than its header says has values
// whose writer ended before it could say so, and nothing tells whether rows refer to them: they
// stay. One that is a little shorter has a writer that raised the number first: the blocks between
// may become its values. The last block of a file need not be whole.
std::uint64_t MemoFile::NextFree() {
  std::vector<std::uint8_t> header(4);
  const auto read = file_->ReadAt(memo_header::kNextFree, header);
  if (!read.ok()) throw FileFailure(table_, path_, L"read", read.code());
  if (read.value() < header.size())
    throw DamagedFile(table_, path_, L"it became shorter while it was read");
  Measure();
  const std::uint64_t declared = BigEndian32(header, 0);
  const std::wstring wrong = WrongNextFree(declared, size_, block_size_);
  if (!wrong.empty()) throw DamagedFile(table_, path_, wrong);
  return std::max(declared, BlocksOf(size_, block_size_));
}

void MemoFile::Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  const auto written = file_->WriteAt(offset, bytes);
  Forget();
  if (!written.ok()) throw WriteFailure(table_, path_, L"written", written.code());
}

// The values before the header: a writer that ends in between leaves blocks that nothing refers to,
// never blocks that are given out twice.
void MemoFile::Append(std::span<MemoValue> values) {
  const std::uint64_t first = NextFree();
  std::uint64_t next = first;
  for (MemoValue& value : values) {
    value.block = static_cast<std::uint32_t>(next);
    next += Blocks(value.bytes.size());
    CheckEnd(next * block_size_);
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>((next - first) * block_size_));
  for (const MemoValue& value : values) {
    PutHeader(value, std::span(bytes).subspan(
                         static_cast<std::size_t>((value.block - first) * block_size_)));
  }
  Write(first * block_size_, bytes);
  std::vector<std::uint8_t> header(4);
  PutBigEndian32(header, 0, static_cast<std::uint32_t>(next));
  Write(memo_header::kNextFree, header);
}

bool MemoFile::HasRoom(std::size_t old_size, std::size_t new_size) const {
  return Blocks(new_size) <= Blocks(old_size);
}

void MemoFile::Overwrite(const MemoValue& value) {
  std::vector<std::uint8_t> bytes(memo_block::kData + value.bytes.size());
  PutHeader(value, bytes);
  Write(static_cast<std::uint64_t>(value.block) * block_size_, bytes);
}

}  // namespace tdefault::tables::foxpro
