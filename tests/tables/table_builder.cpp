#include "tables/table_builder.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string_view>

namespace tdefault::tests {
namespace {

constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kDescriptorSize = 32;
constexpr std::size_t kBacklinkSize = 263;
constexpr std::size_t kMemoHeaderSize = 512;
constexpr std::size_t kPageSize = 512;
constexpr std::size_t kIndexHeaderSize = 1024;
constexpr std::size_t kDirectoryLeaf = 0x400;
constexpr std::uint16_t kTagNameLength = 10;
constexpr std::size_t kPoolSize = 512;

std::string LittleEndian(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

std::string BigEndian(std::uint64_t value, std::size_t size) {
  const std::string reversed = LittleEndian(value, size);
  return {reversed.rbegin(), reversed.rend()};
}

std::string Filled(std::string text, std::size_t size, char filling) {
  if (text.size() > size) throw std::invalid_argument("longer than its place: " + text);
  text.resize(size, filling);
  return text;
}

void Put(std::string& bytes, std::size_t offset, std::string_view part) {
  bytes.replace(offset, part.size(), part);
}

bool IsVisual(const TableSpec& spec) { return spec.version >= 0x30 && spec.version <= 0x32; }

bool IsMemoType(char type) { return type == 'M' || type == 'G' || type == 'P' || type == 'W'; }

bool HasMemo(const TableSpec& spec) {
  return std::any_of(spec.columns.begin(), spec.columns.end(),
                     [](const ColumnSpec& column) { return IsMemoType(column.type); });
}

// The only length of the types that have one.
std::uint8_t LengthOf(const ColumnSpec& column, bool visual) {
  if (column.length != 0) return column.length;
  switch (column.type) {
    case 'L':
      return 1;
    case 'I':
      return 4;
    case 'D':
    case 'T':
    case 'B':
    case 'Y':
      return 8;
    case 'M':
    case 'G':
    case 'P':
    case 'W':
      return visual ? 4 : 10;
    default:
      throw std::invalid_argument("column " + column.name + " needs a length");
  }
}

std::uint8_t FlagsOf(const ColumnSpec& column) {
  constexpr std::string_view kAlwaysBinary = "IYBT";
  unsigned flags = column.nullable ? 2U : 0U;
  if (column.binary || kAlwaysBinary.find(column.type) != std::string_view::npos) flags |= 4U;
  if (column.number_step != 0) flags |= 12U;
  return static_cast<std::uint8_t>(flags);
}

std::string Descriptor(const ColumnSpec& column, std::size_t displacement, std::uint8_t length,
                       std::uint8_t flags) {
  std::string bytes = Filled(column.name, 11, '\0');
  bytes.push_back(column.type);
  bytes += LittleEndian(displacement, 4);
  bytes += LittleEndian(length, 1);
  bytes += LittleEndian(column.decimals, 1);
  bytes += LittleEndian(flags, 1);
  bytes += LittleEndian(column.next_number, 4);
  bytes += LittleEndian(column.number_step, 1);
  return Filled(bytes, kDescriptorSize, '\0');
}

std::string TableHeader(const TableSpec& spec) {
  const bool visual = IsVisual(spec);
  std::string descriptors;
  std::size_t displacement = 1;
  std::size_t bits = 0;
  for (const ColumnSpec& column : spec.columns) {
    const std::uint8_t length = LengthOf(column, visual);
    descriptors += Descriptor(column, displacement, length, visual ? FlagsOf(column) : 0);
    displacement += length;
    if (column.type == 'V' || column.type == 'Q') ++bits;
    if (column.nullable) ++bits;
  }
  if (bits != 0) {
    if (!visual) throw std::invalid_argument("the version has neither nulls nor V and Q");
    const auto length = static_cast<std::uint8_t>((bits + 7) / 8);
    descriptors += Descriptor({.name = "_NullFlags", .type = '0'}, displacement, length, 5);
    displacement += length;
  }
  const std::size_t header_length =
      kHeaderSize + descriptors.size() + 1 + (visual ? kBacklinkSize : 0);
  std::string bytes = LittleEndian(spec.version, 1);
  bytes += std::string("\x1A\x0B\x15", 3);  // last changed on 2026-11-21
  bytes += LittleEndian(0, 4);
  bytes += LittleEndian(header_length, 2);
  bytes += LittleEndian(displacement, 2);
  bytes += std::string(16, '\0');
  bytes += LittleEndian((spec.tags.empty() ? 0U : 1U) + (visual && HasMemo(spec) ? 2U : 0U), 1);
  bytes += LittleEndian(spec.code_page_mark, 1);
  bytes += std::string(2, '\0');
  bytes += descriptors;
  bytes.push_back('\x0D');
  if (visual) bytes += std::string(kBacklinkSize, '\0');
  return bytes;
}

std::string EmptyMemo(const TableSpec& spec) {
  const std::size_t block_size = spec.memo_block_size;
  const std::size_t first = (kMemoHeaderSize + block_size - 1) / block_size;
  std::string bytes = BigEndian(first, 4);
  bytes += std::string(2, '\0');
  bytes += BigEndian(block_size, 2);
  return Filled(bytes, first * block_size, '\0');
}

// How a leaf packs its entries: bits of record number, doubled and trailing bytes, sum in bytes.
struct Packing {
  unsigned record_bits;
  unsigned count_bits;
  unsigned entry_bytes;
};

Packing PackingOf(std::uint16_t key_length, std::uint32_t highest_record) {
  const auto count_bits = static_cast<unsigned>(std::bit_width(key_length));
  unsigned bytes = 3;
  while (bytes * 8 - 2 * count_bits < 12 || highest_record >> (bytes * 8 - 2 * count_bits) != 0)
    ++bytes;
  return {
      .record_bits = bytes * 8 - 2 * count_bits, .count_bits = count_bits, .entry_bytes = bytes};
}

struct LeafKey {
  std::string bytes;
  std::uint32_t record = 0;
};

// A root that is a leaf, with the keys in their order; blanks at their ends are left out.
std::string RootLeaf(std::uint16_t key_length, const std::vector<LeafKey>& keys) {
  std::uint32_t highest = 0;
  for (const LeafKey& key : keys) highest = std::max(highest, key.record);
  const Packing packing = PackingOf(key_length, highest);
  std::string page(kPageSize, '\0');
  std::size_t entry_offset = 24;
  std::size_t text_offset = kPageSize;
  std::string before;
  for (const LeafKey& key : keys) {
    const std::string whole = Filled(key.bytes, key_length, ' ');
    const std::size_t kept = whole.find_last_not_of(' ') + 1;
    std::size_t common = 0;
    while (common < std::min(kept, before.size()) && whole[common] == before[common]) ++common;
    const std::uint64_t entry =
        key.record | static_cast<std::uint64_t>(common) << packing.record_bits |
        static_cast<std::uint64_t>(key_length - kept) << (packing.record_bits + packing.count_bits);
    Put(page, entry_offset, LittleEndian(entry, packing.entry_bytes));
    entry_offset += packing.entry_bytes;
    text_offset -= kept - common;
    Put(page, text_offset, std::string_view(whole).substr(common, kept - common));
    before = whole;
  }
  if (entry_offset > text_offset) throw std::invalid_argument("too many keys for one page");
  const std::uint64_t count_mask = (1U << packing.count_bits) - 1U;
  std::string head = LittleEndian(3, 2);  // root and leaf
  head += LittleEndian(keys.size(), 2);
  head += std::string(8, '\xFF');  // no neighbours
  head += LittleEndian(text_offset - entry_offset, 2);
  head += LittleEndian((std::uint64_t{1} << packing.record_bits) - 1, 4);
  head += LittleEndian(count_mask, 1) + LittleEndian(count_mask, 1);
  head += LittleEndian(packing.record_bits, 1);
  head += LittleEndian(packing.count_bits, 1) + LittleEndian(packing.count_bits, 1);
  head += LittleEndian(packing.entry_bytes, 1);
  Put(page, 0, head);
  return page;
}

struct IndexHeader {
  std::size_t root = 0;
  std::uint16_t key_length = 0;
  unsigned options = 0;
  bool general = false;
  bool descending = false;
  std::string expression = {};
  std::string condition = {};
};

std::string HeaderBytes(const IndexHeader& header) {
  std::string bytes = LittleEndian(header.root, 4);
  bytes += std::string(8, '\0');  // no free pages, no changes yet
  bytes += LittleEndian(header.key_length, 2);
  bytes += LittleEndian(header.options, 1);
  bytes += LittleEndian(header.general ? 2 : 1, 1);
  bytes.resize(kIndexHeaderSize, '\0');
  if (header.general) Put(bytes, 494, "GENERAL");
  std::string pool = LittleEndian(header.descending ? 1 : 0, 2);
  pool += LittleEndian(header.expression.size() + 1, 2);
  pool += LittleEndian(header.condition.size() + 1, 2);
  pool += LittleEndian(0, 2);
  pool += LittleEndian(header.expression.size() + 1, 2);
  Put(bytes, 502, pool);
  const std::string texts = header.expression + '\0' + header.condition + '\0';
  Put(bytes, kIndexHeaderSize - kPoolSize, Filled(texts, kPoolSize, '\0'));
  return bytes;
}

std::string TagHeader(const TagSpec& tag, std::size_t offset) {
  constexpr unsigned kCompact = 0x20;
  constexpr unsigned kCompound = 0x40;
  unsigned options = kCompact | kCompound;
  if (tag.unique) options |= 1U;
  if (tag.nullable) options |= 2U;
  if (tag.candidate) options |= 4U;
  if (!tag.condition.empty()) options |= 8U;
  return HeaderBytes({.root = offset + kIndexHeaderSize,
                      .key_length = tag.key_length,
                      .options = options,
                      .general = tag.general,
                      .descending = tag.descending,
                      .expression = tag.expression,
                      .condition = tag.condition});
}

std::string EmptyIndex(const TableSpec& spec) {
  std::string tags;
  std::vector<LeafKey> directory;
  for (const TagSpec& tag : spec.tags) {
    if (tag.key_length == 0) throw std::invalid_argument("tag " + tag.name + " needs a key length");
    const std::size_t offset = kDirectoryLeaf + kPageSize + tags.size();
    directory.push_back({.bytes = tag.name, .record = static_cast<std::uint32_t>(offset)});
    tags += TagHeader(tag, offset) + RootLeaf(tag.key_length, {});
  }
  std::sort(directory.begin(), directory.end(),
            [](const LeafKey& left, const LeafKey& right) { return left.bytes < right.bytes; });
  const std::string head =
      HeaderBytes({.root = kDirectoryLeaf, .key_length = kTagNameLength, .options = 0xE0});
  return head + RootLeaf(kTagNameLength, directory) + tags;
}

}  // namespace

BuiltTable BuildTable(const TableSpec& spec) {
  BuiltTable files;
  files.table = TableHeader(spec) + '\x1A';
  if (HasMemo(spec)) files.memo = EmptyMemo(spec);
  if (!spec.tags.empty()) files.index = EmptyIndex(spec);
  return files;
}

}  // namespace tdefault::tests
