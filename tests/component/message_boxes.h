// Message boxes of this process, read and closed from another thread as a user would.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tdefault::component {

struct SeenBox {
  std::string title;
  std::string text;
  std::vector<int> buttons;  // IDOK and so on, in ascending order
  bool has_icon = false;
  bool in_front = false;
};

// Closes every box with OK while `body` runs; gives them in the order in which they came.
[[nodiscard]] std::vector<SeenBox> CloseBoxesWhile(const std::function<void()>& body);

// The text of a window or a control.
[[nodiscard]] std::string WindowText(void* window);

}  // namespace tdefault::component
