#include "message_boxes.h"

#include <algorithm>
#include <array>
#include <stop_token>
#include <string_view>
#include <thread>

#include "base/text.h"

namespace tdefault::component {

namespace {

constexpr int kTextControl = 0xFFFF;

BOOL CALLBACK NoteControl(HWND control, LPARAM parameter) {
  SeenBox& seen = *reinterpret_cast<SeenBox*>(parameter);
  std::array<wchar_t, 64> kind{};
  GetClassNameW(control, kind.data(), static_cast<int>(kind.size()));
  const LONG style = GetWindowLongW(control, GWL_STYLE);
  if ((style & WS_VISIBLE) == 0) return TRUE;
  const std::wstring_view name = kind.data();
  if (name == L"Button") seen.buttons.push_back(GetDlgCtrlID(control));
  if (name == L"Static" && (style & SS_TYPEMASK) == SS_ICON)
    seen.has_icon = SendMessageW(control, STM_GETICON, 0, 0) != 0;
  return TRUE;
}

}  // namespace

std::string WindowText(HWND window) {
  std::array<wchar_t, 1024> text{};
  GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  return ToUtf8(text.data());
}

void BoxCloser::CloseBoxes() {
  std::erase_if(closed_, [](HWND box) { return IsWindow(box) == 0; });
  EnumWindows(Visit, reinterpret_cast<LPARAM>(this));
}

BOOL CALLBACK BoxCloser::Visit(HWND window, LPARAM parameter) {
  BoxCloser& closer = *reinterpret_cast<BoxCloser*>(parameter);
  if (closer.IsBox(window) && closer.closed_.insert(window).second) closer.Close(window);
  return TRUE;
}

// A box that is ready for its user.
bool BoxCloser::IsBox(HWND window) const {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  std::array<wchar_t, 16> kind{};
  GetClassNameW(window, kind.data(), static_cast<int>(kind.size()));
  return process == process_ && std::wstring_view(kind.data()) == L"#32770" &&
         IsWindowVisible(window) != 0 && GetDlgItem(window, kTextControl) != nullptr;
}

void BoxCloser::Close(HWND box) {
  SeenBox& noted = seen_.emplace_back();
  noted.title = WindowText(box);
  noted.text = WindowText(GetDlgItem(box, kTextControl));
  EnumChildWindows(box, NoteControl, reinterpret_cast<LPARAM>(&noted));
  std::sort(noted.buttons.begin(), noted.buttons.end());
  PostMessageW(box, WM_COMMAND, IDOK, 0);
}

std::vector<SeenBox> CloseBoxesWhile(const std::function<void()>& body) {
  BoxCloser user(GetCurrentProcessId());
  {
    // Its end, by whatever way, asks the thread to stop.
    const std::jthread closing([&user](const std::stop_token& stop) {
      for (; !stop.stop_requested(); Sleep(5)) user.CloseBoxes();
    });
    body();
  }
  return user.seen();
}

}  // namespace tdefault::component
