// The collating sequences of a connection, for tables of one code page.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/code_page.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

enum class CollatingSequence {
  kMachine,  // the bytes of the code page
  kGeneral,  // letters without regard to case, accents counting behind all letters
};

// Keys are what an index stores, without the filling at their end: trailing blanks of the text,
// under GENERAL what weighs as a blank there (the tab) and trailing zero bytes of the key are left
// off. A character that the page lacks sorts behind all others and equals no character of the page.
[[nodiscard]] std::unique_ptr<Collation> MakeCollation(CollatingSequence sequence, CodePage page);

}  // namespace tdefault::tables::foxpro
