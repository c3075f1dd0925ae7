// Modules that options name to be run after a save: what is created and called, and what the user
// is told.
#include <doctest/doctest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "catalogue/processing_modules.h"
#include "shop.h"

using namespace tdefault;
using namespace tdefault::testing;

namespace {

// Records what is created and called. A scripted outcome is a value or an Error.
class FakeModules final : public catalogue::ProcessingModules {
 public:
  explicit FakeModules(const platform::simulation::Simulation& machine) : machine_(machine) {}

  std::unique_ptr<catalogue::ProcessingModule> Create(const std::wstring& identifier) override {
    log.push_back(L"create " + identifier);
    if (creation_error) throw *creation_error;
    if (gives_nothing) return nullptr;
    return std::make_unique<Module>(*this);
  }

  std::vector<std::wstring> log;
  std::optional<Error> creation_error;
  bool gives_nothing = false;
  std::function<Value()> run = [] { return Value(true); };
  // How many boxes the user had seen when an object was last let go of.
  std::size_t boxes_at_release = 0;

 private:
  class Module final : public catalogue::ProcessingModule {
   public:
    explicit Module(FakeModules& modules) : modules_(modules) {}
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() override {
      modules_.log.emplace_back(L"release");
      modules_.boxes_at_release = modules_.machine_.shown_boxes().size();
    }
    Value Call(const std::wstring& method) override {
      modules_.log.push_back(L"call " + method);
      return modules_.run();
    }

   private:
    FakeModules& modules_;
  };

  const platform::simulation::Simulation& machine_;
};

// A shop with an option of that module, loaded.
struct ModuleShop : Shop {
  explicit ModuleShop(const std::wstring& module_text = L"Shop.Tools:Run") {
    machine.SetHost(L"editor", L"Option Editor");
    options.RunModulesOf(&modules);
    Definition definition{L"A", false, L"S", 0, L"global"};
    definition.additional_proc = module_text;
    Define(definition);
    if (!options.Initialize()) throw std::logic_error("the shop does not open");
    SetNew(L"A", L"new");
  }

  // The texts of the boxes; all have the host's title.
  [[nodiscard]] std::vector<std::wstring> Texts() const {
    std::vector<std::wstring> texts;
    for (const auto& box : machine.shown_boxes()) {
      CHECK(box.title == L"Option Editor");
      texts.push_back(box.text);
    }
    return texts;
  }

  FakeModules modules{machine};
};

using Lines = std::vector<std::wstring>;

constexpr const char* kOldLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\r\n[Companyname]\r\nLocation=3\r\n[S]\r\nlocal=old\r\n";
constexpr const char* kOldGlobal = "[S]\r\nglobal=old\r\n[OPTIONS]\r\nKITCHOICE=1\r\n";
constexpr const char* kNewestLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\r\n[Companyname]\r\nLocation=3\r\n[S]\r\nlocal=newest\r\n";
constexpr const char* kNewestGlobal = "[S]\r\nglobal=newest\r\n[OPTIONS]\r\nKITCHOICE=1\r\n";
constexpr const char* kNewLocal =
    "[Defaults]\r\nDataPath=C:\\SHOP\r\n[Companyname]\r\nLocation=3\r\n[S]\r\nlocal=new\r\n";
constexpr const char* kNewGlobal = "[S]\r\nglobal=new\r\n[OPTIONS]\r\nKITCHOICE=1\r\n";

// What stands in the folders of both INI files.
struct InisOnDisk {
  std::string local;
  std::string global;
  std::string local_old;
  std::string global_old;
  std::vector<std::string> backups;
};

// Both files with an option each, changed, and the kit choice. The module is the global option's.
struct TwoFileShop : ModuleShop {
  TwoFileShop() {
    machine.PutFile(kLocalIni, kOldLocal);
    machine.PutFile(kGlobalIni, kOldGlobal);
    machine.PutFile(kLocalOld, "older");
    Define({L"B", true, L"S", 0, L"local"});
    Define({L"KIT", false, L"OPTIONS", 3, L"KITCHOICE"});
    options.Refresh();
    SetNew(L"A", L"new");
    SetNew(L"B", L"new");
  }

  [[nodiscard]] InisOnDisk Now() const {
    const auto content = [this](const std::wstring& path) {
      return machine.Contents(path).value_or("(missing)");
    };
    InisOnDisk files{local(), global(), content(kLocalOld), content(kGlobalOld), {}};
    for (const std::wstring& path : machine.AllFiles())
      if (path.find(L"\\tov") != std::wstring::npos && path.ends_with(L".tmp"))
        files.backups.push_back(content(path));
    return files;
  }
};

const std::wstring kLast =
    L"An additional processing module, 'Shop.Tools:Run' has been incorrectly defined and will not "
    L"be run.";

}  // namespace

TEST_CASE("a module that succeeds is told as incorrectly defined all the same") {
  ModuleShop shop;
  CHECK(shop.options.Save());
  CHECK(shop.modules.log == Lines{L"create Shop.Tools", L"call Run", L"release"});
  CHECK(shop.Texts() == Lines{kLast});
  CHECK(shop.host.errors.empty());
  CHECK(shop.host.modified == 1);
}

TEST_CASE("a module that fails is told with the text it left, then as incorrectly defined") {
  ModuleShop shop;
  shop.modules.run = [&shop] {
    shop.options.SetAddtnlProcError(L"no stock");
    return Value(false);
  };
  CHECK(shop.options.Save());
  CHECK(shop.Texts() == Lines{L"An additional processing module, 'Shop.Tools:Run' failed. The "
                              L"returned error description is: no stock",
                              kLast});
  CHECK(shop.host.modified == 1);
}

TEST_CASE("a module's text counts for its own run only") {
  ModuleShop shop;
  int runs = 0;
  shop.modules.run = [&] {
    if (++runs == 1) shop.options.SetAddtnlProcError(L"no stock");
    return Value(false);
  };
  CHECK(shop.options.Save());
  CHECK(shop.options.Save());
  REQUIRE(shop.Texts().size() == 4);
  CHECK(shop.Texts()[2] ==
        L"An additional processing module, 'Shop.Tools:Run' failed. The returned error "
        L"description is: ");
}

TEST_CASE("what a method returns is converted to a truth value as automation does") {
  const auto boxes = [](const Value& value) {
    ModuleShop shop;
    shop.modules.run = [&value] { return value; };
    CHECK(shop.options.Save());
    return shop.Texts();
  };
  for (const Value& value : {Value(std::int32_t{-1}), Value(0.5), Value(std::wstring(L"true")),
                             Value(std::wstring(L"2"))})
    CHECK(boxes(value) == Lines{kLast});
  for (const Value& value :
       {Value(std::int32_t{0}), Value(std::wstring(L"False")), Value(std::wstring(L"0"))})
    CHECK(boxes(value).size() == 2);
  CHECK(boxes(Value(std::wstring(L"perhaps"))) ==
        Lines{L"There was an error attempting to run the defined additional procedure, "
              L"'Shop.Tools:Run'.\r\n\r\nError: 13, Type mismatch."});
  CHECK(boxes(Value(Null{})) ==
        Lines{L"There was an error attempting to run the defined additional procedure, "
              L"'Shop.Tools:Run'.\r\n\r\nError: 94, Invalid use of Null."});
}

TEST_CASE("creation that gives no object is told, then the module as incorrectly defined") {
  ModuleShop shop;
  shop.modules.gives_nothing = true;
  CHECK(shop.options.Save());
  CHECK(shop.modules.log == Lines{L"create Shop.Tools"});
  CHECK(shop.Texts() == Lines{L"Failed to create a defined additional processing module, "
                              L"'Shop.Tools:Run'.",
                              kLast});
}

TEST_CASE("a creation that fails is told with number and text, and nothing after it") {
  ModuleShop shop;
  shop.modules.creation_error = Error(429, L"Shop.Tools", L"ActiveX component can't create object");
  CHECK(shop.options.Save());
  CHECK(shop.Texts() ==
        Lines{L"There was an error attempting to run the defined additional procedure, "
              L"'Shop.Tools:Run'.\r\n\r\nError: 429, ActiveX component can't create object."});
  CHECK(shop.host.errors.empty());
}

TEST_CASE("an error that a module raises is told when its object has been let go") {
  ModuleShop shop;
  shop.modules.run = []() -> Value { throw Error(-2147220992, L"Tools", L"the printer is off"); };
  CHECK(shop.options.Save());
  CHECK(shop.modules.log == Lines{L"create Shop.Tools", L"call Run", L"release"});
  CHECK(shop.modules.boxes_at_release == 0);
  CHECK(shop.Texts() ==
        Lines{L"There was an error attempting to run the defined additional procedure, "
              L"'Shop.Tools:Run'.\r\n\r\nError: -2147220992, the printer is off."});
}

TEST_CASE("a module text that names no object or no method is passed over in silence") {
  for (const wchar_t* text : {L"Shop.Tools:", L":Run", L"Shop.Tools", L":", L"::Run"}) {
    CAPTURE(text);
    ModuleShop shop(text);
    CHECK(shop.options.Save());
    CHECK(shop.modules.log.empty());
    CHECK(shop.Texts().empty());
  }
}

TEST_CASE("the object's name ends at the first colon and the method's holds the others") {
  ModuleShop shop(L"A:B:C");
  CHECK(shop.options.Save());
  CHECK(shop.modules.log == Lines{L"create A", L"call B:C", L"release"});
}

TEST_CASE("modules run after a failed write as well, in the order of the options") {
  ModuleShop shop(L"First:Run");
  Definition second{L"B", false, L"S", 0, L"other"};
  second.additional_proc = L"Second:Run";
  shop.Define(second);
  shop.options.Refresh();
  shop.SetNew(L"A", L"new");
  shop.SetNew(L"B", L"newer");
  const std::string before = shop.global();
  shop.machine.FailNext("WriteEntry", platform::system_code::kDiskFull);
  CHECK_FALSE(shop.options.Save());
  CHECK(shop.modules.log ==
        Lines{L"create First", L"call Run", L"release", L"create Second", L"call Run", L"release"});
  CHECK(shop.host.errors.empty());
  CHECK(shop.host.modified == 0);
  CHECK(shop.global() == before);
}

TEST_CASE("a module that loads the catalogue again ends neither the save nor the other modules") {
  ModuleShop shop;
  Definition second{L"B", false, L"S", 0, L"other"};
  second.additional_proc = L"Second:Run";
  shop.Define(second);
  shop.options.Refresh();
  shop.SetNew(L"A", L"new");
  shop.modules.run = [&shop] {
    shop.options.Refresh();
    return Value(true);
  };
  CHECK(shop.options.Save());
  CHECK(shop.modules.log.size() == 6);
  CHECK(shop.ValueOf(L"A") == L"new");
}

TEST_CASE("a module finds the new values in the files, and backups beside older versions") {
  TwoFileShop shop;
  InisOnDisk seen;
  shop.modules.run = [&] {
    seen = shop.Now();
    return Value(true);
  };
  CHECK(shop.options.Save());
  CHECK(seen.local == kNewLocal);
  CHECK(seen.global == kNewGlobal);
  CHECK(seen.local_old == "older");
  CHECK(seen.global_old == "(missing)");
  CHECK(seen.backups == std::vector<std::string>{kOldGlobal, kOldLocal});
  const InisOnDisk after = shop.Now();
  CHECK(after.local_old == kOldLocal);
  CHECK(after.global_old == kOldGlobal);
  CHECK(after.backups.empty());
}

TEST_CASE("a module of a save that failed finds the values that were written until then") {
  TwoFileShop shop;
  shop.Define({L"LATER", false, L"S", 0, L"later"});
  shop.options.Refresh();
  for (const wchar_t* id : {L"A", L"B", L"LATER"}) shop.SetNew(id, L"new");
  // Its table is not there.
  shop.SetNew(L"KIT", L"2");
  InisOnDisk seen;
  shop.modules.run = [&] {
    seen = shop.Now();
    return Value(true);
  };
  CHECK_FALSE(shop.options.Save());
  CHECK(seen.local == kNewLocal);
  CHECK(seen.global == "[S]\r\nglobal=new\r\n[OPTIONS]\r\nKITCHOICE=2\r\n");
  CHECK(seen.local_old == "older");
  CHECK(seen.global_old == "(missing)");
  CHECK(seen.backups == std::vector<std::string>{kOldGlobal, kOldLocal});
  const InisOnDisk after = shop.Now();
  CHECK(after.local == kOldLocal);
  CHECK(after.global == kOldGlobal);
  CHECK(after.local_old == "older");
  CHECK(after.global_old == "(missing)");
  CHECK(after.backups.empty());
}

TEST_CASE("the module of a local option runs although there is no local INI file to write") {
  ModuleShop shop;
  shop.options.SetDataPath(L"C:\\SHOP");
  shop.machine.RemoveFile(kLocalIni);
  Definition local{L"B", true, L"S", 0, L"local"};
  local.additional_proc = L"Local:Run";
  shop.Define(local);
  shop.options.Refresh();
  shop.SetNew(L"B", L"new");
  CHECK(shop.options.Save());
  CHECK_FALSE(shop.machine.Exists(kLocalIni));
  CHECK(shop.modules.log == Lines{L"create Shop.Tools", L"call Run", L"release", L"create Local",
                                  L"call Run", L"release"});
}

TEST_CASE(
    "what a module saves again stands, and the previous versions are those of the outer save") {
  TwoFileShop shop;
  bool nested = false;
  bool nested_saved = false;
  InisOnDisk between;
  shop.modules.run = [&] {
    if (std::exchange(nested, true)) return Value(true);
    shop.SetNew(L"A", L"newest");
    shop.SetNew(L"B", L"newest");
    nested_saved = shop.options.Save();
    between = shop.Now();
    return Value(true);
  };
  CHECK(shop.options.Save());
  CHECK(nested_saved);
  // The inner save's previous versions hold what the outer one had written.
  CHECK(between.local == kNewestLocal);
  CHECK(between.global == kNewestGlobal);
  CHECK(between.local_old == kNewLocal);
  CHECK(between.global_old == kNewGlobal);
  CHECK(between.backups == std::vector<std::string>{kOldGlobal, kOldLocal});
  const InisOnDisk after = shop.Now();
  CHECK(after.local == kNewestLocal);
  CHECK(after.global == kNewestGlobal);
  CHECK(after.local_old == kOldLocal);
  CHECK(after.global_old == kOldGlobal);
  CHECK(after.backups.empty());
  CHECK(shop.ValueOf(L"A") == L"newest");
  CHECK(shop.host.modified == 2);
  CHECK(shop.host.errors.empty());
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a save that failed puts its files back, whatever a module has saved meanwhile") {
  TwoFileShop shop;
  shop.SetNew(L"KIT", L"2");
  bool nested = false;
  bool nested_saved = false;
  shop.modules.run = [&] {
    if (std::exchange(nested, true)) return Value(true);
    // The kit choice is then the one that is in the file, and sets nothing off.
    shop.options.Refresh();
    shop.SetNew(L"A", L"newest");
    nested_saved = shop.options.Save();
    return Value(true);
  };
  CHECK_FALSE(shop.options.Save());
  CHECK(nested_saved);
  const InisOnDisk after = shop.Now();
  CHECK(after.local == kOldLocal);
  CHECK(after.global == kOldGlobal);
  CHECK(after.backups.empty());
  // Of the two outcomes the inner one was told.
  CHECK(shop.host.modified == 1);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a box that cannot be shown changes nothing of the save") {
  ModuleShop shop;
  shop.machine.FailNext("Tell", 5);
  CHECK(shop.options.Save());
  CHECK(shop.Texts().empty());
  CHECK(shop.host.modified == 1);
}

TEST_CASE("without surroundings that create objects a module is told as not created") {
  ModuleShop shop;
  shop.options.RunModulesOf(nullptr);
  CHECK(shop.options.Save());
  REQUIRE(shop.Texts().size() == 2);
  CHECK(shop.Texts()[0].starts_with(L"Failed to create"));
}
