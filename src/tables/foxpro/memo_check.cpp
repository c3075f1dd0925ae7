#include "tables/foxpro/memo_check.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tables/foxpro/memo_file.h"
#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::uint64_t kWindowBlocks = std::uint64_t{1} << 25U;  // 4 MB of flags
constexpr std::size_t kMostConflicts = 64;
constexpr std::uint32_t kHighestSignature = 2;  // 0 picture, 1 text, 2 object
// From this much unused space on, and half of the file, packing is worth a word.
constexpr std::uint64_t kUnusedWorthTelling = 1024 * std::uint64_t{1024};

constexpr wchar_t kSharedRemedy[] =
    L"Changing one of them may change the other: write both values anew with FoxPro, or restore "
    L"table and memo file from the same backup.";

std::uint64_t BlocksFor(std::uint64_t bytes, std::uint32_t block_size) {
  return (bytes + block_size - 1) / block_size;
}

}  // namespace

MemoCheck::MemoCheck(std::unique_ptr<platform::File> file, std::wstring path,
                     const TableIdentity& table, CheckFindings& findings)
    : file_(std::move(file)), path_(std::move(path)), table_(table), findings_(findings) {
  const auto size = file_->Size();
  if (!size.ok()) throw FileFailure(table_, path_, L"read", size.code());
  size_ = size.value();
  if (size_ < memo_header::kSize) {
    throw DamagedFile(table_, path_,
                      L"it ends after " + std::to_wstring(size_) + L" of the " +
                          std::to_wstring(memo_header::kSize) + L" bytes of its header");
  }
  std::array<std::uint8_t, memo_header::kBlockSize + 2> header{};
  Fetch(0, header);
  block_size_ = BigEndian16(header, memo_header::kBlockSize);
  if (block_size_ == 0) throw DamagedFile(table_, path_, L"its block size is 0");
  next_free_ = BigEndian32(header, memo_header::kNextFree);
  TellEnd();
  StartWindow(0);
}

void MemoCheck::Fetch(std::uint64_t offset, std::span<std::uint8_t> target) {
  const auto read = file_->ReadAt(offset, target);
  if (!read.ok()) throw FileFailure(table_, path_, L"read", read.code());
  if (read.value() < target.size())
    throw DamagedFile(table_, path_, L"it became shorter while it was read");
}

ValuePlace MemoCheck::PlaceOf(const MemoReference& reference) const {
  return {table_, reference.record_number, reference.column};
}

MemoCheck::Head MemoCheck::HeadOf(const MemoReference& reference) {
  Head head;
  const std::uint64_t start = static_cast<std::uint64_t>(reference.block) * block_size_;
  head.starts_inside = start >= memo_header::kSize && start + memo_block::kData <= size_;
  if (!head.starts_inside) return head;
  std::array<std::uint8_t, memo_block::kData> bytes{};
  Fetch(start, bytes);
  head.signature = BigEndian32(bytes, memo_block::kSignature);
  head.length = BigEndian32(bytes, memo_block::kDataLength);
  head.ends_inside = start + memo_block::kData + head.length <= size_;
  head.end = reference.block + BlocksFor(memo_block::kData + head.length, block_size_);
  return head;
}

void MemoCheck::CheckValue(const MemoReference& reference) {
  ++values_;
  const std::wstring block =
      L"block " + std::to_wstring(reference.block) + L" of the memo file " + path_;
  const auto damaged = [&](const std::wstring& reason) {
    findings_.Problem(CheckArea::kMemo, DamagedValue(PlaceOf(reference), reason).description());
  };
  const Head head = HeadOf(reference);
  if (!head.starts_inside)
    return damaged(L"the value should start at " + block + L", which has no such block");
  const bool unwritten = head.signature == 0 && head.length == 0;
  if (unwritten || head.signature > kHighestSignature)
    return damaged(L"no value starts at " + block);
  if (!head.ends_inside) {
    return damaged(L"the value at " + block + L" should be " + std::to_wstring(head.length) +
                   L" bytes long and reaches behind the end of that file");
  }
  if (head.end > next_free_) {
    damaged(L"the value at " + block + L" reaches into the blocks that the file counts as free, " +
            std::to_wstring(next_free_) + L" and up, where the next new value will overwrite it");
  }
  highest_end_ = std::max(highest_end_, head.end);
  MarkUsed(reference, head.end);
}

void MemoCheck::StartWindow(std::uint64_t first_block) {
  window_first_ = first_block;
  const std::uint64_t blocks = BlocksFor(size_, block_size_);
  used_.assign(
      static_cast<std::size_t>(std::min(kWindowBlocks, blocks - std::min(blocks, first_block))),
      false);
}

void MemoCheck::MarkUsed(const MemoReference& reference, std::uint64_t value_end) {
  const std::uint64_t first = std::max<std::uint64_t>(reference.block, window_first_);
  const std::uint64_t end = std::min(value_end, window_first_ + used_.size());
  bool told = false;
  for (std::uint64_t block = first; block < end; ++block) {
    auto used = used_[static_cast<std::size_t>(block - window_first_)];
    if (!used) ++used_blocks_;
    if (used && !told) {
      told = true;
      ++conflict_count_;
      if (conflicts_.size() < kMostConflicts)
        conflicts_.push_back({block, reference.record_number, reference.column});
    }
    used = true;
  }
}

void MemoCheck::CheckWhole(const MemoReferences& references) {
  const std::uint64_t blocks = BlocksFor(size_, block_size_);
  while (window_first_ + used_.size() < blocks) {
    StartWindow(window_first_ + used_.size());
    references([this](const MemoReference& reference) {
      const Head head = HeadOf(reference);
      if (head.starts_inside && head.ends_inside) MarkUsed(reference, head.end);
    });
  }
  if (!conflicts_.empty()) TellConflicts(references);
  TellSpace();
}

// Finds the earlier user of each block that two values use.
void MemoCheck::TellConflicts(const MemoReferences& references) {
  std::vector<std::wstring> earlier(conflicts_.size());
  references([&](const MemoReference& reference) {
    const Head head = HeadOf(reference);
    if (!head.starts_inside || !head.ends_inside) return;
    for (std::size_t i = 0; i < conflicts_.size(); ++i) {
      const std::uint64_t block = conflicts_[i].block;
      if (!earlier[i].empty() || block < reference.block || block >= head.end) continue;
      earlier[i] =
          L"record " + std::to_wstring(reference.record_number) + L", column " + reference.column;
    }
  });
  for (std::size_t i = 0; i < conflicts_.size(); ++i) {
    const Conflict& conflict = conflicts_[i];
    findings_.Problem(CheckArea::kMemo,
                      RefusedValue({table_, conflict.record_number, conflict.column},
                                   L"the value uses block " + std::to_wstring(conflict.block) +
                                       L" of the memo file " + path_ + L", which the value of " +
                                       earlier[i] + L" uses as well",
                                   kSharedRemedy)
                          .description());
  }
  for (std::uint64_t i = conflicts_.size(); i < conflict_count_; ++i)
    findings_.Problem(CheckArea::kMemo, kSharedRemedy);
}

// Told first: where the file was cut short, it explains what is told of the values.
void MemoCheck::TellEnd() {
  const std::wstring wrong = WrongNextFree(next_free_, size_, block_size_);
  if (!wrong.empty())
    return findings_.Problem(CheckArea::kMemo, DamagedFile(table_, path_, wrong).description());
  const std::uint64_t blocks = BlocksFor(size_, block_size_);
  if (next_free_ <= blocks) return;
  findings_.Warning(CheckArea::kMemo,
                    FileSubject(table_, path_) + L"it counts " + std::to_wstring(next_free_) +
                        L" blocks and ends behind block " + std::to_wstring(blocks) +
                        L". When no value is missing, a change was broken off and nothing is "
                        L"lost; else the file was cut short: restore it with the table.");
}

void MemoCheck::TellSpace() {
  const std::uint64_t blocks = BlocksFor(size_, block_size_);
  if (blocks > next_free_ && highest_end_ <= next_free_) {
    findings_.Warning(CheckArea::kMemo,
                      FileSubject(table_, path_) +
                          std::to_wstring(size_ - next_free_ * block_size_) +
                          L" bytes behind the last counted block are unused. Nothing is lost; a "
                          L"change that was broken off may leave them.");
  }
  const std::uint64_t first = BlocksFor(memo_header::kSize, block_size_);
  const std::uint64_t counted = std::min(next_free_, blocks);
  const std::uint64_t unused = counted - std::min(counted, first + used_blocks_);
  if (unused * block_size_ >= kUnusedWorthTelling && unused * 2 > counted) {
    findings_.Warning(CheckArea::kMemo,
                      FileSubject(table_, path_) + std::to_wstring(unused * block_size_ / 1024) +
                          L" KB of the file hold values that were replaced or removed. PACK MEMO "
                          L"in FoxPro would give the space back.");
  }
}

}  // namespace tdefault::tables::foxpro
