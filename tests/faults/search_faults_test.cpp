// A search for a file with every platform call of it failing once and ending the process there:
// whatever fails, every enumeration is closed, the search tells what it found until then, and the
// next search finds everything.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/simulation/call_log.h"
#include "platform/simulation/simulation.h"
#include "search/cFileSearch.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::ProcessEnded;
using platform::simulation::RecordedCall;
using platform::simulation::Simulation;

namespace {

using Texts = std::vector<std::wstring>;

// The current folder D:\s and the folder D:\t of the path variable, each with a match of its own
// and matches below.
class SearchedTree {
 public:
  SearchedTree() : search_(ports().files, ports().session, ports().dialogs) {
    for (const std::wstring& match : Matches()) machine.PutFile(match, "");
    machine.PutFile(L"D:\\s\\other.txt", "");
    machine.AddFolder(L"D:\\s\\empty");
    machine.SetCurrentFolder(L"D:\\s");
    machine.SetVariable(L"PATH", L"D:\\t");
    search_.OnFolderChange([this](const std::wstring& folder) { told.push_back(folder); });
  }

  static Texts Matches() {
    return {L"D:\\s\\x.dbf", L"D:\\s\\a\\x.dbf", L"D:\\s\\a\\b\\x.dbf", L"D:\\s\\c\\x.dbf",
            L"D:\\t\\x.dbf"};
  }
  static Texts Folders() {
    return {
        L"D:\\s\\", L"D:\\s\\a\\", L"D:\\s\\a\\b\\", L"D:\\s\\c\\", L"D:\\s\\empty\\", L"D:\\t\\",
        L""};
  }

  // The matches of a search of everything.
  Texts Search() {
    told.clear();
    const std::wstring result = search_.FindFile(L"x.dbf", true, L"", true);
    return result.empty() ? Texts() : Split(result, L"\r\n");
  }

  platform::Platform& ports() { return machine.platform(); }

  Simulation machine;
  Texts told;

 private:
  search::cFileSearch search_;
};

// The calls of a search that nothing disturbs.
std::vector<RecordedCall> CallsOfSearch() {
  SearchedTree tree;
  CHECK(tree.Search() == SearchedTree::Matches());
  CHECK(tree.told == SearchedTree::Folders());
  return tree.machine.calls();
}

// Whether `part` is `whole` with some lines left out.
bool IsPartOf(const Texts& part, const Texts& whole) {
  auto next = whole.begin();
  for (const std::wstring& line : part) {
    next = std::find(next, whole.end(), line);
    if (next == whole.end()) return false;
    ++next;
  }
  return true;
}

// The matches that are left when a folder cannot be listed: a piece of the list ends the search, a
// folder below is left out with all in it.
Texts MatchesWithout(const std::wstring& folder) {
  Texts left = SearchedTree::Matches();
  if (folder == L"D:\\s\\") return {};
  std::erase_if(left, [&folder](const std::wstring& match) { return match.starts_with(folder); });
  return left;
}

}  // namespace

TEST_CASE("a search with one call failing tells what it found and closes every enumeration") {
  const std::vector<RecordedCall> calls = CallsOfSearch();
  REQUIRE(calls.size() > 30);
  for (std::size_t number = 1; number <= calls.size(); ++number) {
    const RecordedCall& failing = calls[number - 1];
    CAPTURE(number);
    CAPTURE(failing.operation);
    SearchedTree tree;
    tree.machine.FailCall(number, platform::system_code::kAccessDenied);
    const Texts matches = tree.Search();
    CHECK(tree.machine.open_handles() == 0);
    if (failing.operation == "Enumerate") {
      CHECK(matches == MatchesWithout(failing.path.substr(0, failing.path.size() - 3)));
    } else if (failing.operation == "ProcessPendingMessages") {
      CHECK(matches == SearchedTree::Matches());
    } else if (failing.operation == "CurrentFolder") {
      CHECK(matches.front() == L".\\x.dbf");
      CHECK(matches.size() == SearchedTree::Matches().size());
    } else if (failing.operation == "EnvironmentValue") {
      // Instead of the path variable's folder the root of the drive is searched, with all of them.
      CHECK(matches.size() == 4 + SearchedTree::Matches().size());
      CHECK(matches.back() == L"\\t\\x.dbf");
    } else {
      CHECK(failing.operation == "Next");
      CHECK(IsPartOf(matches, SearchedTree::Matches()));
      CHECK(IsPartOf(tree.told, SearchedTree::Folders()));
    }
    REQUIRE_FALSE(tree.told.empty());
    CHECK((tree.told.back() == L"") == !matches.empty());
    // The failure is over.
    CHECK(tree.Search() == SearchedTree::Matches());
    CHECK(tree.told == SearchedTree::Folders());
  }
}

TEST_CASE("a search with every call failing from one on ends and closes every enumeration") {
  const std::size_t calls = CallsOfSearch().size();
  for (std::size_t number = 1; number <= calls; ++number) {
    CAPTURE(number);
    SearchedTree tree;
    tree.machine.FailFrom(number, platform::system_code::kAccessDenied);
    const Texts matches = tree.Search();
    CHECK(tree.machine.open_handles() == 0);
    if (number > 1) CHECK(IsPartOf(matches, SearchedTree::Matches()));
  }
}

TEST_CASE("a process that ends in a search leaves no enumeration open") {
  const std::size_t calls = CallsOfSearch().size();
  for (std::size_t number = 1; number <= calls; ++number) {
    CAPTURE(number);
    SearchedTree tree;
    tree.machine.EndProcessAt(number);
    CHECK_THROWS_AS(tree.Search(), ProcessEnded);
    CHECK(tree.machine.open_handles() == 0);
    tree.machine.Restart();
    CHECK(tree.Search() == SearchedTree::Matches());
  }
}
