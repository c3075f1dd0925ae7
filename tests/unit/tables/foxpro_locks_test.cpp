// The locks that keep writers of one table apart: which bytes they are and how long they are waited
// for.
#include <doctest/doctest.h>

#include "table_shelf.h"
#include "tables/foxpro/table_locks.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::foxpro;
using namespace tdefault::tables::testing;
using platform::simulation::HeldFile;
using tdefault::tests::BuildTable;
using tdefault::tests::TableSpec;

namespace {

TableSpec SpecOf(std::uint8_t version, bool indexed) {
  TableSpec spec;
  spec.version = version;
  spec.columns = {{.name = "NAME", .type = 'C', .length = 9}};
  if (indexed) spec.tags = {{.name = "NAME", .expression = "name", .key_length = 9}};
  return spec;
}

// A table on a machine whose other process can lock its bytes.
class LockedShelf {
 public:
  explicit LockedShelf(const TableSpec& spec) {
    machine().AddFolder(L"C:\\Data");
    machine().PutFile(kTable, BuildTable(spec).table);
    machine().PutFile(kIndex, "");
    machine().PutFile(kMemo, "");
    table_ = Open(kTable);
    index_ = Open(kIndex);
    memo_ = Open(kMemo);
    layout_ = ReadTableLayout(*table_, identity_, 1252);
    machine().SetDuringPause([this] { WhilePaused(); });
  }

  platform::simulation::Simulation& machine() { return machine_; }
  platform::File& table() { return *table_; }
  platform::File& index() { return *index_; }
  platform::File& memo() { return *memo_; }

  [[nodiscard]] TableLocks Locks(std::uint32_t milliseconds = 5000) {
    patience_.milliseconds = milliseconds;
    return {*layout_, identity_, patience_};
  }

  [[nodiscard]] HeldFile Other(const std::wstring& path) {
    return machine_.HoldOpen(path, platform::FileShare::kReadWrite,
                             platform::FileAccess::kReadWrite);
  }

  // Whether these bytes and not their neighbours are locked by this process.
  [[nodiscard]] bool AreLocked(const std::wstring& path, std::uint64_t offset,
                               std::uint64_t count) {
    HeldFile other = Other(path);
    const auto locked = [&other](std::uint64_t byte) {
      try {
        other.Lock(byte, 1);
      } catch (const std::invalid_argument&) {
        return true;
      }
      other.Unlock(byte, 1);
      return false;
    };
    for (std::uint64_t byte = offset; byte < offset + count; ++byte)
      if (!locked(byte)) return false;
    return !locked(offset - 1) && !locked(offset + count);
  }
  [[nodiscard]] bool OnlyLocked(const std::wstring& path, std::uint64_t offset) {
    return AreLocked(path, offset, 1);
  }

  [[nodiscard]] std::uint32_t paused() const {
    std::uint32_t sum = 0;
    for (const auto& pause : machine_.pauses()) sum += pause.milliseconds;
    return sum;
  }

  // What the other process does during the pause of that number.
  std::size_t act_at = 0;
  std::function<void()> act = [] {};

 private:
  [[nodiscard]] std::unique_ptr<platform::File> Open(const std::wstring& path) {
    auto file = machine_.platform().files.Open(path, platform::FileAccess::kReadWrite,
                                               platform::FileShare::kReadWrite);
    REQUIRE(file.ok());
    return std::move(file).value();
  }

  void WhilePaused() {
    if (machine_.pauses().size() == act_at) act();
  }

  platform::simulation::Simulation machine_;
  TableIdentity identity_{.name = L"T", .path = kTable};
  LockPatience patience_{.clock = machine_.platform().clock};
  std::unique_ptr<platform::File> table_;
  std::unique_ptr<platform::File> index_;
  std::unique_ptr<platform::File> memo_;
  std::optional<TableLayout> layout_;
};

}  // namespace

TEST_CASE("tables of Visual FoxPro and tables with an index lock bytes below 2 GB") {
  for (const TableSpec& spec : {SpecOf(0x30, false), SpecOf(0x31, false), SpecOf(0x32, true),
                                SpecOf(0x03, true), SpecOf(0xF5, true)}) {
    CAPTURE(spec.version);
    LockedShelf shelf(spec);
    const TableLocks locks = shelf.Locks();
    {
      const HeldLock header = locks.Lock(locks.Header(shelf.table()));
      CHECK(shelf.OnlyLocked(kTable, 2147483646));
    }
    const HeldLock first = locks.Lock(locks.Record(shelf.table(), 1));
    CHECK(shelf.OnlyLocked(kTable, 2147483645));
    const HeldLock later = locks.Lock(locks.Record(shelf.table(), 1000));
    CHECK(shelf.OnlyLocked(kTable, 2147482646));
  }
}

TEST_CASE("tables of FoxPro 2.x without an index lock each record's place, moved up by 1 GB") {
  for (const int version : {0x03, 0xF5}) {
    LockedShelf shelf(SpecOf(static_cast<std::uint8_t>(version), false));
    const TableLocks locks = shelf.Locks();
    {
      const HeldLock header = locks.Lock(locks.Header(shelf.table()));
      CHECK(shelf.OnlyLocked(kTable, 0x40000000));
    }
    // A header of 65 bytes and records of 10.
    const HeldLock first = locks.Lock(locks.Record(shelf.table(), 1));
    CHECK(shelf.OnlyLocked(kTable, 0x40000000 + 65));
    const HeldLock later = locks.Lock(locks.Record(shelf.table(), 8));
    CHECK(shelf.OnlyLocked(kTable, 0x40000000 + 65 + 70));
  }
}

TEST_CASE("records that stand together are locked in one range that covers each of them") {
  LockedShelf visual(SpecOf(0x30, false));
  const HeldLock counted = visual.Locks().Lock(visual.Locks().Records(visual.table(), 5, 3));
  CHECK(visual.AreLocked(kTable, 0x7FFFFFFE - 7, 3));
  LockedShelf old(SpecOf(0x03, false));
  const HeldLock placed = old.Locks().Lock(old.Locks().Records(old.table(), 5, 3));
  // From the fifth record's first byte to the seventh's.
  CHECK(old.AreLocked(kTable, 0x40000000 + 65 + 40, 21));
}

TEST_CASE("the index and the memo file are locked at one place whatever the table's version") {
  for (const TableSpec& spec : {SpecOf(0x30, true), SpecOf(0x03, false)}) {
    LockedShelf shelf(spec);
    const HeldLock index = shelf.Locks().Lock(shelf.Locks().Index(shelf.index(), kIndex));
    const HeldLock memo = shelf.Locks().Lock(shelf.Locks().Memo(shelf.memo(), kMemo));
    CHECK(shelf.OnlyLocked(kIndex, 2147483646));
    CHECK(shelf.OnlyLocked(kMemo, 0x40000000));
  }
}

TEST_CASE("a lock is given up when its holder is destroyed, released or replaced") {
  LockedShelf shelf(SpecOf(0x30, true));
  const TableLocks locks = shelf.Locks(0);
  HeldLock held = locks.Lock(locks.Record(shelf.table(), 1));
  held = locks.Lock(locks.Record(shelf.table(), 2));
  CHECK_FALSE(shelf.OnlyLocked(kTable, 2147483645));
  CHECK(shelf.OnlyLocked(kTable, 2147483644));
  HeldLock moved = std::move(held);
  CHECK(shelf.OnlyLocked(kTable, 2147483644));
  moved.Release();
  moved.Release();
  CHECK_FALSE(shelf.OnlyLocked(kTable, 2147483644));
}

TEST_CASE("a lock is given up all the same when giving it up fails once") {
  LockedShelf shelf(SpecOf(0x30, true));
  HeldLock held = shelf.Locks().Lock(shelf.Locks().Record(shelf.table(), 1));
  shelf.machine().FailNext("Unlock", 1117);
  held.Release();
  CHECK_FALSE(shelf.OnlyLocked(kTable, 2147483645));
}

TEST_CASE("a lock that another gives up in time is had") {
  LockedShelf shelf(SpecOf(0x30, true));
  HeldFile other = shelf.Other(kTable);
  other.Lock(2147483645, 1);
  shelf.act_at = 4;
  shelf.act = [&other] { other.Unlock(2147483645, 1); };
  const HeldLock held = shelf.Locks().Lock(shelf.Locks().Record(shelf.table(), 1));
  CHECK(shelf.OnlyLocked(kTable, 2147483645));
  // Tried again after 10, 20, 40 and 50 milliseconds.
  REQUIRE(shelf.machine().pauses().size() == 4);
  CHECK(shelf.machine().pauses()[0].milliseconds == 10);
  CHECK(shelf.paused() == 120);
}

TEST_CASE("a lock that another never gives up is an error after the wait, not before or later") {
  for (const std::uint32_t wait : {0U, 1U, 5U, 10U, 95U, 5000U}) {
    CAPTURE(wait);
    LockedShelf shelf(SpecOf(0x30, true));
    HeldFile other = shelf.Other(kTable);
    other.Lock(0x40000000, 0x3FFFFFFE);  // the whole table, as FLOCK does
    const Error error = ErrorOf([&] {
      static_cast<void>(shelf.Locks(wait).Lock(shelf.Locks(wait).Record(shelf.table(), 7)));
    });
    CHECK(error.number() == error_number::kInUseByAnother);
    CHECK(Contains(error, L"in use by another"));
    CHECK(Contains(error, L"Table T"));
    CHECK(Contains(error, kTable));
    CHECK(Contains(error, L"record 7"));
    CHECK(Contains(error, std::to_wstring(wait) + L" milliseconds"));
    CHECK(Contains(error, L"Try again"));
    CHECK(Contains(error, L"TDEFAULT_LOCK_WAIT"));
    CHECK(shelf.paused() == wait);
  }
}

TEST_CASE("what another holds is named: header, index or memo file") {
  LockedShelf shelf(SpecOf(0x30, true));
  HeldFile table = shelf.Other(kTable);
  HeldFile index = shelf.Other(kIndex);
  HeldFile memo = shelf.Other(kMemo);
  table.Lock(2147483646, 1);
  index.Lock(2147483646, 1);
  memo.Lock(0x40000000, 1);
  const TableLocks locks = shelf.Locks(0);
  const Error header = ErrorOf([&] { static_cast<void>(locks.Lock(locks.Header(shelf.table()))); });
  CHECK(Contains(header, L"header"));
  CHECK(Contains(header, kTable));
  const Error indexed =
      ErrorOf([&] { static_cast<void>(locks.Lock(locks.Index(shelf.index(), kIndex))); });
  CHECK(Contains(indexed, L"the index is in use by another"));
  CHECK(Contains(indexed, kIndex));
  const Error noted =
      ErrorOf([&] { static_cast<void>(locks.Lock(locks.Memo(shelf.memo(), kMemo))); });
  CHECK(Contains(noted, L"the memo file is in use by another"));
  CHECK(Contains(noted, kMemo));
}

TEST_CASE("a lock that the system refuses for another reason is reported at once") {
  LockedShelf shelf(SpecOf(0x30, true));
  shelf.machine().FailNext("TryLock", 1117);
  const Error error = ErrorOf(
      [&] { static_cast<void>(shelf.Locks().Lock(shelf.Locks().Record(shelf.table(), 1))); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"system error 1117"));
  CHECK(Contains(error, kTable));
  CHECK(shelf.machine().pauses().empty());
}

TEST_CASE("the wait ends even when the clock stands still") {
  LockedShelf shelf(SpecOf(0x30, true));
  shelf.machine().FailFrom(shelf.machine().call_count() + 1, platform::system_code::kLockViolation);
  const Error error = ErrorOf(
      [&] { static_cast<void>(shelf.Locks(300).Lock(shelf.Locks(300).Record(shelf.table(), 1))); });
  CHECK(error.number() == error_number::kInUseByAnother);
}
