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
#include "tovocfg/console.h"
#include "tovocfg/doctor_command.h"
#include "tovocfg/failure.h"
#include "tovocfg/session.h"
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

// Help, the version, or why the command line was refused.
int Tell(const tovocfg::ParsedArguments& parsed) {
  if (parsed.exit_code == tovocfg::ExitCode::kOk) {
    std::cout << parsed.text << (parsed.text.ends_with('\n') ? "" : "\n");
  } else {
    const tovocfg::Stop stop{parsed.exit_code, parsed.text};
    std::cerr << (parsed.request.json ? tovocfg::StopToJson(stop, {})
                                      : tovocfg::FormatStop(stop, parsed.request.errors));
  }
  return static_cast<int>(parsed.exit_code);
}

int Perform(const tovocfg::Request& request) {
  if (request.command == tovocfg::Command::kCheck) return tovocfg::Check(request);
  const Apartment apartment;
  if (request.command == tovocfg::Command::kDoctor) return tovocfg::Doctor(request);
  return static_cast<int>(tovocfg::Run(request));
}

}  // namespace

int main() {
  // No boxes about drives without a disk or about files that cannot be loaded.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const tovocfg::Console console;
  tovocfg::ParsedArguments parsed = tovocfg::ParseArguments(Arguments());
  const std::string no_color = tovocfg::EnvironmentValue(L"NO_COLOR");
  tovocfg::Request& request = parsed.request;
  request.output = tovocfg::Palette(
      tovocfg::WantsColour(request.colour, console.output_takes_colours(), no_color));
  request.errors = tovocfg::Palette(
      tovocfg::WantsColour(request.colour, console.errors_take_colours(), no_color));
  return request.command == tovocfg::Command::kNone ? Tell(parsed) : Perform(request);
}
