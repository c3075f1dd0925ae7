#include "support/registry.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::registry_type::kNumber;
using platform::registry_type::kText;
using support::clsUseReg;
using support::DeleteMode;
using support::SystemKind;

namespace {

constexpr std::uint32_t kUser = platform::registry_root::kCurrentUser;
constexpr std::uint32_t kMachine = platform::registry_root::kLocalMachine;
const std::wstring kKey = L"Software\\Tovo";

struct Desk {
  platform::simulation::Simulation machine;
  platform::simulation::RegistryStore& store = machine.registry();
  clsUseReg registry{machine.platform().registry, machine.platform().session};

  // The one opening there was, and that nothing is left open.
  const platform::simulation::KeyOpening& Opening() {
    REQUIRE(store.openings().size() == 1);
    CHECK(machine.open_handles() == 0);
    return store.openings()[0];
  }
};

}  // namespace

TEST_CASE("four bytes are a number, the least of them first") {
  CHECK(clsUseReg::BytesToLong(Bytes{1, 0, 0, 0}) == 1);
  CHECK(clsUseReg::BytesToLong(Bytes{0x78, 0x56, 0x34, 0x12}) == 0x12345678);
  CHECK(clsUseReg::BytesToLong(Bytes{0xFF, 0xFF, 0xFF, 0xFF}) == -1);
  CHECK(clsUseReg::BytesToLong(Bytes{2, 0, 0, 0, 9, 9}) == 2);
}

TEST_CASE("fewer than four bytes are no number") {
  for (const Bytes& bytes : {Bytes{}, Bytes{1, 2, 3}})
    CHECK(testing::NumberOf([&] { return clsUseReg::BytesToLong(bytes); }) == 9);
}

TEST_CASE("a number is read through a key opened for reading") {
  Desk desk;
  desk.store.PutNumber(kMachine, kKey, L"Count", 0xFFFFFFFE);
  CHECK(desk.registry.ReadRegNumber(kMachine, kKey, L"COUNT", 7) == -2);
  CHECK(desk.Opening().root == kMachine);
  CHECK(desk.Opening().path == kKey);
  CHECK(desk.Opening().access == 0x20019);
  CHECK_FALSE(desk.Opening().class_text);
}

TEST_CASE("a missing value reads as the default, which is 0 when omitted") {
  Desk desk;
  desk.store.PutKey(kUser, kKey);
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 7);
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count") == 0);
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a text value reads as the number 0, be it short or long") {
  Desk desk;
  for (const wchar_t* text : {L"", L"4", L"1234567"}) {
    desk.store.PutText(kUser, kKey, L"Count", text);
    CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 0);
  }
}

TEST_CASE("a key that is missing or refused, and a query that fails, read as the number 0") {
  Desk desk;
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 0);
  desk.store.PutNumber(kUser, kKey, L"Count", 3);
  desk.machine.FailNext("OpenKey", platform::system_code::kAccessDenied);
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 0);
  desk.machine.FailNext("QueryNumber", platform::system_code::kAccessDenied);
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 0);
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == 3);
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a number is saved into a key that is made with the class 4") {
  Desk desk;
  CHECK(desk.registry.SaveRegNumber(kUser, kKey, L"Count", -2) == 0);
  CHECK(desk.Opening().access == 0x4001F);
  CHECK(desk.Opening().class_text == L"4");
  CHECK(desk.store.ClassOf(kUser, kKey) == L"4");
  CHECK(desk.store.TypeOf(kUser, kKey, L"Count") == kNumber);
  CHECK(desk.store.DataOf(kUser, kKey, L"Count") == "\xFE\xFF\xFF\xFF");
  CHECK(desk.registry.ReadRegNumber(kUser, kKey, L"Count", 7) == -2);
}

TEST_CASE("a number that is not saved is told by the system's code") {
  Desk desk;
  desk.machine.FailNext("CreateKey", platform::system_code::kAccessDenied);
  CHECK(desk.registry.SaveRegNumber(kUser, kKey, L"Count", 1) == 5);
  CHECK_FALSE(desk.store.HasKey(kUser, kKey));
  desk.machine.FailNext("SetNumber", 1450);
  CHECK(desk.registry.SaveRegNumber(kUser, kKey, L"Count", 1) == 1450);
  CHECK(desk.store.DataOf(kUser, kKey, L"Count") == std::nullopt);
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a key is deleted with its values below a key opened for writing") {
  Desk desk;
  desk.store.PutNumber(kUser, kKey + L"\\Below", L"Count", 1);
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, L"below") == 0);
  CHECK(desk.Opening().access == 0x4001F);
  CHECK_FALSE(desk.Opening().class_text);
  CHECK_FALSE(desk.store.HasKey(kUser, kKey + L"\\Below"));
  CHECK(desk.store.HasKey(kUser, kKey));
}

TEST_CASE("a key that has sub-keys is not deleted") {
  Desk desk;
  desk.store.PutNumber(kUser, kKey + L"\\Below", L"Count", 1);
  desk.store.PutKey(kUser, kKey + L"\\Below\\Deeper");
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, L"Below") == 5);
  CHECK(desk.store.HasKey(kUser, kKey + L"\\Below\\Deeper"));
  CHECK(desk.store.DataOf(kUser, kKey + L"\\Below", L"Count").has_value());
}

TEST_CASE("a key that is missing, or has no name, is not deleted, and nothing is made for it") {
  Desk desk;
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, L"Below") == 2);
  CHECK_FALSE(desk.store.HasKey(kUser, kKey));
  desk.store.PutKey(kUser, kKey);
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, L"Below") == 2);
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, L"") == 87);
  CHECK(desk.registry.DeleteRegKey(kUser, kKey, std::wstring(1, L'\0') + L"x") == 87);
  CHECK(desk.store.HasKey(kUser, kKey));
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a text is saved into a key that is made with the class REG_SZ") {
  Desk desk;
  CHECK(desk.registry.SaveRegText(kUser, kKey, L"Path", L"C:\\Kits") == 0);
  CHECK(desk.Opening().access == 0x4001F);
  CHECK(desk.Opening().class_text == L"REG_SZ");
  CHECK(desk.store.ClassOf(kUser, kKey) == L"REG_SZ");
  CHECK(desk.store.TypeOf(kUser, kKey, L"Path") == kText);
  CHECK(desk.store.DataOf(kUser, kKey, L"Path") == std::string("C:\\Kits\0", 8));
}

TEST_CASE("an empty text is saved as a value without bytes, which reads as the default") {
  Desk desk;
  CHECK(desk.registry.SaveRegText(kUser, kKey, L"Path", L"") == 0);
  CHECK(desk.store.TypeOf(kUser, kKey, L"Path") == kText);
  CHECK(desk.store.DataOf(kUser, kKey, L"Path") == "");
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"default");
}

TEST_CASE("a text that is not saved is told by the system's code") {
  Desk desk;
  desk.machine.FailNext("CreateKey", platform::system_code::kAccessDenied);
  CHECK(desk.registry.SaveRegText(kUser, kKey, L"Path", L"x") == 5);
  desk.machine.FailNext("SetText", 1450);
  CHECK(desk.registry.SaveRegText(kUser, kKey, L"Path", L"x") == 1450);
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a value is deleted from a key that one mode opens and the others make") {
  for (const DeleteMode mode :
       {DeleteMode::kCreate, DeleteMode::kExistingOnly, DeleteMode::kCreateAlso}) {
    Desk desk;
    desk.store.PutText(kUser, kKey, L"Path", L"x");
    CHECK(desk.registry.DeleteRegValue(mode, kUser, kKey, L"Path") == 0);
    CHECK(desk.store.DataOf(kUser, kKey, L"Path") == std::nullopt);
    CHECK(desk.Opening().access == 0x4001F);
    CHECK(desk.Opening().class_text.has_value() == (mode != DeleteMode::kExistingOnly));
    CHECK(desk.registry.DeleteRegValue(mode, kUser, kKey, L"Path") == 2);
    CHECK(desk.registry.DeleteRegValue(mode, kUser, L"Elsewhere", L"Path") == 2);
    CHECK(desk.store.HasKey(kUser, L"Elsewhere") == (mode != DeleteMode::kExistingOnly));
    CHECK(desk.machine.open_handles() == 0);
  }
  CHECK(static_cast<int>(DeleteMode::kCreate) == 1);
  CHECK(static_cast<int>(DeleteMode::kExistingOnly) == 2);
  CHECK(static_cast<int>(DeleteMode::kCreateAlso) == 3);
}

TEST_CASE("a text is read through a key opened for reading, without its closing NUL") {
  Desk desk;
  desk.store.PutText(kUser, kKey, L"Path", L"caf\u00e9");
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"caf\u00e9");
  CHECK(desk.Opening().access == 0x20019);
  CHECK_FALSE(desk.Opening().class_text);
  desk.store.PutText(kUser, kKey, L"Path", L"");
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"");
}

TEST_CASE("a missing key and a missing value read as the default text") {
  Desk desk;
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"default");
  desk.store.PutKey(kUser, kKey);
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"default");
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("any other failure of reading a text is the text Function error") {
  Desk desk;
  desk.store.PutText(kUser, kKey, L"Path", L"x");
  for (const char* operation : {"OpenKey", "QueryText"}) {
    desk.machine.FailNext(operation, platform::system_code::kAccessDenied);
    CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"Function error");
    desk.machine.FailNext(operation, platform::system_code::kFileNotFound);
    CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"default");
  }
  CHECK(desk.registry.ReadRegText(0x1234, kKey, L"Path", L"default") == L"Function error");
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a text of 254 characters is read, one of 255 is a function error") {
  Desk desk;
  desk.store.PutText(kUser, kKey, L"Path", std::wstring(254, L'x'));
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"") == std::wstring(254, L'x'));
  desk.store.PutText(kUser, kKey, L"Path", std::wstring(255, L'x'));
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"") == L"Function error");
}

TEST_CASE("a value of another type is read as text all but its last byte") {
  Desk desk;
  desk.store.PutNumber(kUser, kKey, L"Path", 0x64636261);
  CHECK(desk.registry.ReadRegText(kUser, kKey, L"Path", L"default") == L"abc");
}

TEST_CASE("the system is told apart by its platform, the second one by its major version") {
  const std::vector<std::pair<platform::WindowsVersion, SystemKind>> kinds = {
      {{0, 3, 10}, SystemKind::kPlatform0},
      {{1, 5, 0}, SystemKind::kPlatform1Major5},
      {{1, 6, 0}, SystemKind::kPlatform1Major5},
      {{1, 4, 10}, SystemKind::kPlatform1Major4},
      {{1, 3, 0}, SystemKind::kPlatform1Earlier},
      {{2, 10, 0}, SystemKind::kOther},
      {{3, 6, 0}, SystemKind::kOther}};
  for (const auto& [version, kind] : kinds) {
    Desk desk;
    desk.machine.SetVersion(version);
    CHECK(desk.registry.PlatformVersion() == kind);
  }
  Desk desk;
  desk.machine.SetVersion(std::nullopt);
  CHECK(desk.registry.PlatformVersion() == SystemKind::kOther);
}

TEST_CASE("the sub-keys of a key are listed") {
  Desk desk;
  CHECK(desk.registry.ListRegKeys(kUser, kKey).empty());
  for (const wchar_t* name : {L"One", L"Two", L"Three"})
    desk.store.PutKey(kUser, kKey + L"\\" + name);
  auto names = desk.registry.ListRegKeys(kUser, kKey);
  std::sort(names.begin(), names.end());
  CHECK(names == std::vector<std::wstring>{L"One", L"Three", L"Two"});
  for (const auto& opening : desk.store.openings()) CHECK(opening.access == 0x20019);
  desk.machine.FailCall(desk.machine.call_count() + 3, platform::system_code::kAccessDenied);
  CHECK(desk.registry.ListRegKeys(kUser, kKey).size() == 1);
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("the values of a key are listed with their types, and their texts where they are text") {
  Desk desk;
  CHECK(desk.registry.ListRegValues(kUser, kKey).empty());
  desk.store.PutText(kUser, kKey, L"A", L"caf\u00e9");
  desk.store.PutNumber(kUser, kKey, L"B", 65);
  desk.store.PutText(kUser, kKey, L"C", std::wstring(5000, L'x'));
  desk.store.PutValue(kUser, kKey, L"D", 1, std::string("ab\0cd", 5));
  const auto values = desk.registry.ListRegValues(kUser, kKey);
  REQUIRE(values.size() == 4);
  CHECK(values[0].name == L"A");
  CHECK(values[0].type == 1);
  CHECK(values[0].text == L"caf\u00e9");
  CHECK(values[1].type == 4);
  CHECK(values[1].text == L"");
  CHECK(values[2].text == std::wstring(5000, L'x'));
  CHECK(values[3].text == L"ab");
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("a value that is too large does not end the list, any other failure does") {
  Desk desk;
  desk.store.PutText(kUser, kKey, L"A", std::wstring(2'000'000, L'x'));
  desk.store.PutText(kUser, kKey, L"B", L"b");
  auto values = desk.registry.ListRegValues(kUser, kKey);
  REQUIRE(values.size() == 1);
  CHECK(values[0].name == L"B");
  desk.machine.FailNext("ValueAt", platform::system_code::kAccessDenied);
  CHECK(desk.registry.ListRegValues(kUser, kKey).empty());
  CHECK(desk.machine.open_handles() == 0);
}

TEST_CASE("bytes are characters of the system code page up to the first zero") {
  Desk desk;
  CHECK(desk.registry.BytesToText(Bytes{'a', 0x80, 0xE9, 0, 'b'}) == L"a\u20ac\u00e9");
  CHECK(desk.registry.BytesToText(Bytes{}) == L"");
  CHECK(desk.registry.BytesToText(Bytes{0, 'a'}) == L"");
}
