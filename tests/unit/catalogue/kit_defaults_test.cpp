#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/error.h"
#include "unit/catalogue/shop.h"

using namespace tdefault;
using testing::kGlobalIni;
using testing::kGlobalOld;
using testing::Shop;

namespace {

constexpr std::uint32_t kUser = platform::registry_root::kCurrentUser;
const std::wstring kProgramKey =
    L"Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram";
const std::wstring kRunning = L"Status Running external program to modify kits, please wait ...";
const std::wstring kCleared = L"Status ";
constexpr const char* kBefore = "[OPTIONS]\r\nKITCHOICE=before\r\n";

// The machine's day is 7 March 2001.
const std::wstring kReset =
    L"UPDATE Need SET Need=.F., Changed={03-07-2001},Changedby=-121,Changstat=1 WHERE "
    L"UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'";
const std::wstring kChoice0 =
    L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121,Changstat=1 WHERE "
    L"UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'";
const std::wstring kChoice1 =
    L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121,Changstat=1 WHERE "
    L"UPPER(Hw_part_id) <> 'HWAH00448'";
const std::wstring kChoice2 =
    L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121, Changstat=1 WHERE "
    L"UPPER(Hw_part_id) = 'HWAH00448' OR NOT EXIST (SELECT 1 FROM Need as b WHERE Need.Car_id = "
    L"b.Car_id and Need.Part_id = b.Part_id and b.Hw_part_id = 'HWAH00448')";

class EventList final : public catalogue::OptionsEvents {
 public:
  void Modified() override { events.emplace_back(L"Modified"); }
  void Status(const std::wstring& text) override { events.push_back(L"Status " + text); }
  void DLLError(std::int32_t number, const std::wstring& text) override {
    events.push_back(L"DLLError " + std::to_wstring(number) + L" " + text);
  }

  std::vector<std::wstring> events;
};

// A shop whose kit choice, "before" in its file, is about to be saved anew.
class KitShop : public Shop {
 public:
  KitShop() {
    machine.PutFile(kGlobalIni, kBefore);
    Define({L"KIT", false, L"OPTIONS", 3, L"KITCHOICE"});
    for (const std::wstring& statement : {std::wstring(), kReset, kChoice0, kChoice1, kChoice2})
      tables.store.results[statement];
    options.ListenTo(&list);
    REQUIRE(options.Initialize());
    tables.store.log.clear();
  }

  void Register(const std::wstring& value, const std::wstring& text) {
    machine.registry().PutText(kUser, kProgramKey, value, text);
  }

  bool Save(const std::wstring& choice) {
    SetNew(L"KIT", choice);
    return options.Save();
  }

  // The statements of the kit update; loading the catalogue again comes behind them.
  [[nodiscard]] std::vector<std::wstring> Statements() const {
    std::vector<std::wstring> statements;
    for (const std::wstring& line : tables.store.log) {
      constexpr std::wstring_view kStep = L"connection.execute ";
      if (line.starts_with(kStep) && line.find(L"SELECT *") == std::wstring::npos)
        statements.push_back(line.substr(kStep.size()));
    }
    return statements;
  }

  void CheckRefused() {
    CHECK(global() == kBefore);
    CHECK_FALSE(machine.Exists(kGlobalOld));
    CHECK(machine.open_handles() == 0);
    CHECK(tables.nothing_open());
  }

  EventList list;
};

using Texts = std::vector<std::wstring>;

}  // namespace

TEST_CASE("each kit choice has its statements, all but 0 behind the one that resets") {
  const std::vector<std::pair<std::wstring, Texts>> choices = {{L"0", {kChoice0}},
                                                               {L"1", {kReset, kChoice1}},
                                                               {L"2", {kReset, kChoice2}},
                                                               {L"3", {kReset, kReset}}};
  for (const auto& [choice, statements] : choices) {
    CAPTURE(choice);
    KitShop shop;
    CHECK(shop.Save(choice));
    CHECK(shop.Statements() == statements);
    CHECK(shop.global() == "[OPTIONS]\r\nKITCHOICE=" + ToUtf8(choice) + "\r\n");
    CHECK(shop.tables.nothing_open());
  }
}

TEST_CASE("a number that is no kit choice resets twice") {
  for (const wchar_t* choice : {L"4", L"-1", L"1.0", L"01", L"2,", L"$3", L"&H1", L"0.5"}) {
    CAPTURE(choice);
    KitShop shop;
    CHECK(shop.Save(choice));
    CHECK(shop.Statements() == Texts{kReset, kReset});
  }
}

TEST_CASE("a kit choice equal to 0 and not written 0 resets nothing and has no statement") {
  for (const wchar_t* choice : {L"0.0", L"00", L"-0", L"&H0", L"(0)", L"$0", L"0E5", L"\t0"}) {
    CAPTURE(choice);
    KitShop shop;
    // As tables do with an empty statement.
    shop.tables.store.results.erase(L"");
    CHECK_FALSE(shop.Save(choice));
    CHECK(shop.Statements() == Texts{L""});
    CHECK(shop.list.events == Texts{kCleared});
    shop.CheckRefused();
  }
}

TEST_CASE("a kit choice that is no number is not 0 and resets twice") {
  for (const wchar_t* choice : {L"", L" ", L"X", L"all", L"Not found", L"True", L"1x", L"."}) {
    CAPTURE(choice);
    KitShop shop;
    CHECK(shop.Save(choice));
    CHECK(shop.Statements() == Texts{kReset, kReset});
    CHECK(shop.list.events == Texts{kCleared, L"Modified"});
    CHECK(shop.machine.Contents(kGlobalOld) == kBefore);
    CHECK(shop.tables.nothing_open());
  }
}

TEST_CASE("the blanks around a kit choice are none of it") {
  KitShop shop;
  CHECK(shop.Save(L"  0 "));
  CHECK(shop.Statements() == Texts{kChoice0});
}

TEST_CASE("kits are updated over one connection to the data folder, opened in no mode of its own") {
  KitShop shop;
  CHECK(shop.Save(L"1"));
  const auto end =
      std::find(shop.tables.store.log.begin(), shop.tables.store.log.end(), L"connection.close");
  REQUIRE(end != shop.tables.store.log.end());
  CHECK(Texts(shop.tables.store.log.begin(), end) ==
        Texts{L"make connection",
              L"connection.string Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP;"
              L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;",
              L"connection.open", L"connection.execute " + kReset,
              L"connection.execute " + kChoice1});
}

TEST_CASE("the day of the change is month, day and year with all their digits") {
  KitShop shop;
  shop.machine.SetToday(*MakeDate(2026, 12, 31));
  shop.tables.store.results[ReplaceIgnoringCase(kChoice0, L"03-07-2001", L"12-31-2026")];
  CHECK(shop.Save(L"0"));
  CHECK(shop.Statements() ==
        Texts{L"UPDATE Need SET Need=.T., Changed={12-31-2026},Changedby=-121,Changstat=1 WHERE "
              L"UPPER(LEFT(Hw_part_id, 4)) = 'HWAH'"});
}

TEST_CASE("after the statements the status is cleared, before Modified") {
  KitShop shop;
  CHECK(shop.Save(L"2"));
  CHECK(shop.list.events == Texts{kCleared, L"Modified"});
}

TEST_CASE("any error of the tables fails the save, clears the status and raises nothing else") {
  for (const char* step : {"make connection", "connection.string ", "connection.open",
                           "connection.execute ", "connection.close"}) {
    CAPTURE(step);
    KitShop shop;
    shop.tables.Fail(step, Error(error_number::kInUseByAnother, L"Engine", L"in use"));
    CHECK_FALSE(shop.Save(L"1"));
    CHECK(shop.list.events == Texts{kCleared});
    shop.CheckRefused();
  }
}

TEST_CASE("a choice statement that fails behind the reset fails the save") {
  KitShop shop;
  shop.tables.store.results.erase(kChoice1);
  CHECK_FALSE(shop.Save(L"1"));
  CHECK(shop.Statements() == Texts{kReset, kChoice1});
  shop.CheckRefused();
}

TEST_CASE("a kit choice of either key updates the kits") {
  KitShop shop;
  shop.Define({L"KIT1", false, L"options", 3, L"KitChoice1"});
  shop.options.Refresh();
  shop.tables.store.log.clear();
  shop.SetNew(L"KIT1", L"0");
  CHECK(shop.options.Save());
  CHECK(shop.Statements() == Texts{kChoice0});
}

TEST_CASE("a registered kit program is run instead of the statements") {
  KitShop shop;
  shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
  shop.Register(L"Program", L"run.exe");
  shop.Register(L"Path", L"C:\\Kits");
  shop.Register(L"Parms", L"/all  \"a b\"");
  CHECK(shop.Save(L"1"));
  CHECK(shop.Statements().empty());
  REQUIRE(shop.machine.started_programs().size() == 1);
  CHECK(shop.machine.started_programs()[0].application == L"C:\\Kits\\run.exe");
  CHECK(shop.machine.started_programs()[0].command_line == L"C:\\Kits\\run.exe /all  \"a b\"");
  CHECK(shop.list.events == Texts{kRunning, kCleared, L"Modified"});
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("the kit program is read from the user's settings in three parts") {
  KitShop shop;
  CHECK(shop.Save(L"0"));
  const auto& openings = shop.machine.registry().openings();
  REQUIRE(openings.size() == 3);
  for (const auto& opening : openings) {
    CHECK(opening.root == kUser);
    CHECK(opening.path == kProgramKey);
    CHECK(opening.access == 0x20019);
  }
  Texts values;
  shop.Register(L"Unrelated", L"x");
  shop.SetNew(L"KIT", L"1");
  CHECK(shop.options.Save());
  for (const auto& call : shop.machine.calls())
    if (call.operation == "QueryText") values.push_back(call.path);
  CHECK(values == Texts{L"Program", L"Path", L"Parms"});
}

TEST_CASE("a path that ends in a backslash gets no second one, and without a path there is none") {
  for (const auto& [path, program] :
       std::vector<std::pair<std::wstring, std::wstring>>{{L"C:\\Kits\\", L"C:\\Kits\\run.exe"},
                                                          {L"C:\\Kits", L"C:\\Kits\\run.exe"},
                                                          {L"", L"run.exe"}}) {
    KitShop shop;
    shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
    shop.machine.SetCurrentFolder(L"C:\\Kits");
    shop.Register(L"Program", L"run.exe");
    shop.Register(L"Path", path);
    CHECK(shop.Save(L"1"));
    REQUIRE(shop.machine.started_programs().size() == 1);
    CHECK(shop.machine.started_programs()[0].application == program);
    // The blank in front of the parameters is there without them as well.
    CHECK(shop.machine.started_programs()[0].command_line == program + L" ");
  }
}

TEST_CASE("a path and parameters without a program are no registration") {
  KitShop shop;
  shop.Register(L"Path", L"C:\\Kits");
  shop.Register(L"Parms", L"/all");
  CHECK(shop.Save(L"0"));
  CHECK(shop.Statements() == Texts{kChoice0});
}

TEST_CASE("a kit program that is not found is error 53, and no row is touched") {
  KitShop shop;
  shop.Register(L"Program", L"run.exe");
  shop.Register(L"Path", L"C:\\Kits");
  shop.Register(L"Parms", L"/all");
  CHECK_FALSE(shop.Save(L"1"));
  CHECK(shop.list.events == Texts{L"DLLError 53 The specified kit update program, "
                                  L"'C:\\Kits\\run.exe' was not found",
                                  kCleared});
  CHECK(shop.tables.store.log.empty());
  CHECK(shop.machine.started_programs().empty());
  shop.CheckRefused();
}

TEST_CASE("a kit program that another process holds is run all the same") {
  KitShop shop;
  shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
  shop.Register(L"Program", L"C:\\Kits\\run.exe");
  const auto held = shop.machine.HoldOpen(L"C:\\Kits\\run.exe");
  CHECK(shop.Save(L"1"));
  CHECK(shop.machine.started_programs().size() == 1);
}

TEST_CASE("a kit program with a blank in its path is quoted and so never started") {
  KitShop shop;
  shop.machine.PutFile(L"C:\\Kit Tools\\run.exe", "a program");
  shop.Register(L"Program", L"run.exe");
  shop.Register(L"Path", L"C:\\Kit Tools");
  shop.Register(L"Parms", L"/all");
  CHECK_FALSE(shop.Save(L"1"));
  CHECK(shop.list.events == Texts{kRunning, kCleared});
  CHECK(shop.machine.started_programs().empty());
  const auto& calls = shop.machine.calls();
  const auto start = std::find_if(calls.begin(), calls.end(),
                                  [](const auto& call) { return call.operation == "Start"; });
  REQUIRE(start != calls.end());
  CHECK(start->path == L"\"C:\\Kit Tools\\run.exe\"");
  CHECK(start->target == L"\"C:\\Kit Tools\\run.exe\" /all");
  CHECK(shop.CallsOf("ProcessPendingMessages") == 0);
  shop.CheckRefused();
}

TEST_CASE("the host handles its messages once, then the program is waited for and asked") {
  KitShop shop;
  shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
  shop.Register(L"Program", L"C:\\Kits\\run.exe");
  shop.machine.SetProgramExitCode(1);
  shop.machine.SetDuringMessages([&] { shop.list.events.emplace_back(L"messages"); });
  shop.machine.SetDuringProgram([&](const auto&) { shop.list.events.emplace_back(L"program"); });
  CHECK(shop.Save(L"1"));
  CHECK(shop.list.events == Texts{kRunning, L"messages", L"program", kCleared, L"Modified"});
  CHECK(shop.CallsOf("ProcessPendingMessages") == 1);
  CHECK(shop.CallsOf("Wait") == 1);
  CHECK(shop.CallsOf("ExitCode") == 1);
}

TEST_CASE("a program that was started counts, whatever becomes of waiting for it") {
  for (const char* operation : {"Wait", "ExitCode", "ProcessPendingMessages"}) {
    KitShop shop;
    shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
    shop.Register(L"Program", L"C:\\Kits\\run.exe");
    shop.machine.FailNext(operation, platform::system_code::kInvalidHandle);
    CHECK(shop.Save(L"1"));
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("the host may load the catalogue again while its kit program runs") {
  KitShop shop;
  shop.machine.PutFile(L"C:\\Kits\\run.exe", "a program");
  shop.Register(L"Program", L"C:\\Kits\\run.exe");
  shop.machine.SetDuringMessages([&] { shop.options.Refresh(); });
  CHECK(shop.Save(L"1"));
  CHECK(shop.ValueOf(L"KIT") == L"1");
}

TEST_CASE("a registration that cannot be read is a program that is not found") {
  KitShop shop;
  shop.Register(L"Program", L"run.exe");
  shop.machine.FailNext("OpenKey", platform::system_code::kAccessDenied);
  CHECK_FALSE(shop.Save(L"1"));
  CHECK(shop.list.events ==
        Texts{L"DLLError 53 The specified kit update program, 'Function error' was not found",
              kCleared});
  shop.CheckRefused();
}

TEST_CASE("a catalogue without a listener updates the kits and runs the program as well") {
  KitShop shop;
  shop.options.ListenTo(nullptr);
  CHECK(shop.Save(L"0"));
  shop.Register(L"Program", L"run.exe");
  CHECK_FALSE(shop.Save(L"1"));
  shop.machine.PutFile(L"run.exe", "a program");
  CHECK(shop.Save(L"1"));
}
