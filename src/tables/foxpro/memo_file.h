// A memo file (FPT): the values of a table's memo, picture and general columns.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/value.h"
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

  // The value that starts at a block other than 0. Throws DamagedValue naming the place and this
  // file when block or length lead out of the file.
  [[nodiscard]] Bytes Read(std::uint32_t block, const ValuePlace& place);

 private:
  // Whether the file holds this many bytes at `offset`; one that another program lengthens while it
  // is read is measured again.
  [[nodiscard]] bool Holds(std::uint64_t offset, std::uint64_t length);
  void Measure();
  void ReadAt(std::uint64_t offset, std::span<std::uint8_t> target);
  void FetchWindow(std::uint64_t offset);

  std::unique_ptr<platform::File> file_;
  std::wstring path_;
  const TableIdentity& table_;
  std::uint64_t size_ = 0;
  std::uint32_t block_size_ = 0;
  std::uint64_t window_offset_ = 0;
  std::vector<std::uint8_t> window_;
};

}  // namespace tdefault::tables::foxpro
