// A machine for the search dialog whose searches stop at a folder until they are let go.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "base/text.h"
#include "platform/simulation/simulation.h"
#include "unit/forwarding_files.h"

namespace tdefault::window {

// Waits in the enumeration of one folder, as in one of a slow drive. Meanwhile the window can be
// looked at, but nothing that the user does is handled.
class HeldSearch final : public tests::ForwardingFiles {
 public:
  // `folder` with its trailing backslash.
  HeldSearch(platform::Files& files, std::wstring folder)
      : ForwardingFiles(files),
        pattern_(std::move(folder) + L"*.*"),
        reached_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        go_on_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~HeldSearch() override {
    CloseHandle(reached_);
    CloseHandle(go_on_);
  }
  HeldSearch(const HeldSearch&) = delete;
  HeldSearch& operator=(const HeldSearch&) = delete;

  platform::SystemResult<std::unique_ptr<platform::FolderEnumeration>> Enumerate(
      const std::wstring& pattern) override {
    if (EqualIgnoringCase(pattern, pattern_)) {
      SetEvent(reached_);
      Wait();
    }
    return ForwardingFiles::Enumerate(pattern);
  }

  [[nodiscard]] bool WaitUntilReached() const {
    return WaitForSingleObject(reached_, kMinute) == WAIT_OBJECT_0;
  }
  void GoOn() const { SetEvent(go_on_); }

 private:
  static constexpr DWORD kMinute = 60000;

  void Wait() const {
    while (MsgWaitForMultipleObjects(1, &go_on_, FALSE, kMinute, QS_SENDMESSAGE | QS_PAINT) ==
           WAIT_OBJECT_0 + 1) {
      MSG message{};
      PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
      while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE))
        DispatchMessageW(&message);
    }
  }

  std::wstring pattern_;
  HANDLE reached_;
  HANDLE go_on_;
};

// The platform with other files.
[[nodiscard]] inline platform::Platform WithFiles(const platform::Platform& platform,
                                                  platform::Files& files) {
  return {platform.profile_files, files,
          platform.session,       platform.clock,
          platform.guid_source,   platform.dialogs,
          platform.registry,      platform.processes,
          platform.drives};
}

}  // namespace tdefault::window
