// Colours of a terminal.
#pragma once

#include <string>

namespace tovocfg {

enum class Colour { kGood, kCaution, kBad, kChanged };

// What the command line asks for: colours on a terminal that takes them, everywhere, or nowhere.
enum class ColourWish { kAuto, kAlways, kNever };

// Whether an output gets colours: one that is a terminal, unless the environment variable NO_COLOR
// holds a text.
[[nodiscard]] bool WantsColour(ColourWish wish, bool takes_colours, const std::string& no_color);

// Puts colours around texts, or leaves them as they are.
class Palette {
 public:
  Palette() = default;
  explicit Palette(bool enabled) : enabled_(enabled) {}

  [[nodiscard]] std::string Paint(Colour colour, const std::string& text) const;

 private:
  bool enabled_ = false;
};

}  // namespace tovocfg
