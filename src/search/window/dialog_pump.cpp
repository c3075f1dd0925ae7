#include "search/window/dialog_pump.h"

namespace tdefault::search {

void DialogPump::ProcessPendingMessages() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      // Meant for the host's own loop.
      program_ends_ = true;
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    if (IsDialogMessageW(dialog_, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

}  // namespace tdefault::search
