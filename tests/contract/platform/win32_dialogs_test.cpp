// Message boxes on a desktop, answered from another thread as a user would.
#include <doctest/doctest.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/win32/win32_platform.h"

using namespace tdefault::platform;

namespace {

constexpr int kTextControl = 0xFFFF;

std::wstring WindowText(HWND window) {
  std::wstring text(1024, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), 1024)));
  return text;
}

// What was seen of a message box before it was closed.
struct SeenBox {
  std::wstring title;
  std::wstring text;
  std::set<int> buttons;
  HICON icon = nullptr;
  int default_button = 0;
  bool in_front = false;
  bool shown = false;
};

// Notes the buttons and the icon of the box.
BOOL CALLBACK NoteControl(HWND control, LPARAM parameter) {
  SeenBox& seen = *reinterpret_cast<SeenBox*>(parameter);
  std::wstring kind(64, L'\0');
  kind.resize(static_cast<std::size_t>(GetClassNameW(control, kind.data(), 64)));
  const LONG style = GetWindowLongW(control, GWL_STYLE);
  if ((style & WS_VISIBLE) == 0) return TRUE;
  if (kind == L"Button") seen.buttons.insert(GetDlgCtrlID(control));
  if (kind == L"Static" && (style & SS_TYPEMASK) == SS_ICON)
    seen.icon = reinterpret_cast<HICON>(SendMessageW(control, STM_GETICON, 0, 0));
  return TRUE;
}

// Closes the box that `show` shows, which has that button, from another thread with the message
// given, as a user would.
void ReplyTo(const std::wstring& title, int button, UINT message, WPARAM parameter, SeenBox& seen,
             const std::function<void()>& show) {
  std::atomic<bool> answered = false;
  std::thread user([&] {
    HWND box = nullptr;
    while (!answered && (box = FindWindowW(L"#32770", title.c_str())) == nullptr) Sleep(5);
    // The box appears before its controls do.
    while (!answered && GetDlgItem(box, button) == nullptr) Sleep(5);
    while (!answered && !IsWindowVisible(box)) Sleep(5);
    if (answered) return;
    seen.shown = true;
    seen.title = WindowText(box);
    EnumChildWindows(box, NoteControl, reinterpret_cast<LPARAM>(&seen));
    seen.text = WindowText(GetDlgItem(box, kTextControl));
    for (const int id : {IDOK, IDYES, IDNO, IDCANCEL}) {
      const LONG kind = GetWindowLongW(GetDlgItem(box, id), GWL_STYLE) & BS_TYPEMASK;
      if (kind == BS_DEFPUSHBUTTON) seen.default_button = id;
    }
    seen.in_front = GetForegroundWindow() == box;
    PostMessageW(box, message, parameter, 0);
  });
  show();
  answered = true;
  user.join();
}

std::optional<MessageAnswer> AskAndReply(Platform& platform, const std::wstring& title,
                                         UINT message, WPARAM parameter, SeenBox& seen) {
  std::optional<MessageAnswer> answer;
  ReplyTo(title, IDCANCEL, message, parameter, seen, [&] {
    answer = platform.dialogs.AskYesNoCancel(title,
                                             L"The path 'C:\\D\u0105ta' was not found.\r\n\r\nSo?");
  });
  return answer;
}

}  // namespace

TEST_CASE("a message box asks in front with icon and buttons, Yes its default and an answer") {
  win32::Win32Platform adapter;
  SeenBox seen;
  CHECK(AskAndReply(adapter.platform(), L"Path \u0142 one", WM_COMMAND, IDYES, seen) ==
        MessageAnswer::kYes);
  CHECK(seen.shown);
  CHECK(seen.in_front);
  CHECK(seen.text == L"The path 'C:\\D\u0105ta' was not found.\r\n\r\nSo?");
  CHECK(seen.title == L"Path \u0142 one");
  CHECK(seen.buttons == std::set<int>{IDYES, IDNO, IDCANCEL});
  CHECK(seen.icon != nullptr);
  CHECK(seen.icon == LoadIconW(nullptr, IDI_QUESTION));
  CHECK(seen.default_button == IDYES);
}

TEST_CASE("No and Cancel are answers, and closing the box is Cancel") {
  win32::Win32Platform adapter;
  SeenBox seen;
  CHECK(AskAndReply(adapter.platform(), L"Path two", WM_COMMAND, IDNO, seen) == MessageAnswer::kNo);
  CHECK(AskAndReply(adapter.platform(), L"Path three", WM_COMMAND, IDCANCEL, seen) ==
        MessageAnswer::kCancel);
  CHECK(AskAndReply(adapter.platform(), L"Path four", WM_CLOSE, 0, seen) == MessageAnswer::kCancel);
}

TEST_CASE("waiting messages are handled in order, with those that their handling sends") {
  struct Received {
    std::vector<UINT> messages;
    static LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
      auto* received = reinterpret_cast<Received*>(GetWindowLongPtrW(window, GWLP_USERDATA));
      if (received == nullptr || message < WM_APP)
        return DefWindowProcW(window, message, wide, parameter);
      received->messages.push_back(message);
      if (message == WM_APP) PostMessageW(window, WM_APP + 9, 0, 0);
      return 0;
    }
  };
  win32::Win32Platform adapter;
  Received received;
  const HWND window = CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      GetModuleHandleW(nullptr), nullptr);
  REQUIRE(window != nullptr);
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&received));
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Received::Note));
  for (const UINT message : {WM_APP, WM_APP + 1}) PostMessageW(window, message, 0, 0);
  CHECK(received.messages.empty());
  adapter.platform().dialogs.ProcessPendingMessages();
  CHECK(received.messages == std::vector<UINT>{WM_APP, WM_APP + 1, WM_APP + 9});
  // There is nothing to wait for.
  adapter.platform().dialogs.ProcessPendingMessages();
  CHECK(received.messages.size() == 3);
  DestroyWindow(window);
}

TEST_CASE("a message that ends the host's own loop is left to it") {
  win32::Win32Platform adapter;
  PostQuitMessage(7);
  adapter.platform().dialogs.ProcessPendingMessages();
  MSG message{};
  REQUIRE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  CHECK(message.message == WM_QUIT);
  CHECK(message.wParam == 7);
}

TEST_CASE("a message box tells in front with OK alone and without an icon, until it is closed") {
  win32::Win32Platform adapter;
  for (const UINT message : {UINT{WM_COMMAND}, UINT{WM_CLOSE}}) {
    SeenBox seen;
    ReplyTo(L"Host \u0142", IDOK, message, message == WM_COMMAND ? IDOK : 0, seen,
            [&] { adapter.platform().dialogs.Tell(L"Host \u0142", L"One \u0105.\r\n\r\nTwo."); });
    CHECK(seen.shown);
    CHECK(seen.in_front);
    CHECK(seen.text == L"One \u0105.\r\n\r\nTwo.");
    CHECK(seen.title == L"Host \u0142");
    CHECK(seen.buttons == std::set<int>{IDOK});
    CHECK(seen.icon == nullptr);
    CHECK(seen.default_button == IDOK);
  }
}
