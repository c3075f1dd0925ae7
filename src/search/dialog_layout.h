// Where the controls of the search dialog stand in a client area of a given size.
#pragma once

namespace tdefault::search {

// In pixels.
struct Box {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

struct Size {
  int width = 0;
  int height = 0;
};

// The dialog font's base units: the average width of its characters and their height, in pixels.
// A fourth of the one and an eighth of the other are a dialog unit.
struct DialogUnits {
  int base_width = 6;
  int base_height = 13;

  [[nodiscard]] int Across(int units) const { return (units * base_width + 2) / 4; }
  [[nodiscard]] int Down(int units) const { return (units * base_height + 4) / 8; }
};

struct Layout {
  Box message;
  Box list_label;
  Box list;
  Box status;
  Box folder;
  Box accept;  // cmdSearch and cmdOK stand in the same place
  Box cancel;
};

// Of the client area.
[[nodiscard]] Size FirstSize(const DialogUnits& units);
// Below it a control would lie over another one. `message_height` is that of lblMsg's text at the
// smallest width, in pixels.
[[nodiscard]] Size SmallestSize(const DialogUnits& units, int message_height);
// The width of lblMsg in a client area of that width.
[[nodiscard]] int MessageWidth(const DialogUnits& units, int client_width);

[[nodiscard]] Layout Arrange(const DialogUnits& units, Size client, int message_height);

}  // namespace tdefault::search
