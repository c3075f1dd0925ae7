#include "window/user.h"

// After windows.h.
#include <commctrl.h>

#include <array>
#include <bit>

#include "search/window/resources.h"

namespace tdefault::window {
namespace {

constexpr int kWaits = 12000;
constexpr DWORD kWaitMilliseconds = 5;

// The parts of a key message's second parameter.
constexpr LPARAM kDown = 1;
constexpr LPARAM kUp = static_cast<LPARAM>(0xC0000001);
constexpr LPARAM kWithAlt = 0x20000001;

LPARAM At(POINT place) { return MAKELPARAM(place.x, place.y); }

}  // namespace

bool WaitUntil(const std::function<bool()>& condition) {
  for (int waits = 0; waits < kWaits; ++waits) {
    if (condition()) return true;
    Sleep(kWaitMilliseconds);
  }
  return false;
}

BOOL CALLBACK User::Visit(HWND window, LPARAM parameter) {
  auto& found = *std::bit_cast<HWND*>(parameter);
  if (IsWindowVisible(window) == 0 || GetDlgItem(window, IDC_LIST) == nullptr) return TRUE;
  found = window;
  return FALSE;
}

bool User::SeeDialog() {
  return WaitUntil([this] {
    dialog_ = nullptr;
    EnumThreadWindows(thread_, Visit, std::bit_cast<LPARAM>(&dialog_));
    return dialog_ != nullptr && !Caption(0).empty() && Focus() != nullptr;
  });
}

std::wstring User::Text(int control) const {
  std::array<wchar_t, 1024> text{};
  GetWindowTextW(Control(control), text.data(), static_cast<int>(text.size()));
  return text.data();
}

std::wstring User::Caption(int column) const {
  std::array<wchar_t, 256> text{};
  LVCOLUMNW asked{};
  asked.mask = LVCF_TEXT;
  asked.pszText = text.data();
  asked.cchTextMax = static_cast<int>(text.size());
  SendMessageW(Control(IDC_LIST), LVM_GETCOLUMNW, static_cast<WPARAM>(column),
               std::bit_cast<LPARAM>(&asked));
  return text.data();
}

std::vector<std::wstring> User::Rows(int column) const {
  std::vector<std::wstring> rows;
  const HWND list = Control(IDC_LIST);
  const LRESULT count = SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
  for (LRESULT row = 0; row < count; ++row) {
    std::array<wchar_t, 1024> text{};
    LVITEMW asked{};
    asked.iSubItem = column;
    asked.pszText = text.data();
    asked.cchTextMax = static_cast<int>(text.size());
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), std::bit_cast<LPARAM>(&asked));
    rows.emplace_back(text.data());
  }
  return rows;
}

int User::Image(int row) const {
  LVITEMW asked{};
  asked.mask = LVIF_IMAGE;
  asked.iItem = row;
  SendMessageW(Control(IDC_LIST), LVM_GETITEMW, 0, std::bit_cast<LPARAM>(&asked));
  return asked.iImage;
}

bool User::IsVisible(int control) const { return IsWindowVisible(Control(control)) != 0; }

bool User::IsEnabled(int control) const { return IsWindowEnabled(Control(control)) != 0; }

HWND User::Focus() const {
  GUITHREADINFO information{};
  information.cbSize = sizeof information;
  return GetGUIThreadInfo(thread_, &information) ? information.hwndFocus : nullptr;
}

void User::Press(WPARAM key) const {
  const HWND focus = Focus();
  PostMessageW(focus, WM_KEYDOWN, key, kDown);
  PostMessageW(focus, WM_KEYUP, key, kUp);
}

void User::PressAlt(wchar_t letter) const { PostMessageW(Focus(), WM_SYSCHAR, letter, kWithAlt); }

void User::ClickControl(int control) const {
  const HWND window = Control(control);
  RECT place{};
  GetClientRect(window, &place);
  const LPARAM middle = At({place.right / 2, place.bottom / 2});
  PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, middle);
  PostMessageW(window, WM_LBUTTONUP, 0, middle);
}

POINT User::MiddleOf(int row) const {
  RECT place{LVIR_LABEL, 0, 0, 0};
  SendMessageW(Control(IDC_LIST), LVM_GETITEMRECT, static_cast<WPARAM>(row),
               std::bit_cast<LPARAM>(&place));
  return {place.left + 4, (place.top + place.bottom) / 2};
}

void User::ClickList(POINT place) const {
  const HWND list = Control(IDC_LIST);
  // The list waits inside the first for the second, to tell a click from a drag.
  PostMessageW(list, WM_LBUTTONDOWN, MK_LBUTTON, At(place));
  PostMessageW(list, WM_LBUTTONUP, 0, At(place));
}

void User::ClickRow(int row) const { ClickList(MiddleOf(row)); }

void User::DoubleClickRow(int row) const {
  const POINT place = MiddleOf(row);
  ClickList(place);
  PostMessageW(Control(IDC_LIST), WM_LBUTTONDBLCLK, MK_LBUTTON, At(place));
  PostMessageW(Control(IDC_LIST), WM_LBUTTONUP, 0, At(place));
}

void User::ClickCorner() const { PostMessageW(dialog_, WM_SYSCOMMAND, SC_CLOSE, 0); }

void User::Select(int row, bool selected) const {
  LVITEMW item{};
  item.state = selected ? LVIS_SELECTED : 0;
  item.stateMask = LVIS_SELECTED;
  SendMessageW(Control(IDC_LIST), LVM_SETITEMSTATE, static_cast<WPARAM>(row),
               std::bit_cast<LPARAM>(&item));
}

}  // namespace tdefault::window
