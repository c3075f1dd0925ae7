// The connection string of a data folder.
#pragma once

#include <string>
#include <string_view>

#include "tables/foxpro/collation.h"

namespace tdefault::tables::foxpro {

// What the string's parts ask for. A part that the string lacks keeps the value here.
struct ConnectionParts {
  std::wstring data_source;  // the data folder, without a backslash at its end
  CollatingSequence sequence = CollatingSequence::kMachine;
  bool hides_deleted = true;
  bool read_only = false;  // Mode allows reading only
};

// Reads NAME=VALUE parts separated by ";". Names and values count without regard to case and to
// blanks around them; a value may stand in quotes (" or ', doubled inside for one), and then holds
// any character. The last of two parts of one name counts. Throws kTableDamaged naming the part
// that is not known, whose value is not known, or that is not of this form.
[[nodiscard]] ConnectionParts ParseConnectionString(std::wstring_view text);

}  // namespace tdefault::tables::foxpro
