#include "support/paths.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;
using support::WithoutBackslash;

TEST_CASE("a parent folder is the text before the last backslash") {
  for (const WithoutBackslash otherwise :
       {WithoutBackslash::kPathItself, WithoutBackslash::kEmpty}) {
    CHECK(support::ParentFolder(L"C:\\A\\B.INI", otherwise) == L"C:\\A");
    CHECK(support::ParentFolder(L"C:\\A\\", otherwise) == L"C:\\A");
    CHECK(support::ParentFolder(L"\\A", otherwise).empty());
  }
}

TEST_CASE(
    "a path without a backslash is its own parent for the catalogue and has none for the search") {
  CHECK(support::ParentFolder(L"TOVO.INI", WithoutBackslash::kPathItself) == L"TOVO.INI");
  CHECK(support::ParentFolder(L"TOVO.INI", WithoutBackslash::kEmpty).empty());
  CHECK(support::ParentFolder(L"C:/A/B", WithoutBackslash::kEmpty).empty());
}

TEST_CASE("a path for display has capitals at its start and behind separators only") {
  struct Row {
    const wchar_t* text;
    const wchar_t* shown;
  };
  const std::vector<Row> rows = {{L"c:\\program files\\x", L"C:\\Program Files\\X"},
                                 {L"C:\\SHOP\\DEFAULTS.dbf", L"C:\\Shop\\Defaults.dbf"},
                                 {L"  ab  ", L"Ab"},
                                 {L"a/b:c d", L"A/B:C D"},
                                 {L"a-b_c.D", L"A-b_c.d"},
                                 {L"", L""},
                                 {L"\\\\server\\SHARE", L"\\\\Server\\Share"}};
  for (const Row& row : rows) CHECK(support::ProperCasePath(row.text) == row.shown);
}

TEST_CASE("text splits at its first NUL character") {
  const std::wstring text(L"a b\0c\0d", 7);
  CHECK(support::TextBeforeNull(text) == L"a b");
  CHECK(support::TextAfterNull(text) == std::wstring(L"c\0d", 3));
  CHECK(support::TextBeforeNull(L"abc") == L"abc");
  CHECK(support::TextAfterNull(L"abc").empty());
  CHECK(support::TextAfterNull(std::wstring(L"a\0", 2)).empty());
  CHECK(support::TextBeforeNull(std::wstring(L"\0a", 2)).empty());
}

TEST_CASE("a file exists also while another process holds it without sharing") {
  Simulation machine;
  machine.PutFile(L"C:\\DATA\\DEFAULTS.DBF", "x");
  auto& files = machine.platform().files;
  CHECK(support::FileExists(files, L"c:\\data\\defaults.dbf"));
  const auto held = machine.HoldOpen(L"C:\\DATA\\DEFAULTS.DBF", platform::FileShare::kNone);
  CHECK(support::FileExists(files, L"C:\\DATA\\DEFAULTS.DBF"));
  CHECK(machine.open_handles() == 0);
}

TEST_CASE("nothing, a folder, a missing file and a file that is refused do not exist as files") {
  Simulation machine;
  machine.PutFile(L"C:\\DATA\\A.TXT", "x");
  auto& files = machine.platform().files;
  CHECK_FALSE(support::FileExists(files, L""));
  CHECK_FALSE(support::FileExists(files, L"C:\\DATA"));
  CHECK_FALSE(support::FileExists(files, L"C:\\DATA\\B.TXT"));
  CHECK_FALSE(support::FileExists(files, L"C:\\NONE\\A.TXT"));
  machine.FailNext("Open", platform::system_code::kAccessDenied);
  CHECK_FALSE(support::FileExists(files, L"C:\\DATA\\A.TXT"));
}

TEST_CASE("a folder exists with and without a trailing backslash, empty text does not") {
  Simulation machine;
  machine.AddFolder(L"C:\\DATA");
  machine.PutFile(L"C:\\FILE.TXT", "");
  auto& files = machine.platform().files;
  CHECK(support::FolderExists(files, L"C:\\DATA"));
  CHECK(support::FolderExists(files, L"C:\\DATA\\"));
  CHECK_FALSE(support::FolderExists(files, L"C:\\NONE"));
  CHECK_FALSE(support::FolderExists(files, L"C:\\FILE.TXT"));
  CHECK_FALSE(support::FolderExists(files, L""));
  CHECK(machine.calls().front().path == L"C:\\DATA\\*");
  CHECK(machine.open_handles() == 0);
}
