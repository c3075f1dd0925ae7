// A save that changes the kit choice, by statements and by a registered program, with every
// platform call and every call of the tables failing in turn, and with the process ending at any of
// them.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/error.h"
#include "faults/watched_shop.h"
#include "integration/kit_rows.h"
#include "tables/foxpro/table_check.h"

using namespace tdefault;
using namespace tdefault::testing;
using platform::simulation::ProcessEnded;

namespace {

enum class Course { kStatements, kProgram };

const std::wstring kNeed = kShopFolder + L"\\need.dbf";
const std::wstring kProgram = L"C:\\Kits\\run.exe";
constexpr const char* kLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\n[Companyname]\r\nLocation=3\r\n";
constexpr const char* kGlobal = "[OPTIONS]\r\nKITCHOICE=1\r\n";

class Host final : public catalogue::OptionsEvents {
 public:
  void Modified() override {
    events.emplace_back(L"Modified");
    when_modified();
  }
  void Status(const std::wstring& text) override { events.push_back(L"Status " + text); }
  void DLLError(std::int32_t number, const std::wstring& text) override {
    events.push_back(L"DLLError " + std::to_wstring(number) + L" " + text);
  }

  [[nodiscard]] std::size_t CountOf(std::wstring_view begin) const {
    return static_cast<std::size_t>(
        std::count_if(events.begin(), events.end(),
                      [&](const std::wstring& event) { return event.starts_with(begin); }));
  }

  std::vector<std::wstring> events;
  std::function<void()> when_modified = [] {};
};

// A shop about to save kit choice 2 in place of 1.
class KitShop : public WatchedShop {
 public:
  explicit KitShop(Course course) {
    machine.PutFile(kShopLocalIni, kLocal);
    machine.PutFile(kShopGlobalIni, kGlobal);
    // Writing values is not what this is about: few options do.
    ConnectTo(*this)->Execute(L"DELETE FROM DEFAULTS WHERE UPPER(Inisection) <> 'OPTIONS'");
    if (course == Course::kProgram) {
      machine.PutFile(kProgram, "a program");
      for (const auto& [value, text] :
           {std::pair(L"Program", L"run.exe"), std::pair(L"Path", L"C:\\Kits"),
            std::pair(L"Parms", L"/all")})
        machine.registry().PutText(
            platform::registry_root::kCurrentUser,
            L"Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram", value, text);
    }
    before = RowsOf(*this);
    REQUIRE(options.Initialize());
    options.ListenTo(&host);
    Find(L"OPTIONS", L"KITCHOICE")->SetNewValue(L"2");
    BeginWatching();
    host.when_modified = [this] { EndWatching(); };
  }

  // Every row whole: as before the save, behind the reset or behind the choice.
  void CheckRows() {
    const KitRows reset = Reset(before, kToday);
    const KitRows chosen = Chosen(before, L"2", kToday);
    const KitRows rows = RowsOf(*this);
    REQUIRE(rows.size() == before.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
      CHECK((rows[i] == before[i] || rows[i] == reset[i] || rows[i] == chosen[i]));
    const auto found = tables::foxpro::CheckTable(machine.platform().files,
                                                  machine.platform().clock, {L"NEED", kNeed}, {});
    CHECK(found.problems + found.unchecked == 0);
  }

  // What holds for a save with one fault.
  void CheckOutcome(bool saved, Course course) {
    CheckRows();
    CheckNothingLeft();
    if (saved) {
      CHECK(Content(kShopGlobalIni).starts_with("[OPTIONS]\r\nKITCHOICE=2\r\n"));
      CHECK(host.CountOf(L"Modified") == 1);
      CHECK(host.CountOf(L"DLLError") == 0);
      CHECK(host.CountOf(L"Status ") == (course == Course::kProgram ? 2 : 1));
      if (course == Course::kStatements) CHECK(RowsOf(*this) == Chosen(before, L"2", kToday));
      if (course == Course::kProgram) CHECK(machine.started_programs().size() == 1);
    } else {
      CHECK(Content(kShopLocalIni) == kLocal);
      CHECK(Content(kShopGlobalIni) == kGlobal);
      CHECK(host.CountOf(L"Modified") == 0);
    }
    if (course == Course::kProgram) CHECK(RowsOf(*this) == before);
    // Whatever the kit update shows, it clears.
    if (host.CountOf(L"Status Running") != 0)
      CHECK_FALSE(host.events.back().starts_with(L"Status Running"));
    const bool reached = host.CountOf(L"Status ") != 0;
    if (reached)
      CHECK(std::count(host.events.begin(), host.events.end(), std::wstring(L"Status ")) == 1);
  }

  static inline const Date kToday = *MakeDate(2001, 3, 7);
  KitRows before;
  Host host;
};

// The calls of a save that nothing disturbs.
struct GoodSave {
  explicit GoodSave(Course course) {
    KitShop shop(course);
    REQUIRE(shop.Save());
    shop.CheckOutcome(true, course);
    first_call = shop.first_call;
    last_call = shop.last_call;
    last_table_call = shop.last_table_call;
    operations = {shop.machine.calls().begin(), shop.machine.calls().end()};
  }

  std::size_t first_call = 0;
  std::size_t last_call = 0;
  std::size_t last_table_call = 0;
  std::vector<platform::simulation::RecordedCall> operations;
};

}  // namespace

TEST_CASE("a save with a kit choice and any one call failing keeps files, rows and events whole") {
  for (const Course course : {Course::kStatements, Course::kProgram}) {
    const GoodSave good(course);
    std::size_t failed = 0;
    for (std::size_t call = good.first_call; call <= good.last_call; ++call) {
      CAPTURE(call);
      CAPTURE(good.operations[call - 1].operation);
      KitShop shop(course);
      shop.machine.FailCall(call, platform::system_code::kAccessDenied);
      const bool saved = shop.Save();
      if (!saved) ++failed;
      // Without the local file's path only the global file is saved.
      shop.CheckOutcome(saved, course);
    }
    CHECK(failed > 10);
  }
}

TEST_CASE("a kit registration that cannot be read never has the statements run in its place") {
  const GoodSave good(Course::kProgram);
  std::size_t reads = 0;
  for (std::size_t call = good.first_call; call <= good.last_call; ++call) {
    const std::string& operation = good.operations[call - 1].operation;
    if (operation != "OpenKey" && operation != "QueryText") continue;
    KitShop shop(Course::kProgram);
    shop.machine.FailCall(call, platform::system_code::kAccessDenied);
    // Of the three parts, the parameters alone do not keep the program from being found.
    const bool parameters = ++reads > 4;
    CHECK(shop.Save() == parameters);
    CHECK(shop.machine.started_programs().size() == (parameters ? 1 : 0));
    CHECK(shop.host.CountOf(L"DLLError 53 The specified kit update program, '") ==
          (parameters ? 0 : 1));
    CHECK(RowsOf(shop) == shop.before);
  }
  CHECK(reads == 6);
}

TEST_CASE(
    "a save with a kit choice and any call of the tables failing keeps files and rows whole") {
  const GoodSave good(Course::kStatements);
  REQUIRE(good.last_table_call > 4);
  for (std::size_t number = 1; number <= good.last_table_call; ++number) {
    CAPTURE(number);
    KitShop shop(Course::kStatements);
    shop.tables.calls.failing = number;
    CHECK_FALSE(shop.Save());
    shop.tables.calls.failing.reset();
    shop.CheckOutcome(false, Course::kStatements);
    CHECK(shop.host.events == std::vector<std::wstring>{L"Status "});
  }
}

TEST_CASE("a process that ends at any call of a kit update leaves whole rows") {
  const GoodSave good(Course::kStatements);
  for (std::size_t call = good.first_call; call <= good.last_call; ++call) {
    CAPTURE(call);
    KitShop shop(Course::kStatements);
    shop.machine.EndProcessAt(call);
    CHECK_THROWS_AS(shop.options.Save(), ProcessEnded);
    shop.machine.Restart();
    shop.CheckRows();
    CHECK((shop.Content(kShopGlobalIni) == kGlobal ||
           shop.Content(kShopGlobalIni).starts_with("[OPTIONS]\r\nKITCHOICE=2\r\n")));
  }
}
