// A user of the search dialog: acts on it from a thread of its own, by the messages that keyboard
// and mouse send.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace tdefault::window {

// Waits for up to a minute, which no working dialog needs.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& condition);

class User {
 public:
  // Of the dialog that the thread shows.
  explicit User(DWORD thread) : thread_(thread) {}

  // Waits for the dialog to show its drives; false when none comes.
  [[nodiscard]] bool SeeDialog();
  [[nodiscard]] HWND dialog() const { return dialog_; }
  [[nodiscard]] HWND Control(int control) const { return GetDlgItem(dialog_, control); }
  [[nodiscard]] bool DialogIsGone() const { return IsWindow(dialog_) == 0; }

  // What the user reads.
  [[nodiscard]] std::wstring Text(int control) const;
  [[nodiscard]] std::wstring Caption(int column) const;
  [[nodiscard]] std::vector<std::wstring> Rows(int column = 0) const;
  [[nodiscard]] int Image(int row) const;
  [[nodiscard]] bool IsVisible(int control) const;
  [[nodiscard]] bool IsEnabled(int control) const;
  [[nodiscard]] HWND Focus() const;

  // By keyboard, at the control that has the focus.
  void Press(WPARAM key) const;
  void PressAlt(wchar_t letter) const;
  // By mouse.
  void ClickControl(int control) const;
  void ClickRow(int row) const;
  void DoubleClickRow(int row) const;
  void ClickCorner() const;

  // Selects a row as assistive programs do.
  void Select(int row, bool selected = true) const;

 private:
  static BOOL CALLBACK Visit(HWND window, LPARAM parameter);
  [[nodiscard]] POINT MiddleOf(int row) const;
  void ClickList(POINT place) const;

  DWORD thread_;
  HWND dialog_ = nullptr;
};

}  // namespace tdefault::window
