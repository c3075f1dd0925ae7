// Modules that options name to be run after a save: what is created and called, and what the user
// is told.
#include <doctest/doctest.h>

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

 private:
  class Module final : public catalogue::ProcessingModule {
   public:
    explicit Module(FakeModules& modules) : modules_(modules) {}
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() override { modules_.log.emplace_back(L"release"); }
    Value Call(const std::wstring& method) override {
      modules_.log.push_back(L"call " + method);
      return modules_.run();
    }

   private:
    FakeModules& modules_;
  };
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

  FakeModules modules;
};

using Lines = std::vector<std::wstring>;

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
