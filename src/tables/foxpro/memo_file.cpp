#include "tables/foxpro/memo_file.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kWindowSize = 64 * std::size_t{1024};

}  // namespace

MemoFile::MemoFile(std::unique_ptr<platform::File> file, std::wstring path,
                   const TableIdentity& table)
    : file_(std::move(file)), path_(std::move(path)), table_(table) {
  Measure();
  if (size_ < memo_header::kSize) {
    throw DamagedFile(table_, path_,
                      L"it ends after " + std::to_wstring(size_) + L" of the " +
                          std::to_wstring(memo_header::kSize) + L" bytes of its header");
  }
  std::array<std::uint8_t, memo_block::kData> header{};
  ReadAt(0, header);
  block_size_ = BigEndian16(header, memo_header::kBlockSize);
  if (block_size_ == 0) throw DamagedFile(table_, path_, L"its block size is 0");
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

Bytes MemoFile::Read(std::uint32_t block, const ValuePlace& place) {
  const std::uint64_t start = static_cast<std::uint64_t>(block) * block_size_;
  if (start < memo_header::kSize || !Holds(start, memo_block::kData)) {
    throw DamagedValue(place, L"the value should start at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_ + L", which has no such block");
  }
  std::array<std::uint8_t, memo_block::kData> head{};
  ReadAt(start, head);
  const std::uint32_t length = BigEndian32(head, memo_block::kDataLength);
  if (!Holds(start + memo_block::kData, length)) {
    throw DamagedValue(place, L"the value at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_ + L" should be " +
                                  std::to_wstring(length) +
                                  L" bytes long and reaches behind the end of that file");
  }
  Bytes data(length);
  ReadAt(start + memo_block::kData, data);
  return data;
}

// REQUIRES: the stretch lies within the size last measured.
void MemoFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> target) {
  if (target.empty()) return;
  const auto held = [this, offset, &target] {
    return offset >= window_offset_ && offset + target.size() <= window_offset_ + window_.size();
  };
  if (target.size() <= kWindowSize) {
    if (!held()) FetchWindow(offset);
    if (held()) {
      const auto from = window_.begin() + static_cast<std::ptrdiff_t>(offset - window_offset_);
      std::copy_n(from, target.size(), target.begin());
      return;
    }
  } else {
    const auto read = file_->ReadAt(offset, target);
    if (!read.ok()) throw FileFailure(table_, path_, L"read", read.code());
    if (read.value() == target.size()) return;
  }
  throw DamagedFile(table_, path_, L"it became shorter while it was read");
}

void MemoFile::FetchWindow(std::uint64_t offset) {
  window_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kWindowSize, size_ - offset)));
  window_offset_ = offset;
  const auto read = file_->ReadAt(offset, window_);
  if (!read.ok()) {
    window_.clear();
    throw FileFailure(table_, path_, L"read", read.code());
  }
  window_.resize(read.value());
}

}  // namespace tdefault::tables::foxpro
