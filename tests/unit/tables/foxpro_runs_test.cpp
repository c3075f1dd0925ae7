// Rows that stand together are changed under one lock: when, for how long, and who is in the way.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "table_shelf.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;
using platform::simulation::HeldFile;

namespace {

constexpr std::uint64_t kHeaderLock = 0x7FFFFFFE;
constexpr std::array<std::size_t, 1> kCount = {1};
constexpr std::array<std::size_t, 2> kCountAndKey = {1, 0};
constexpr std::array<std::size_t, 1> kNote = {2};

// A table of so many rows of ID, COUNT and NOTE, with a tag where there is an expression for it.
class Runs {
 public:
  explicit Runs(std::uint32_t rows, const std::string& tag = {}, const std::string& condition = {})
      : Runs(rows, 0x30, 6, tag, condition) {}
  Runs(std::uint32_t rows, std::uint8_t version, std::uint8_t id_length,
       const std::string& tag = {}, const std::string& condition = {}, int more_columns = 0) {
    tests::TableSpec spec;
    spec.version = version;
    spec.columns = {{.name = "ID", .type = 'C', .length = id_length},
                    {.name = "COUNT", .type = 'N', .length = 6},
                    {.name = "NOTE", .type = 'M'}};
    for (int i = 0; i < more_columns; ++i)
      spec.columns.push_back({.name = "MORE" + std::to_string(i), .type = 'C', .length = 254});
    if (!tag.empty()) {
      spec.tags = {
          {.name = "TAG", .expression = tag, .condition = condition, .key_length = id_length}};
    }
    const tests::BuiltTable files = tests::BuildTable(spec);
    shelf_.Put(files.table, files.memo);
    if (!tag.empty()) machine().PutFile(kIndex, files.index);
    const auto table = shelf_.Open();
    const auto changes = table->Change();
    for (std::uint32_t row = 1; row <= rows; ++row)
      changes->Insert({{{0, std::to_wstring(row)}, {1, 0.0}}});
    Open();
  }

  void Open() {
    changes_.reset();
    table_ = shelf_.Open();
    changes_ = table_->Change();
    static_cast<void>(LocksSince());
  }
  void Close() {
    changes_.reset();
    table_.reset();
  }
  // Another process takes over. REQUIRES: Close.
  void Restart() {
    machine().Restart();
    seen_ = 0;
  }

  platform::simulation::Simulation& machine() { return shelf_.machine(); }
  TableShelf& shelf() { return shelf_; }
  TableChanges& changes() { return *changes_; }

  [[nodiscard]] HeldFile Workstation(const std::wstring& path = kTable) {
    return machine().HoldOpen(path, platform::FileShare::kReadWrite,
                              platform::FileAccess::kReadWrite);
  }
  [[nodiscard]] static bool TryLock(HeldFile& file, std::uint32_t record) {
    try {
      file.Lock(kHeaderLock - record, 1);
    } catch (const std::invalid_argument&) {
      return false;
    }
    file.Unlock(kHeaderLock - record, 1);
    return true;
  }

  // The row is counted up by one.
  void Count(std::uint32_t record) {
    REQUIRE(changes_->LockRow(record));
    CountLocked();
    changes_->UnlockRow();
  }
  void CountLocked() {
    const double count = std::get<double>(changes_->row().Read(1));
    changes_->Update({{{1, count + 1}}});
  }

  // How many locks were asked for since the last call of this.
  [[nodiscard]] std::size_t LocksSince() {
    const auto& calls = machine().calls();
    REQUIRE(seen_ <= calls.size());
    const auto asked = std::count_if(
        calls.begin() + static_cast<std::ptrdiff_t>(seen_), calls.end(),
        [](const platform::simulation::RecordedCall& call) { return call.operation == "TryLock"; });
    seen_ = calls.size();
    return static_cast<std::size_t>(asked);
  }

  [[nodiscard]] std::uint64_t Problems() {
    platform::Platform& platform = machine().platform();
    return foxpro::CheckTable(platform.files, platform.clock, {L"T", kTable}, {}).problems;
  }

  // COUNT of every row.
  [[nodiscard]] std::vector<double> Counts() {
    std::vector<double> counts;
    for (const auto& row : shelf_.Rows()) counts.push_back(std::get<double>(row[1]));
    return counts;
  }

 private:
  TableShelf shelf_;
  std::unique_ptr<Table> table_;
  std::unique_ptr<TableChanges> changes_;
  std::size_t seen_ = 0;
};

}  // namespace

TEST_CASE("rows that stand together are locked 64 at a time") {
  for (const int version : {0x30, 0xF5}) {
    CAPTURE(version);
    Runs t(150, static_cast<std::uint8_t>(version), 6);
    t.changes().Expect({1, 150, kCount});
    for (std::uint32_t row = 1; row <= 150; ++row) t.Count(row);
    CHECK(t.LocksSince() == 3);
    CHECK(t.Counts() == std::vector<double>(150, 1.0));
    CHECK(t.machine().pauses().empty());
  }
}

TEST_CASE("rows that are long are locked fewer at a time") {
  // Eight columns of 254 bytes and a few more: 32 records in 64 KB.
  Runs t(60, 0x30, 254, {}, {}, 7);
  t.changes().Expect({1, 60, kCount});
  t.Count(1);
  HeldFile other = t.Workstation();
  CHECK_FALSE(Runs::TryLock(other, 32));
  CHECK(Runs::TryLock(other, 33));
}

TEST_CASE("a run keeps others from its rows until the last of them is changed") {
  Runs t(4);
  HeldFile other = t.Workstation();
  t.changes().Expect({1, 3, kCount});
  t.Count(1);
  CHECK_FALSE(Runs::TryLock(other, 1));
  CHECK_FALSE(Runs::TryLock(other, 3));
  CHECK(Runs::TryLock(other, 4));
  t.Count(2);
  t.Count(3);
  CHECK(Runs::TryLock(other, 1));
  CHECK(Runs::TryLock(other, 3));
}

TEST_CASE("a run is given up after 10 milliseconds, and the next one begins behind it") {
  Runs t(5);
  HeldFile other = t.Workstation();
  const auto pass = [&t](std::uint32_t milliseconds) {
    static_cast<void>(t.machine().platform().clock.Pause(milliseconds, false));
  };
  t.changes().Expect({1, 5, kCount});
  t.Count(1);
  pass(9);
  t.Count(2);
  CHECK(t.LocksSince() == 1);
  pass(1);
  t.Count(3);
  CHECK(t.LocksSince() == 1);
  CHECK(Runs::TryLock(other, 2));
  CHECK_FALSE(Runs::TryLock(other, 3));
  CHECK_FALSE(Runs::TryLock(other, 5));
}

TEST_CASE("rows of a run are read when they are locked, not before") {
  Runs t(130);
  const auto table = t.shelf().Open();
  const auto others = table->Change();
  const auto set = [&others](std::uint32_t row, double count) {
    REQUIRE(others->LockRow(row));
    others->Update({{{1, count}}});
    others->UnlockRow();
  };
  t.changes().Expect({1, 130, kCount});
  set(2, 10);
  t.Count(1);
  set(65, 20);
  for (std::uint32_t row = 2; row <= 65; ++row) t.Count(row);
  set(129, 30);
  for (std::uint32_t row = 66; row <= 130; ++row) t.Count(row);
  std::vector<double> counts(130, 1.0);
  counts[1] = 11;
  counts[64] = 21;
  counts[128] = 31;
  CHECK(t.Counts() == counts);
}

TEST_CASE("rows of a run that somebody has deleted are passed by") {
  Runs t(3);
  t.changes().Expect({1, 3, kCount});
  {
    const auto table = t.shelf().Open();
    const auto others = table->Change();
    REQUIRE(others->LockRow(2));
    others->Delete();
  }
  static_cast<void>(t.LocksSince());
  t.Count(1);
  CHECK_FALSE(t.changes().LockRow(2));
  t.Count(3);
  CHECK(t.LocksSince() == 1);
  CHECK(t.Counts() == std::vector<double>(2, 1.0));
}

TEST_CASE("rows whose change needs the index or the memo file are locked alone") {
  struct Kind {
    std::string tag;
    std::string condition;
    RowRun run;
    bool together;
  };
  for (const Kind& kind :
       {Kind{"id", "", {1, 3, kCount}, true}, Kind{"id", "", {1, 3, kCountAndKey}, false},
        Kind{"id", "", {1, 3, kNote}, false}, Kind{"id", "count=0", {1, 3, kCount}, false},
        Kind{"id", "", {1, 3, {}}, true}, Kind{"id", "!deleted()", {1, 3, {}}, false},
        Kind{"id", "!deleted()", {1, 3, kCount}, true}}) {
    CAPTURE(kind.condition);
    CAPTURE(kind.run.columns.size());
    Runs t(3, kind.tag, kind.condition);
    HeldFile other = t.Workstation();
    t.changes().Expect(kind.run);
    REQUIRE(t.changes().LockRow(1));
    CHECK(Runs::TryLock(other, 2) != kind.together);
  }
}

TEST_CASE("a row outside the run, or out of turn, gives the run up") {
  for (const std::uint32_t row : {1U, 5U}) {
    CAPTURE(row);
    Runs t(5);
    HeldFile other = t.Workstation();
    t.changes().Expect({1, 4, kCount});
    t.Count(1);
    REQUIRE(t.changes().LockRow(row));
    CHECK(Runs::TryLock(other, 2));
    CHECK_FALSE(Runs::TryLock(other, row));
  }
}

TEST_CASE("a run of which another program holds a row is changed row by row") {
  Runs t(5);
  HeldFile other = t.Workstation();
  other.Lock(kHeaderLock - 3, 1);
  t.changes().Expect({1, 5, kCount});
  t.Count(1);
  t.Count(2);
  const Error error = ErrorOf([&] { static_cast<void>(t.changes().LockRow(3)); });
  CHECK(error.number() == error_number::kInUseByAnother);
  CHECK(Contains(error, L"record 3"));
  CHECK(Runs::TryLock(other, 1));
  CHECK(Runs::TryLock(other, 2));
  other.Unlock(kHeaderLock - 3, 1);
  for (std::uint32_t row = 3; row <= 5; ++row) t.Count(row);
  CHECK(t.Counts() == std::vector<double>(5, 1.0));
}

TEST_CASE("a statement holds no row when it is done or broken off") {
  Runs t(5);
  HeldFile other = t.Workstation();
  t.changes().Expect({1, 5, kCount});
  t.Count(1);
  t.machine().FailNext("WriteAt", 1117);
  REQUIRE(t.changes().LockRow(2));
  CHECK(ErrorOf([&] { t.CountLocked(); }).number() != 0);
  t.Close();
  for (std::uint32_t row = 1; row <= 5; ++row) CHECK(Runs::TryLock(other, row));
  CHECK(t.Counts() == std::vector<double>{1, 0, 0, 0, 0});
}

TEST_CASE("a run that breaks off at any call leaves every row as it was or as it became") {
  for (const bool ends : {false, true}) {
    bool all_passed = false;
    for (std::size_t number = 1; !all_passed; ++number) {
      CAPTURE(ends);
      CAPTURE(number);
      Runs t(4, "id");
      t.Close();
      t.Restart();
      if (ends) {
        t.machine().EndProcessAt(number);
      } else {
        t.machine().FailCall(number, 1117);
        t.machine().TearWrites();
      }
      std::size_t counted = 0;
      try {
        t.Open();
        t.changes().Expect({1, 4, kCount});
        for (std::uint32_t row = 1; row <= 4; ++row, ++counted) {
          if (!t.changes().LockRow(row)) break;
          t.CountLocked();
          t.changes().UnlockRow();
        }
      } catch (const Error&) {
        // The rows tell.
      } catch (const platform::simulation::ProcessEnded&) {
        // The rows tell.
      }
      all_passed = t.machine().call_count() < number;
      t.Close();
      t.Restart();
      const std::vector<double> counts = t.Counts();
      for (std::size_t row = 0; row < 4; ++row) {
        CAPTURE(row);
        const bool uncertain = ends && row == counted;
        CHECK((counts[row] == (row < counted ? 1 : 0) || (uncertain && counts[row] == 1)));
      }
      HeldFile other = t.Workstation();
      for (std::uint32_t row = 1; row <= 4; ++row) CHECK(Runs::TryLock(other, row));
      CHECK(t.Problems() == 0);
    }
  }
}
