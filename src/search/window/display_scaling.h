// The scaling of the display a window stands on, as far as the system knows scaling: one for each
// monitor from Windows 10 on, one for all before.
#pragma once

#include <windows.h>

namespace tdefault::search {

// Windows that the thread creates while it lives are told the scaling of their monitor instead of
// being stretched, whatever the host has asked for its own.
class PerMonitorScaling {
 public:
  PerMonitorScaling() noexcept;
  ~PerMonitorScaling();
  PerMonitorScaling(const PerMonitorScaling&) = delete;
  PerMonitorScaling& operator=(const PerMonitorScaling&) = delete;

 private:
  HANDLE previous_ = nullptr;
};

// Dots per inch; 96 is 100 %.
[[nodiscard]] UINT DotsPerInch(HWND window) noexcept;

// GetSystemMetrics in pixels of that scaling.
[[nodiscard]] int ScaledMetric(int metric, UINT dots_per_inch) noexcept;

// The font of the system's message boxes at that scaling. The caller deletes it; null on failure.
[[nodiscard]] HFONT CreateMessageFont(UINT dots_per_inch) noexcept;

// The outer size of a window with such a client area.
[[nodiscard]] SIZE OuterSize(HWND window, SIZE client, UINT dots_per_inch) noexcept;

// The dialog scales itself; the system is not to move its controls.
void TakeOverScaling(HWND dialog) noexcept;

}  // namespace tdefault::search
