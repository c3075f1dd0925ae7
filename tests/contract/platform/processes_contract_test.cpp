// What the processes port promises.
#include "platform_fixture.h"

using namespace tdefault::platform;

TEST_CASE_TEMPLATE("a program gets the command line as given, and answers when it has ended",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring program = fixture.AddProgram(L"program.exe");
  // No quotation marks are put around what has blanks, none are taken off.
  const std::wstring command = L"\"any word\"  0 ";
  const auto process = fixture.platform().processes.Start(program, command);
  REQUIRE(process.ok());
  REQUIRE(process.value()->Wait().ok());
  const auto code = process.value()->ExitCode();
  REQUIRE(code.ok());
  CHECK(fixture.Contents(program + L".txt") == tdefault::ToUtf8(command));
  // Once more is no wait.
  CHECK(process.value()->Wait().ok());
}

TEST_CASE_TEMPLATE("a program's answer is its exit code", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring program = fixture.AddProgram(L"program.exe");
  const auto process = fixture.platform().processes.Start(program, L"program.exe");
  REQUIRE(process.ok());
  REQUIRE(process.value()->Wait().ok());
  const auto code = process.value()->ExitCode();
  REQUIRE(code.ok());
  CHECK(code.value() == 42);
  CHECK(fixture.Contents(program + L".txt") == "program.exe");
}

TEST_CASE_TEMPLATE("a command line ends at its first NUL and travels in the system code page",
                   Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring program = fixture.AddProgram(L"program.exe");
  const auto process = fixture.platform().processes.Start(
      program, L"pr\u00fcfe\u0142 0" + std::wstring(1, L'\0') + L"more");
  REQUIRE(process.ok());
  REQUIRE(process.value()->Wait().ok());
  CHECK(fixture.Contents(program + L".txt") == tdefault::ToUtf8(L"pr\u00fcfe? 0"));
}

TEST_CASE_TEMPLATE("a file or folder that is not there is not started", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Processes& processes = fixture.platform().processes;
  const auto code = [&](const std::wstring& application) {
    return processes.Start(application, application).code();
  };
  CHECK(code(fixture.folder() + L"\\missing.exe") == 2);
  const std::uint32_t missing_folder = code(fixture.folder() + L"\\missing\\program.exe");
  CHECK((missing_folder == 2 || missing_folder == 3));
}

TEST_CASE_TEMPLATE("a quoted name is no program, whatever it names", Fixture, PLATFORM_FIXTURES) {
  Fixture fixture;
  const std::wstring program = L'"' + fixture.AddProgram(L"program.exe") + L'"';
  const auto process = fixture.platform().processes.Start(program, program + L" ");
  CHECK_FALSE(process.ok());
  CHECK(process.code() == 123);
}

TEST_CASE_TEMPLATE("a program's name with a NUL or too many characters is refused", Fixture,
                   PLATFORM_FIXTURES) {
  Fixture fixture;
  Processes& processes = fixture.platform().processes;
  const std::wstring program = fixture.AddProgram(L"program.exe");
  CHECK(processes.Start(program + std::wstring(1, L'\0'), L"x").code() == 123);
  CHECK(processes.Start(L"C:\\" + std::wstring(257, L'x'), L"x").code() == 206);
}
