// Builds the bytes of table and memo files for tests, well-formed unless told otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tdefault::tables::testing {

// The bytes of integers as table files (little-endian) and memo files (big-endian) store them.
[[nodiscard]] std::string LittleEndian(std::uint64_t value, std::size_t size);
[[nodiscard]] std::string BigEndian(std::uint64_t value, std::size_t size);
// A double in its stored form.
[[nodiscard]] std::string StoredDouble(double value);

inline constexpr std::uint8_t kSystemFlag = 1;
inline constexpr std::uint8_t kNullableFlag = 2;
inline constexpr std::uint8_t kBinaryFlag = 4;
inline constexpr std::uint8_t kAutoIncrementFlag = 12;

class TableBytes {
 public:
  explicit TableBytes(std::uint8_t version = 0x30, std::uint8_t code_page_mark = 3)
      : version_(version), code_page_mark_(code_page_mark) {}

  TableBytes& Column(std::string_view name, char type, std::size_t length,
                     std::uint8_t decimals = 0, std::uint8_t flags = 0);
  // One stored value per column, each filled up with blanks to the column's length.
  TableBytes& Row(const std::vector<std::string>& values, char mark = ' ');
  // The count that the header declares; without it, the number of rows.
  TableBytes& DeclareRecords(std::uint32_t count);

  [[nodiscard]] std::size_t header_length() const;
  [[nodiscard]] std::size_t record_length() const;
  [[nodiscard]] std::string Bytes() const;

 private:
  struct Descriptor {
    std::string name;
    char type;
    std::size_t length;
    std::uint8_t decimals;
    std::uint8_t flags;
  };

  [[nodiscard]] bool visual() const { return version_ >= 0x30 && version_ <= 0x32; }

  std::uint8_t version_;
  std::uint8_t code_page_mark_;
  std::vector<Descriptor> columns_;
  std::string records_;
  std::uint32_t count_ = 0;
  bool declared_ = false;
  std::uint32_t declared_count_ = 0;
};

class MemoBytes {
 public:
  explicit MemoBytes(std::uint16_t block_size = 64);

  // The number of the block at which the value starts.
  std::uint32_t Add(std::string_view value, std::uint32_t signature = 1);
  // The same as a table column stores it: 4 bytes, or 10 digits.
  [[nodiscard]] std::string Pointer(std::string_view value, std::uint32_t signature = 1);
  [[nodiscard]] std::string Digits(std::string_view value, std::uint32_t signature = 1);

  // Ends with the last value, its block not filled up.
  [[nodiscard]] std::string Bytes() const;

 private:
  std::uint16_t block_size_;
  std::string bytes_;
};

}  // namespace tdefault::tables::testing
