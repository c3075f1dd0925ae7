// What surrounds a modal window of a library inside somebody else's program.
#pragma once

#include <windows.h>

#include <vector>

namespace tdefault::search {

// Windows that the thread creates while it lives have the system's visual styles, also in a host
// that has none. Where the system knows none, they look as it draws them.
class VisualStyles {
 public:
  // `module` has the manifest as a resource.
  explicit VisualStyles(HINSTANCE module) noexcept;
  ~VisualStyles();
  VisualStyles(const VisualStyles&) = delete;
  VisualStyles& operator=(const VisualStyles&) = delete;

 private:
  HANDLE context_ = INVALID_HANDLE_VALUE;
  ULONG_PTR cookie_ = 0;
  bool active_ = false;
};

// While it lives, the thread's other windows take no input: for a modal window without an owner,
// since the system disables an owner only.
class OtherWindowsDisabled {
 public:
  explicit OtherWindowsDisabled(HWND modal);
  ~OtherWindowsDisabled() { Enable(); }
  OtherWindowsDisabled(const OtherWindowsDisabled&) = delete;
  OtherWindowsDisabled& operator=(const OtherWindowsDisabled&) = delete;

  // Before the modal window goes, so that the system can activate one of them.
  void Enable() noexcept;

 private:
  std::vector<HWND> disabled_;
};

}  // namespace tdefault::search
