// Files that are as large as they may be.
#include <doctest/doctest.h>

#include <map>

#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/table_builder.h"
#include "unit/forwarding_files.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;
using tests::BuildTable;
using tests::ColumnSpec;

namespace {

bool IsFull(const Error& error) {
  return error.number() == error_number::kTableDamaged && Contains(error, L"the file is full");
}

// What a file holds: its first bytes, those that were written, and blanks everywhere else.
struct SparseContent {
  std::uint64_t size = 0;
  std::map<std::uint64_t, std::uint8_t> bytes = {};
};

class SparseFile final : public platform::File {
 public:
  // `locks` is open under the same name and takes the locks.
  SparseFile(SparseContent& content, std::unique_ptr<platform::File> locks)
      : content_(content), locks_(std::move(locks)) {}

  platform::SystemResult<std::size_t> ReadAt(std::uint64_t offset,
                                             std::span<std::uint8_t> target) override {
    std::size_t read = 0;
    for (; read < target.size() && offset + read < content_.size; ++read) {
      const auto byte = content_.bytes.find(offset + read);
      target[read] = byte == content_.bytes.end() ? ' ' : byte->second;
    }
    return read;
  }
  platform::SystemResult<std::uint64_t> Size() override { return content_.size; }
  platform::SystemStatus WriteAt(std::uint64_t offset,
                                 std::span<const std::uint8_t> source) override {
    for (const std::uint8_t byte : source) content_.bytes[offset++] = byte;
    content_.size = std::max(content_.size, offset);
    return {};
  }
  platform::SystemStatus Flush() override { return {}; }
  platform::SystemStatus TryLock(std::uint64_t offset, std::uint64_t length) override {
    return locks_->TryLock(offset, length);
  }
  platform::SystemStatus Unlock(std::uint64_t offset, std::uint64_t length) override {
    return locks_->Unlock(offset, length);
  }

 private:
  SparseContent& content_;
  std::unique_ptr<platform::File> locks_;
};

// The simulated machine's files, of which one is larger than a test can hold in memory.
class LargeFiles final : public tests::ForwardingFiles {
 public:
  LargeFiles(platform::Files& files, std::wstring path, std::string_view beginning,
             std::uint64_t size)
      : ForwardingFiles(files), path_(std::move(path)), content_{size} {
    Put(0, beginning);
  }

  platform::SystemResult<std::unique_ptr<platform::File>> Open(const std::wstring& path,
                                                               platform::FileAccess access,
                                                               platform::FileShare share) override {
    auto file = ForwardingFiles::Open(path, access, share);
    if (!file.ok() || path != path_) return file;
    return std::unique_ptr<platform::File>(
        std::make_unique<SparseFile>(content_, std::move(file).value()));
  }

  [[nodiscard]] const SparseContent& content() const { return content_; }

  void Put(std::uint64_t offset, std::string_view bytes) {
    for (const char byte : bytes) content_.bytes[offset++] = static_cast<std::uint8_t>(byte);
  }

 private:
  std::wstring path_;
  SparseContent content_;
};

std::uint32_t Insert(TableChanges& changes, const std::wstring& text) {
  const std::vector<ColumnValue> row = {{0, Value(text)}};
  return changes.Insert(row);
}

std::unique_ptr<Table> OpenTable(TableShelf& shelf, platform::Files& files) {
  return foxpro::TableFolder(files, L"C:\\Data", shelf.view(),
                             foxpro::LockPatience{shelf.machine().platform().clock})
      .OpenTable(L"T");
}

// A table of rows of 63,501 bytes that says it has `count` of them, and has.
struct WideTable {
  WideTable(std::uint8_t version, std::uint32_t count) {
    const std::vector<ColumnSpec> wide = [] {
      std::vector<ColumnSpec> columns;
      for (int i = 0; i < 250; ++i)
        columns.push_back({.name = "C" + std::to_string(i), .type = 'C', .length = 254});
      return columns;
    }();
    header = BuildTable({.version = version, .columns = wide}).table;
    header.pop_back();  // the end mark
    header.replace(4, 4, LittleEndian(count, 4));
    shelf.Put(header);
    size = header.size() + std::uint64_t{count} * 63501 + 1;
  }

  TableShelf shelf;
  std::string header;
  std::uint64_t size = 0;
};

}  // namespace

TEST_CASE("a table takes rows until they would reach the bytes that stand for locks") {
  struct Kind {
    std::uint8_t version;
    std::uint32_t most;  // rows
  };
  // With N rows, record N's lock is the byte 0x7FFFFFFE - N of Visual FoxPro's tables; the locks of
  // the others start at 0x40000000.
  for (const Kind& kind : {Kind{0x30, 33817}, Kind{0x03, 16908}}) {
    CAPTURE(kind.version);
    WideTable wide(kind.version, kind.most - 1);
    LargeFiles files(wide.shelf.machine().platform().files, kTable, wide.header, wide.size);
    const auto table = OpenTable(wide.shelf, files);
    const auto changes = table->Change();
    CHECK(Insert(*changes, L"last") == kind.most);
    const std::uint64_t size = files.content().size;
    CHECK(size == wide.size + 63501);
    const Error error = ErrorOf([&] { static_cast<void>(Insert(*changes, L"more")); });
    CHECK(Contains(error, L"Table T, file C:\\Data\\T.dbf: the file is full"));
    CHECK(Contains(error, L"Nothing was stored"));
    CHECK(files.content().size == size);
    REQUIRE(changes->LockRow(kind.most));
    CHECK(changes->row().Read(0) == Value(std::wstring(L"last") + std::wstring(250, L' ')));
    changes->UnlockRow();
    CHECK_FALSE(changes->LockRow(kind.most + 1));
  }
}

TEST_CASE("a memo value that would reach the byte that stands for its file's lock is refused") {
  TableShelf shelf;
  const auto built = BuildTable({.columns = {{.name = "M", .type = 'M'}}});
  std::string memo = built.memo;
  // Two blocks are left below that byte.
  const std::uint64_t free = kMemoLock / 64 - 2;
  memo.replace(0, 4, BigEndian(free, 4));
  shelf.Put(built.table, memo);
  LargeFiles files(shelf.machine().platform().files, kMemo, memo, free * 64);
  const auto table = OpenTable(shelf, files);
  const auto changes = table->Change();
  const Error error =
      ErrorOf([&] { static_cast<void>(Insert(*changes, std::wstring(200, L'x'))); });
  CHECK(Contains(error,
                 L"Table T, file C:\\Data\\T.fpt: the file is full, its values would reach the "
                 L"byte that stands for the lock of the file. Nothing was stored"));
  CHECK(files.content().size == free * 64);
  CHECK(shelf.machine().Contents(kTable) == built.table);
  CHECK(Insert(*changes, std::wstring(120, L'y')) == 1);
  CHECK(files.content().size == kMemoLock);
  CHECK(IsFull(ErrorOf([&] { static_cast<void>(Insert(*changes, L"z")); })));
  CHECK(files.content().size == kMemoLock);
  REQUIRE(changes->LockRow(1));
  CHECK(changes->row().Read(0) == Value(std::wstring(120, L'y')));
}

TEST_CASE("a memo file beyond the byte of its lock is read and written over, not appended to") {
  constexpr std::uint64_t kBlock = kMemoLock / 64 + 100;
  constexpr std::uint64_t kSize = (kBlock + 1) * 64;
  TableShelf shelf;
  TableBytes table;
  table.Column("M", 'M', 4).Row({LittleEndian(kBlock, 4)});
  std::string memo = MemoBytes().Bytes();
  memo.replace(0, 4, BigEndian(kBlock + 1, 4));
  shelf.Put(table.Bytes(), memo);
  LargeFiles files(shelf.machine().platform().files, kMemo, memo, kSize);
  files.Put(kBlock * 64, BigEndian(1, 4) + BigEndian(5, 4) + "value");
  // Its byte is data, which nobody else could read while it is locked: it is not even asked for.
  auto other = shelf.machine().HoldOpen(kMemo, platform::FileShare::kReadWrite,
                                        platform::FileAccess::kReadWrite);
  other.Lock(kMemoLock, 1);
  const auto opened = OpenTable(shelf, files);
  const auto changes = opened->Change();
  CHECK(IsFull(ErrorOf([&] { static_cast<void>(Insert(*changes, L"more")); })));
  CHECK(shelf.machine().pauses().empty());
  REQUIRE(changes->LockRow(1));
  CHECK(changes->row().Read(0) == Value(std::wstring(L"value")));
  const std::vector<ColumnValue> other_value = {{0, Value(std::wstring(L"over"))}};
  changes->Update(other_value);
  CHECK(changes->row().Read(0) == Value(std::wstring(L"over")));
  CHECK(IsFull(ErrorOf([&] {
    const std::vector<ColumnValue> longer = {{0, Value(std::wstring(100, L'x'))}};
    changes->Update(longer);
  })));
  changes->UnlockRow();
  CHECK(files.content().size == kSize);
  CHECK(shelf.machine().Contents(kTable)->substr(table.Bytes().size() - 6) ==
        table.Bytes().substr(table.Bytes().size() - 6));
}

TEST_CASE("an index that cannot grow refuses the row for which it would have to") {
  TableShelf shelf;
  const auto built = BuildTable({.columns = {{.name = "X", .type = 'C', .length = 100}},
                                 .tags = {{.name = "X", .expression = "X", .key_length = 100}}});
  shelf.Put(built.table);
  shelf.machine().PutFile(kIndex, built.index);
  LargeFiles files(shelf.machine().platform().files, kIndex, built.index, 0x7FFFFE00);
  const auto table = OpenTable(shelf, files);
  const auto changes = table->Change();
  // Keys of which a leaf holds four.
  const auto insert = [&](wchar_t letter) {
    static_cast<void>(Insert(*changes, std::wstring(100, letter)));
  };
  std::uint32_t stored = 0;
  const Error error = ErrorOf([&] {
    for (wchar_t letter = L'a'; letter <= L'z'; ++letter, ++stored) insert(letter);
  });
  CHECK(Contains(error, L"Table T, file C:\\Data\\T.cdx: the index file cannot grow beyond 2 GB"));
  CHECK(stored > 0);
  const std::string bytes = *shelf.machine().Contents(kTable);
  CHECK(static_cast<unsigned char>(bytes[4]) == stored);
  CHECK(files.content().size == 0x7FFFFE00);
  REQUIRE(changes->LockRow(1));
  changes->Delete();
}
