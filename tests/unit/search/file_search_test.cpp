// The search for a file: which folders it enters in which order, what it finds, how it ends.
#include <doctest/doctest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "search/cFileSearch.h"
#include "unit/forwarding_files.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;
using search::cFileSearch;
using testing::ErrorOf;

namespace {

using Folders = std::vector<std::wstring>;

// Every search of the tests is for this file.
constexpr wchar_t kName[] = L"defaults.dbf";

// A machine, its search, and the folders that the search has told.
class SearchedMachine {
 public:
  SearchedMachine() : search(ports().files, ports().session, ports().dialogs) { Listen(); }

  explicit SearchedMachine(platform::Files& files)
      : search(files, ports().session, ports().dialogs) {
    Listen();
  }

  platform::Platform& ports() { return machine.platform(); }

  void Put(const std::wstring& path) { machine.PutFile(path, ""); }

  std::wstring All(const std::wstring& folders, const wchar_t* name = kName) {
    return search.FindFile(name, true, folders, true);
  }
  std::wstring AllHere(const std::wstring& folders) {
    return search.FindFile(kName, true, folders);
  }
  std::wstring First(const std::wstring& folders) {
    return search.FindFile(kName, false, folders, true);
  }

  Simulation machine;
  cFileSearch search;
  Folders told;

 private:
  void Listen() {
    search.OnFolderChange([this](const std::wstring& folder) { told.push_back(folder); });
  }
};

// The enumerations of another machine, counted while they are open and in all.
class CountingFiles final : public tests::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;

  platform::SystemResult<std::unique_ptr<platform::FolderEnumeration>> Enumerate(
      const std::wstring& pattern) override {
    ++counts[pattern];
    return ForwardingFiles::Enumerate(pattern);
  }

  std::map<std::wstring, int> counts;
};

}  // namespace

TEST_CASE("the matches are folder and name, with an empty-text event at their end") {
  SearchedMachine m;
  m.Put(L"D:\\shop\\defaults.dbf");
  m.Put(L"D:\\shop\\other.dbf");
  m.Put(L"D:\\store\\defaults.dbf");
  CHECK(m.AllHere(L"D:\\shop;D:\\store\\") == L"D:\\shop\\defaults.dbf\r\nD:\\store\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\shop\\", L"D:\\store\\", L""});
}

TEST_CASE("nothing found is empty text without a last event") {
  SearchedMachine m;
  m.Put(L"D:\\shop\\other.dbf");
  CHECK(m.All(L"D:\\shop") == L"");
  CHECK(m.told == Folders{L"D:\\shop\\"});
}

TEST_CASE("an empty list searches the current folder and then every folder of the path variable") {
  SearchedMachine m;
  m.machine.SetCurrentFolder(L"D:\\here");
  m.machine.SetVariable(L"PATH", L"E:\\one;E:\\two\\");
  m.Put(L"D:\\here\\defaults.dbf");
  m.Put(L"E:\\one\\x");
  m.Put(L"E:\\two\\defaults.dbf");
  CHECK(m.AllHere(L"") == L"D:\\here\\defaults.dbf\r\nE:\\two\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\here\\", L"E:\\one\\", L"E:\\two\\", L""});
}

TEST_CASE("without a path variable an empty list ends with the root of the current drive") {
  SearchedMachine m;
  m.machine.SetCurrentFolder(L"D:\\here");
  m.machine.SetVariable(L"PATH", std::nullopt);
  m.Put(L"D:\\AUTOEXEC");
  m.Put(L"D:\\defaults.dbf");
  CHECK(m.AllHere(L"") == L"\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\here\\", L"\\", L""});
}

TEST_CASE("a current folder that the system cannot name is searched as a dot") {
  SearchedMachine m;
  m.machine.SetCurrentFolder(L"D:\\here");
  m.Put(L"D:\\here\\defaults.dbf");
  m.machine.FailNext("CurrentFolder", platform::system_code::kNameTooLong);
  CHECK(m.First(L"") == L".\\defaults.dbf");
}

TEST_CASE("an empty piece of the list is the root of the current drive") {
  SearchedMachine m;
  m.machine.SetCurrentFolder(L"D:\\here");
  m.Put(L"D:\\AUTOEXEC");
  m.Put(L"D:\\defaults.dbf");
  m.machine.AddFolder(L"E:\\shop");
  CHECK(m.AllHere(L"E:\\shop;") == L"\\defaults.dbf");
  CHECK(m.told == Folders{L"E:\\shop\\", L"\\", L""});
  m.told.clear();
  CHECK(m.AllHere(L";E:\\shop") == L"\\defaults.dbf");
  CHECK(m.told == Folders{L"\\", L"E:\\shop\\", L""});
}

TEST_CASE("a folder that is missing ends the list, and what was found before it stays") {
  SearchedMachine m;
  m.Put(L"D:\\one\\defaults.dbf");
  m.Put(L"D:\\two\\defaults.dbf");
  CHECK(m.All(L"D:\\one;D:\\missing;D:\\two") == L"D:\\one\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\one\\", L"D:\\missing\\", L""});
  m.told.clear();
  CHECK(m.All(L"D:\\missing;D:\\one") == L"");
  CHECK(m.told == Folders{L"D:\\missing\\"});
}

TEST_CASE("folders below are entered in their order, each with all its own folders first") {
  SearchedMachine m;
  m.Put(L"D:\\s\\b\\x\\defaults.dbf");
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\c.dbf");
  m.machine.AddFolder(L"D:\\s\\b\\y");
  m.machine.AddFolder(L"D:\\s\\c");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\a\\defaults.dbf\r\nD:\\s\\b\\x\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\b\\", L"D:\\s\\b\\x\\",
                          L"D:\\s\\b\\y\\", L"D:\\s\\c\\", L""});
}

TEST_CASE("the files of a folder come before those of the folders below it") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf\r\nD:\\s\\a\\defaults.dbf");
}

TEST_CASE("without subfolders only the folders of the list are entered") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  CHECK(m.AllHere(L"D:\\s") == L"");
  CHECK(m.told == Folders{L"D:\\s\\"});
}

TEST_CASE("the first match ends a search that wants one, without a line break behind it") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\b\\defaults.dbf");
  m.Put(L"D:\\t\\defaults.dbf");
  CHECK(m.First(L"D:\\s;D:\\t") == L"D:\\s\\a\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L""});
  CHECK(m.machine.open_handles() == 0);
}

TEST_CASE("a match that is the first entry of its folder is followed by an empty line") {
  SearchedMachine m;
  m.Put(L"D:\\defaults.dbf");
  m.Put(L"D:\\s\\defaults.dbf");
  CHECK(m.All(L"D:\\") == L"D:\\defaults.dbf\r\n\r\nD:\\s\\defaults.dbf");
}

TEST_CASE("a first entry that is the last match keeps one line break at the end") {
  SearchedMachine m;
  m.Put(L"D:\\defaults.dbf");
  CHECK(m.All(L"D:\\") == L"D:\\defaults.dbf\r\n");
  CHECK(m.First(L"D:\\") == L"D:\\defaults.dbf\r\n");
  CHECK(m.told == Folders{L"D:\\", L"", L"D:\\", L""});
}

TEST_CASE("a first entry that is a folder of that name is no match") {
  SearchedMachine m;
  m.machine.AddFolder(L"D:\\defaults.dbf");
  CHECK(m.All(L"D:\\") == L"");
  CHECK(m.told == Folders{L"D:\\", L"D:\\defaults.dbf\\"});
}

TEST_CASE(
    "a line break is put behind the file name in a folder's name too, as the name was asked") {
  SearchedMachine m;
  m.Put(L"D:\\Old Defaults.DBF files\\defaults.dbf");
  CHECK(m.All(L"D:\\") == L"D:\\Old defaults.dbf\r\n files\\defaults.dbf");
}

TEST_CASE("a file that differs in letter case only is found under the name that was asked for") {
  SearchedMachine m;
  m.Put(L"D:\\s\\DEFAULTS.dbf");
  CHECK(m.All(L"D:\\s", L"Defaults.DBF") == L"D:\\s\\Defaults.DBF");
}

TEST_CASE("a name with wildcards is compared as it stands") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  CHECK(m.All(L"D:\\s", L"*.dbf") == L"");
  CHECK(m.All(L"D:\\s", L"default?.dbf") == L"");
  CHECK(m.All(L"D:\\s", L"") == L"");
}

TEST_CASE("blanks before a file's name do not count, those of the name asked for do") {
  SearchedMachine m;
  m.Put(L"D:\\s\\  defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf");
  CHECK(m.All(L"D:\\s", L"  defaults.dbf") == L"");
}

TEST_CASE("blanks before a subfolder's name are lost, so another folder may be entered for it") {
  SearchedMachine m;
  m.Put(L"D:\\s\\ a\\defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\"});
  m.told.clear();
  m.Put(L"D:\\s\\a\\defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\a\\defaults.dbf\r\nD:\\s\\a\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\a\\", L""});
}

TEST_CASE("a subfolder whose name holds a semicolon is searched piece by piece") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a;b\\defaults.dbf");
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\c\\defaults.dbf");
  m.machine.SetCurrentFolder(L"D:\\w");
  m.Put(L"D:\\w\\b\\defaults.dbf");
  CHECK(m.All(L"D:\\s") ==
        L"D:\\s\\a\\defaults.dbf\r\nD:\\s\\a\\defaults.dbf\r\nb\\defaults.dbf\r\n"
        L"D:\\s\\c\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\a\\", L"b\\", L"D:\\s\\c\\", L""});
}

TEST_CASE("a name that leads back into a folder being searched ends its list, not the search") {
  SearchedMachine m;
  m.Put(L"D:\\s\\;a\\in.txt");
  m.Put(L"D:\\s\\b\\defaults.dbf");
  m.Put(L"D:\\s\\defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf\r\nD:\\s\\b\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\", L"D:\\s\\b\\", L""});
  CHECK(m.machine.open_handles() == 0);
}

TEST_CASE("a list that names a folder twice searches it twice") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  CHECK(m.All(L"D:\\s;D:\\s") == L"D:\\s\\a\\defaults.dbf\r\nD:\\s\\a\\defaults.dbf");
}

TEST_CASE("a subfolder that cannot be listed ends only its own list") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a;x\\in.txt");
  m.Put(L"D:\\s\\b\\defaults.dbf");
  CHECK(m.All(L"D:\\s") == L"D:\\s\\b\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\b\\", L""});
}

TEST_CASE("Cancel set before the search lets it tell one folder and find nothing") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  m.search.SetCancel(true);
  CHECK(m.search.Cancel());
  CHECK(m.All(L"D:\\s;D:\\t") == L"");
  CHECK(m.told == Folders{L"D:\\s\\"});
  CHECK(m.machine.call_count() == 0);
}

TEST_CASE("Cancel is never reset, and a search after it ends at once as well") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  CHECK_FALSE(m.search.Cancel());
  m.search.SetCancel(true);
  CHECK(m.All(L"D:\\s") == L"");
  CHECK(m.search.Cancel());
  CHECK(m.All(L"D:\\s") == L"");
  m.search.SetCancel(false);
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf");
}

TEST_CASE("a click on cancel lets the folder be searched and each one left be told once") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\a\\x\\defaults.dbf");
  m.Put(L"D:\\s\\a\\y\\z\\defaults.dbf");
  m.Put(L"D:\\s\\b\\defaults.dbf");
  m.machine.SetDuringMessages([&] {
    if (m.told.back() == L"D:\\s\\a\\") m.search.SetCancel(true);
  });
  CHECK(m.All(L"D:\\s;D:\\t") == L"D:\\s\\a\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\a\\x\\", L"D:\\s\\a\\y\\",
                          L"D:\\s\\b\\", L"D:\\t\\", L""});
}

TEST_CASE("Cancel set in the event of a folder leaves that folder unsearched") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.Put(L"D:\\s\\b\\defaults.dbf");
  m.search.OnFolderChange([&](const std::wstring& folder) {
    m.told.push_back(folder);
    if (folder == L"D:\\s\\b\\") m.search.SetCancel(true);
  });
  CHECK(m.All(L"D:\\s") == L"D:\\s\\a\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\b\\", L""});
}

TEST_CASE("messages are handled once per folder, behind its event") {
  SearchedMachine m;
  m.machine.AddFolder(L"D:\\s\\a");
  m.machine.SetDuringMessages([&] { m.told.emplace_back(L"messages"); });
  m.All(L"D:\\s");
  CHECK(m.told == Folders{L"D:\\s\\", L"messages", L"D:\\s\\a\\", L"messages"});
}

TEST_CASE("in a folder with thousands of entries messages are handled in between") {
  SearchedMachine m;
  constexpr int kFiles = 5000;
  for (int i = 0; i < kFiles; ++i) m.Put(L"D:\\s\\" + std::to_wstring(i));
  int turns = 0;
  m.machine.SetDuringMessages([&] { ++turns; });
  m.All(L"D:\\s");
  CHECK(turns == 3);
  CHECK(m.told == Folders{L"D:\\s\\"});
}

TEST_CASE("a search that a handler starts is part of the one that runs and is not formatted") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  m.Put(L"D:\\t\\defaults.dbf");
  m.Put(L"E:\\defaults.dbf");
  std::wstring inner;
  m.machine.SetDuringMessages([&] {
    if (m.told.back() == L"D:\\s\\") inner = m.All(L"D:\\t;E:\\");
  });
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf");
  CHECK(inner == L"D:\\t\\defaults.dbfE:\\defaults.dbf\r\n");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\t\\", L"E:\\", L""});
}

TEST_CASE("a search that the last event starts is one of its own") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  m.Put(L"D:\\t\\defaults.dbf");
  std::wstring inner;
  m.search.OnFolderChange([&](const std::wstring& folder) {
    m.told.push_back(folder);
    if (folder.empty() && inner.empty()) {
      inner = L"running";
      inner = m.All(L"D:\\t");
    }
  });
  CHECK(m.All(L"D:\\s") == L"D:\\s\\defaults.dbf");
  CHECK(inner == L"D:\\t\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"", L"D:\\t\\", L""});
}

TEST_CASE("an error of a handler carries the procedure once for each level of folders it leaves") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\b\\defaults.dbf");
  Folders sources;
  for (const wchar_t* at : {L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\a\\b\\", L""}) {
    m.search.OnFolderChange([at](const std::wstring& folder) {
      if (folder == at) throw Error(70, L"Dialog", L"Permission denied");
    });
    const auto error = ErrorOf([&] { return m.All(L"D:\\s"); });
    REQUIRE(error);
    CHECK(error->number() == 70);
    CHECK(error->description() == L"Permission denied");
    sources.push_back(error->source());
    CHECK(m.machine.open_handles() == 0);
  }
  CHECK(sources == Folders{L"Dialog:FindFile", L"Dialog:FindFile:FindFile",
                           L"Dialog:FindFile:FindFile:FindFile", L"Dialog:FindFile"});
}

TEST_CASE("after an error the next search is an outermost one again") {
  SearchedMachine m;
  m.Put(L"D:\\s\\a\\defaults.dbf");
  m.machine.SetDuringMessages([&] {
    if (m.told.back() == L"D:\\s\\a\\") throw Error(5, L"Host", L"bad");
  });
  const auto error = ErrorOf([&] { return m.All(L"D:\\s"); });
  REQUIRE(error);
  CHECK(error->source() == L"Host:FindFile:FindFile");
  m.machine.SetDuringMessages(nullptr);
  m.told.clear();
  CHECK(m.All(L"D:\\s") == L"D:\\s\\a\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L"D:\\s\\a\\", L""});
}

TEST_CASE("an error that leaves a search within a search carries the levels of both") {
  SearchedMachine m;
  m.machine.AddFolder(L"D:\\s\\a");
  m.machine.AddFolder(L"D:\\t\\b");
  m.search.OnFolderChange([&](const std::wstring& folder) {
    if (folder == L"D:\\s\\a\\") m.All(L"D:\\t");
    if (folder == L"D:\\t\\b\\") throw Error(5, L"", L"bad");
  });
  const auto error = ErrorOf([&] { return m.All(L"D:\\s"); });
  REQUIRE(error);
  CHECK(error->source() == L":FindFile:FindFile:FindFile:FindFile");
}

TEST_CASE("a search without a listener gives the same result") {
  SearchedMachine m;
  m.Put(L"D:\\s\\defaults.dbf");
  cFileSearch search(m.ports().files, m.ports().session, m.ports().dialogs);
  CHECK(search.FindFile(kName, true, L"D:\\s") == L"D:\\s\\defaults.dbf");
}

TEST_CASE("folders are searched as deep as the system's paths go") {
  SearchedMachine m;
  std::wstring folder = L"D:";
  while (folder.size() + 4 < 246) folder += L"\\f";
  m.Put(folder + L"\\defaults.dbf");
  CHECK(m.All(L"D:\\") == folder + L"\\defaults.dbf");
  CHECK(m.told.size() == (folder.size() - 2) / 2 + 2);
  CHECK(m.machine.open_handles() == 0);
}

TEST_CASE("a folder too deep to be listed is told and ends there") {
  SearchedMachine m;
  std::wstring folder = L"D:";
  while (folder.size() + 2 < 258) folder += L"\\f";
  m.machine.AddFolder(folder);
  CHECK(m.All(L"D:\\") == L"");
  CHECK(m.told.back() == folder + L"\\");
}

TEST_CASE("each folder is listed once, and twice where it has more subfolders than are kept") {
  Simulation machine;
  CountingFiles files(machine.platform().files);
  cFileSearch search(files, machine.platform().session, machine.platform().dialogs);
  Folders expected = {L"D:\\s\\"};
  const auto add = [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      machine.PutFile(L"D:\\s\\" + std::to_wstring(i) + L"\\defaults.dbf", "");
      expected.push_back(L"D:\\s\\" + std::to_wstring(i) + L"\\");
    }
  };
  for (const auto& [from, to, listings] : {std::tuple(1000, 2024, 1), {2024, 2025, 2}}) {
    add(from, to);
    Folders told;
    search.OnFolderChange([&](const std::wstring& folder) { told.push_back(folder); });
    files.counts.clear();
    CHECK(search.FindFile(kName, true, L"D:\\s", true).size() > 0);
    CHECK(files.counts[L"D:\\s\\*.*"] == listings);
    CHECK(files.counts.size() == expected.size());
    REQUIRE(told.back() == L"");
    told.pop_back();
    CHECK(told == expected);
  }
  CHECK(machine.open_handles() == 0);
}

TEST_CASE("a second listing that fails ends the list, and what was found before stays") {
  SearchedMachine m;
  for (int i = 1000; i < 2030; ++i) m.machine.AddFolder(L"D:\\s\\" + std::to_wstring(i));
  m.Put(L"D:\\s\\defaults.dbf");
  m.Put(L"D:\\t\\defaults.dbf");
  m.machine.SetDuringMessages(
      [&] { m.machine.FailCall(m.machine.call_count() + 1 + 1 + 1033 + 1, 5); });
  CHECK(m.All(L"D:\\s;D:\\t") == L"D:\\s\\defaults.dbf");
  CHECK(m.told == Folders{L"D:\\s\\", L""});
  CHECK(m.machine.open_handles() == 0);
}
