// A memo file (FPT): the values of a table's memo, picture and general columns.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/table_errors.h"

namespace tdefault::tables::foxpro {

// Keeps one stretch of the file in memory: neighbouring values, which rows read one after the other
// mostly have, cost one read together.
class MemoFile {
 public:
  // Reads the header of an open file. Throws FileFailure and DamagedFile. `table` outlives the
  // memo file.
  MemoFile(std::unique_ptr<platform::File> file, std::wstring path, const TableIdentity& table);

  // The value that starts at a block other than 0; its bytes stay where they are until the next
  // call. Throws DamagedValue naming the place and this file when block or length lead out of the
  // file.
  [[nodiscard]] std::string_view Read(std::uint32_t block, const ValuePlace& place);

 private:
  // Whether the file holds this many bytes at `offset`; one that another program lengthens while it
  // is read is measured again.
  [[nodiscard]] bool Holds(std::uint64_t offset, std::uint64_t length);
  void Measure();
  // REQUIRES: Holds(offset, length). What it gives stays until the next call.
  std::span<const std::uint8_t> Fetch(std::uint64_t offset, std::size_t length);
  void FetchWindow(std::uint64_t offset, std::size_t size);

  std::unique_ptr<platform::File> file_;
  std::wstring path_;
  const TableIdentity& table_;
  std::uint64_t size_ = 0;
  std::uint32_t block_size_ = 0;
  std::uint64_t window_offset_ = 0;
  std::vector<std::uint8_t> window_;
};

}  // namespace tdefault::tables::foxpro
