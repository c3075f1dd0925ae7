// What the drives port promises about roots, kinds and connections.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform_fixture.h"

using namespace tdefault::platform;

TEST_CASE_TEMPLATE("every drive is a letter, a colon and a backslash, once, in alphabetical order",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::vector<std::wstring> roots = fixture.platform().drives.Roots();
  REQUIRE_FALSE(roots.empty());
  for (const std::wstring& root : roots) {
    CHECK(root.size() == 3);
    CHECK(root.substr(1) == L":\\");
  }
  CHECK(std::is_sorted(roots.begin(), roots.end()));
  CHECK(std::adjacent_find(roots.begin(), roots.end()) == roots.end());
}

TEST_CASE_TEMPLATE("drive C is listed and fixed, whatever the letter case", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Drives& drives = fixture.platform().drives;
  const std::vector<std::wstring> roots = drives.Roots();
  CHECK(std::count(roots.begin(), roots.end(), L"C:\\") == 1);
  CHECK(drives.KindOf(L"C:\\") == DriveKind::kFixed);
  CHECK(drives.KindOf(L"c:\\") == DriveKind::kFixed);
}

TEST_CASE_TEMPLATE("a letter that is no drive has no root, one that is has a kind", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Drives& drives = fixture.platform().drives;
  const std::vector<std::wstring> roots = drives.Roots();
  for (wchar_t letter = L'A'; letter <= L'Z'; ++letter) {
    const std::wstring root = std::wstring(1, letter) + L":\\";
    const bool listed = std::count(roots.begin(), roots.end(), root) == 1;
    CAPTURE(root);
    CHECK((drives.KindOf(root) != DriveKind::kNoRoot) == listed);
  }
}

TEST_CASE_TEMPLATE("a machine without a network has no connections, or none that can be asked for",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  constexpr std::uint32_t kNoNetwork = 1222;
  const auto connections = fixture.platform().drives.ConnectedResources();
  KNOWN_WINE_GAP(fixture.is_wine(), "WNetOpenEnum knows no provider", connections.ok());
  if (!connections.ok()) {
    CHECK(connections.code() == kNoNetwork);
    return;
  }
  // What is left at the end is nothing, however often it is asked for.
  constexpr std::uint32_t kBufferBytes = 32768;
  for (std::size_t left = 100; left > 0; --left) {
    const auto read = connections.value()->Read(1024, kBufferBytes);
    REQUIRE(read.ok());
    if (read.value().empty()) break;
  }
  const auto read = connections.value()->Read(1024, kBufferBytes);
  REQUIRE(read.ok());
  CHECK(read.value().empty());
}
