#include "tovocfg/colour.h"

namespace tovocfg {

namespace {

// The foreground colours of the terminal's own scheme, so that they can be read on any background.
const char* CodeOf(Colour colour) {
  switch (colour) {
    case Colour::kGood:
      return "\x1b[32m";
    case Colour::kCaution:
      return "\x1b[33m";
    case Colour::kBad:
      return "\x1b[31m";
    case Colour::kChanged:
      break;
  }
  return "\x1b[36m";
}

constexpr const char* kEnd = "\x1b[0m";

}  // namespace

bool WantsColour(ColourWish wish, bool takes_colours, const std::string& no_color) {
  if (wish != ColourWish::kAuto) return wish == ColourWish::kAlways;
  return takes_colours && no_color.empty();
}

std::string Palette::Paint(Colour colour, const std::string& text) const {
  if (!enabled_ || text.empty()) return text;
  return CodeOf(colour) + text + kEnd;
}

}  // namespace tovocfg
