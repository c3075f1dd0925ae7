// What the files port promises about writing and about locked bytes, and the clock about time.
#include <utility>
#include <vector>

#include "platform_fixture.h"

using namespace tdefault;
using namespace tdefault::platform;

namespace {

constexpr std::uint64_t kBehindTables = 0x7FFFFFFE;

template <class Fixture>
std::unique_ptr<File> OpenFile(Fixture& fixture, FileAccess access = FileAccess::kReadWrite) {
  auto file = fixture.platform().files.Open(L"a.dbf", access, FileShare::kReadWrite);
  REQUIRE(file.ok());
  return std::move(file).value();
}

SystemStatus Write(File& file, std::uint64_t offset, std::string_view text) {
  return file.WriteAt(offset, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

// The bytes there, or the code of the failure.
std::string Read(File& file, std::uint64_t offset, std::size_t count) {
  std::vector<std::uint8_t> target(count);
  const auto read = file.ReadAt(offset, target);
  if (!read.ok()) return "error " + std::to_string(read.code());
  return {target.begin(), target.begin() + static_cast<std::ptrdiff_t>(read.value())};
}

// Whether another open of the file finds the byte free.
template <class Fixture>
bool IsFree(Fixture& fixture, std::uint64_t offset) {
  const auto other = OpenFile(fixture);
  const std::uint32_t code = other->TryLock(offset, 1).code();
  CHECK((code == 0 || code == system_code::kLockViolation));
  return code == 0;
}

}  // namespace

TEST_CASE_TEMPLATE("what is written stands at its place at once, for every open of the file",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "0123456789");
  const auto file = OpenFile(fixture);
  const auto reader = OpenFile(fixture, FileAccess::kRead);
  CHECK(Write(*file, 2, "ab").ok());
  CHECK(Read(*reader, 0, 20) == "01ab456789");
  CHECK(Write(*file, 8, "cdef").ok());
  CHECK(Read(*reader, 0, 20) == "01ab4567cdef");
  CHECK(reader->Size().value() == 12);
  CHECK(Read(*file, 1, 3) == "1ab");
  CHECK(fixture.Contents(L"a.dbf") == "01ab4567cdef");
}

TEST_CASE_TEMPLATE("a write behind the end fills the gap with zeros", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  CHECK(Write(*file, 5, "x").ok());
  CHECK(fixture.Contents(L"a.dbf") == std::string("01\0\0\0x", 6));
}

TEST_CASE_TEMPLATE("writing no bytes changes nothing", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  CHECK(Write(*file, 0, "").ok());
  CHECK(Write(*file, 100, "").ok());
  CHECK(fixture.Contents(L"a.dbf") == "01");
}

TEST_CASE_TEMPLATE("a file opened for reading is not written: 5", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture, FileAccess::kRead);
  CHECK(Write(*file, 0, "x").code() == system_code::kAccessDenied);
  CHECK(Write(*file, 2, "x").code() == system_code::kAccessDenied);
  CHECK(fixture.Contents(L"a.dbf") == "01");
}

TEST_CASE_TEMPLATE("a file opened for writing is written and not read", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture, FileAccess::kWrite);
  CHECK(Write(*file, 0, "x").ok());
  CHECK(Read(*file, 0, 1) == "error 5");
  CHECK(fixture.Contents(L"a.dbf") == "x1");
}

TEST_CASE_TEMPLATE("a flush keeps what was written", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  CHECK(file->Flush().ok());
  CHECK(Write(*file, 2, "23").ok());
  CHECK(file->Flush().ok());
  CHECK(fixture.Contents(L"a.dbf") == "0123");
}

TEST_CASE_TEMPLATE("locked bytes are refused to every open of the file, free ones are not", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  const auto other = OpenFile(fixture, FileAccess::kRead);
  // Behind the end of the file, and behind 4 GB.
  for (const std::uint64_t start :
       {std::uint64_t{0}, kBehindTables - 10, std::uint64_t{1} << 32U}) {
    CAPTURE(start);
    CHECK(file->TryLock(start + 2, 3).ok());
    for (const auto& [offset, length] :
         {std::pair{2U, 3U}, {0U, 3U}, {4U, 9U}, {3U, 1U}, {0U, 9U}}) {
      CAPTURE(offset);
      CHECK(other->TryLock(start + offset, length).code() == system_code::kLockViolation);
      CHECK(file->TryLock(start + offset, length).code() == system_code::kLockViolation);
    }
    CHECK(other->TryLock(start, 2).ok());
    CHECK(other->TryLock(start + 5, 1).ok());
    CHECK(file->TryLock(start + 6, 1).ok());
  }
}

TEST_CASE_TEMPLATE("the same bytes of another file are free", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  fixture.PutFile(L"b.dbf", "01");
  const auto file = OpenFile(fixture);
  auto other =
      fixture.platform().files.Open(L"b.dbf", FileAccess::kReadWrite, FileShare::kReadWrite);
  REQUIRE(other.ok());
  CHECK(file->TryLock(kBehindTables, 1).ok());
  CHECK(other.value()->TryLock(kBehindTables, 1).ok());
}

TEST_CASE_TEMPLATE("bytes are free again after the unlocking of exactly them", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  const auto other = OpenFile(fixture);
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine reports 33",
                 file->Unlock(10, 4).code() == system_code::kNotLocked);
  CHECK(file->TryLock(10, 4).ok());
  for (const auto& [offset, length] :
       {std::pair{10U, 3U}, {11U, 3U}, {10U, 5U}, {9U, 5U}, {20U, 1U}}) {
    CAPTURE(offset);
    CHECK_FALSE(file->Unlock(offset, length).ok());
  }
  CHECK_FALSE(other->Unlock(10, 4).ok());
  CHECK_FALSE(IsFree(fixture, 10));
  CHECK_FALSE(IsFree(fixture, 13));
  CHECK(file->Unlock(10, 4).ok());
  CHECK(IsFree(fixture, 10));
  CHECK_FALSE(file->Unlock(10, 4).ok());
  CHECK(other->TryLock(10, 4).ok());
}

TEST_CASE_TEMPLATE("locks of neighbouring bytes are given up one by one", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  for (std::uint64_t offset = 1; offset <= 3; ++offset) CHECK(file->TryLock(offset, 1).ok());
  CHECK(file->Unlock(2, 1).ok());
  CHECK_FALSE(IsFree(fixture, 1));
  CHECK(IsFree(fixture, 2));
  CHECK_FALSE(IsFree(fixture, 3));
}

TEST_CASE_TEMPLATE("closing a file gives up its locks and no others", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto kept = OpenFile(fixture);
  CHECK(kept->TryLock(1, 1).ok());
  {
    const auto closed = OpenFile(fixture);
    CHECK(closed->TryLock(2, 1).ok());
    CHECK_FALSE(IsFree(fixture, 2));
  }
  CHECK(IsFree(fixture, 2));
  CHECK_FALSE(IsFree(fixture, 1));
}

TEST_CASE_TEMPLATE("what another process has locked is refused until it gives it up", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "01");
  const auto file = OpenFile(fixture);
  auto held = fixture.Hold(L"a.dbf", FileShare::kReadWrite, FileAccess::kReadWrite);
  held.Lock(kBehindTables, 1);
  CHECK(file->TryLock(kBehindTables, 1).code() == system_code::kLockViolation);
  CHECK(file->TryLock(0x40000000, 0x3FFFFFFF).code() == system_code::kLockViolation);
  held.Unlock(kBehindTables, 1);
  CHECK(file->TryLock(kBehindTables, 1).ok());
  CHECK(file->Unlock(kBehindTables, 1).ok());
  held.Lock(5, 1);
  held.Release();
  CHECK(file->TryLock(5, 1).ok());
}

TEST_CASE_TEMPLATE("bytes that another open has locked are neither read nor written: 33", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.dbf", "0123456789");
  const auto file = OpenFile(fixture);
  const auto other = OpenFile(fixture);
  CHECK(file->TryLock(4, 2).ok());
  const bool wine = fixture.is_wine();
  KNOWN_WINE_GAP(wine, "Wine lets read what is locked", Read(*other, 0, 5) == "error 33");
  KNOWN_WINE_GAP(wine, "Wine lets write what is locked",
                 Write(*other, 5, "5").code() == system_code::kLockViolation);
  CHECK(Read(*other, 0, 4) == "0123");
  CHECK(Write(*other, 6, "x").ok());
  CHECK(Read(*file, 4, 2) == "45");
  CHECK(Write(*file, 4, "ab").ok());
  CHECK(file->Unlock(4, 2).ok());
  CHECK(Read(*other, 0, 10) == "0123abx789");
}

TEST_CASE_TEMPLATE("the clock's milliseconds grow with a pause and never run backwards", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Clock& clock = fixture.platform().clock;
  const std::uint64_t start = clock.Milliseconds();
  CHECK(clock.Pause(100, false) == 0);
  // The system counts in ticks of up to 16 milliseconds.
  CHECK(clock.Milliseconds() - start >= 80);
  std::uint64_t last = clock.Milliseconds();
  for (int i = 0; i < 1000; ++i) {
    const std::uint64_t now = clock.Milliseconds();
    CHECK(now >= last);
    last = now;
  }
}

TEST_CASE_TEMPLATE("today is a day of the calendar", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const Date today = fixture.platform().clock.Today();
  REQUIRE_FALSE(today.empty());
  CHECK(ToCalendarDay(today).year > 2000);
  CHECK(ToCalendarDay(today).year < 10000);
}
