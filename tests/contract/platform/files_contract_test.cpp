// What the files port promises about opening, share modes, moving, copying and searching.
#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "platform_fixture.h"

using namespace tdefault::platform;

namespace {

constexpr std::array kAccesses = {FileAccess::kRead, FileAccess::kWrite, FileAccess::kReadWrite};
constexpr std::array kShares = {FileShare::kNone, FileShare::kRead, FileShare::kReadWrite};

bool Permits(FileShare share, FileAccess access) {
  return share == FileShare::kReadWrite ||
         (share == FileShare::kRead && access == FileAccess::kRead);
}

template <class Fixture>
std::uint32_t OpenCode(Fixture& fixture, const std::wstring& path,
                       FileAccess access = FileAccess::kRead,
                       FileShare share = FileShare::kReadWrite) {
  return fixture.platform().files.Open(path, access, share).code();
}

// The names an enumeration gives, "." and ".." left out, in alphabetical order.
template <class Fixture>
std::vector<std::wstring> Listed(Fixture& fixture, const std::wstring& pattern) {
  auto listing = fixture.platform().files.Enumerate(pattern);
  std::vector<std::wstring> names;
  if (!listing.ok()) return {L"error " + std::to_wstring(listing.code())};
  while (const auto entry = listing.value()->Next()) {
    if (entry->name != L"." && entry->name != L"..") names.push_back(entry->name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

using Names = std::vector<std::wstring>;

}  // namespace

TEST_CASE_TEMPLATE("opening a file that is not there fails with 2, in a missing folder with 3",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(OpenCode(fixture, L"none.txt") == system_code::kFileNotFound);
  CHECK(OpenCode(fixture, L"nowhere\\none.txt") == system_code::kPathNotFound);
  CHECK(OpenCode(fixture, L"") == system_code::kPathNotFound);
  CHECK(OpenCode(fixture, fixture.folder() + L"\\none.txt") == system_code::kFileNotFound);
}

TEST_CASE_TEMPLATE("opening never creates a file", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  for (const FileAccess access : kAccesses) {
    CHECK(OpenCode(fixture, L"none.txt", access) == system_code::kFileNotFound);
  }
  CHECK_FALSE(fixture.Contents(L"none.txt"));
}

TEST_CASE_TEMPLATE("opening a folder as a file is refused with 5", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.AddFolder(L"sub");
  CHECK(OpenCode(fixture, L"sub") == system_code::kAccessDenied);
}

TEST_CASE_TEMPLATE("a name with a character that no name may hold is refused with 123", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "x");
  for (const wchar_t* name : {L"a?.txt", L"*.txt", L"a<b", L"a|b", L"a\"b", L"\u0416.txt"}) {
    CAPTURE(std::wstring(name));
    CHECK(OpenCode(fixture, name) == system_code::kInvalidName);
  }
  CHECK(OpenCode(fixture, std::wstring(L"a.txt\0x", 7)) == system_code::kInvalidName);
}

TEST_CASE_TEMPLATE("a path of 260 characters is refused with 206", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  const std::wstring path = fixture.folder() + L"\\" + std::wstring(259, L'n');
  const std::wstring exact = path.substr(0, 260);
  for (const std::wstring& name : {path, exact}) {
    CHECK(OpenCode(fixture, name) == system_code::kNameTooLong);
    CHECK(files.Remove(name).code() == system_code::kNameTooLong);
    CHECK(files.Copy(name, L"b.txt").code() == system_code::kNameTooLong);
    CHECK(files.Copy(L"b.txt", name).code() == system_code::kNameTooLong);
    CHECK(files.Replace(name, L"b.txt").code() == system_code::kNameTooLong);
    CHECK(files.ClearReadOnly(name).code() == system_code::kNameTooLong);
    CHECK(files.Enumerate(name).code() == system_code::kNameTooLong);
    CHECK(files.CreateUnique(name, L"tov").code() == system_code::kInvalidFolder);
    CHECK(files.Locate(name, 260).code() == system_code::kFileNotFound);
  }
}

TEST_CASE_TEMPLATE("names are found without regard to case and listed as stored", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"Name.Txt", "x");
  CHECK(OpenCode(fixture, L"NAME.TXT") == 0);
  CHECK(OpenCode(fixture, L"name.txt") == 0);
  CHECK(Listed(fixture, L"nAME.*") == Names{L"Name.Txt"});
  fixture.PutFile(L"\u00C4rger.txt", "x");
  CHECK(OpenCode(fixture, L"\u00E4RGER.TXT") == 0);
}

TEST_CASE_TEMPLATE("dots and slashes in a path mean folders, dots and blanks at its end nothing",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.AddFolder(L"sub");
  fixture.PutFile(L"a.txt", "x");
  for (const wchar_t* path : {L"a.txt", L".\\a.txt", L"sub\\..\\a.txt", L"sub/../a.txt",
                              L".\\\\a.txt", L"a.txt.", L"a.txt ", L"nowhere\\..\\a.txt"}) {
    CAPTURE(std::wstring(path));
    CHECK(OpenCode(fixture, path) == 0);
  }
  const std::wstring rooted = fixture.folder().substr(2);
  CHECK(OpenCode(fixture, rooted + L"\\a.txt") == 0);
  CHECK(OpenCode(fixture, fixture.folder().substr(0, 2) + L"a.txt") == 0);
}

TEST_CASE_TEMPLATE("a read gives the bytes from the offset and fewer only at the end", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "0123456789");
  auto file = fixture.platform().files.Open(L"a.txt", FileAccess::kRead, FileShare::kRead);
  REQUIRE(file.ok());
  CHECK(file.value()->Size().value() == 10);
  std::array<std::uint8_t, 4> target{};
  const auto text = [&](std::size_t count) {
    return std::string(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(count));
  };
  CHECK(text(file.value()->ReadAt(0, target).value()) == "0123");
  CHECK(text(file.value()->ReadAt(6, target).value()) == "6789");
  CHECK(text(file.value()->ReadAt(8, target).value()) == "89");
  CHECK(file.value()->ReadAt(10, target).value() == 0);
  CHECK(file.value()->ReadAt(5'000'000'000, target).value() == 0);
  CHECK(text(file.value()->ReadAt(2, target).value()) == "2345");
  CHECK(file.value()->ReadAt(0, std::span<std::uint8_t>()).value() == 0);
}

TEST_CASE_TEMPLATE("an empty file has no bytes", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "");
  auto file = fixture.platform().files.Open(L"a.txt", FileAccess::kRead, FileShare::kRead);
  REQUIRE(file.ok());
  std::array<std::uint8_t, 4> target{};
  CHECK(file.value()->Size().value() == 0);
  CHECK(file.value()->ReadAt(0, target).value() == 0);
}

TEST_CASE_TEMPLATE("two holders may share a file when each one's access is in the other's share",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "x");
  for (const FileAccess held_access : kAccesses) {
    for (const FileShare held_share : kShares) {
      auto held = fixture.Hold(L"a.txt", held_share, held_access);
      for (const FileAccess access : kAccesses) {
        for (const FileShare share : kShares) {
          CAPTURE(static_cast<int>(held_access));
          CAPTURE(static_cast<int>(held_share));
          CAPTURE(static_cast<int>(access));
          CAPTURE(static_cast<int>(share));
          const bool allowed = Permits(held_share, access) && Permits(share, held_access);
          CHECK(OpenCode(fixture, L"a.txt", access, share) ==
                (allowed ? 0 : system_code::kSharingViolation));
        }
      }
    }
  }
}

TEST_CASE_TEMPLATE("a second opening by the same process obeys the share mode too", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "x");
  {
    auto file = fixture.platform().files.Open(L"a.txt", FileAccess::kRead, FileShare::kNone);
    REQUIRE(file.ok());
    CHECK(OpenCode(fixture, L"a.txt") == system_code::kSharingViolation);
  }
  CHECK(OpenCode(fixture, L"a.txt") == 0);
}

TEST_CASE_TEMPLATE("a removed file is gone, one that is missing, open or read-only stays", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "x");
  CHECK(files.Remove(L"a.txt").ok());
  CHECK_FALSE(fixture.Contents(L"a.txt"));
  CHECK(files.Remove(L"a.txt").code() == system_code::kFileNotFound);
  CHECK(files.Remove(L"nowhere\\a.txt").code() == system_code::kPathNotFound);

  fixture.PutFile(L"held.txt", "x");
  {
    auto held = fixture.Hold(L"held.txt", FileShare::kReadWrite, FileAccess::kRead);
    CHECK(files.Remove(L"held.txt").code() == system_code::kSharingViolation);
  }
  CHECK(fixture.Contents(L"held.txt") == "x");

  fixture.PutFile(L"fixed.txt", "x");
  fixture.SetReadOnly(L"fixed.txt");
  CHECK(files.Remove(L"fixed.txt").code() == system_code::kAccessDenied);
  CHECK(fixture.Contents(L"fixed.txt") == "x");

  fixture.AddFolder(L"sub");
  CHECK(files.Remove(L"sub").code() == system_code::kAccessDenied);
}

TEST_CASE_TEMPLATE("a replacement takes the place of the target and leaves no source", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.AddFolder(L"sub");
  fixture.PutFile(L"new.txt", "new");
  fixture.PutFile(L"sub\\old.txt", "old content");
  CHECK(files.Replace(L"new.txt", L"sub\\old.txt").ok());
  CHECK(fixture.Contents(L"sub\\old.txt") == "new");
  CHECK_FALSE(fixture.Contents(L"new.txt"));
  CHECK(Listed(fixture, L"sub\\*") == Names{L"old.txt"});
}

TEST_CASE_TEMPLATE("a replacement of a missing target is a rename", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"new.txt", "new");
  CHECK(fixture.platform().files.Replace(L"new.txt", L"Other.txt").ok());
  CHECK(fixture.Contents(L"other.txt") == "new");
  CHECK(Listed(fixture, L"*") == Names{L"Other.txt"});
}

TEST_CASE_TEMPLATE("a replacement whose source or folder is missing fails with 2 or 3", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "a");
  CHECK(files.Replace(L"none.txt", L"a.txt").code() == system_code::kFileNotFound);
  CHECK(files.Replace(L"a.txt", L"nowhere\\b.txt").code() == system_code::kPathNotFound);
  CHECK(fixture.Contents(L"a.txt") == "a");
}

TEST_CASE_TEMPLATE("a replacement with an open source or target fails and changes nothing", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"new.txt", "new");
  fixture.PutFile(L"old.txt", "old");
  {
    auto held = fixture.Hold(L"new.txt", FileShare::kReadWrite, FileAccess::kRead);
    CHECK(files.Replace(L"new.txt", L"old.txt").code() == system_code::kSharingViolation);
  }
  {
    auto held = fixture.Hold(L"old.txt", FileShare::kReadWrite, FileAccess::kRead);
    CHECK(files.Replace(L"new.txt", L"old.txt").code() == system_code::kAccessDenied);
  }
  CHECK(fixture.Contents(L"new.txt") == "new");
  CHECK(fixture.Contents(L"old.txt") == "old");
}

TEST_CASE_TEMPLATE("a replacement of a folder is refused with 5", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"new.txt", "new");
  fixture.AddFolder(L"sub");
  CHECK(files.Replace(L"new.txt", L"sub").code() == system_code::kAccessDenied);
  CHECK(fixture.Contents(L"new.txt") == "new");
}

TEST_CASE_TEMPLATE("a replacement of a read-only target is refused with 5", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"new.txt", "new");
  fixture.PutFile(L"old.txt", "old");
  fixture.SetReadOnly(L"old.txt");
  CHECK(fixture.platform().files.Replace(L"new.txt", L"old.txt").code() ==
        system_code::kAccessDenied);
  CHECK(fixture.Contents(L"new.txt") == "new");
  CHECK(fixture.Contents(L"old.txt") == "old");
}

TEST_CASE_TEMPLATE("a read-only source replaces its target and stays read-only", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"new.txt", "new");
  fixture.SetReadOnly(L"new.txt");
  fixture.PutFile(L"old.txt", "old");
  CHECK(fixture.platform().files.Replace(L"new.txt", L"old.txt").ok());
  CHECK(fixture.Contents(L"old.txt") == "new");
  CHECK(fixture.IsReadOnly(L"old.txt"));
}

TEST_CASE_TEMPLATE("a copy carries content and read-only mark to a new file", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "new");
  fixture.SetReadOnly(L"a.txt");
  CHECK(fixture.platform().files.Copy(L"a.txt", L"b.txt").ok());
  CHECK(fixture.Contents(L"a.txt") == "new");
  CHECK(fixture.Contents(L"b.txt") == "new");
  CHECK(fixture.IsReadOnly(L"b.txt"));
}

TEST_CASE_TEMPLATE("a copy carries content and read-only mark over an existing file", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "new");
  fixture.SetReadOnly(L"a.txt");
  fixture.PutFile(L"b.txt", "old content");
  CHECK(fixture.platform().files.Copy(L"a.txt", L"b.txt").ok());
  CHECK(fixture.Contents(L"b.txt") == "new");
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine keeps the attributes of an existing target",
                 fixture.IsReadOnly(L"b.txt"));
}

TEST_CASE_TEMPLATE("a copy over a read-only file is refused with 5 until the mark is taken off",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "new");
  fixture.PutFile(L"b.txt", "old");
  fixture.SetReadOnly(L"b.txt");
  const std::uint32_t code = files.Copy(L"a.txt", L"b.txt").code();
  KNOWN_WINE_GAP(fixture.ignores_read_only(), "Wine lets root write a read-only file",
                 code == system_code::kAccessDenied && fixture.Contents(L"b.txt") == "old");
  CHECK(files.ClearReadOnly(L"b.txt").ok());
  CHECK_FALSE(fixture.IsReadOnly(L"b.txt"));
  CHECK(files.Copy(L"a.txt", L"b.txt").ok());
}

TEST_CASE_TEMPLATE("a read-only file is opened for reading only", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "x");
  fixture.SetReadOnly(L"a.txt");
  CHECK(OpenCode(fixture, L"a.txt") == 0);
  KNOWN_WINE_GAP(fixture.ignores_read_only(), "Wine lets root write a read-only file",
                 OpenCode(fixture, L"a.txt", FileAccess::kWrite) == system_code::kAccessDenied);
}

TEST_CASE_TEMPLATE("a copy of a missing or closed source or into a missing folder fails", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "a");
  CHECK(files.Copy(L"none.txt", L"b.txt").code() == system_code::kFileNotFound);
  CHECK(files.Copy(L"nowhere\\none.txt", L"b.txt").code() == system_code::kPathNotFound);
  CHECK(files.Copy(L"a.txt", L"nowhere\\b.txt").code() == system_code::kPathNotFound);
  CHECK(files.Copy(L"a.txt", L"a.txt").code() == system_code::kSharingViolation);
  {
    auto held = fixture.Hold(L"a.txt", FileShare::kNone, FileAccess::kRead);
    CHECK(files.Copy(L"a.txt", L"b.txt").code() == system_code::kSharingViolation);
  }
  CHECK_FALSE(fixture.Contents(L"b.txt"));
  fixture.PutFile(L"b.txt", "b");
  auto held = fixture.Hold(L"b.txt", FileShare::kRead, FileAccess::kRead);
  CHECK(files.Copy(L"a.txt", L"b.txt").code() == system_code::kSharingViolation);
  CHECK(fixture.Contents(L"b.txt") == "b");
}

TEST_CASE_TEMPLATE("a copy reads a source that others hold open for writing", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"a.txt", "a");
  auto held = fixture.Hold(L"a.txt", FileShare::kReadWrite, FileAccess::kReadWrite);
  CHECK(fixture.platform().files.Copy(L"a.txt", L"b.txt").ok());
  CHECK(fixture.Contents(L"b.txt") == "a");
}

TEST_CASE_TEMPLATE("taking off a read-only mark leaves a file without one alone", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "a");
  CHECK(files.ClearReadOnly(L"a.txt").ok());
  CHECK(fixture.Contents(L"a.txt") == "a");
  CHECK(files.ClearReadOnly(L"none.txt").code() == system_code::kFileNotFound);
  CHECK(files.ClearReadOnly(L"nowhere\\none.txt").code() == system_code::kPathNotFound);
}

TEST_CASE_TEMPLATE("an enumeration gives each match once, folders marked, dots included", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.AddFolder(L"list\\sub");
  fixture.PutFile(L"list\\a.txt", "x");
  fixture.PutFile(L"list\\sub\\deeper.txt", "x");
  auto listing = fixture.platform().files.Enumerate(L"list\\*");
  REQUIRE(listing.ok());
  std::set<std::pair<std::wstring, bool>> entries;
  std::size_t count = 0;
  while (const auto entry = listing.value()->Next()) {
    entries.insert({entry->name, entry->is_folder});
    ++count;
  }
  CHECK(count == 4);
  CHECK(entries == std::set<std::pair<std::wstring, bool>>{
                       {L".", true}, {L"..", true}, {L"a.txt", false}, {L"sub", true}});
  CHECK_FALSE(listing.value()->Next());
}

TEST_CASE_TEMPLATE("an empty folder still has its dots", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.AddFolder(L"empty");
  CHECK(fixture.platform().files.Enumerate(L"empty\\*").ok());
  CHECK(Listed(fixture, L"empty\\*").empty());
}

TEST_CASE_TEMPLATE("patterns match the last part of the path", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  for (const wchar_t* name : {L"a.txt", L"ab.txt", L"abc.TXT", L"b.dbf", L"plain"}) {
    fixture.PutFile(name, "x");
  }
  struct Row {
    const wchar_t* pattern;
    Names names;
  };
  const Row rows[] = {{L"*.txt", {L"a.txt", L"ab.txt", L"abc.TXT"}},
                      {L"a?.txt", {L"ab.txt"}},
                      {L"A*", {L"a.txt", L"ab.txt", L"abc.TXT"}},
                      {L"*.*", {L"a.txt", L"ab.txt", L"abc.TXT", L"b.dbf", L"plain"}},
                      {L"*", {L"a.txt", L"ab.txt", L"abc.TXT", L"b.dbf", L"plain"}},
                      {L"*b*", {L"ab.txt", L"abc.TXT", L"b.dbf"}},
                      {L"B.DBF", {L"b.dbf"}},
                      {L".\\b.dbf", {L"b.dbf"}},
                      {L"a.t?t", {L"a.txt"}},
                      {L"none", {L"error 2"}},
                      {L"z*", {L"error 2"}},
                      {L"nowhere\\*", {L"error 3"}},
                      {L"", {L"error 3"}}};
  for (const Row& row : rows) {
    CAPTURE(std::wstring(row.pattern));
    CHECK(Listed(fixture, row.pattern) == row.names);
  }
  CHECK(Listed(fixture, fixture.folder() + L"\\b*") == Names{L"b.dbf"});
}

TEST_CASE_TEMPLATE("below a file nothing can be listed", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.PutFile(L"b.dbf", "x");
  const std::uint32_t code = fixture.platform().files.Enumerate(L"b.dbf\\*").code();
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine reports 123", code == system_code::kInvalidFolder);
  CHECK(code != 0);
}

TEST_CASE_TEMPLATE("a folder's own path is one entry, with a backslash behind it none", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  fixture.AddFolder(L"sub");
  CHECK(Listed(fixture, L"sub") == Names{L"sub"});
  CHECK(Listed(fixture, L"sub\\") == Names{L"error 2"});
}

TEST_CASE_TEMPLATE("unique names are new, empty files with up to three characters of the prefix",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  std::set<std::wstring> names;
  for (int i = 0; i < 5; ++i) {
    const auto path = files.CreateUnique(fixture.folder(), L"tovabc");
    REQUIRE(path.ok());
    const std::wstring start = fixture.folder() + L"\\tov";
    CHECK(path.value().substr(0, start.size()) == start);
    const std::wstring rest = path.value().substr(start.size());
    CHECK(rest.size() >= 5);
    CHECK(rest.find_first_not_of(L"0123456789abcdefABCDEF") == rest.size() - 4);
    CHECK(tdefault::EqualIgnoringCase(rest.substr(rest.size() - 4), L".tmp"));
    CHECK(fixture.Contents(path.value()) == "");
    CHECK(names.insert(tdefault::ToUpper(path.value())).second);
  }
}

TEST_CASE_TEMPLATE("a unique name starts with the folder as given", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.AddFolder(L"sub");
  CHECK(files.CreateUnique(L"sub", L"x").value().substr(0, 5) == L"sub\\x");
  CHECK(files.CreateUnique(L"sub\\", L"x").value().substr(0, 5) == L"sub\\x");
  CHECK(files.CreateUnique(L".", L"x").value().substr(0, 3) == L".\\x");
  CHECK(files.CreateUnique(L"sub", L"").ok());
}

TEST_CASE_TEMPLATE("a unique name in a missing folder fails with 267 and makes nothing", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.txt", "x");
  for (const wchar_t* folder : {L"nowhere", L"a.txt", L"", L"a?b", L"nowhere\\below"}) {
    CAPTURE(std::wstring(folder));
    CHECK(files.CreateUnique(folder, L"tov").code() == system_code::kInvalidFolder);
  }
  CHECK(Listed(fixture, L"*") == Names{L"a.txt"});
}

TEST_CASE_TEMPLATE("the current folder has a backslash behind it only where it is a root", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto folder = fixture.platform().files.CurrentFolder();
  REQUIRE(folder.ok());
  CHECK(tdefault::EqualIgnoringCase(folder.value(), fixture.folder()));
  fixture.EnterFolder(L"C:\\");
  const auto root = fixture.platform().files.CurrentFolder();
  REQUIRE(root.ok());
  CHECK(root.value() == L"C:\\");
}

TEST_CASE_TEMPLATE("the folder for temporary files comes from TMP, then TEMP, with a backslash",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.AddFolder(L"one");
  fixture.AddFolder(L"two");
  const auto tmp = fixture.platform().session.EnvironmentValue(L"TMP");
  const auto temp = fixture.platform().session.EnvironmentValue(L"TEMP");
  const std::wstring one = fixture.folder() + L"\\one";
  const std::wstring two = fixture.folder() + L"\\two\\";
  fixture.SetVariable(L"TMP", one);
  fixture.SetVariable(L"TEMP", two);
  CHECK(files.TemporaryFolder().value() == one + L"\\");
  fixture.SetVariable(L"TMP", std::nullopt);
  CHECK(files.TemporaryFolder().value() == two);
  fixture.SetVariable(L"TMP", tmp);
  fixture.SetVariable(L"TEMP", temp);
}

TEST_CASE_TEMPLATE("a folder for temporary files of 260 characters or more is refused with 206",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  const auto tmp = fixture.platform().session.EnvironmentValue(L"TMP");
  const std::wstring root = L"C:\\";
  // The backslash that is put behind it counts.
  fixture.SetVariable(L"TMP", root + std::wstring(255, L't'));
  CHECK(files.TemporaryFolder().value() == root + std::wstring(255, L't') + L"\\");
  for (const std::size_t length : {256, 257, 300, 5000}) {
    CAPTURE(length);
    fixture.SetVariable(L"TMP", root + std::wstring(length, L't'));
    CHECK(files.TemporaryFolder().code() == system_code::kNameTooLong);
  }
  fixture.SetVariable(L"TMP", tmp);
}

TEST_CASE_TEMPLATE("a bare name is located in the program, current, system and Windows folder",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  const std::wstring name = L"tdefault-contract-locate.ini";
  CHECK(files.Locate(name, 260).code() == system_code::kFileNotFound);
  for (const std::wstring& folder :
       {fixture.program_folder(), fixture.folder(), fixture.windows_folder(),
        fixture.windows_folder() + L"\\System32"}) {
    CAPTURE(folder);
    const std::wstring path = folder + L"\\" + name;
    fixture.PutFile(path, "x");
    const auto found = files.Locate(name, 260);
    fixture.RemoveFile(path);
    REQUIRE(found.ok());
    CHECK(tdefault::EqualIgnoringCase(found.value(), path));
  }
}

TEST_CASE_TEMPLATE("a bare name is located in the folders of PATH", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  const auto path = fixture.platform().session.EnvironmentValue(L"PATH");
  fixture.AddFolder(L"sub");
  fixture.PutFile(L"sub\\tdefault-contract-path.ini", "x");
  CHECK_FALSE(files.Locate(L"tdefault-contract-path.ini", 260).ok());
  fixture.SetVariable(L"PATH", path.value_or(L"") + L";" + fixture.folder() + L"\\sub");
  const auto found = files.Locate(L"tdefault-contract-path.ini", 260);
  fixture.SetVariable(L"PATH", path);
  REQUIRE(found.ok());
  CHECK(tdefault::EqualIgnoringCase(found.value(),
                                    fixture.folder() + L"\\sub\\tdefault-contract-path.ini"));
}

TEST_CASE_TEMPLATE("the program folder is searched before the Windows folder", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring name = L"tdefault-contract-order.ini";
  const std::wstring first = fixture.program_folder() + L"\\" + name;
  const std::wstring second = fixture.windows_folder() + L"\\" + name;
  fixture.PutFile(first, "x");
  fixture.PutFile(second, "x");
  const auto found = fixture.platform().files.Locate(name, 260);
  fixture.RemoveFile(first);
  fixture.RemoveFile(second);
  REQUIRE(found.ok());
  CHECK(tdefault::EqualIgnoringCase(found.value(), first));
}

TEST_CASE_TEMPLATE("a name with a folder is located there only", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.AddFolder(L"sub");
  fixture.PutFile(L"sub\\a.ini", "x");
  const std::wstring expected = fixture.folder() + L"\\sub\\a.ini";
  CHECK(files.Locate(expected, 260).value() == expected);
  CHECK(tdefault::EqualIgnoringCase(files.Locate(L"sub\\a.ini", 260).value(), expected));
  CHECK(tdefault::EqualIgnoringCase(files.Locate(L".\\sub\\a.ini", 260).value(), expected));
  CHECK(files.Locate(L"sub\\none.ini", 260).code() == system_code::kFileNotFound);
  CHECK(files.Locate(L"", 260).code() == system_code::kFileNotFound);
}

TEST_CASE_TEMPLATE("a located path has to fit the capacity with its closing NUL", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Files& files = fixture.platform().files;
  fixture.PutFile(L"a.ini", "x");
  const std::wstring path = fixture.folder() + L"\\a.ini";
  const auto length = static_cast<std::uint32_t>(path.size());
  CHECK(files.Locate(path, length + 1).ok());
  CHECK(files.Locate(path, length).code() == system_code::kFileNotFound);
  CHECK(files.Locate(path, 0).code() == system_code::kFileNotFound);
}
