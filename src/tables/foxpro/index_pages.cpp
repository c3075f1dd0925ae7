#include "tables/foxpro/index_pages.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tdefault::tables::foxpro {
namespace {

// Pages that were not changed are dropped between two changes when there are more of them.
constexpr std::size_t kMostKept = 4096;

// FoxPro's files end before 2 GB, where its locks lie.
constexpr std::uint64_t kLargestFile = 0x7FFFFE00;

bool IsNoPage(std::uint32_t offset) { return offset == 0 || offset == kNoIndexPage; }

std::wstring PageAt(std::uint32_t offset) { return L"the page at " + std::to_wstring(offset); }

}  // namespace

void IndexPages::Refresh() {
  IndexPage header;
  ReadBytes(0, header, {});
  const auto size = file_.Size();
  if (!size.ok()) throw FileFailure(index_.table, index_.path, L"read", size.code());
  const bool same = known_ && changed_.empty() && freed_.empty() && overwritten_.empty() &&
                    size.value() == size_ && header == header_;
  if (!same) DropAll();
  if (entries_.size() > kMostKept) entries_.clear();
  header_ = header;
  stored_header_ = header;
  known_ = true;
  size_ = size.value();
  end_ = (size_ + kIndexPageSize - 1) / kIndexPageSize * kIndexPageSize;
}

void IndexPages::DropAll() noexcept {
  entries_.clear();
  changed_.clear();
  freed_.clear();
  overwritten_.clear();
}

void IndexPages::ReadBytes(std::uint64_t offset, std::span<std::uint8_t> bytes,
                           const std::wstring& tag) {
  const auto read = file_.ReadAt(offset, bytes);
  if (!read.ok()) throw FileFailure(index_.table, index_.path, L"read", read.code());
  if (read.value() < bytes.size()) {
    throw DamagedTag(index_, tag,
                     L"the file ends before byte " + std::to_wstring(offset + bytes.size()) +
                         L", where it should go on");
  }
}

bool IndexPages::IsPagePlace(std::uint32_t offset) const noexcept {
  return offset >= tag_header::kSize && offset % kIndexPageSize == 0 && offset < end_;
}

IndexPages::Entry& IndexPages::Find(std::uint32_t offset, const TreeShape& shape) {
  if (const auto found = entries_.find(offset); found != entries_.end()) {
    if (found->second->shape != &shape)
      throw DamagedTag(index_, shape.name, PageAt(offset) + L" belongs to another tag too");
    return *found->second;
  }
  if (!IsPagePlace(offset))
    throw DamagedTag(
        index_, shape.name,
        L"it refers to a page at " + std::to_wstring(offset) + L", where the file has none");
  IndexPage page;
  ReadBytes(offset, page, shape.name);
  auto entry = std::make_unique<Entry>();
  entry->shape = &shape;
  const std::wstring problem = DecodeNode(page, shape, entry->node);
  if (!problem.empty()) throw DamagedTag(index_, shape.name, PageAt(offset) + L" " + problem);
  entry->stored = page;
  return *entries_.emplace(offset, std::move(entry)).first->second;
}

const IndexNode& IndexPages::Fetch(std::uint32_t offset, const TreeShape& shape) {
  return Find(offset, shape).node;
}

IndexNode& IndexPages::Change(std::uint32_t offset, const TreeShape& shape) {
  Entry& entry = Find(offset, shape);
  if (!entry.changed) changed_.push_back(offset);
  entry.changed = true;
  return entry.node;
}

// Believed is only what this library writes, a number in a page of zeros: a page that were in use
// after all would take the tree of another tag with it. Any other list is left alone.
std::optional<IndexPages::FreePage> IndexPages::TakeFreePage() {
  if (!freed_.empty()) {
    const FreePage page = freed_.back();
    freed_.pop_back();
    return page;
  }
  const std::uint32_t head = LittleEndian32(header_, tag_header::kFreeList);
  if (IsNoPage(head) || !IsPagePlace(head) || entries_.contains(head)) return std::nullopt;
  IndexPage page;
  ReadBytes(head, page, {});
  const std::uint32_t next = LittleEndian32(page, 0);
  if (std::any_of(page.begin() + 4, page.end(), [](std::uint8_t byte) { return byte != 0; }))
    return std::nullopt;
  if (!IsNoPage(next) && (!IsPagePlace(next) || next == head)) return std::nullopt;
  StoreLittleEndian32(header_, tag_header::kFreeList, next);
  return FreePage{head, page};
}

std::uint32_t IndexPages::Allocate(const TreeShape& shape) {
  std::optional<FreePage> place = TakeFreePage();
  if (!place) {
    if (end_ >= kLargestFile)
      throw RefusedFile(index_.table, index_.path, L"the index file cannot grow beyond 2 GB",
                        L"Divide the table.");
    place = FreePage{static_cast<std::uint32_t>(end_), std::nullopt};
    end_ += kIndexPageSize;
  }
  auto entry = std::make_unique<Entry>();
  entry->shape = &shape;
  entry->stored = place->stored;
  entry->changed = true;
  entry->created = true;
  entries_[place->offset] = std::move(entry);
  changed_.push_back(place->offset);
  return place->offset;
}

void IndexPages::Free(std::uint32_t offset) {
  const auto found = entries_.find(offset);
  freed_.push_back({offset, found->second->stored});
  entries_.erase(found);
  std::erase(changed_, offset);
}

void IndexPages::WriteBytes(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  const platform::SystemStatus status = file_.WriteAt(offset, bytes);
  if (!status.ok()) throw FileFailure(index_.table, index_.path, L"written", status.code());
}

void IndexPages::WriteMark(std::uint32_t record_number) {
  std::array<std::uint8_t, 4> bytes{};
  StoreLittleEndian32(bytes, 0, record_number);
  WriteBytes(tag_header::kUnfinishedRecord, bytes);
  StoreLittleEndian32(header_, tag_header::kUnfinishedRecord, record_number);
}

void IndexPages::WritePage(std::uint32_t offset, const std::optional<IndexPage>& stored,
                           const IndexPage& page) {
  if (stored) overwritten_.push_back({offset, *stored});
  WriteBytes(offset, page);
}

void IndexPages::WriteNodes() {
  const auto rank = [](const Entry& entry) {
    if (entry.created) return 0;
    return entry.node.leaf ? 1 : 2;
  };
  for (int turn = 0; turn <= 2; ++turn) {
    for (const std::uint32_t offset : changed_) {
      Entry& entry = *entries_.at(offset);
      if (rank(entry) != turn) continue;
      const IndexPage page = EncodeNode(entry.node, *entry.shape);
      WritePage(offset, entry.stored, page);
      entry.stored = page;
    }
  }
}

void IndexPages::WriteFreePages() {
  for (const FreePage& freed : freed_) {
    IndexPage page{};
    StoreLittleEndian32(page, 0, LittleEndian32(header_, tag_header::kFreeList));
    WritePage(freed.offset, freed.stored, page);
    StoreLittleEndian32(header_, tag_header::kFreeList, freed.offset);
  }
}

void IndexPages::WriteHeader() {
  StoreBigEndian32(header_, tag_header::kCounter, BigEndian32(header_, tag_header::kCounter) + 1);
  StoreLittleEndian32(header_, tag_header::kUnfinishedRecord, 0);
  WriteBytes(0, header_);
}

void IndexPages::Write() {
  WriteNodes();
  WriteFreePages();
  WriteHeader();
  for (const std::uint32_t offset : changed_) {
    Entry& entry = *entries_.at(offset);
    entry.changed = false;
    entry.created = false;
  }
  changed_.clear();
  freed_.clear();
  overwritten_.clear();
  size_ = std::max(size_, end_);
}

// The pages in the reverse order of their writing: again none refers to one that is not there.
void IndexPages::TakeBack() {
  known_ = false;
  for (auto page = overwritten_.rbegin(); page != overwritten_.rend(); ++page)
    WriteBytes(page->offset, page->stored);
  const std::uint32_t counter = BigEndian32(header_, tag_header::kCounter);
  header_ = stored_header_;
  StoreBigEndian32(header_, tag_header::kCounter, counter);
  WriteHeader();
  DropAll();
}

}  // namespace tdefault::tables::foxpro
