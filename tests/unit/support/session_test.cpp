#include "support/session.h"

#include <doctest/doctest.h>

#include <string>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "support/system_errors.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::simulation::Simulation;

namespace {

// Gives names with counts of its own, as calls that count the closing NUL and calls that do not.
class NamingSession final : public platform::Session {
 public:
  std::optional<platform::NameBuffer> DisplayName(std::uint32_t capacity) override {
    asked_capacity = capacity;
    return display;
  }
  std::optional<platform::NameBuffer> LogOnName(std::uint32_t capacity) override {
    asked_capacity = capacity;
    return log_on;
  }
  std::optional<platform::WindowsVersion> Version() override { return version; }
  std::optional<std::wstring> SystemMessage(std::uint32_t /*code*/) override { return message; }
  std::optional<std::wstring> EnvironmentValue(const std::wstring& /*name*/) override { return {}; }
  std::uint32_t AnsiCodePage() override { return 1252; }
  std::string SystemBytes(std::wstring_view text) override { return ToUtf8(text); }
  std::wstring SystemText(std::string_view bytes) override { return FromUtf8(bytes); }
  std::wstring HostExecutableName() override { return L"Host"; }
  std::wstring HostTitle() override { return L"Title"; }

  std::optional<platform::NameBuffer> display;
  std::optional<platform::NameBuffer> log_on;
  std::optional<platform::WindowsVersion> version;
  std::optional<std::wstring> message;
  std::uint32_t asked_capacity = 0;
};

}  // namespace

TEST_CASE("Windows 2000 or later is the NT family from version 5 on") {
  NamingSession session;
  CHECK_FALSE(support::IsWin2000OrLater(session));
  session.version = platform::WindowsVersion{2, 5, 0};
  CHECK(support::IsWin2000OrLater(session));
  session.version = platform::WindowsVersion{2, 10, 0};
  CHECK(support::IsWin2000OrLater(session));
  session.version = platform::WindowsVersion{2, 4, 90};
  CHECK_FALSE(support::IsWin2000OrLater(session));
  session.version = platform::WindowsVersion{1, 5, 0};
  CHECK_FALSE(support::IsWin2000OrLater(session));
}

TEST_CASE("the user's name is the display name since Windows 2000 and the log-on name before") {
  NamingSession session;
  session.display = platform::NameBuffer{L"Terry Owner", 12};
  session.log_on = platform::NameBuffer{L"terry", 6};
  session.version = platform::WindowsVersion{2, 5, 1};
  CHECK(support::GetUserName(session) == L"Terry Owner");
  session.version = platform::WindowsVersion{2, 4, 0};
  CHECK(support::GetUserName(session) == L"terry");
  CHECK(session.asked_capacity == 260);
}

TEST_CASE("the user's name is one character less than the call counted") {
  NamingSession session;
  session.version = platform::WindowsVersion{2, 10, 0};
  session.display = platform::NameBuffer{L"Terry", 5};
  CHECK(support::GetUserName(session) == L"Terr");
  session.display = platform::NameBuffer{L"T", 0};
  CHECK(support::GetUserName(session).empty());
}

TEST_CASE("a user without a name is empty text") {
  NamingSession session;
  session.version = platform::WindowsVersion{2, 10, 0};
  session.log_on = platform::NameBuffer{L"terry", 6};
  CHECK(support::GetUserName(session).empty());
}

TEST_CASE("a pause passes its arguments on and returns the system's result") {
  Simulation machine;
  auto& clock = machine.platform().clock;
  CHECK(support::Pause(clock, 500, true) == 0);
  machine.FailNext("Pause", 192);
  CHECK(support::Pause(clock, 20, false) == 192);
  REQUIRE(!machine.pauses().empty());
  CHECK(machine.pauses()[0].milliseconds == 500);
  CHECK(machine.pauses()[0].alertable);
}

TEST_CASE("a system message is given without its line breaks") {
  Simulation machine;
  auto& session = machine.platform().session;
  CHECK(support::SystemErrorText(session, 2) == L"The system cannot find the file specified.");
  machine.SetSystemMessage(99, L"two\r\nlines\r\n");
  CHECK(support::SystemErrorText(session, 99) == L"twolines");
}

TEST_CASE("a code without a message reads Error not found") {
  Simulation machine;
  CHECK(support::SystemErrorText(machine.platform().session, 424242) == L"Error not found.");
  CHECK(support::SystemErrorText(machine.platform().session, -1) == L"Error not found.");
  NamingSession session;
  session.message = L"";
  CHECK(support::SystemErrorText(session, 2) == L"Error not found.");
}

TEST_CASE("a failed file operation tells what failed and why") {
  Simulation machine;
  const Error error =
      support::FileFailure(machine.platform().session, 32, L"Source", L"What failed");
  CHECK(error.number() == 70);
  CHECK(error.source() == L"Source");
  CHECK(error.description() ==
        L"What failed: The process cannot access the file because it is being used by another "
        L"process.");
}
