// A save that changes the kit choice and the numbering option at once and whose options name two
// modules, with every platform call and every call of the tables failing in turn.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/error.h"
#include "catalogue/processing_modules.h"
#include "faults/watched_shop.h"
#include "integration/kit_rows.h"
#include "tables/foxpro/table_check.h"

using namespace tdefault;
using namespace tdefault::testing;
using platform::simulation::ProcessEnded;

namespace {

using Lines = std::vector<std::wstring>;

constexpr const char* kLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\nWorkstationName=FRONT\r\n[Companyname]\r\n"
    "Location=3\r\n";
constexpr const char* kGlobal =
    "[OPTIONS]\r\nKITCHOICE=1\r\nQuoteValidDays=30\r\n[WorkOrders]\r\n"
    "MAKEWOANDINVOICESAMENUMBER=False\r\n";
constexpr const char* kNewLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\nWorkstationName=BACK\r\n[Companyname]\r\n"
    "Location=3\r\n";
constexpr const char* kNewGlobal =
    "[OPTIONS]\r\nKITCHOICE=2\r\nQuoteValidDays=45\r\n[WorkOrders]\r\n"
    "MAKEWOANDINVOICESAMENUMBER=True\r\n";

const std::wstring kLocalOld = L"C:\\Windows\\TOVO.old";
const std::wstring kGlobalOld = kShopFolder + L"\\TOVOGBL.old";

class Host final : public catalogue::OptionsEvents {
 public:
  void Modified() override {
    log.emplace_back(L"Modified");
    when_modified();
  }
  void Status(const std::wstring& text) override { log.push_back(L"Status " + text); }
  void DLLError(std::int32_t /*number*/, const std::wstring& /*text*/) override {
    log.emplace_back(L"DLLError");
  }

  Lines log;
  std::function<void()> when_modified = [] {};
};

// Modules that succeed.
class Modules final : public catalogue::ProcessingModules {
 public:
  explicit Modules(Lines& log) : log_(log) {}

  std::unique_ptr<catalogue::ProcessingModule> Create(const std::wstring& identifier) override {
    class Module final : public catalogue::ProcessingModule {
      Value Call(const std::wstring& /*method*/) override { return true; }
    };
    log_.push_back(L"module " + identifier);
    return std::make_unique<Module>();
  }

 private:
  Lines& log_;
};

// The counters of site 3, "NAME NUMBER CHANGEDBY".
Lines CountersOf(SampleShop& shop) {
  const auto connection = ConnectTo(shop);
  const auto rows = connection->Execute(L"SELECT * FROM Numbers WHERE Location = 3");
  const auto text = [&](const wchar_t* column) {
    return std::wstring(TrimBlanks(ToText(rows->field(column).value(), L"")));
  };
  Lines counters;
  for (; !rows->eof(); rows->MoveNext())
    counters.push_back(text(L"Name") + L" " + text(L"Number") + L" " + text(L"Changedby"));
  return counters;
}

// The shop before the save.
struct Beginning {
  std::map<std::wstring, std::string> files;
  KitRows kits;
  Lines counters;
};

Beginning MakeBeginning() {
  SampleShop shop;
  shop.machine.PutFile(kShopLocalIni, kLocal);
  shop.machine.PutFile(kShopGlobalIni, kGlobal);
  for (const wchar_t* statement :
       {L"DELETE FROM DEFAULTS WHERE Key <> 'WorkstationName' AND Key <> 'KITCHOICE' AND Key <> "
        L"'QuoteValidDays' AND Key <> 'MAKEWOANDINVOICESAMENUMBER'",
        L"UPDATE DEFAULTS SET Addtnlproc = 'First:Run' WHERE Key = 'WorkstationName'",
        L"UPDATE DEFAULTS SET Addtnlproc = 'Second:Run' WHERE Key = 'QuoteValidDays'"})
    ConnectTo(shop)->Execute(statement);
  Beginning beginning{{}, RowsOf(shop), CountersOf(shop)};
  for (const std::wstring& path : shop.machine.AllFiles())
    beginning.files[path] = *shop.machine.Contents(path);
  return beginning;
}

// Made once, because each fault needs a shop of its own.
const Beginning& TheBeginning() {
  static const Beginning kBeginning = MakeBeginning();
  return kBeginning;
}

// A shop about to be saved.
class BusyShop : public WatchedShop {
 public:
  BusyShop() {
    for (const auto& [path, bytes] : TheBeginning().files) machine.PutFile(path, bytes);
    REQUIRE(options.Initialize());
    REQUIRE(options.Count() == 4);
    options.ListenTo(&host);
    options.RunModulesOf(&modules);
    Find(L"Defaults", L"WorkstationName")->SetNewValue(L"BACK");
    Find(L"OPTIONS", L"KITCHOICE")->SetNewValue(L"2");
    Find(L"OPTIONS", L"QuoteValidDays")->SetNewValue(L"45");
    Find(L"WorkOrders", L"MAKEWOANDINVOICESAMENUMBER")->SetNewValue(L"True");
    BeginWatching();
    host.when_modified = [this] { EndWatching(); };
  }

  // Every row is as before or as a step of the save left it, and the tables are sound.
  void CheckTables(bool all_done) {
    const KitRows reset = Reset(kits, kToday);
    const KitRows chosen = Chosen(kits, L"2", kToday);
    const KitRows now = RowsOf(*this);
    REQUIRE(now.size() == kits.size());
    for (std::size_t i = 0; i < now.size(); ++i)
      CHECK((now[i] == chosen[i] || (!all_done && (now[i] == kits[i] || now[i] == reset[i]))));
    Lines adjusted = counters;
    *std::find(adjusted.begin(), adjusted.end(), L"workorder 20417 7") = L"workorder 20388 -121";
    const Lines counted = CountersOf(*this);
    CHECK((counted == adjusted || (!all_done && counted == counters)));
    for (const wchar_t* name : {L"need", L"numbers"}) {
      const auto found =
          tables::foxpro::CheckTable(machine.platform().files, machine.platform().clock,
                                     {name, kShopFolder + L"\\" + name + L".dbf"}, {});
      CHECK(found.problems + found.unchecked == 0);
    }
  }

  // A local file that is not found is passed over.
  void CheckFiles(bool saved, bool local_found) const {
    const bool local_saved = saved && local_found;
    CHECK(Content(kShopLocalIni) == (local_saved ? kNewLocal : kLocal));
    CHECK(Content(kShopGlobalIni) == (saved ? kNewGlobal : kGlobal));
    if (local_saved) CHECK(Content(kLocalOld) == kLocal);
    if (saved) CHECK(Content(kGlobalOld) == kGlobal);
  }

  // `refused_boxes`: how many boxes could not be shown.
  void CheckOutcome(bool saved, bool local_found = true, std::size_t refused_boxes = 0) {
    CheckTables(saved);
    CheckFiles(saved, local_found);
    CheckNothingLeft();
    CHECK(CountOf(L"Modified") == (saved ? 1 : 0));
    CHECK(CountOf(L"DLLError") <= (saved ? 0 : 1));
    // Both modules run, unless the save ended before its first write.
    const std::size_t ran = CountOf(L"module ");
    CHECK((ran == 2 || (!saved && ran == 0 && CountOf(L"DLLError") == 1)));
    // Both succeed, so each has the one box that comes in any case.
    CHECK(machine.shown_boxes().size() + refused_boxes == ran);
    for (const auto& box : machine.shown_boxes())
      CHECK(box.text.ends_with(L":Run' has been incorrectly defined and will not be run."));
  }

  // What the files may hold while the options are written in their order.
  [[nodiscard]] std::vector<std::string> GlobalStates() const {
    std::string text = kGlobal;
    std::vector<std::string> states = {text};
    for (const auto& option : options.elements()) {
      if (option->LocalINI()) continue;
      const std::string key = ToUtf8(option->Key()) + "=";
      const std::size_t place = text.find(key) + key.size();
      text.replace(place, text.find('\r', place) - place, ToUtf8(option->NewValue()));
      states.push_back(text);
    }
    return states;
  }

  // True at any moment of the save: files and rows are whole, and a file that is not as before has
  // its old content beside it.
  void CheckNothingLost(const std::vector<std::string>& global_states) {
    CheckTables(false);
    CHECK((Content(kShopLocalIni) == kLocal || Content(kShopLocalIni) == kNewLocal));
    CHECK(std::count(global_states.begin(), global_states.end(), Content(kShopGlobalIni)) == 1);
    if (Content(kShopLocalIni) != kLocal) CHECK(IsBeside(kLocal));
    if (Content(kShopGlobalIni) != kGlobal) CHECK(IsBeside(kGlobal));
  }

  [[nodiscard]] bool IsBeside(const std::string& content) const {
    const std::vector<std::wstring> files = machine.AllFiles();
    return std::any_of(files.begin(), files.end(), [&](const std::wstring& path) {
      return (path.ends_with(L".tmp") || path.ends_with(L".old")) && Content(path) == content;
    });
  }

  [[nodiscard]] std::size_t CountOf(std::wstring_view begin) const {
    return static_cast<std::size_t>(
        std::count_if(host.log.begin(), host.log.end(),
                      [&](const std::wstring& line) { return line.starts_with(begin); }));
  }

  static inline const Date kToday = *MakeDate(2001, 3, 7);
  Host host;
  Modules modules{host.log};
  const KitRows& kits = TheBeginning().kits;
  const Lines& counters = TheBeginning().counters;
};

// Ending at one of these leaves what ending at the next other call leaves.
bool ReadsOnly(const std::string& operation) {
  return operation == "ReadAt" || operation == "ReadEntry" || operation == "Size";
}

// Calls that table Need has for every row. Of them, every third one is struck here: kit_faults ends
// at each.
constexpr std::size_t kRowStride = 3;

bool IsOfRows(const std::string& operation) {
  return operation == "WriteAt" || operation == "TryLock" || operation == "Unlock";
}

}  // namespace

TEST_CASE("kits, counters and modules follow a save in the order of the options") {
  BusyShop shop;
  CHECK(shop.Save());
  shop.CheckOutcome(true);
  CHECK(shop.host.log == Lines{L"Status ", L"module First", L"module Second", L"Modified"});
  CHECK(shop.machine.shown_boxes().size() == 2);
}

TEST_CASE(
    "a save with all side effects and any one call failing loses nothing and tells the truth") {
  BusyShop good;
  REQUIRE(good.Save());
  std::size_t failed = 0;
  for (std::size_t call = good.first_call; call <= good.last_call; ++call) {
    CAPTURE(call);
    const std::string& operation = good.machine.calls()[call - 1].operation;
    CAPTURE(operation);
    BusyShop shop;
    shop.machine.FailCall(call, platform::system_code::kAccessDenied);
    const bool saved = shop.Save();
    if (!saved) ++failed;
    // The first of these calls is the save's own look for the file, the others those of its steps.
    const bool local_found = operation != "Locate" || call != good.first_call;
    shop.CheckOutcome(saved, local_found, operation == "Tell" ? 1 : 0);
  }
  CHECK(failed > 20);
}

TEST_CASE("a save with all side effects and any call of the tables failing puts both files back") {
  BusyShop good;
  REQUIRE(good.Save());
  REQUIRE(good.last_table_call > 16);
  for (std::size_t number = 1; number <= good.last_table_call; ++number) {
    CAPTURE(number);
    BusyShop shop;
    shop.tables.calls.failing = number;
    CHECK_FALSE(shop.Save());
    shop.tables.calls.failing.reset();
    shop.CheckOutcome(false);
    CHECK(shop.CountOf(L"DLLError") == 0);
    CHECK(shop.CountOf(L"module ") == 2);
  }
}

TEST_CASE("a process that ends anywhere in a save with all side effects loses nothing") {
  BusyShop good;
  const std::vector<std::string> global_states = good.GlobalStates();
  REQUIRE(global_states.size() == 4);
  REQUIRE(global_states.back() == kNewGlobal);
  REQUIRE(good.Save());
  std::size_t row_calls = 0;
  for (std::size_t call = good.first_call; call <= good.last_call; ++call) {
    const std::string& operation = good.machine.calls()[call - 1].operation;
    if (ReadsOnly(operation)) continue;
    if (IsOfRows(operation) && row_calls++ % kRowStride != 0) continue;
    CAPTURE(call);
    CAPTURE(operation);
    BusyShop shop;
    shop.machine.EndProcessAt(call);
    CHECK_THROWS_AS(shop.options.Save(), ProcessEnded);
    CHECK(shop.CountOf(L"Modified") == 0);
    shop.machine.Restart();
    shop.CheckNothingLost(global_states);
    CHECK(shop.options.Initialize());
  }
}
