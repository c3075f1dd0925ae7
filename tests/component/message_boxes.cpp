#include "message_boxes.h"

#include <algorithm>
#include <array>
#include <set>
#include <stop_token>
#include <string_view>
#include <thread>

#include "host.h"

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

// Whether the window is a box of this process that is ready for its user.
bool IsBox(HWND window) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  std::array<wchar_t, 16> kind{};
  GetClassNameW(window, kind.data(), static_cast<int>(kind.size()));
  return process == GetCurrentProcessId() && std::wstring_view(kind.data()) == L"#32770" &&
         IsWindowVisible(window) != 0 && GetDlgItem(window, kTextControl) != nullptr;
}

class User {
 public:
  // Closes what is there now.
  void CloseBoxes() {
    std::erase_if(closed_, [](HWND box) { return IsWindow(box) == 0; });
    EnumWindows(Visit, reinterpret_cast<LPARAM>(this));
  }

  std::vector<SeenBox> seen;

 private:
  static BOOL CALLBACK Visit(HWND window, LPARAM parameter) {
    User& user = *reinterpret_cast<User*>(parameter);
    if (IsBox(window) && user.closed_.insert(window).second) user.Close(window);
    return TRUE;
  }

  void Close(HWND box) {
    SeenBox& noted = seen.emplace_back();
    noted.title = WindowText(box);
    noted.text = WindowText(GetDlgItem(box, kTextControl));
    noted.in_front = GetForegroundWindow() == box;
    EnumChildWindows(box, NoteControl, reinterpret_cast<LPARAM>(&noted));
    std::sort(noted.buttons.begin(), noted.buttons.end());
    PostMessageW(box, WM_COMMAND, IDOK, 0);
  }

  std::set<HWND> closed_;
};

}  // namespace

std::string WindowText(void* window) {
  std::array<wchar_t, 1024> text{};
  GetWindowTextW(static_cast<HWND>(window), text.data(), static_cast<int>(text.size()));
  return Utf8(text.data());
}

std::vector<SeenBox> CloseBoxesWhile(const std::function<void()>& body) {
  User user;
  {
    // Its end, by whatever way, asks the thread to stop.
    const std::jthread closing([&user](const std::stop_token& stop) {
      for (; !stop.stop_requested(); Sleep(5)) user.CloseBoxes();
    });
    body();
  }
  return std::move(user.seen);
}

}  // namespace tdefault::component
