#include "table_bytes.h"

#include <bit>
#include <stdexcept>

namespace tdefault::tables::testing {
namespace {

constexpr std::size_t kBacklinkSize = 263;
constexpr std::size_t kMemoHeaderSize = 512;

std::string Filled(std::string text, std::size_t size, char filling) {
  if (text.size() > size) throw std::invalid_argument("longer than its place: " + text);
  text.resize(size, filling);
  return text;
}

}  // namespace

std::string LittleEndian(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

std::string BigEndian(std::uint64_t value, std::size_t size) {
  const std::string reversed = LittleEndian(value, size);
  return {reversed.rbegin(), reversed.rend()};
}

std::string StoredDouble(double value) {
  return LittleEndian(std::bit_cast<std::uint64_t>(value), sizeof value);
}

TableBytes& TableBytes::Column(std::string_view name, char type, std::size_t length,
                               std::uint8_t decimals, std::uint8_t flags) {
  columns_.push_back({std::string(name), type, length, decimals, flags});
  return *this;
}

TableBytes& TableBytes::Row(const std::vector<std::string>& values, char mark) {
  if (values.size() != columns_.size()) throw std::invalid_argument("one value per column");
  records_.push_back(mark);
  for (std::size_t i = 0; i < values.size(); ++i)
    records_ += Filled(values[i], columns_[i].length, ' ');
  ++count_;
  return *this;
}

TableBytes& TableBytes::DeclareRecords(std::uint32_t count) {
  declared_ = true;
  declared_count_ = count;
  return *this;
}

std::size_t TableBytes::header_length() const {
  return 32 + 32 * columns_.size() + 1 + (visual() ? kBacklinkSize : 0);
}

std::size_t TableBytes::record_length() const {
  std::size_t length = 1;
  for (const Descriptor& column : columns_) length += column.length;
  return length;
}

std::string TableBytes::Bytes() const {
  std::string bytes = LittleEndian(version_, 1);
  bytes += std::string("\x1A\x0B\x15", 3);  // last changed on 2026-11-21
  bytes += LittleEndian(declared_ ? declared_count_ : count_, 4);
  bytes += LittleEndian(header_length(), 2);
  bytes += LittleEndian(record_length(), 2);
  bytes += std::string(16, '\0');
  bytes += LittleEndian(0, 1);
  bytes += LittleEndian(code_page_mark_, 1);
  bytes += LittleEndian(0, 2);
  std::size_t displacement = 1;
  for (const Descriptor& column : columns_) {
    bytes += Filled(column.name, 11, '\0');
    bytes.push_back(column.type);
    bytes += LittleEndian(displacement, 4);
    bytes += LittleEndian(column.length, 1);
    bytes += LittleEndian(column.decimals, 1);
    bytes += LittleEndian(column.flags, 1);
    bytes += std::string(13, '\0');
    displacement += column.length;
  }
  bytes.push_back('\x0D');
  if (visual()) bytes += std::string(kBacklinkSize, '\0');
  return bytes + records_ + '\x1A';
}

MemoBytes::MemoBytes(std::uint16_t block_size)
    : block_size_(block_size), bytes_(kMemoHeaderSize, '\0') {
  bytes_.replace(6, 2, BigEndian(block_size, 2));
}

std::uint32_t MemoBytes::Add(std::string_view value, std::uint32_t signature) {
  const std::size_t block = (bytes_.size() + block_size_ - 1) / block_size_;
  bytes_.resize(block * block_size_, '\0');
  bytes_ += BigEndian(signature, 4);
  bytes_ += BigEndian(value.size(), 4);
  bytes_ += value;
  return static_cast<std::uint32_t>(block);
}

std::string MemoBytes::Pointer(std::string_view value, std::uint32_t signature) {
  return LittleEndian(Add(value, signature), 4);
}

std::string MemoBytes::Digits(std::string_view value, std::uint32_t signature) {
  const std::string digits = std::to_string(Add(value, signature));
  return std::string(10 - digits.size(), ' ') + digits;
}

std::string MemoBytes::Bytes() const {
  std::string bytes = bytes_;
  const std::size_t next = (bytes.size() + block_size_ - 1) / block_size_;
  bytes.replace(0, 4, BigEndian(next, 4));
  return bytes;
}

}  // namespace tdefault::tables::testing
