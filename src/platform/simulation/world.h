// What one simulated process shares with its machine: disk, environment, scripts and call log. The
// simulated ports work on it; the facade sets it up.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/code_page.h"
#include "base/date_time.h"
#include "base/text.h"
#include "platform/clock.h"
#include "platform/dialogs.h"
#include "platform/drives.h"
#include "platform/guid_source.h"
#include "platform/session.h"
#include "platform/simulation/call_log.h"
#include "platform/simulation/disk.h"
#include "platform/simulation/registry_store.h"

namespace tdefault::platform::simulation {

struct ShownBox {
  std::wstring title;
  std::wstring text;
};

struct RecordedPause {
  std::uint32_t milliseconds = 0;
  bool alertable = false;
};

// A program that the process started, with both texts as the system got them.
struct StartedProgram {
  std::wstring application;
  std::wstring command_line;
};

struct World {
  Disk disk;
  CallLog calls;
  CodePage code_page;
  RegistryStore registry;
  std::size_t open_handles = 0;
  bool writes_tear = false;  // a write that breaks off has been done by half

  std::wstring current_folder = L"C:\\Work";
  std::wstring program_folder = L"C:\\Program Files\\Host";
  std::wstring windows_folder = L"C:\\Windows";
  std::wstring system_folder = L"C:\\Windows\\System32";
  std::map<std::wstring, std::wstring, LessIgnoringCase> environment;
  std::uint32_t unique_names = 0;

  std::optional<std::wstring> display_name = L"Terry Owner";
  std::optional<std::wstring> log_on_name = L"terry";
  std::optional<WindowsVersion> version = WindowsVersion{2, 10, 0};
  std::map<std::uint32_t, std::wstring> system_messages;
  std::wstring host_executable_name = L"Host";
  std::wstring host_title = L"Host Program";

  std::deque<MessageAnswer> answers;
  std::vector<ShownBox> shown_boxes;
  std::vector<RecordedPause> pauses;
  std::function<void()> during_pause;
  std::function<void()> during_messages;
  std::uint64_t milliseconds = 0;
  DateTime now = {*MakeDate(2001, 3, 7), ((14 * 60 + 5) * 60 + 9) * kMillisecondsPerSecond};

  std::vector<StartedProgram> started_programs;
  std::function<void(const StartedProgram&)> during_program;
  std::uint32_t program_exit_code = 0;

  // Of roots that stand here; every other drive of the disk is a fixed one.
  std::map<std::wstring, DriveKind, LessIgnoringCase> drive_kinds;
  std::vector<NetworkConnection> connections;

  std::uint64_t random_state = 0;
  std::deque<Guid> next_guids;
  bool guid_source_fails = false;

  // The text as a narrow call sees it: through the code page and back, up to the first NUL.
  [[nodiscard]] std::wstring Narrowed(std::wstring_view text) const {
    return code_page.Decode(code_page.Encode(text.substr(0, text.find(L'\0'))));
  }

  // The full path that a call's argument names. A path with a NUL is refused, not cut.
  [[nodiscard]] SystemResult<std::wstring> Resolve(std::wstring_view path) const;

  World(CodePage page, std::uint64_t seed) : code_page(page), registry(page), random_state(seed) {}
};

}  // namespace tdefault::platform::simulation
