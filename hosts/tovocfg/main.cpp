// tovocfg: shows and changes the options of a Tovo shop from the command line, through the type
// library only, and checks its tables.
#include <windows.h>
// After windows.h.
#include <objbase.h>
#include <shellapi.h>

#include <iostream>
#include <string>
#include <vector>

#include "tovocfg/arguments.h"
#include "tovocfg/check_command.h"
#include "tovocfg/commands.h"
#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace {

// The arguments of main are in the system's code page; these are complete.
std::vector<std::string> Arguments() {
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int word = 1; words != nullptr && word < count; ++word)
    arguments.push_back(tovocfg::ToUtf8(words[word]));
  LocalFree(words);
  return arguments;
}

// All output is UTF-8; a console is told so and put back at the end.
class ConsoleCodePage {
 public:
  ConsoleCodePage() : before_(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
  ~ConsoleCodePage() {
    if (before_ != 0) SetConsoleOutputCP(before_);
  }
  ConsoleCodePage(const ConsoleCodePage&) = delete;
  ConsoleCodePage& operator=(const ConsoleCodePage&) = delete;

 private:
  UINT before_;
};

// The thread's apartment, which the library needs.
class Apartment {
 public:
  Apartment() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~Apartment() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;

 private:
  HRESULT result_;
};

}  // namespace

int main() {
  const ConsoleCodePage console;
  const tovocfg::ParsedArguments parsed = tovocfg::ParseArguments(Arguments());
  if (parsed.request.command == tovocfg::Command::kNone) {
    const bool refused = parsed.exit_code != tovocfg::ExitCode::kOk;
    for (const std::string& line : tovocfg::Lines(parsed.text))
      (refused ? std::cerr : std::cout) << (refused ? "tovocfg: " : "") << line << "\n";
    return static_cast<int>(parsed.exit_code);
  }
  if (parsed.request.command == tovocfg::Command::kCheck) return tovocfg::Check(parsed.request);
  const Apartment apartment;
  return static_cast<int>(tovocfg::Run(parsed.request));
}
