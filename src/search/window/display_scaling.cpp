#include "search/window/display_scaling.h"

#include <bit>

namespace tdefault::search {
namespace {

constexpr UINT kDotsAtFullSize = 96;

// What newer systems export, by name; null on older ones.
template <class Function>
Function* UserFunction(const char* name) noexcept {
  const HMODULE user = GetModuleHandleW(L"user32.dll");
  return user == nullptr ? nullptr : std::bit_cast<Function*>(GetProcAddress(user, name));
}

using SetThreadContext_t = HANDLE WINAPI(HANDLE);
using GetDpiForWindow_t = UINT WINAPI(HWND);
using GetSystemMetricsForDpi_t = int WINAPI(int, UINT);
using SystemParametersInfoForDpi_t = BOOL WINAPI(UINT, UINT, void*, UINT, UINT);
using AdjustWindowRectExForDpi_t = BOOL WINAPI(RECT*, DWORD, BOOL, DWORD, UINT);
using SetDialogDpiChangeBehavior_t = BOOL WINAPI(HWND, int, int);

// Values of DPI_AWARENESS_CONTEXT.
constexpr INT_PTR kPerMonitorAware = -3;
constexpr INT_PTR kPerMonitorAware2 = -4;

constexpr int kDisableAll = 1;  // of DIALOG_DPI_CHANGE_BEHAVIORS

}  // namespace

PerMonitorScaling::PerMonitorScaling() noexcept {
  auto* const set = UserFunction<SetThreadContext_t>("SetThreadDpiAwarenessContext");
  if (set == nullptr) return;
  previous_ = set(std::bit_cast<HANDLE>(kPerMonitorAware2));
  if (previous_ == nullptr) previous_ = set(std::bit_cast<HANDLE>(kPerMonitorAware));
}

PerMonitorScaling::~PerMonitorScaling() {
  if (previous_ == nullptr) return;
  UserFunction<SetThreadContext_t>("SetThreadDpiAwarenessContext")(previous_);
}

UINT DotsPerInch(HWND window) noexcept {
  if (auto* const of_window = UserFunction<GetDpiForWindow_t>("GetDpiForWindow")) {
    const UINT dots = of_window(window);
    if (dots != 0) return dots;
  }
  const HDC screen = GetDC(nullptr);
  if (screen == nullptr) return kDotsAtFullSize;
  const int dots = GetDeviceCaps(screen, LOGPIXELSX);
  ReleaseDC(nullptr, screen);
  return dots > 0 ? static_cast<UINT>(dots) : kDotsAtFullSize;
}

int ScaledMetric(int metric, UINT dots_per_inch) noexcept {
  if (auto* const scaled = UserFunction<GetSystemMetricsForDpi_t>("GetSystemMetricsForDpi"))
    return scaled(metric, dots_per_inch);
  return GetSystemMetrics(metric);
}

HFONT CreateMessageFont(UINT dots_per_inch) noexcept {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  auto* const scaled = UserFunction<SystemParametersInfoForDpi_t>("SystemParametersInfoForDpi");
  const bool known =
      scaled != nullptr
          ? scaled(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dots_per_inch) != 0
          : SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0) != 0;
  return known ? CreateFontIndirectW(&metrics.lfMessageFont) : nullptr;
}

SIZE OuterSize(HWND window, SIZE client, UINT dots_per_inch) noexcept {
  RECT outer{0, 0, client.cx, client.cy};
  const auto style = static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
  const auto extended_style = static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE));
  if (auto* const scaled = UserFunction<AdjustWindowRectExForDpi_t>("AdjustWindowRectExForDpi"))
    scaled(&outer, style, FALSE, extended_style, dots_per_inch);
  else
    AdjustWindowRectEx(&outer, style, FALSE, extended_style);
  return {outer.right - outer.left, outer.bottom - outer.top};
}

void TakeOverScaling(HWND dialog) noexcept {
  if (auto* const set = UserFunction<SetDialogDpiChangeBehavior_t>("SetDialogDpiChangeBehavior"))
    set(dialog, kDisableAll, kDisableAll);
}

}  // namespace tdefault::search
