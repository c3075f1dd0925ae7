#include "tables/foxpro/index_node.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kLeafRoom = kIndexPageSize - leaf_page::kEntries;
constexpr std::size_t kInnerRoom = kIndexPageSize - inner_page::kEntries;
constexpr std::uint8_t kUsualEntrySize = 3;
constexpr std::uint8_t kLargestEntrySize = 8;
constexpr unsigned kWidestRecordBits = 32;

std::uint32_t LowBits(unsigned count) {
  return static_cast<std::uint32_t>((std::uint64_t{1} << count) - 1);
}

LeafPacking ReadPacking(const IndexPage& page) {
  return {page[leaf_page::kRecordBits], page[leaf_page::kDuplicateBits],
          page[leaf_page::kTrailBits], page[leaf_page::kEntrySize]};
}

bool IsSound(const IndexPage& page, const LeafPacking& packing) {
  const unsigned bits = unsigned{packing.record_bits} + packing.duplicate_bits + packing.trail_bits;
  if (packing.entry_size == 0 || packing.entry_size > kLargestEntrySize) return false;
  if (bits > packing.entry_size * 8U || packing.record_bits > kWidestRecordBits) return false;
  if (packing.duplicate_bits > 8 || packing.trail_bits > 8) return false;
  return LittleEndian32(page, leaf_page::kRecordMask) == LowBits(packing.record_bits) &&
         page[leaf_page::kDuplicateMask] == LowBits(packing.duplicate_bits) &&
         page[leaf_page::kTrailMask] == LowBits(packing.trail_bits);
}

struct LeafEntry {
  std::uint32_t record;
  std::size_t duplicates;
  std::size_t trail;
};

// REQUIRES: the packing is sound.
LeafEntry ReadEntry(const IndexPage& page, const LeafPacking& packing, std::size_t index) {
  const std::size_t begin = leaf_page::kEntries + index * packing.entry_size;
  std::uint64_t bits = 0;
  for (std::size_t byte = packing.entry_size; byte > 0; --byte)
    bits = bits << 8U | page[begin + byte - 1];
  const std::uint32_t record = static_cast<std::uint32_t>(bits) & LowBits(packing.record_bits);
  bits >>= packing.record_bits;
  const std::uint64_t duplicates = bits & LowBits(packing.duplicate_bits);
  const std::uint64_t trail = bits >> packing.duplicate_bits & LowBits(packing.trail_bits);
  return {record, static_cast<std::size_t>(duplicates), static_cast<std::size_t>(trail)};
}

std::wstring DecodeLeaf(const IndexPage& page, const TreeShape& shape, std::size_t count,
                        IndexNode& node) {
  node.packing = ReadPacking(page);
  const bool sound = IsSound(page, node.packing);
  if (count == 0) {
    if (!sound) node.packing = {};
    return {};
  }
  if (!sound) return L"packs its entries in no way that exists";
  const std::size_t entry_size = node.packing.entry_size;
  if (count * entry_size > kLeafRoom)
    return L"counts " + std::to_wstring(count) + L" keys, too many";
  const std::size_t entries_end = leaf_page::kEntries + count * entry_size;
  node.keys.resize(count * shape.key_length);
  node.records.resize(count);
  std::size_t text = kIndexPageSize;
  char* key = node.keys.data();
  for (std::size_t i = 0; i < count; ++i, key += shape.key_length) {
    const auto [record, duplicates, trail] = ReadEntry(page, node.packing, i);
    node.records[i] = record;
    if (duplicates + trail > shape.key_length || (i == 0 && duplicates != 0))
      return L"has a key longer than the tag's keys";
    const std::size_t stored = shape.key_length - duplicates - trail;
    if (stored > text - entries_end) return L"has keys that run into each other";
    text -= stored;
    if (duplicates != 0) std::memcpy(key, key - shape.key_length, duplicates);
    std::memcpy(key + duplicates, page.data() + text, stored);
    std::memset(key + duplicates + stored, shape.padding, trail);
  }
  return {};
}

std::wstring DecodeInner(const IndexPage& page, const TreeShape& shape, std::size_t count,
                         IndexNode& node) {
  const std::size_t entry_size = shape.key_length + inner_page::kNumbersSize;
  if (count == 0) return L"has no keys, which only an empty tag's own page may";
  if (count * entry_size > kInnerRoom)
    return L"counts " + std::to_wstring(count) + L" keys, too many";
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = inner_page::kEntries + i * entry_size;
    node.keys.append(reinterpret_cast<const char*>(page.data()) + entry, shape.key_length);
    node.records.push_back(BigEndian32(page, entry + shape.key_length));
    node.children.push_back(BigEndian32(page, entry + shape.key_length + 4));
  }
  return {};
}

// All padding at the end counts as such, so that a key equal to the one before shares what is left.
std::size_t TrailOf(const char* key, std::size_t length, char padding) {
  std::size_t kept = length;
  while (kept > 0 && key[kept - 1] == padding) --kept;
  return length - kept;
}

std::size_t CommonLength(const char* left, const char* right, std::size_t length) {
  constexpr std::size_t kStride = 4;  // keys of numbers are 4 or 8 bytes long
  std::size_t common = 0;
  while (common + kStride <= length && std::memcmp(left + common, right + common, kStride) == 0)
    common += kStride;
  while (common < length && left[common] == right[common]) ++common;
  return common;
}

struct Packed {
  std::size_t duplicates;
  std::size_t trail;
};

// How the key at `index` is packed behind the one before it; `first` is the page's first. Every
// change of a page asks this for all of its keys.
Packed Pack(const IndexNode& node, const TreeShape& shape, std::size_t index, std::size_t first) {
  const char* const key = node.keys.data() + index * shape.key_length;
  const std::size_t trail = TrailOf(key, shape.key_length, shape.padding);
  if (index == first) return {0, trail};
  return {CommonLength(key, key - shape.key_length, shape.key_length - trail), trail};
}

std::uint32_t HighestRecord(const IndexNode& node, std::size_t first, std::size_t count) {
  std::uint32_t highest = 0;
  for (std::size_t i = first; i < first + count; ++i) highest = std::max(highest, node.records[i]);
  return highest;
}

void EncodeLeaf(const IndexNode& node, const TreeShape& shape, IndexPage& page) {
  const LeafPacking packing =
      PackingFor(node.packing, shape.key_length, HighestRecord(node, 0, node.size()));
  std::size_t text = kIndexPageSize;
  std::size_t next = leaf_page::kEntries;
  for (std::size_t i = 0; i < node.size(); ++i) {
    const auto [duplicates, trail] = Pack(node, shape, i, 0);
    std::uint64_t entry = (std::uint64_t{trail} << packing.duplicate_bits | duplicates)
                              << packing.record_bits |
                          node.records[i];
    for (std::size_t byte = 0; byte < packing.entry_size; ++byte, entry >>= 8U)
      page[next++] = static_cast<std::uint8_t>(entry);
    const std::size_t stored = shape.key_length - duplicates - trail;
    text -= stored;
    std::memcpy(page.data() + text, node.keys.data() + i * shape.key_length + duplicates, stored);
  }
  StoreLittleEndian16(page, leaf_page::kFree, static_cast<std::uint32_t>(text - next));
  StoreLittleEndian32(page, leaf_page::kRecordMask, LowBits(packing.record_bits));
  page[leaf_page::kDuplicateMask] = static_cast<std::uint8_t>(LowBits(packing.duplicate_bits));
  page[leaf_page::kTrailMask] = static_cast<std::uint8_t>(LowBits(packing.trail_bits));
  page[leaf_page::kRecordBits] = packing.record_bits;
  page[leaf_page::kDuplicateBits] = packing.duplicate_bits;
  page[leaf_page::kTrailBits] = packing.trail_bits;
  page[leaf_page::kEntrySize] = packing.entry_size;
}

void EncodeInner(const IndexNode& node, const TreeShape& shape, IndexPage& page) {
  std::size_t entry = inner_page::kEntries;
  for (std::size_t i = 0; i < node.size(); ++i) {
    std::memcpy(page.data() + entry, KeyAt(node, shape, i).data(), shape.key_length);
    StoreBigEndian32(page, entry + shape.key_length, node.records[i]);
    StoreBigEndian32(page, entry + shape.key_length + 4, node.children[i]);
    entry += shape.key_length + inner_page::kNumbersSize;
  }
}

}  // namespace

int CompareEntries(std::string_view left_key, std::uint32_t left_record, std::string_view right_key,
                   std::uint32_t right_record) noexcept {
  const int keys = left_key.compare(right_key);
  if (keys != 0) return keys;
  if (left_record == right_record) return 0;
  return left_record < right_record ? -1 : 1;
}

std::size_t LowerBound(const IndexNode& node, const TreeShape& shape, std::string_view key,
                       std::uint32_t record) noexcept {
  std::size_t low = 0;
  std::size_t high = node.size();
  while (low < high) {
    const std::size_t middle = (low + high) / 2;
    if (CompareEntries(KeyAt(node, shape, middle), node.records[middle], key, record) < 0)
      low = middle + 1;
    else
      high = middle;
  }
  return low;
}

void InsertEntry(IndexNode& node, const TreeShape& shape, std::size_t index, std::string_view key,
                 std::uint32_t record, std::uint32_t child) {
  const auto place = static_cast<std::ptrdiff_t>(index);
  node.keys.insert(index * shape.key_length, key);
  node.records.insert(node.records.begin() + place, record);
  if (!node.leaf) node.children.insert(node.children.begin() + place, child);
}

void EraseEntry(IndexNode& node, const TreeShape& shape, std::size_t index) {
  const auto place = static_cast<std::ptrdiff_t>(index);
  node.keys.erase(index * shape.key_length, shape.key_length);
  node.records.erase(node.records.begin() + place);
  if (!node.leaf) node.children.erase(node.children.begin() + place);
}

std::wstring DecodeNode(const IndexPage& page, const TreeShape& shape, IndexNode& node) {
  const std::uint16_t attributes = LittleEndian16(page, index_page::kAttributes);
  node = IndexNode();
  node.root = (attributes & index_page::kRootAttribute) != 0;
  node.leaf = (attributes & index_page::kLeafAttribute) != 0;
  node.other_attributes = static_cast<std::uint16_t>(
      attributes & ~(index_page::kRootAttribute | index_page::kLeafAttribute));
  if (node.other_attributes > 4) return L"is no page of an index";
  node.left = LittleEndian32(page, index_page::kLeft);
  node.right = LittleEndian32(page, index_page::kRight);
  const std::size_t count = LittleEndian16(page, index_page::kCount);
  return node.leaf ? DecodeLeaf(page, shape, count, node) : DecodeInner(page, shape, count, node);
}

std::size_t FreeBytes(const IndexPage& page, const TreeShape& shape) {
  const std::size_t count = LittleEndian16(page, index_page::kCount);
  const LeafPacking packing = ReadPacking(page);
  std::size_t used = count * packing.entry_size;
  for (std::size_t i = 0; i < count; ++i) {
    const auto [record, duplicates, trail] = ReadEntry(page, packing, i);
    used += shape.key_length - duplicates - trail;
  }
  return kLeafRoom - used;
}

LeafPacking PackingFor(const LeafPacking& present, std::size_t key_length,
                       std::uint32_t highest) noexcept {
  const auto key_bits = static_cast<unsigned>(std::bit_width(key_length));
  const auto needed = static_cast<unsigned>(std::bit_width(highest));
  const bool enough = present.entry_size != 0 && present.record_bits >= needed &&
                      present.duplicate_bits >= key_bits && present.trail_bits >= key_bits &&
                      unsigned{present.record_bits} + present.duplicate_bits + present.trail_bits <=
                          present.entry_size * 8U &&
                      present.entry_size <= kLargestEntrySize &&
                      present.record_bits <= kWidestRecordBits;
  if (enough) return present;
  unsigned entry_size = kUsualEntrySize;
  while (entry_size * 8 < needed + 2 * key_bits) ++entry_size;
  const unsigned record_bits = std::min(kWidestRecordBits, entry_size * 8 - 2 * key_bits);
  return {static_cast<std::uint8_t>(record_bits), static_cast<std::uint8_t>(key_bits),
          static_cast<std::uint8_t>(key_bits), static_cast<std::uint8_t>(entry_size)};
}

bool FitsPage(const IndexNode& node, const TreeShape& shape, std::size_t first, std::size_t count) {
  if (!node.leaf) return count * (shape.key_length + inner_page::kNumbersSize) <= kInnerRoom;
  const LeafPacking packing =
      PackingFor(node.packing, shape.key_length, HighestRecord(node, first, count));
  std::size_t used = count * packing.entry_size;
  for (std::size_t i = first; used <= kLeafRoom && i < first + count; ++i) {
    const auto [duplicates, trail] = Pack(node, shape, i, first);
    used += shape.key_length - duplicates - trail;
  }
  return used <= kLeafRoom;
}

IndexPage EncodeNode(const IndexNode& node, const TreeShape& shape) {
  IndexPage page{};
  std::uint32_t attributes = node.other_attributes;
  if (node.root) attributes |= index_page::kRootAttribute;
  if (node.leaf) attributes |= index_page::kLeafAttribute;
  StoreLittleEndian16(page, index_page::kAttributes, attributes);
  StoreLittleEndian16(page, index_page::kCount, static_cast<std::uint32_t>(node.size()));
  StoreLittleEndian32(page, index_page::kLeft, node.left);
  StoreLittleEndian32(page, index_page::kRight, node.right);
  if (node.leaf)
    EncodeLeaf(node, shape, page);
  else
    EncodeInner(node, shape, page);
  return page;
}

}  // namespace tdefault::tables::foxpro
