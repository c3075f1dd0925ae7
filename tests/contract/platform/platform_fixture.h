// The machines that the contract of the ports is proven on. Every case is a template over a
// fixture: the simulation everywhere, and the operating system's own calls in Windows builds. What
// only one of the two shows is no contract.
#pragma once

#include <doctest/doctest.h>

#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"
#include "platform/platform.h"
#include "platform/simulation/simulation.h"

#ifdef _WIN32
#include "win32_fixture.h"
#endif

namespace tdefault::platform {

// Each fixture has: platform(); folder(), an empty folder of its own that is the current folder
// until EnterFolder names another one;
// windows_folder(), program_folder(); set-up and inspection of files; Hold, which opens a file as
// another process would; AddProgram, which makes a program that writes its command line into the
// file of its own name with ".txt" behind it and answers 42; registry_path(), a key below the
// current user's root that is not there yet, and KeyClass for keys there; is_wine(), and
// ignores_read_only(), which Wine does for the root user.
class SimulationFixture {
 public:
  using Held = simulation::HeldFile;

  SimulationFixture() { machine_.SetCurrentFolder(L"C:\\Throw Away"); }

  Platform& platform() { return machine_.platform(); }
  std::wstring folder() const { return L"C:\\Throw Away"; }
  std::wstring windows_folder() const { return machine_.windows_folder(); }
  std::wstring program_folder() const { return L"C:\\Program Files\\Host"; }

  void PutFile(const std::wstring& path, std::string_view bytes) { machine_.PutFile(path, bytes); }
  void AddFolder(const std::wstring& path) { machine_.AddFolder(path); }
  void RemoveFile(const std::wstring& path) { machine_.RemoveFile(path); }
  void EnterFolder(const std::wstring& path) { machine_.SetCurrentFolder(path); }
  std::optional<std::string> Contents(const std::wstring& path) { return machine_.Contents(path); }
  void SetReadOnly(const std::wstring& path) { machine_.SetReadOnly(path); }
  bool IsReadOnly(const std::wstring& path) { return machine_.IsReadOnly(path); }
  void SetVariable(const std::wstring& name, const std::optional<std::wstring>& value) {
    machine_.SetVariable(name, value);
  }
  Held Hold(const std::wstring& path, FileShare share, FileAccess access) {
    return machine_.HoldOpen(path, share, access);
  }
  std::wstring AddProgram(const std::wstring& name) {
    machine_.PutFile(name, "a program");
    machine_.SetProgramExitCode(42);
    machine_.SetDuringProgram([this](const simulation::StartedProgram& program) {
      machine_.PutFile(program.application + L".txt", ToUtf8(program.command_line));
    });
    return folder() + L"\\" + name;
  }
  static std::wstring registry_path() { return L"Software\\tdefault contract"; }
  std::wstring KeyClass(const std::wstring& path) {
    return machine_.registry().ClassOf(registry_root::kCurrentUser, path);
  }
  static bool is_wine() { return false; }
  static bool ignores_read_only() { return false; }

 private:
  simulation::Simulation machine_;
};

}  // namespace tdefault::platform

namespace doctest {

template <>
struct StringMaker<std::wstring> {
  static String convert(const std::wstring& text) { return tdefault::ToUtf8(text).c_str(); }
};

}  // namespace doctest

TYPE_TO_STRING_AS("SimulationFixture", tdefault::platform::SimulationFixture);

#ifdef _WIN32
#define PLATFORM_FIXTURES tdefault::platform::SimulationFixture, tdefault::platform::Win32Fixture
#else
#define PLATFORM_FIXTURES tdefault::platform::SimulationFixture
#endif

// A fact of Windows that Wine is known to lack `here`: checked everywhere else, while under Wine
// the case fails as soon as the fact holds there too, so that the gap is struck off.
#define KNOWN_WINE_GAP(here, reason, fact)                                 \
  do {                                                                     \
    const bool fact_holds = (fact);                                        \
    if (here) {                                                            \
      CHECK_FALSE_MESSAGE(fact_holds, "Wine has closed the gap: " reason); \
    } else {                                                               \
      CHECK(fact_holds);                                                   \
    }                                                                      \
  } while (false)
