// Random searches for a file in random folders of a simulated machine, compared with a plain
// search:
//
//   random_searches SEARCHES [--seed N] [--verbose]
//
// Result, error and every event and turn of the windows, in their order, have to be the same; so
// has what a second search by the same object gives. At random points the search is cancelled, a
// handler searches within the search, or raises an error. Every search has a seed of its own, N, N
// + 1 and so on; a failure prints it. Searches that would never end are only seen to end, and do
// not count.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "model/plain_search.h"
#include "model/random.h"
#include "platform/simulation/simulation.h"
#include "search/cFileSearch.h"

namespace {

using namespace tdefault;
using namespace tdefault::tests::model;
using platform::simulation::Simulation;
using Texts = std::vector<std::wstring>;

struct Settings {
  std::uint64_t searches = 0;
  std::uint64_t seed = 1;
  bool verbose = false;
};

Settings Parse(const Texts& words) {
  Settings settings;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == L"--verbose") {
      settings.verbose = true;
    } else if (words[i] == L"--seed" && i + 1 < words.size()) {
      settings.seed = std::stoull(words[++i]);
    } else {
      settings.searches = std::stoull(words[i]);
    }
  }
  return settings;
}

struct Question {
  std::wstring file_name;
  bool return_all_matches = false;
  std::wstring folder;
  bool search_sub_folders = false;
};

enum class Deed { kCancel, kSearch, kRaise };

// What a handler does once so many events and turns have been told.
struct Action {
  std::size_t at = 0;
  Deed deed = Deed::kCancel;
  Question question;  // of kSearch
};

struct Scenario {
  Texts folders;
  Texts files;
  std::wstring path_variable;
  bool cancelled_before = false;
  std::vector<Action> actions;
  // One search, or another one behind it.
  std::vector<Question> questions;
};

const Texts kNames = {L"a",  L"b",   L"c",    L"A;b", L"a;c",          L" a",
                      L" b", L"x y", L"a.b",  L"b;",  L"defaults.dbf", L"Old DEFAULTS.DBF 2",
                      L"w",  L";c",  L"c; w", L"CA",  L" defaults.dbf"};
const Texts kWanted = {L"defaults.dbf", L"Defaults.DBF", L"defaults.dbf", L"a",
                       L"A.B",          L" b",           L"a;C",          L""};
const Texts kFileNames = {
    L"defaults.dbf", L"DEFAULTS.dbf", L" defaults.dbf", L"a", L"b", L"a.b", L"other", L"0",
    L"zz",           L"a;c"};
const Texts kStarts = {L"D:\\", L"D:", L"E:\\", L"D:\\missing", L"", L"w", L"\\w", L"D:\\w", L"a"};

std::wstring RandomFolder(Random& random, const Texts& folders) {
  return folders.empty() ? std::wstring(L"D:\\") : random.Of(folders);
}

std::wstring RandomList(Random& random, const Texts& folders) {
  if (random.OneIn(8)) return L"";
  std::wstring list;
  for (std::size_t pieces = random.Below(4) + 1; pieces > 0; --pieces) {
    list += random.OneIn(3) ? random.Of(kStarts) : RandomFolder(random, folders);
    if (random.OneIn(4)) list += L"\\";
    if (pieces > 1 || random.OneIn(8)) list += L";";
  }
  return list;
}

Question RandomQuestion(Random& random, const Texts& folders) {
  return {random.Of(kWanted), !random.OneIn(3), RandomList(random, folders), !random.OneIn(4)};
}

Scenario RandomScenario(std::uint64_t seed) {
  Random random(seed);
  Scenario scenario;
  Texts parents = {L"D:", L"D:", L"E:", L"D:\\w"};
  for (std::size_t count = random.Below(12); count > 0; --count) {
    scenario.folders.push_back(random.Of(parents) + L"\\" + random.Of(kNames));
    parents.push_back(scenario.folders.back());
  }
  scenario.questions = {RandomQuestion(random, scenario.folders)};
  for (std::size_t count = random.Below(16); count > 0; --count) {
    const std::wstring& name =
        random.OneIn(2) ? scenario.questions.front().file_name : random.Of(kFileNames);
    if (!name.empty()) scenario.files.push_back(random.Of(parents) + L"\\" + name);
  }
  scenario.path_variable = RandomList(random, scenario.folders);
  if (random.OneIn(3)) scenario.questions.push_back(RandomQuestion(random, scenario.folders));
  scenario.cancelled_before = random.OneIn(30);
  for (std::size_t count = random.Below(3); count > 0; --count) {
    const Deed deed =
        random.Of(std::vector<Deed>{Deed::kCancel, Deed::kCancel, Deed::kSearch, Deed::kRaise});
    scenario.actions.push_back({random.Below(25), deed, RandomQuestion(random, scenario.folders)});
  }
  return scenario;
}

void Build(const Scenario& scenario, Simulation& machine) {
  for (const wchar_t* root : {L"D:\\", L"E:\\"}) machine.AddFolder(root);
  machine.SetCurrentFolder(L"D:\\w");
  machine.SetVariable(L"PATH", scenario.path_variable);
  for (const std::wstring& folder : scenario.folders) {
    // Where the name is a file's already, there is no folder.
    if (!machine.Exists(folder)) machine.AddFolder(folder);
  }
  for (const std::wstring& file : scenario.files) {
    if (!machine.Exists(file)) machine.PutFile(file, "");
  }
}

// More than any search of these trees takes that ends.
constexpr std::size_t kMostSteps = 200;

// What one search told and gave, line by line.
template <class Search>
Texts Told(const Scenario& scenario, Simulation& machine) {
  platform::Platform& ports = machine.platform();
  Search search(ports.files, ports.session, ports.dialogs);
  Texts told;
  const auto ask = [&](const Question& question) {
    try {
      told.push_back(L"result " + search.FindFile(question.file_name, question.return_all_matches,
                                                  question.folder, question.search_sub_folders));
    } catch (const Error& error) {
      told.push_back(L"error " + std::to_wstring(error.number()) + L" " + error.source() + L" " +
                     error.description());
      throw;
    }
  };
  const auto tell = [&](const std::wstring& line) {
    told.push_back(line);
    if (told.size() > kMostSteps) throw EndlessSearch();
    const std::size_t at = told.size() - 1;
    for (const Action& action : scenario.actions) {
      if (action.at != at) continue;
      if (action.deed == Deed::kCancel) search.SetCancel(true);
      if (action.deed == Deed::kSearch) ask(action.question);
      if (action.deed == Deed::kRaise) throw Error(70, L"handler", L"of the test");
    }
  };
  machine.SetDuringMessages([&tell] { tell(L"turn"); });
  search.OnFolderChange([&tell](const std::wstring& folder) { tell(L"folder " + folder); });
  search.SetCancel(scenario.cancelled_before);
  for (const Question& question : scenario.questions) {
    try {
      ask(question);
    } catch (const Error&) {
      told.emplace_back(L"left by the error");
    }
  }
  told.push_back(L"open handles " + std::to_wstring(machine.open_handles()));
  return told;
}

std::string Readable(const Question& question) {
  return "\"" + ToUtf8(question.file_name) + "\" in \"" + ToUtf8(question.folder) + "\"" +
         (question.return_all_matches ? ", all matches" : "") +
         (question.search_sub_folders ? ", subfolders" : "");
}

void Print(const Scenario& scenario) {
  for (const std::wstring& folder : scenario.folders) {
    std::cout << "folder " << ToUtf8(folder) << "\n";
  }
  for (const std::wstring& file : scenario.files) std::cout << "file   " << ToUtf8(file) << "\n";
  std::cout << "path   " << ToUtf8(scenario.path_variable) << "\n"
            << "search ";
  for (const Question& question : scenario.questions) std::cout << Readable(question) << "\n";
  if (scenario.cancelled_before) std::cout << "cancelled before\n";
  for (const Action& action : scenario.actions) {
    std::cout << "at " << action.at << " deed " << static_cast<int>(action.deed) << " "
              << Readable(action.question) << "\n";
  }
}

void PrintBoth(const Texts& plain, const Texts& found) {
  for (std::size_t i = 0; i < std::max(plain.size(), found.size()); ++i) {
    const std::wstring left = i < plain.size() ? plain[i] : L"-";
    const std::wstring right = i < found.size() ? found[i] : L"-";
    std::cout << (left == right ? "    " : " != ") << ToUtf8(left);
    if (left != right) std::cout << " | " << ToUtf8(right);
    std::cout << "\n";
  }
}

struct Totals {
  std::uint64_t compared = 0;
  std::uint64_t endless = 0;
  std::uint64_t found = 0;
  std::uint64_t errors = 0;
  std::uint64_t steps = 0;
};

void Count(const Texts& told, Totals& totals) {
  ++totals.compared;
  totals.steps += told.size();
  for (const std::wstring& line : told) {
    if (line.starts_with(L"result ") && line.size() > 7) ++totals.found;
    if (line.starts_with(L"error ")) ++totals.errors;
  }
}

void RunSearch(std::uint64_t seed, const Settings& settings, Totals& totals) {
  const Scenario scenario = RandomScenario(seed);
  Simulation machine;
  Build(scenario, machine);
  if (settings.verbose) Print(scenario);
  Texts plain;
  bool ends = true;
  try {
    plain = Told<PlainSearch>(scenario, machine);
  } catch (const EndlessSearch&) {
    ends = false;
  }
  Texts found;
  try {
    found = Told<search::cFileSearch>(scenario, machine);
  } catch (const EndlessSearch&) {
    found.emplace_back(L"too long");
  }
  if (settings.verbose) PrintBoth(plain, found);
  if (!ends) {
    ++totals.endless;
    return;
  }
  if (plain != found) {
    Print(scenario);
    PrintBoth(plain, found);
    std::cout << "replay: random_searches 1 --seed " << seed << " --verbose\n";
    std::exit(1);
  }
  Count(plain, totals);
}

}  // namespace

int main(int count, char** words) {
  Texts arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(FromUtf8(words[i]));
  const Settings settings = Parse(arguments);
  Totals totals;
  while (totals.compared < settings.searches) {
    RunSearch(settings.seed + totals.compared + totals.endless, settings, totals);
  }
  std::cout << totals.compared << " searches agree with the plain one in " << totals.steps
            << " steps; with matches: " << totals.found << ", with an error: " << totals.errors
            << "; left out because they never end: " << totals.endless << "\n";
  return totals.compared == 0 ? 1 : 0;
}
