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

// How far ahead of the end of its file the next free block may be, in bytes: a program may raise it
// before it writes its values, and end in between.
inline constexpr std::uint64_t kFarthestNextFree = std::uint64_t{16} * 1024 * 1024;

// Why `declared` is no next free block of a memo file of that size, as the end of a sentence about
// the file; empty when it is one.
[[nodiscard]] std::wstring WrongNextFree(std::uint64_t declared, std::uint64_t file_size,
                                         std::uint32_t block_size);

// A value on its way into the file.
struct MemoValue {
  std::uint32_t signature = 0;
  std::string bytes;
  // Where it stands; while it is announced, a number that stands for the place it will get.
  std::uint32_t block = 0;
};

// Keeps one stretch of the file in memory: neighbouring values, which rows read one after the other
// mostly have, cost one read together.
class MemoFile {
 public:
  // Reads the header of an open file. Throws FileFailure and DamagedFile. `table` outlives the
  // memo file.
  MemoFile(std::unique_ptr<platform::File> file, std::wstring path, const TableIdentity& table);

  [[nodiscard]] platform::File& file() { return *file_; }
  [[nodiscard]] const std::wstring& path() const { return path_; }

  // Goes on with another open file of the same memo file.
  void Use(std::unique_ptr<platform::File> file);
  // Forgets what was read: others may have changed it since.
  void Forget();

  // The value that starts at a block other than 0; its bytes stay where they are until the next
  // call. Throws DamagedValue naming the place and this file when block or length lead out of the
  // file.
  [[nodiscard]] std::string_view Read(std::uint32_t block, const ValuePlace& place);

  // Read gives these values for their blocks, which the file need not have, until the next call.
  // The values outlive that.
  void Announce(std::span<const MemoValue> values) { announced_ = values; }

  // Throws FileFull when the file reaches behind the byte that stands for its lock, as those of
  // other programs may: such a file is read and written over, not appended to.
  void CheckGrowable();

  // Writes the values behind all blocks that are in use and settles their blocks; on failure those
  // in use are as before. Throws DamagedFile when the header's next free block is none, FileFull
  // when they would reach the byte that stands for the lock of the file, and WriteFailure.
  // REQUIRES: the locks of the table's header and of the memo file are held.
  void Append(std::span<MemoValue> values);

  // Whether the blocks of a value of `old_size` bytes have room for one of `new_size` bytes.
  [[nodiscard]] bool HasRoom(std::size_t old_size, std::size_t new_size) const;
  // Writes a value over the one in its block. REQUIRES: HasRoom; the lock of the value's record is
  // held.
  void Overwrite(const MemoValue& value);

 private:
  // Whether the file holds this many bytes at `offset`; one that another program lengthens while it
  // is read is measured again.
  [[nodiscard]] bool Holds(std::uint64_t offset, std::uint64_t length);
  void Measure();
  // REQUIRES: Holds(offset, length). What it gives stays until the next call.
  std::span<const std::uint8_t> Fetch(std::uint64_t offset, std::size_t length);
  void FetchWindow(std::uint64_t offset, std::size_t size);
  [[nodiscard]] std::uint64_t Blocks(std::size_t size) const;
  [[nodiscard]] std::uint64_t NextFree();
  // Throws FileFull when a file of that size is one that does not grow to it.
  void CheckEnd(std::uint64_t end) const;
  void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes);

  std::unique_ptr<platform::File> file_;
  std::wstring path_;
  const TableIdentity& table_;
  std::uint64_t size_ = 0;
  std::uint32_t block_size_ = 0;
  std::uint64_t window_offset_ = 0;
  std::size_t window_size_;  // of the next stretch that is read
  std::vector<std::uint8_t> window_;
  std::span<const MemoValue> announced_;
};

}  // namespace tdefault::tables::foxpro
