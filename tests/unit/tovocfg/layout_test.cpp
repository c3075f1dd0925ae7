#include "tovocfg/layout.h"

#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

namespace tovocfg {

namespace {

std::vector<Layout> Layouts() {
  return {{"INV1", "Standard", "One page\r\nwith a stub", 5134, false},
          {"INV2", "Plain", "", 0, true},
          {"STANDARD", "Old", "", 0, false}};
}

}  // namespace

TEST_CASE("a layout is found by its code first and by its name, in any case") {
  const std::vector<Layout> layouts = Layouts();
  CHECK(FindLayout(layouts, "inv2") == &layouts[1]);
  CHECK(FindLayout(layouts, "standard") == &layouts[2]);
  CHECK(FindLayout(layouts, "plain") == &layouts[1]);
  CHECK(FindLayout(layouts, "INV") == nullptr);
}

TEST_CASE("the table of layouts marks the one in use and shows one line of each description") {
  CHECK(FormatLayouts(Layouts()) ==
        "  Code      Name      Description\n"
        "  --------  --------  -----------\n"
        "  INV1      Standard  One page\n"
        "* INV2      Plain\n"
        "  STANDARD  Old\n"
        "\n"
        "3 report layouts; * is in use\n");
  CHECK(FormatLayouts({{"A", "B", "", 0, false}}) ==
        "  Code  Name  Description\n"
        "  ----  ----  -----------\n"
        "  A     B\n"
        "\n"
        "1 report layout, none in use\n");
  CHECK(FormatLayouts({}).ends_with("\n0 report layouts, none in use\n"));
}

TEST_CASE("layouts in JSON have their texts exactly and the size of their picture") {
  const auto json = nlohmann::json::parse(LayoutsToJson(Layouts()));
  REQUIRE(json["reports"].size() == 3);
  CHECK(json["reports"][0]["description"] == "One page\r\nwith a stub");
  CHECK(json["reports"][0]["pictureBytes"] == 5134);
  CHECK(json["reports"][1]["inUse"] == true);
}

}  // namespace tovocfg
