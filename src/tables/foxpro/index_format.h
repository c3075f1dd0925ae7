// The bytes of index (CDX) files: offsets and codes, named as in docs/table-format.md. Integers are
// little-endian but where said otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "tables/foxpro/table_format.h"

namespace tdefault::tables::foxpro {

inline constexpr std::size_t kIndexPageSize = 512;
inline constexpr std::uint32_t kNoIndexPage = 0xFFFFFFFF;  // a sibling or free page that is none
inline constexpr std::size_t kLongestKey = 240;
// No file of 2 GB holds a deeper tree; a deeper one goes in circles.
inline constexpr std::size_t kDeepestTree = 40;

// The header of a tag, and, at 0, that of the tree of all tags. It fills two pages.
namespace tag_header {
inline constexpr std::size_t kRoot = 0;
inline constexpr std::size_t kFreeList = 4;  // the file's header only; 0 or -1 without free pages
inline constexpr std::size_t kCounter = 8;   // the file's header only; big-endian
inline constexpr std::size_t kKeyLength = 12;
inline constexpr std::size_t kOptions = 14;
inline constexpr std::size_t kSignature = 15;
// The file's header only: the number of the record whose keys may be behind it, 0 as a rule. FoxPro
// keeps these bytes zero.
inline constexpr std::size_t kUnfinishedRecord = 480;
inline constexpr std::size_t kCollation = 494;
inline constexpr std::size_t kCollationSize = 8;
inline constexpr std::size_t kDescending = 502;
inline constexpr std::size_t kConditionOffset = 504;
inline constexpr std::size_t kConditionLength = 506;
inline constexpr std::size_t kExpressionOffset = 508;
inline constexpr std::size_t kExpressionLength = 510;
inline constexpr std::size_t kTexts = 512;
inline constexpr std::size_t kSize = 2 * kIndexPageSize;
}  // namespace tag_header

namespace tag_option {
inline constexpr std::uint8_t kUnique = 0x01;
inline constexpr std::uint8_t kNullable = 0x02;
inline constexpr std::uint8_t kCandidate = 0x04;
inline constexpr std::uint8_t kCondition = 0x08;
inline constexpr std::uint8_t kCompact = 0x20;
}  // namespace tag_option

namespace tag_signature {
inline constexpr std::uint8_t kCollated = 2;
inline constexpr std::uint8_t kBitmap = 5;  // no tree: one bit per record
}  // namespace tag_signature

namespace index_page {
inline constexpr std::size_t kAttributes = 0;
inline constexpr std::size_t kCount = 2;
inline constexpr std::size_t kLeft = 4;
inline constexpr std::size_t kRight = 8;
inline constexpr std::uint16_t kRootAttribute = 1;
inline constexpr std::uint16_t kLeafAttribute = 2;
}  // namespace index_page

// An inner page: entries of key, record number and child, both numbers big-endian.
namespace inner_page {
inline constexpr std::size_t kEntries = 12;
inline constexpr std::size_t kNumbersSize = 8;
}  // namespace inner_page

namespace leaf_page {
inline constexpr std::size_t kFree = 12;
inline constexpr std::size_t kRecordMask = 14;
inline constexpr std::size_t kDuplicateMask = 18;
inline constexpr std::size_t kTrailMask = 19;
inline constexpr std::size_t kRecordBits = 20;
inline constexpr std::size_t kDuplicateBits = 21;
inline constexpr std::size_t kTrailBits = 22;
inline constexpr std::size_t kEntrySize = 23;
inline constexpr std::size_t kEntries = 24;
}  // namespace leaf_page

// REQUIRES of all: the bytes lie within the span.
inline void StoreLittleEndian16(std::span<std::uint8_t> bytes, std::size_t offset,
                                std::uint32_t value) noexcept {
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8U);
}

inline void StoreLittleEndian32(std::span<std::uint8_t> bytes, std::size_t offset,
                                std::uint32_t value) noexcept {
  StoreLittleEndian16(bytes, offset, value);
  StoreLittleEndian16(bytes, offset + 2, value >> 16U);
}

inline void StoreBigEndian32(std::span<std::uint8_t> bytes, std::size_t offset,
                             std::uint32_t value) noexcept {
  for (std::size_t i = 0; i < 4; ++i)
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

}  // namespace tdefault::tables::foxpro
