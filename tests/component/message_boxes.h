// Message boxes of a process, read and closed as a user would.
#pragma once

#include <windows.h>
// After windows.h.
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace tdefault::component {

struct SeenBox {
  std::string title;
  std::string text;
  std::vector<int> buttons;  // IDOK and so on, in ascending order
  bool has_icon = false;
};

// Closes boxes with OK.
class BoxCloser {
 public:
  explicit BoxCloser(DWORD process) : process_(process) {}

  // Those that the process shows now, in the order in which they come.
  void CloseBoxes();
  [[nodiscard]] const std::vector<SeenBox>& seen() const { return seen_; }

 private:
  static BOOL CALLBACK Visit(HWND window, LPARAM parameter);
  [[nodiscard]] bool IsBox(HWND window) const;
  void Close(HWND box);

  DWORD process_;
  std::vector<SeenBox> seen_;
  std::set<HWND> closed_;
};

// Closes every box of this process while `body` runs, from another thread; gives them in order.
[[nodiscard]] std::vector<SeenBox> CloseBoxesWhile(const std::function<void()>& body);

// The text of a window or a control.
[[nodiscard]] std::string WindowText(HWND window);

}  // namespace tdefault::component
