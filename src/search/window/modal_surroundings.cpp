#include "search/window/modal_surroundings.h"

#include "search/window/resources.h"

namespace tdefault::search {

VisualStyles::VisualStyles(HINSTANCE module) noexcept {
  ACTCTXW wanted{};
  wanted.cbSize = sizeof wanted;
  wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
  wanted.hModule = module;
  wanted.lpResourceName = MAKEINTRESOURCEW(IDM_VISUAL_STYLES);
  context_ = CreateActCtxW(&wanted);
  active_ = context_ != INVALID_HANDLE_VALUE && ActivateActCtx(context_, &cookie_) != 0;
}

VisualStyles::~VisualStyles() {
  if (active_) DeactivateActCtx(0, cookie_);
  if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
}

OtherWindowsDisabled::OtherWindowsDisabled(HWND modal) {
  for (HWND window = FindWindowExW(nullptr, nullptr, nullptr, nullptr); window != nullptr;
       window = FindWindowExW(nullptr, window, nullptr, nullptr)) {
    if (window != modal && GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId() &&
        IsWindowVisible(window) && IsWindowEnabled(window))
      disabled_.push_back(window);
  }
  for (const HWND window : disabled_) EnableWindow(window, FALSE);
}

void OtherWindowsDisabled::Enable() noexcept {
  for (const HWND window : disabled_)
    if (IsWindow(window)) EnableWindow(window, TRUE);
  disabled_.clear();
}

}  // namespace tdefault::search
