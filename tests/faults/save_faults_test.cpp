// A save with every platform call of it failing once, failing from there on, and ending the
// process, with writes that fail cleanly and with writes that tear the file. Whatever strikes, no
// content is lost: an INI file that cannot be put back has its old content beside it.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulation/call_log.h"
#include "unit/catalogue/shop.h"

using namespace tdefault;
using platform::simulation::ProcessEnded;
using platform::simulation::RecordedCall;
using platform::simulation::Simulation;
using testing::kGlobalIni;
using testing::kGlobalOld;
using testing::kLocalIni;
using testing::kLocalOld;
using testing::Shop;

namespace {

constexpr const char* kLocalBefore =
    "; workstation\r\n[Defaults]\r\nDataPath=C:\\SHOP\r\n[Companyname]\r\nLocation=3\r\n"
    "[S]\r\nname=old\r\nkept=same\r\n";
constexpr const char* kGlobalBefore =
    "; the "
    "shop\r\n[S]\r\nname=old\r\ncolor=old\r\n\r\n[OPTIONS]\r\nMAKEWOANDINVOICESAMENUMBER=1\r\n";
constexpr const char* kOlder = "an older version";

// What happens to a save besides the fault.
enum class Course { kSucceeds, kWriteRefused, kSideEffectFails };

constexpr std::array<Course, 3> kCourses = {Course::kSucceeds, Course::kWriteRefused,
                                            Course::kSideEffectFails};
// Whether a write that breaks off leaves its file as it was or half written.
enum class Breaking { kWhole, kTears };

constexpr std::array<Breaking, 2> kBreakings = {Breaking::kWhole, Breaking::kTears};
constexpr std::array<std::uint32_t, 3> kCodes = {platform::system_code::kAccessDenied,
                                                 platform::system_code::kSharingViolation,
                                                 platform::system_code::kDiskFull};

struct Write {
  std::wstring file;
  std::wstring section;
  std::wstring key;
  std::wstring value;
};

// The writes that the options below make, in their order, until the numbering option.
const std::vector<Write>& Writes() {
  static const std::vector<Write> kWrites = {
      {kLocalIni, L"S", L"name", L"new"},
      {kGlobalIni, L"S", L"name", L"new"},
      {kLocalIni, L"Windows", L"ReportFont", L"Arial"},
      {kLocalIni, L"Windows", L"ReportFontSize", L"10"},
      {kLocalIni, L"Windows", L"ReportFontItalic", L"0"},
      {kLocalIni, L"Windows", L"ReportFontUnderline", L"0"},
      {kLocalIni, L"Windows", L"ReportFontStrikeThru", L"0"},
      {kLocalIni, L"Windows", L"ReportFontBold", L"-1"},
      {kLocalIni, L"Windows", L"ReportFontColor", L"255"},
      {kGlobalIni, L"InvoiceControl", L"InvoiceStyle", L"INV2"},
      {kGlobalIni, L"InvoiceControl", L"DedInvoiceStyle", L"INV2D"},
      {kGlobalIni, L"InvoiceControl", L"FaxReport", L"INV2"},
      {kGlobalIni, L"S", L"color", L"new"},
      {kLocalIni, L"S", L"Printer3", L"laser"},
      {kGlobalIni, L"OPTIONS", L"MAKEWOANDINVOICESAMENUMBER", L"1"}};
  return kWrites;
}

// What a file holds before the writes, after all of them, and in between, when one may have failed.
struct FileStates {
  std::string before;
  std::string after;
  std::set<std::string> all;
};

FileStates FindStates(const std::wstring& file, const char* before, Course course) {
  FileStates states{before, before, {before}};
  for (std::size_t failed = 0; failed <= Writes().size(); ++failed) {
    Simulation machine;
    machine.PutFile(file, before);
    for (std::size_t i = 0; i < Writes().size(); ++i) {
      const Write& write = Writes()[i];
      if (write.file != file || i == failed) continue;
      const bool option_changes =
          course == Course::kSideEffectFails && write.key == L"MAKEWOANDINVOICESAMENUMBER";
      machine.platform().profile_files.WriteEntry(write.section, write.key,
                                                  option_changes ? L"perhaps" : write.value, file);
      states.all.insert(*machine.Contents(file));
    }
    states.after = *machine.Contents(file);
  }
  return states;
}

// Found out once, because every run of every fault compares with them.
const FileStates& StatesOf(const std::wstring& file, const char* before, Course course) {
  static std::map<std::pair<std::wstring, Course>, FileStates> known;
  const auto found = known.find({file, course});
  if (found != known.end()) return found->second;
  return known.emplace(std::pair(file, course), FindStates(file, before, course)).first->second;
}

// Options of every kind that writes in its own way, in both files, all of them changed.
void SetUp(Shop& shop, Course course) {
  shop.machine.PutFile(kLocalIni, kLocalBefore);
  shop.machine.PutFile(kGlobalIni, kGlobalBefore);
  shop.machine.PutFile(kLocalOld, kOlder);
  shop.machine.PutFile(kGlobalOld, kOlder);
  shop.Define({L"1", true, L"S", 0, L"name"});
  shop.Define({L"2", false, L"S", 1, L"name"});
  shop.Define({L"3", true, L"S", 7, L"Font"});
  shop.Define({L"4", false, L"S", 6, L"Style"});
  shop.Define({L"5", false, L"S", 3, L"color"});
  shop.Define({L"6", true, L"S", 5, L"Printer"});
  shop.Define({L"7", false, L"OPTIONS", 3, L"MAKEWOANDINVOICESAMENUMBER"});
  REQUIRE(shop.options.Initialize());
  shop.SetNew(L"1", L"new");
  shop.SetNew(L"2", L"new");
  shop.SetNew(L"3", L"Arial|10|0|0|0|-1|255");
  shop.SetNew(L"4", L"inv2");
  shop.SetNew(L"5", L"new");
  shop.SetNew(L"6", L"laser");
  if (course == Course::kSideEffectFails) shop.SetNew(L"7", L"perhaps");
  if (course == Course::kWriteRefused) shop.machine.SetReadOnly(kGlobalIni);
}

// The number of calls that a save makes when nothing strikes.
std::size_t CallsOfSave(Course course) {
  Shop shop;
  SetUp(shop, course);
  const std::size_t before = shop.machine.call_count();
  CHECK(shop.options.Save() == (course == Course::kSucceeds));
  return shop.machine.call_count() - before;
}

// The files beside an INI file that hold `content`: backups and the previous version.
std::vector<std::wstring> Holding(const Shop& shop, const std::wstring& ini,
                                  const std::string& content) {
  const std::wstring folder = ini.substr(0, ini.rfind(L'\\'));
  std::vector<std::wstring> found;
  for (const std::wstring& name : shop.machine.ListFolder(folder)) {
    const std::wstring path = folder + L"\\" + name;
    const bool beside =
        name.find(L".tmp") != std::wstring::npos || name.find(L".old") != std::wstring::npos;
    if (beside && shop.machine.Contents(path) == content) found.push_back(path);
  }
  return found;
}

bool HasTemporaryFile(const Shop& shop) {
  const auto files = shop.machine.AllFiles();
  return std::any_of(files.begin(), files.end(), [](const std::wstring& path) {
    return path.find(L".tmp") != std::wstring::npos;
  });
}

// True for every outcome: the file is there, and whole where writes are; what is beside it is
// whole, and unless the file is old its old content is beside it.
void CheckNothingLost(const Shop& shop, const std::wstring& ini, const std::wstring& old,
                      const FileStates& states, Breaking breaking) {
  const std::optional<std::string> content = shop.machine.Contents(ini);
  REQUIRE(content);
  if (breaking == Breaking::kWhole) CHECK(states.all.count(*content) == 1);
  const std::optional<std::string> previous = shop.machine.Contents(old);
  REQUIRE(previous);
  CHECK((*previous == kOlder || *previous == states.before));
  if (*content != states.before) CHECK_FALSE(Holding(shop, ini, states.before).empty());
}

struct Run {
  Shop shop;
  const FileStates& local;
  const FileStates& global;
  Breaking breaking;
  std::size_t first_call = 0;
  std::optional<bool> saved;  // absent when the process ended

  explicit Run(Course course, Breaking of_writes = Breaking::kWhole)
      : local(StatesOf(kLocalIni, kLocalBefore, course)),
        global(StatesOf(kGlobalIni, kGlobalBefore, course)),
        breaking(of_writes) {
    SetUp(shop, course);
    if (breaking == Breaking::kTears) shop.machine.TearWrites();
    first_call = shop.machine.call_count() + 1;
  }

  void Save() {
    try {
      saved = shop.options.Save();
    } catch (const ProcessEnded&) {
      saved.reset();
    }
    CHECK(shop.machine.open_handles() == 0);
    CHECK(shop.tables.nothing_open());
    CheckNothingLost(shop, kLocalIni, kLocalOld, local, breaking);
    CheckNothingLost(shop, kGlobalIni, kGlobalOld, global, breaking);
  }

  // What the host is told fits the result, and the result the files.
  void CheckReport() const {
    REQUIRE(saved);
    CHECK(shop.host.modified == (*saved ? 1 : 0));
    CHECK(shop.host.errors.size() <= (*saved ? 0U : 1U));
    if (*saved) {
      CHECK(shop.global() == global.after);
      CHECK(shop.machine.Contents(kGlobalOld) == global.before);
      return;
    }
    for (const std::wstring& ini : {kLocalIni, kGlobalIni}) {
      const FileStates& states = ini == kLocalIni ? local : global;
      if (shop.machine.Contents(ini) == states.before) continue;
      // A file that could not be put back is told with the place of its old content.
      REQUIRE(shop.host.errors.size() == 1);
      const std::vector<std::wstring> places = Holding(shop, ini, states.before);
      CHECK(std::any_of(places.begin(), places.end(), [this](const std::wstring& place) {
        return shop.host.errors[0].description.find(L"'" + place + L"'") != std::wstring::npos;
      }));
    }
  }

  // What a person does for a file that a write has torn: copies what stands beside it over it.
  // Gives the number of files that were torn.
  std::size_t PutBackTornFiles() {
    std::size_t torn = 0;
    for (const std::wstring& ini : {kLocalIni, kGlobalIni}) {
      const FileStates& states = ini == kLocalIni ? local : global;
      if (states.all.count(*shop.machine.Contents(ini)) == 1) continue;
      ++torn;
      const std::vector<std::wstring> places = Holding(shop, ini, states.before);
      REQUIRE_FALSE(places.empty());
      shop.machine.PutFile(ini, *shop.machine.Contents(places.front()));
    }
    return torn;
  }

  std::string OperationOf(std::size_t call) const {
    return shop.machine.calls().at(first_call + call - 2).operation;
  }
};

// A save for each course, platform call of it and kind of failure, prepared by `plan` and looked at
// by `check`. `beyond`: the calls to try behind those of the undisturbed save.
template <typename Plan, typename Check>
void ForEveryFailure(std::size_t beyond, Plan plan, Check check) {
  for (const Course course : kCourses) {
    const std::size_t calls = CallsOfSave(course) + beyond;
    for (std::size_t call = 1; call <= calls; ++call)
      for (const std::uint32_t code : kCodes)
        for (const Breaking breaking : kBreakings) {
          Run run(course, breaking);
          CAPTURE(static_cast<int>(course));
          CAPTURE(call);
          CAPTURE(code);
          CAPTURE(static_cast<int>(breaking));
          plan(run, run.first_call + call - 1, code);
          run.Save();
          run.CheckReport();
          check(run);
        }
  }
}

}  // namespace

TEST_CASE("the courses that the faults strike are what they are meant to be") {
  for (const Course course : kCourses) {
    Run run(course);
    run.Save();
    run.CheckReport();
    CHECK(run.saved == (course == Course::kSucceeds));
    CHECK(run.shop.host.errors.size() == (course == Course::kSideEffectFails ? 1U : 0U));
    CHECK_FALSE(HasTemporaryFile(run.shop));
    CHECK(run.shop.local() == (*run.saved ? run.local.after : run.local.before));
    CHECK(run.shop.global() == (*run.saved ? run.global.after : run.global.before));
  }
  CHECK(CallsOfSave(Course::kSucceeds) > 30);
}

TEST_CASE("a save in which one call fails once leaves each file old or new and nothing beside") {
  // A failure adds calls: retries, and what undoes it.
  constexpr std::size_t kUndoing = 10;
  ForEveryFailure(
      kUndoing,
      [](Run& run, std::size_t call, std::uint32_t code) { run.shop.machine.FailCall(call, code); },
      [](const Run& run) {
        CHECK_FALSE(HasTemporaryFile(run.shop));
        const bool local_settled = run.shop.local() == run.local.before ||
                                   (*run.saved && run.shop.local() == run.local.after);
        CHECK(local_settled);
        if (!*run.saved) CHECK(run.shop.global() == run.global.before);
      });
}

TEST_CASE("which call fails decides what a save reports") {
  const std::size_t calls = CallsOfSave(Course::kSucceeds);
  std::set<std::string> seen;
  for (std::size_t call = 1; call <= calls; ++call) {
    Run run(Course::kSucceeds);
    run.shop.machine.FailCall(run.first_call + call - 1, platform::system_code::kDiskFull);
    run.Save();
    const std::string operation = run.OperationOf(call);
    CAPTURE(call);
    CAPTURE(operation);
    seen.insert(operation);
    if (operation == "WriteEntry") {
      // A write that fails is no error: the result says it all.
      CHECK(run.saved == false);
      CHECK(run.shop.host.errors.empty());
    } else if (operation == "CreateUnique" || operation == "Copy") {
      CHECK(run.saved == false);
      REQUIRE(run.shop.host.errors.size() == 1);
      CHECK(run.shop.host.errors[0].number == (operation == "Copy" ? 61 : 75));
    } else if (operation == "ClearReadOnly" || operation == "Replace") {
      CHECK(run.saved == true);
      CHECK(run.shop.local() == run.local.after);
    }
  }
  CHECK(seen == std::set<std::string>{"ClearReadOnly", "Copy", "CreateUnique", "Locate",
                                      "ReadEntry", "Replace", "WriteEntry"});
}

TEST_CASE("after a save in which one call failed the next save succeeds") {
  const std::size_t calls = CallsOfSave(Course::kSucceeds);
  for (std::size_t call = 1; call <= calls; ++call)
    for (const Breaking breaking : kBreakings) {
      CAPTURE(call);
      CAPTURE(static_cast<int>(breaking));
      Run run(Course::kSucceeds, breaking);
      run.shop.machine.FailCall(run.first_call + call - 1, platform::system_code::kDiskFull);
      run.Save();
      if (*run.saved) continue;
      CHECK(run.shop.options.Save());
      CHECK(run.shop.local() == run.local.after);
      CHECK(run.shop.global() == run.global.after);
      CHECK(run.shop.machine.Contents(kLocalOld) == run.local.before);
    }
}

TEST_CASE("a save in which every call fails from some point on loses nothing and says so") {
  ForEveryFailure(
      0,
      [](Run& run, std::size_t call, std::uint32_t code) { run.shop.machine.FailFrom(call, code); },
      [](const Run&) {});
}

TEST_CASE("a process that ends in the middle of a save loses nothing and starts up again") {
  for (const Course course : kCourses) {
    const std::size_t calls = CallsOfSave(course);
    for (std::size_t call = 1; call <= calls; ++call) {
      Run run(course);
      CAPTURE(static_cast<int>(course));
      CAPTURE(call);
      run.shop.machine.EndProcessAt(run.first_call + call - 1);
      run.Save();
      CHECK_FALSE(run.saved.has_value());
      CHECK(run.shop.host.errors.empty());
      run.shop.machine.Restart();
      catalogue::Options next(run.shop.machine.platform(), run.shop.tables, run.shop.location);
      CHECK(next.Initialize());
      CHECK(next.Count() == 7);
    }
  }
}

TEST_CASE("a file torn by the end of the process is whole again from the backup beside it") {
  for (const Course course : kCourses) {
    const std::size_t calls = CallsOfSave(course);
    std::size_t torn = 0;
    std::size_t writes = 0;
    for (std::size_t call = 1; call <= calls; ++call) {
      Run run(course, Breaking::kTears);
      CAPTURE(static_cast<int>(course));
      CAPTURE(call);
      run.shop.machine.EndProcessAt(run.first_call + call - 1);
      run.Save();
      CHECK_FALSE(run.saved.has_value());
      const RecordedCall& last = run.shop.machine.calls().back();
      if (last.operation == "WriteEntry" && !run.shop.machine.IsReadOnly(last.path)) ++writes;
      run.shop.machine.Restart();
      torn += run.PutBackTornFiles();
      catalogue::Options next(run.shop.machine.platform(), run.shop.tables, run.shop.location);
      CHECK(next.Initialize());
      CHECK(next.Count() == 7);
    }
    // The texts are such that no half of a file equals a whole one.
    CHECK(torn > 0);
    CHECK(torn == writes);
  }
}

TEST_CASE("a process that ends while a failed call is being undone loses nothing") {
  for (const Course course : {Course::kSucceeds, Course::kSideEffectFails}) {
    const std::size_t calls = CallsOfSave(course);
    for (std::size_t failing = 1; failing <= calls; ++failing)
      for (std::size_t ending = failing + 1; ending <= failing + 8; ++ending)
        for (const Breaking breaking : kBreakings) {
          Run run(course, breaking);
          CAPTURE(static_cast<int>(course));
          CAPTURE(failing);
          CAPTURE(ending);
          CAPTURE(static_cast<int>(breaking));
          run.shop.machine.FailCall(run.first_call + failing - 1,
                                    platform::system_code::kSharingViolation);
          run.shop.machine.EndProcessAt(run.first_call + ending - 1);
          run.Save();
        }
  }
}
