#include "search/dialog_layout.h"

#include <algorithm>

namespace tdefault::search {
namespace {

// Dialog units.
constexpr int kMargin = 7;
constexpr int kGap = 4;
constexpr int kLabelHeight = 9;
constexpr int kLabelGap = 2;
constexpr int kButtonWidth = 50;
constexpr int kButtonHeight = 14;
constexpr int kSmallestList = 40;

// What stands above and below the list, without lblMsg.
int HeightAroundList(const DialogUnits& units) {
  const int above = kMargin + kGap + kLabelHeight + kLabelGap;
  const int below = kGap + 2 * kLabelHeight + kGap + kButtonHeight + kMargin;
  return units.Down(above + below);
}

}  // namespace

Size FirstSize(const DialogUnits& units) { return {units.Across(280), units.Down(210)}; }

Size SmallestSize(const DialogUnits& units, int message_height) {
  return {2 * units.Across(kMargin) + 2 * units.Across(kButtonWidth) + units.Across(kGap),
          HeightAroundList(units) + message_height + units.Down(kSmallestList)};
}

int MessageWidth(const DialogUnits& units, int client_width) {
  return std::max(client_width - 2 * units.Across(kMargin), 0);
}

Layout Arrange(const DialogUnits& units, Size client, int message_height) {
  const int left = units.Across(kMargin);
  const int width = MessageWidth(units, client.width);
  const int label_height = units.Down(kLabelHeight);
  const Size button{units.Across(kButtonWidth), units.Down(kButtonHeight)};

  Layout layout;
  layout.message = {left, units.Down(kMargin), width, message_height};
  layout.list_label = {left, layout.message.top + message_height + units.Down(kGap), width,
                       label_height};

  const int buttons_top = client.height - units.Down(kMargin) - button.height;
  layout.cancel = {client.width - left - button.width, buttons_top, button.width, button.height};
  layout.accept = {layout.cancel.left - units.Across(kGap) - button.width, buttons_top,
                   button.width, button.height};
  layout.folder = {left, buttons_top - units.Down(kGap) - label_height, width, label_height};
  layout.status = {left, layout.folder.top - label_height, width, label_height};

  const int list_top = layout.list_label.top + label_height + units.Down(kLabelGap);
  const int list_bottom = layout.status.top - units.Down(kGap);
  layout.list = {left, list_top, width, std::max(list_bottom - list_top, 0)};
  return layout;
}

}  // namespace tdefault::search
