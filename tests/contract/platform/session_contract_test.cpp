// What the session, clock and identifier ports promise.
#include <set>
#include <tuple>

#include "platform_fixture.h"

using namespace tdefault::platform;

TEST_CASE_TEMPLATE("the log-on name comes in a buffer with a count that includes its NUL", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto name = fixture.platform().session.LogOnName(260);
  REQUIRE(name);
  CHECK(name->characters.size() == 260);
  REQUIRE(name->count > 1);
  REQUIRE(name->count <= 260);
  CHECK(name->characters.find(L'\0') == name->count - 1);
  CHECK(name->characters.find_first_not_of(L' ', name->count) == std::wstring::npos);
}

TEST_CASE_TEMPLATE("a log-on name that does not fit is absent", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  Session& session = fixture.platform().session;
  const auto name = session.LogOnName(260);
  REQUIRE(name);
  CHECK(session.LogOnName(name->count));
  CHECK_FALSE(session.LogOnName(name->count - 1));
  CHECK_FALSE(session.LogOnName(0));
}

TEST_CASE_TEMPLATE("a display name is absent or comes with the count of its characters", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto name = fixture.platform().session.DisplayName(260);
  KNOWN_WINE_GAP(fixture.is_wine(), "Wine knows no display names", name.has_value());
  if (name) {
    CHECK(name->characters.size() == 260);
    CHECK(name->characters.find(L'\0') == name->count);
  }
}

TEST_CASE_TEMPLATE("the system is one of the NT family", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const auto version = fixture.platform().session.Version();
  REQUIRE(version);
  CHECK(version->platform_id == 2);
  CHECK(version->major >= 5);
}

TEST_CASE_TEMPLATE("a system message ends with a line break, an unknown code has none", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Session& session = fixture.platform().session;
  for (const std::uint32_t code : {2u, 3u, 5u, 32u}) {
    CAPTURE(code);
    const auto message = session.SystemMessage(code);
    REQUIRE(message);
    CHECK(message->size() > 2);
    CHECK(message->size() <= 255);
    CHECK(message->substr(message->size() - 2) == L"\r\n");
  }
  CHECK_FALSE(session.SystemMessage(0x20001234));
}

TEST_CASE_TEMPLATE("the value of a variable is found without regard to case", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Session& session = fixture.platform().session;
  CHECK_FALSE(session.EnvironmentValue(L"TDEFAULT_CONTRACT"));
  fixture.SetVariable(L"TDEFAULT_CONTRACT", L"a value \u0142");
  CHECK(session.EnvironmentValue(L"tdefault_contract") == L"a value \u0142");
  fixture.SetVariable(L"TDEFAULT_CONTRACT", L"");
  CHECK(session.EnvironmentValue(L"TDEFAULT_CONTRACT") == L"");
  fixture.SetVariable(L"TDEFAULT_CONTRACT", std::wstring(5000, L'x'));
  CHECK(session.EnvironmentValue(L"TDEFAULT_CONTRACT") == std::wstring(5000, L'x'));
  fixture.SetVariable(L"TDEFAULT_CONTRACT", std::nullopt);
  CHECK_FALSE(session.EnvironmentValue(L"TDEFAULT_CONTRACT"));
  CHECK_FALSE(session.EnvironmentValue(L""));
}

TEST_CASE_TEMPLATE("the system code page is named by its number", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(fixture.platform().session.AnsiCodePage() == 1252);
}

TEST_CASE_TEMPLATE("text becomes bytes of the system code page and text again", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Session& session = fixture.platform().session;
  REQUIRE(session.AnsiCodePage() == 1252);
  CHECK(session.SystemBytes(L"").empty());
  CHECK(session.SystemText("").empty());
  CHECK(session.SystemBytes(L"k=\u00E9\u20AC") == "k=\xE9\x80");
  CHECK(session.SystemText("k=\xE9\x80") == L"k=\u00E9\u20AC");
  // What the page lacks becomes no character that only looks alike.
  CHECK(session.SystemBytes(L"\u0416\u0100\u2260") == "???");
  const std::wstring_view with_zero(L"a\0b", 3);
  CHECK(session.SystemBytes(with_zero) == std::string_view("a\0b", 3));
  CHECK(session.SystemText(std::string_view("a\0b", 3)) == with_zero);
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  CHECK(session.SystemBytes(session.SystemText(all)) == all);
}

TEST_CASE_TEMPLATE("the host has a name without folder and extension, and a title", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring name = fixture.platform().session.HostExecutableName();
  CHECK_FALSE(name.empty());
  CHECK(name.find_first_of(L"\\/:.") == std::wstring::npos);
  CHECK_FALSE(fixture.platform().session.HostTitle().empty());
}

TEST_CASE_TEMPLATE("a pause that nothing ends early gives 0", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  CHECK(fixture.platform().clock.Pause(0, false) == 0);
  CHECK(fixture.platform().clock.Pause(1, true) == 0);
}

TEST_CASE_TEMPLATE("identifiers are random ones and never the same", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  std::set<std::tuple<std::uint32_t, std::uint16_t, std::uint16_t, std::array<std::uint8_t, 8>>>
      made;
  for (int i = 0; i < 1000; ++i) {
    const auto guid = fixture.platform().guid_source.Create();
    REQUIRE(guid);
    CHECK((guid->data3 & 0xF000) == 0x4000);
    CHECK((guid->data4[0] & 0xC0) == 0x80);
    CHECK(made.insert({guid->data1, guid->data2, guid->data3, guid->data4}).second);
  }
}
