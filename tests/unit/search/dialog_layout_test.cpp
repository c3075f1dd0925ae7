#include "search/dialog_layout.h"

#include <doctest/doctest.h>

#include <vector>

using namespace tdefault;
using search::Arrange;
using search::Box;
using search::DialogUnits;
using search::Layout;
using search::Size;

namespace {

int Right(const Box& box) { return box.left + box.width; }
int Bottom(const Box& box) { return box.top + box.height; }

// 100, 125, 150, 200 and 400 percent of a usual dialog font.
const std::vector<DialogUnits> kFonts = {{6, 13}, {7, 15}, {9, 20}, {12, 26}, {24, 52}};

}  // namespace

TEST_CASE("at its first size every control of the dialog stands inside, one below the other") {
  for (const DialogUnits& font : kFonts) {
    const Size client = search::FirstSize(font);
    const Layout layout = Arrange(font, client, font.base_height);
    CHECK(layout.message.top > 0);
    CHECK(layout.list_label.top > Bottom(layout.message));
    CHECK(layout.list.top > Bottom(layout.list_label));
    CHECK(layout.list.height > 5 * font.base_height);
    CHECK(layout.status.top > Bottom(layout.list));
    CHECK(layout.folder.top >= Bottom(layout.status));
    CHECK(layout.accept.top > Bottom(layout.folder));
    CHECK(layout.accept.top == layout.cancel.top);
    CHECK(layout.cancel.left > Right(layout.accept));
    CHECK(Bottom(layout.cancel) < client.height);
    for (const Box& box : {layout.message, layout.list, layout.folder, layout.cancel}) {
      CHECK(box.left > 0);
      CHECK(Right(box) < client.width);
    }
    // A line of text has room in its label.
    CHECK(layout.status.height >= font.base_height);
  }
}

TEST_CASE("the list takes all that a larger dialog gains") {
  const DialogUnits font = kFonts[0];
  const Layout small = Arrange(font, {400, 300}, 13);
  const Layout large = Arrange(font, {500, 380}, 13);
  CHECK(large.list.width == small.list.width + 100);
  CHECK(large.list.height == small.list.height + 80);
  CHECK(large.cancel.left == small.cancel.left + 100);
  CHECK(large.cancel.top == small.cancel.top + 80);
  CHECK(large.folder.width == small.folder.width + 100);
}

TEST_CASE("at its smallest size no control of the dialog lies over another one") {
  for (const DialogUnits& font : kFonts) {
    // lblMsg takes three lines there.
    const int message = 3 * font.base_height;
    const Size client = search::SmallestSize(font, message);
    const Layout layout = Arrange(font, client, message);
    CHECK(layout.accept.left >= font.Across(7));
    CHECK(layout.list.height >= font.Down(39));
    CHECK(layout.status.top > Bottom(layout.list));
    CHECK(layout.list.top > Bottom(layout.list_label));
  }
}

TEST_CASE("a dialog that is smaller than its smallest size has a list without height") {
  const Layout layout = Arrange(kFonts[0], {50, 20}, 13);
  CHECK(layout.list.height == 0);
  CHECK(layout.message.width >= 0);
}
