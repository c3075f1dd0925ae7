// The search for a file on real folders, compared with what the test has put there.
#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/text.h"
#include "platform/win32/win32_platform.h"
#include "search/cFileSearch.h"
#include "search/drives.h"

using namespace tdefault;
namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::wstring>;

constexpr wchar_t kName[] = L"defaults.dbf";

// A folder of its own below the folder for temporary files, and a search on the system's own calls.
class RealFolders {
 public:
  RealFolders()
      : folder_((fs::temp_directory_path() /
                 ("tdefault search " + std::to_string(GetCurrentProcessId())))
                    .wstring()),
        former_folder_(fs::current_path()),
        search(ports().files, ports().session, ports().dialogs) {
    fs::remove_all(folder_);
    fs::create_directory(folder_);
    search.OnFolderChange([this](const std::wstring& folder) { told.push_back(folder); });
  }
  ~RealFolders() {
    std::error_code ignored;
    fs::current_path(former_folder_, ignored);
    fs::remove_all(folder_, ignored);
  }
  RealFolders(const RealFolders&) = delete;
  RealFolders& operator=(const RealFolders&) = delete;

  platform::Platform& ports() { return adapter_.platform(); }
  [[nodiscard]] std::wstring Path(const std::wstring& name) const { return folder_ + L"\\" + name; }
  [[nodiscard]] const std::wstring& folder() const { return folder_; }

  static void Put(const std::wstring& path) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file{fs::path(path)};
    REQUIRE(file.good());
  }

  // The matches in all folders of the list and below them, line by line.
  Texts All(const std::wstring& folders) {
    told.clear();
    const std::wstring result = search.FindFile(kName, true, folders, true);
    return result.empty() ? Texts() : Split(result, L"\r\n");
  }

 private:
  platform::win32::Win32Platform adapter_;
  std::wstring folder_;
  fs::path former_folder_;

 public:
  search::cFileSearch search;
  Texts told;
};

Texts Sorted(Texts texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

// The folder that holds a folder with its trailing backslash.
std::wstring Above(const std::wstring& folder) {
  return folder.substr(0, folder.rfind(L'\\', folder.size() - 2) + 1);
}

// Whether each folder follows the one above it or one below that, as in a walk through the tree.
bool IsWalk(const Texts& folders) {
  for (std::size_t i = 1; i < folders.size(); ++i) {
    if (!folders[i - 1].starts_with(Above(folders[i]))) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("every match in a tree of real folders is found, and every folder told once in a walk") {
  RealFolders real;
  Texts folders = {real.folder()};
  Texts matches;
  std::uint32_t state = 7;
  const auto below = [&state](std::size_t limit) {
    state = state * 1664525 + 1013904223;
    return (state >> 16) % limit;
  };
  constexpr int kFolders = 200;
  for (int i = 0; i < kFolders; ++i) {
    const std::wstring folder = folders[below(folders.size())] + L"\\f" + std::to_wstring(i);
    fs::create_directory(folder);
    folders.push_back(folder);
    for (std::size_t files = below(4); files > 0; --files) {
      RealFolders::Put(folder + L"\\" + std::to_wstring(files) + L".txt");
    }
    if (below(3) != 0) continue;
    RealFolders::Put(folder + L"\\Defaults.DBF");
    matches.push_back(folder + L"\\" + kName);
  }
  CHECK(Sorted(real.All(real.folder())) == Sorted(matches));
  REQUIRE(real.told.back().empty());
  real.told.pop_back();
  CHECK(real.told.front() == real.folder() + L"\\");
  CHECK(IsWalk(real.told));
  for (std::wstring& folder : folders) folder += L"\\";
  CHECK(Sorted(real.told) == Sorted(folders));
}

TEST_CASE("a folder with more subfolders than are kept is searched through all of them") {
  RealFolders real;
  Texts matches;
  constexpr int kFolders = 1100;
  for (int i = 0; i < kFolders; ++i) {
    const std::wstring folder = real.Path(std::to_wstring(i));
    fs::create_directory(folder);
    if (i % 10 == 0) {
      RealFolders::Put(folder + L"\\" + kName);
      matches.push_back(folder + L"\\" + kName);
    }
  }
  CHECK(Sorted(real.All(real.folder())) == Sorted(matches));
  CHECK(real.told.size() == kFolders + 2);
}

TEST_CASE("real folders are searched as deep as the system lists them") {
  RealFolders real;
  std::wstring folder = real.folder();
  while (folder.size() + 2 < 240) folder += L"\\d";
  RealFolders::Put(folder + L"\\" + kName);
  CHECK(real.All(real.folder()) == Texts{folder + L"\\" + kName});
}

TEST_CASE("a match that is the first entry of a real root is followed by an empty line") {
  RealFolders real;
  // A root has no entries for itself and the folder above it, and is listed by name.
  const std::wstring name = L"!tdefault-" + std::to_wstring(GetCurrentProcessId()) + L".dbf";
  fs::current_path(L"C:\\");
  std::ofstream{fs::path(L"C:\\" + name)};
  const std::wstring named = real.search.FindFile(name, true, L"C:\\");
  const std::wstring empty_piece = real.search.FindFile(name, true, real.folder() + L";");
  fs::remove(L"C:\\" + name);
  CHECK(named == L"C:\\" + name + L"\r\n");
  CHECK(empty_piece == L"\\" + name + L"\r\n");
  CHECK(real.told == Texts{L"C:\\", L"", real.folder() + L"\\", L"\\", L""});
}

TEST_CASE("an empty list searches the real current folder and the folders of the path variable") {
  RealFolders real;
  RealFolders::Put(real.Path(L"here\\defaults.dbf"));
  RealFolders::Put(real.Path(L"on path\\defaults.dbf"));
  fs::current_path(real.Path(L"here"));
  std::wstring former(32767, L'\0');
  former.resize(GetEnvironmentVariableW(L"PATH", former.data(), 32767));
  SetEnvironmentVariableW(L"PATH", real.Path(L"on path").c_str());
  const Texts matches = real.All(L"");
  SetEnvironmentVariableW(L"PATH", former.c_str());
  CHECK(matches == Texts{real.Path(L"here\\defaults.dbf"), real.Path(L"on path\\defaults.dbf")});
}

TEST_CASE("a real folder that is missing ends the list") {
  RealFolders real;
  RealFolders::Put(real.Path(L"a\\defaults.dbf"));
  RealFolders::Put(real.Path(L"b\\defaults.dbf"));
  CHECK(real.All(real.Path(L"a;") + real.Path(L"missing;") + real.Path(L"b")) ==
        Texts{real.Path(L"a\\defaults.dbf")});
}

TEST_CASE("a real folder whose name the code page lacks is told and does not end the search") {
  RealFolders real;
  fs::create_directory(real.Path(L"a\u4E00"));
  RealFolders::Put(real.Path(L"a\u4E00\\defaults.dbf"));
  RealFolders::Put(real.Path(L"b\\defaults.dbf"));
  if (GetACP() == CP_UTF8) return;
  CHECK(real.All(real.folder()) == Texts{real.Path(L"b\\defaults.dbf")});
  CHECK(real.told == Texts{real.folder() + L"\\", real.Path(L"a?\\"), real.Path(L"b\\"), L""});
}

TEST_CASE("a real folder with a semicolon in its name is searched piece by piece") {
  RealFolders real;
  fs::current_path(real.folder());
  RealFolders::Put(real.Path(L"in\\a;b\\defaults.dbf"));
  RealFolders::Put(real.Path(L"in\\a\\defaults.dbf"));
  CHECK(real.All(real.Path(L"in")) ==
        Texts{real.Path(L"in\\a\\defaults.dbf"), real.Path(L"in\\a\\defaults.dbf")});
  CHECK(real.told ==
        Texts{real.Path(L"in\\"), real.Path(L"in\\a\\"), real.Path(L"in\\a\\"), L"b\\", L""});
}

TEST_CASE("Cancel in a search of real folders lets each folder left be told once") {
  RealFolders real;
  for (const wchar_t* name : {L"a\\x", L"a\\y", L"b", L"c"}) {
    RealFolders::Put(real.Path(name) + L"\\defaults.dbf");
  }
  real.search.OnFolderChange([&real](const std::wstring& folder) {
    real.told.push_back(folder);
    if (folder == real.Path(L"a\\x\\")) real.search.SetCancel(true);
  });
  CHECK(real.All(real.folder()).empty());
  CHECK(real.told == Texts{real.folder() + L"\\", real.Path(L"a\\"), real.Path(L"a\\x\\"),
                           real.Path(L"a\\y\\"), real.Path(L"b\\"), real.Path(L"c\\")});
}

TEST_CASE("the system's drive C is offered as a local hard drive, and drives of no other kind") {
  platform::win32::Win32Platform windows;
  platform::Drives& drives = windows.platform().drives;
  Texts offered;
  for (const search::DriveRow& row : search::EligibleDrives(drives)) {
    offered.push_back(row.drive);
    const platform::DriveKind kind = drives.KindOf(row.drive);
    CHECK((kind == platform::DriveKind::kFixed || kind == platform::DriveKind::kRemote));
    if (row.drive != L"C:\\") continue;
    CHECK(row.image == L"HARDDRIVE");
    CHECK(row.description == L"Local hard drive C:\\");
  }
  CHECK(std::count(offered.begin(), offered.end(), L"C:\\") == 1);
  CHECK(search::LetterToUNC(drives, L"C:\\") == L"Drive Letter Not Found");
}
