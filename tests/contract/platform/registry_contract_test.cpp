// What the registry port promises.
#include <map>
#include <set>

#include "platform_fixture.h"

using namespace tdefault::platform;

namespace {

constexpr std::uint32_t kUser = registry_root::kCurrentUser;
constexpr std::uint32_t kRead = 0x20019;
constexpr std::uint32_t kWrite = 0x4001F;

template <class Fixture>
std::unique_ptr<RegistryKey> Made(Fixture& fixture, const std::wstring& below = L"") {
  auto key = fixture.platform().registry.CreateKey(kUser, fixture.registry_path() + below,
                                                   L"a class", kWrite);
  REQUIRE(key.ok());
  return std::move(key).value();
}

template <class Fixture>
std::unique_ptr<RegistryKey> Opened(Fixture& fixture, std::uint32_t access = kRead) {
  auto key = fixture.platform().registry.OpenKey(kUser, fixture.registry_path(), access);
  REQUIRE(key.ok());
  return std::move(key).value();
}

std::set<std::wstring> SubKeys(RegistryKey& key) {
  std::set<std::wstring> names;
  for (std::uint32_t position = 0;; ++position) {
    const auto name = key.KeyAt(position);
    if (!name.ok()) {
      CHECK(name.code() == 259);
      return names;
    }
    names.insert(name.value());
  }
}

}  // namespace

TEST_CASE_TEMPLATE("a key that is not there, and a root that is none, are not opened", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Registry& registry = fixture.platform().registry;
  CHECK(registry.OpenKey(kUser, fixture.registry_path(), kRead).code() == 2);
  CHECK(registry.OpenKey(kUser, fixture.registry_path() + L"\\below", kWrite).code() == 2);
  CHECK(registry.OpenKey(0x12345670, L"Software", kRead).code() == 6);
  CHECK(registry.CreateKey(0x12345670, L"Software", L"", kRead).code() == 6);
  CHECK(registry.OpenKey(kUser, L"", kRead).ok());
}

TEST_CASE_TEMPLATE("a key is made once, with its class text and the keys above it", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Registry& registry = fixture.platform().registry;
  const std::wstring path = fixture.registry_path();
  REQUIRE(registry.CreateKey(kUser, path + L"\\One\\Two", L"REG_SZ", kWrite).ok());
  CHECK(fixture.KeyClass(path + L"\\One\\Two") == L"REG_SZ");
  REQUIRE(registry.CreateKey(kUser, path + L"\\one\\two", L"4", kWrite).ok());
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine gives a key that was there the new class",
                 fixture.KeyClass(path + L"\\One\\Two") == L"REG_SZ");
  CHECK(SubKeys(*Opened(fixture)) == std::set<std::wstring>{L"One"});
}

TEST_CASE_TEMPLATE("a number reads back with its type, in any letter case of its name", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  for (const std::uint32_t number : {0u, 1u, 0x80000000u, 0xFFFFFFFFu, 0x12345678u}) {
    REQUIRE(key->SetNumber(L"Value", number).ok());
    const auto read = Opened(fixture)->QueryNumber(L"vALUE");
    REQUIRE(read.ok());
    CHECK(read.value().type == 4);
    CHECK(read.value().number == number);
  }
}

TEST_CASE_TEMPLATE("a text reads back in front of NULs, its count with the closing one", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Value", L"caf\u00e9").ok());
  const auto read = Opened(fixture)->QueryText(L"Value", 255);
  REQUIRE(read.ok());
  CHECK(read.value().count == 5);
  CHECK(read.value().characters == L"caf\u00e9" + std::wstring(251, L'\0'));
}

TEST_CASE_TEMPLATE("an empty text is a value without bytes", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Value", L"").ok());
  const auto read = key->QueryText(L"Value", 255);
  REQUIRE(read.ok());
  CHECK(read.value().count == 0);
  CHECK(read.value().characters == std::wstring(255, L'\0'));
  const auto number = key->QueryNumber(L"Value");
  REQUIRE(number.ok());
  CHECK(number.value().type == 1);
  CHECK(number.value().number == 0);
}

TEST_CASE_TEMPLATE("a text ends at its first NUL and travels in the system code page", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Value", std::wstring(L"a\u0142b\0c", 5)).ok());
  const auto read = key->QueryText(L"Value", 10);
  REQUIRE(read.ok());
  CHECK(read.value().characters == L"a?b" + std::wstring(7, L'\0'));
  CHECK(read.value().count == 4);
}

TEST_CASE_TEMPLATE("a value of more bytes than asked for is 234", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Value", std::wstring(254, L'x')).ok());
  CHECK(key->QueryText(L"Value", 255).ok());
  REQUIRE(key->SetText(L"Value", std::wstring(255, L'x')).ok());
  CHECK(key->QueryText(L"Value", 255).code() == 234);
  CHECK(key->QueryNumber(L"Value").code() == 234);
}

TEST_CASE_TEMPLATE("a short text is read as a number of type 1, a number as its bytes", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Value", L"ab").ok());
  const auto number = key->QueryNumber(L"Value");
  REQUIRE(number.ok());
  CHECK(number.value().type == 1);
  CHECK(number.value().number == 0x6261);
  REQUIRE(key->SetNumber(L"Value", 0x64636261).ok());
  const auto text = key->QueryText(L"Value", 255);
  REQUIRE(text.ok());
  CHECK(text.value().count == 4);
  CHECK(text.value().characters.substr(0, 4) == L"abcd");
}

TEST_CASE_TEMPLATE("a value that is not there is 2, and one that is can be removed", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  CHECK(key->QueryNumber(L"Value").code() == 2);
  CHECK(key->QueryText(L"Value", 255).code() == 2);
  CHECK(key->RemoveValue(L"Value").code() == 2);
  REQUIRE(key->SetText(L"Value", L"text").ok());
  CHECK(key->RemoveValue(L"VALUE").ok());
  CHECK(key->QueryText(L"Value", 255).code() == 2);
}

TEST_CASE_TEMPLATE("a key does what it was opened for only", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  REQUIRE(Made(fixture)->SetNumber(L"Value", 1).ok());
  Made(fixture, L"\\Below");
  const auto reading = Opened(fixture, kRead);
  CHECK(reading->SetNumber(L"Value", 2).code() == 5);
  CHECK(reading->SetText(L"Value", L"2").code() == 5);
  CHECK(reading->RemoveValue(L"Value").code() == 5);
  const auto setting = Opened(fixture, 0x2);
  CHECK(setting->QueryNumber(L"Value").code() == 5);
  CHECK(setting->QueryText(L"Value", 255).code() == 5);
  CHECK(setting->KeyAt(0).code() == 5);
  CHECK(setting->ValueAt(0, 255).code() == 5);
  CHECK(setting->SetNumber(L"Value", 3).ok());
  CHECK(reading->QueryNumber(L"Value").value().number == 3);
}

TEST_CASE_TEMPLATE("a key without sub-keys is removed with its values, one with them stays",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  REQUIRE(Made(fixture, L"\\One\\Two")->SetNumber(L"Value", 1).ok());
  const auto key = Opened(fixture, kWrite);
  CHECK(key->RemoveKey(L"Missing").code() == 2);
  CHECK(key->RemoveKey(L"One").code() == 5);
  CHECK(SubKeys(*key) == std::set<std::wstring>{L"One"});
  CHECK(Made(fixture, L"\\One")->RemoveKey(L"TWO").ok());
  CHECK(key->RemoveKey(L"One").ok());
  CHECK(SubKeys(*key).empty());
}

TEST_CASE_TEMPLATE("sub-keys and values are listed by position", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  for (const wchar_t* below : {L"\\One", L"\\Two", L"\\Caf\u00e9"}) Made(fixture, below);
  const auto key = Made(fixture);
  REQUIRE(key->SetNumber(L"Number", 0x01020304).ok());
  REQUIRE(key->SetText(L"Text", L"ab").ok());
  REQUIRE(key->SetText(L"Empty", L"").ok());
  CHECK(SubKeys(*key) == std::set<std::wstring>{L"One", L"Two", L"Caf\u00e9"});
  std::map<std::wstring, std::pair<std::uint32_t, tdefault::Bytes>> values;
  for (std::uint32_t position = 0; position < 3; ++position) {
    const auto value = key->ValueAt(position, 4);
    REQUIRE(value.ok());
    values[value.value().name] = {value.value().type, value.value().data};
  }
  CHECK(key->ValueAt(3, 4).code() == 259);
  CHECK(values.size() == 3);
  CHECK((values[L"Number"] == std::pair{4u, tdefault::Bytes{4, 3, 2, 1}}));
  CHECK((values[L"Text"] == std::pair{1u, tdefault::Bytes{'a', 'b', 0}}));
  CHECK((values[L"Empty"] == std::pair{1u, tdefault::Bytes{}}));
}

TEST_CASE_TEMPLATE("a value that is too large to be listed is 234", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto key = Made(fixture);
  REQUIRE(key->SetText(L"Text", L"abcd").ok());
  CHECK(key->ValueAt(0, 4).code() == 234);
  CHECK(key->ValueAt(0, 5).ok());
}
