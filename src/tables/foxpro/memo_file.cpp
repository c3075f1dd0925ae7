#include "tables/foxpro/memo_file.h"

#include <algorithm>
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
  block_size_ = BigEndian16(Fetch(0, memo_header::kSize), memo_header::kBlockSize);
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

std::string_view MemoFile::Read(std::uint32_t block, const ValuePlace& place) {
  const std::uint64_t start = static_cast<std::uint64_t>(block) * block_size_;
  if (start < memo_header::kSize || !Holds(start, memo_block::kData)) {
    throw DamagedValue(place, L"the value should start at block " + std::to_wstring(block) +
                                  L" of the memo file " + path_ + L", which has no such block");
  }
  const std::uint32_t length =
      BigEndian32(Fetch(start, memo_block::kData), memo_block::kDataLength);
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
  if (!held()) FetchWindow(offset, std::max(length, kWindowSize));
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

}  // namespace tdefault::tables::foxpro
