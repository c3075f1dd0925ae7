// The bytes of table (DBF) and memo (FPT) files: offsets and codes, named as in
// docs/table-format.md. Integers of a table file are little-endian, of a memo file big-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tdefault::tables::foxpro {

namespace file_ending {
inline constexpr std::wstring_view kTable = L".dbf";
inline constexpr std::wstring_view kMemo = L".fpt";
inline constexpr std::wstring_view kIndex = L".cdx";
}  // namespace file_ending

namespace table_version {
inline constexpr std::uint8_t kDbase3 = 0x03;  // dBASE III and FoxPro 2.x without memo file
inline constexpr std::uint8_t kVisualFoxPro = 0x30;
inline constexpr std::uint8_t kVisualFoxProAutoIncrement = 0x31;
inline constexpr std::uint8_t kVisualFoxProVarchar = 0x32;
inline constexpr std::uint8_t kDbase3Memo = 0x83;  // with a memo file of dBASE (.dbt)
inline constexpr std::uint8_t kFoxPro2Memo = 0xF5;
}  // namespace table_version

namespace table_header {
inline constexpr std::size_t kVersion = 0;
inline constexpr std::size_t kChangeDate = 1;
inline constexpr std::size_t kRecordCount = 4;
inline constexpr std::size_t kHeaderLength = 8;
inline constexpr std::size_t kRecordLength = 10;
inline constexpr std::size_t kFlags = 28;
inline constexpr std::size_t kCodePageMark = 29;
inline constexpr std::size_t kSize = 32;
// Visual FoxPro's versions end their header with the path of the owning database container.
inline constexpr std::size_t kBacklinkSize = 263;

inline constexpr std::uint8_t kHasStructuralIndex = 0x01;
inline constexpr std::uint8_t kIsDatabaseContainer = 0x04;
}  // namespace table_header

namespace field_descriptor {
inline constexpr std::size_t kName = 0;
inline constexpr std::size_t kNameSize = 11;
inline constexpr std::size_t kType = 11;
inline constexpr std::size_t kDisplacement = 12;
inline constexpr std::size_t kLength = 16;
inline constexpr std::size_t kDecimals = 17;
inline constexpr std::size_t kFlags = 18;
inline constexpr std::size_t kNextNumber = 19;
inline constexpr std::size_t kNumberStep = 23;
inline constexpr std::size_t kSize = 32;
inline constexpr std::uint8_t kTerminator = 0x0D;

inline constexpr std::uint8_t kSystem = 0x01;
inline constexpr std::uint8_t kNullable = 0x02;
inline constexpr std::uint8_t kBinary = 0x04;
inline constexpr std::uint8_t kAutomaticNumber = 0x08;
}  // namespace field_descriptor

namespace record_mark {
inline constexpr std::uint8_t kLive = 0x20;
inline constexpr std::uint8_t kDeleted = 0x2A;
// Behind the last record.
inline constexpr std::uint8_t kEnd = 0x1A;
}  // namespace record_mark

namespace memo_header {
inline constexpr std::size_t kNextFree = 0;
inline constexpr std::size_t kBlockSize = 6;
inline constexpr std::size_t kSize = 512;
}  // namespace memo_header

namespace memo_block {
inline constexpr std::size_t kSignature = 0;
inline constexpr std::size_t kDataLength = 4;
inline constexpr std::size_t kData = 8;

inline constexpr std::uint32_t kPicture = 0;
inline constexpr std::uint32_t kText = 1;
inline constexpr std::uint32_t kObject = 2;
}  // namespace memo_block

// REQUIRES of all: the bytes lie within the span.
[[nodiscard]] inline std::uint16_t LittleEndian16(std::span<const std::uint8_t> bytes,
                                                  std::size_t offset) noexcept {
  return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8U);
}

[[nodiscard]] inline std::uint32_t LittleEndian32(std::span<const std::uint8_t> bytes,
                                                  std::size_t offset) noexcept {
  return LittleEndian16(bytes, offset) |
         static_cast<std::uint32_t>(LittleEndian16(bytes, offset + 2)) << 16U;
}

[[nodiscard]] inline std::uint64_t LittleEndian64(std::span<const std::uint8_t> bytes,
                                                  std::size_t offset) noexcept {
  return LittleEndian32(bytes, offset) |
         static_cast<std::uint64_t>(LittleEndian32(bytes, offset + 4)) << 32U;
}

[[nodiscard]] inline std::uint16_t BigEndian16(std::span<const std::uint8_t> bytes,
                                               std::size_t offset) noexcept {
  return static_cast<std::uint16_t>(bytes[offset] << 8U | bytes[offset + 1]);
}

[[nodiscard]] inline std::uint32_t BigEndian32(std::span<const std::uint8_t> bytes,
                                               std::size_t offset) noexcept {
  return static_cast<std::uint32_t>(BigEndian16(bytes, offset)) << 16U |
         BigEndian16(bytes, offset + 2);
}

inline void PutLittleEndian32(std::span<std::uint8_t> bytes, std::size_t offset,
                              std::uint32_t value) noexcept {
  for (std::size_t i = 0; i < 4; ++i)
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline void PutLittleEndian64(std::span<std::uint8_t> bytes, std::size_t offset,
                              std::uint64_t value) noexcept {
  for (std::size_t i = 0; i < 8; ++i)
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline void PutBigEndian32(std::span<std::uint8_t> bytes, std::size_t offset,
                           std::uint32_t value) noexcept {
  for (std::size_t i = 0; i < 4; ++i)
    bytes[offset + 3 - i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}  // namespace tdefault::tables::foxpro
