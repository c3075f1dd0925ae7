// What tovocfg knows about one report layout: a copy of the library's object in UTF-8, without COM.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tovocfg {

struct Layout {
  std::string code;  // the library's ReportName, which the INI file holds
  std::string name;
  std::string description;
  std::size_t picture_size = 0;  // bytes of the preview; 0: none
  bool in_use = false;
};

// The layout of a code or else of a name, without regard to case; null when there is none.
[[nodiscard]] const Layout* FindLayout(const std::vector<Layout>& layouts, const std::string& word);

// Null when none is.
[[nodiscard]] const Layout* LayoutInUse(const std::vector<Layout>& layouts);

// Aligned columns: a star for the one in use, code, name, description; a line with the count.
[[nodiscard]] std::string FormatLayouts(const std::vector<Layout>& layouts);

// Ends in a line break.
[[nodiscard]] std::string LayoutsToJson(const std::vector<Layout>& layouts);

}  // namespace tovocfg
