// One page of an index tree, decoded and encoded.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tables/foxpro/index_format.h"

namespace tdefault::tables::foxpro {

using IndexPage = std::array<std::uint8_t, kIndexPageSize>;

// What all pages of one tree share.
struct TreeShape {
  std::wstring name;  // of the tag, for errors
  std::size_t key_length = 0;
  char padding = '\0';  // what the end of a key is filled with, and a page leaves out
};

// How a leaf page packs its entries: the low bits of each are the record number, the next the
// number of bytes that the key shares with the one before, the highest the bytes of padding.
struct LeafPacking {
  std::uint8_t record_bits = 0;
  std::uint8_t duplicate_bits = 0;
  std::uint8_t trail_bits = 0;
  std::uint8_t entry_size = 0;  // in bytes
  friend bool operator==(const LeafPacking&, const LeafPacking&) = default;
};

// Entries in the order of the tree: by key, as unsigned bytes, then by record number.
struct IndexNode {
  bool root = false;
  bool leaf = true;
  std::uint16_t other_attributes = 0;  // newer versions set one whose meaning is not known
  std::uint32_t left = kNoIndexPage;
  std::uint32_t right = kNoIndexPage;
  LeafPacking packing;                  // of a leaf
  std::string keys;                     // one after the other
  std::vector<std::uint32_t> records;   // one per key
  std::vector<std::uint32_t> children;  // of an inner page, one per key: its highest

  [[nodiscard]] std::size_t size() const noexcept { return records.size(); }
};

[[nodiscard]] inline std::string_view KeyAt(const IndexNode& node, const TreeShape& shape,
                                            std::size_t index) noexcept {
  return std::string_view(node.keys).substr(index * shape.key_length, shape.key_length);
}

// Less than, equal to or greater than 0.
[[nodiscard]] int CompareEntries(std::string_view left_key, std::uint32_t left_record,
                                 std::string_view right_key, std::uint32_t right_record) noexcept;

// The position of the first entry that is not below the one given.
[[nodiscard]] std::size_t LowerBound(const IndexNode& node, const TreeShape& shape,
                                     std::string_view key, std::uint32_t record) noexcept;

// Puts an entry before position `index`; `child` counts for inner pages only.
void InsertEntry(IndexNode& node, const TreeShape& shape, std::size_t index, std::string_view key,
                 std::uint32_t record, std::uint32_t child = 0);
void EraseEntry(IndexNode& node, const TreeShape& shape, std::size_t index);

// Fills `node`. What is wrong with the page, as the end of "the page at N ...": empty when nothing
// is.
[[nodiscard]] std::wstring DecodeNode(const IndexPage& page, const TreeShape& shape,
                                      IndexNode& node);

// The bytes between the entries and the keys of a leaf that DecodeNode found nothing wrong with.
[[nodiscard]] std::size_t FreeBytes(const IndexPage& page, const TreeShape& shape);

// The packing of a leaf with record numbers up to `highest`: the one it has, where that is enough,
// else the one FoxPro gives to new pages, with larger entries where they are needed.
[[nodiscard]] LeafPacking PackingFor(const LeafPacking& present, std::size_t key_length,
                                     std::uint32_t highest) noexcept;

// Whether the entries from `first` on, `count` of them, fit on one page.
[[nodiscard]] bool FitsPage(const IndexNode& node, const TreeShape& shape, std::size_t first,
                            std::size_t count);

// REQUIRES: all entries fit.
[[nodiscard]] IndexPage EncodeNode(const IndexNode& node, const TreeShape& shape);

}  // namespace tdefault::tables::foxpro
