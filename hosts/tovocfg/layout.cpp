#include "tovocfg/layout.h"

#include <algorithm>

#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

// A line fits a console of 120 characters.
constexpr std::size_t kWidestName = 30;
constexpr std::size_t kWidestDescription = 70;

std::string FirstLine(const std::string& text) {
  const std::vector<std::string> lines = Lines(text);
  return lines.empty() ? std::string() : Trimmed(lines.front());
}

std::string LineOf(const std::string& mark, const std::string& code, const std::string& name,
                   const std::string& description, std::size_t code_width, std::size_t name_width) {
  const std::string line = mark + " " + Padded(code, code_width + 2) +
                           Padded(Shortened(name, name_width), name_width + 2) +
                           Shortened(description, kWidestDescription);
  return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

}  // namespace

const Layout* FindLayout(const std::vector<Layout>& layouts, const std::string& word) {
  for (const auto member : {&Layout::code, &Layout::name}) {
    const auto found = std::find_if(layouts.begin(), layouts.end(), [&](const Layout& layout) {
      return SameText(layout.*member, word);
    });
    if (found != layouts.end()) return &*found;
  }
  return nullptr;
}

const Layout* LayoutInUse(const std::vector<Layout>& layouts) {
  const auto found = std::find_if(layouts.begin(), layouts.end(),
                                  [](const Layout& layout) { return layout.in_use; });
  return found == layouts.end() ? nullptr : &*found;
}

std::string FormatLayouts(const std::vector<Layout>& layouts) {
  std::size_t code_width = CountCharacters("Code");
  std::size_t name_width = CountCharacters("Name");
  for (const Layout& layout : layouts) {
    code_width = std::max(code_width, CountCharacters(layout.code));
    name_width = std::max(name_width, std::min(CountCharacters(layout.name), kWidestName));
  }
  std::string out = LineOf(" ", "Code", "Name", "Description", code_width, name_width);
  out += LineOf(" ", std::string(code_width, '-'), std::string(name_width, '-'),
                std::string(CountCharacters("Description"), '-'), code_width, name_width);
  for (const Layout& layout : layouts)
    out += LineOf(layout.in_use ? "*" : " ", layout.code, layout.name,
                  FirstLine(layout.description), code_width, name_width);
  out += "\n" + std::to_string(layouts.size()) +
         (layouts.size() == 1 ? " report layout" : " report layouts");
  return out + (LayoutInUse(layouts) == nullptr ? ", none in use\n" : "; * is in use\n");
}

std::string LayoutsToJson(const std::vector<Layout>& layouts) {
  Json document = JsonDocument("reports");
  document["reports"] = Json::array();
  for (const Layout& layout : layouts)
    document["reports"].push_back({{"code", layout.code},
                                   {"name", layout.name},
                                   {"description", layout.description},
                                   {"pictureBytes", layout.picture_size},
                                   {"inUse", layout.in_use}});
  return Written(document);
}

}  // namespace tovocfg
