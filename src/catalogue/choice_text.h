// A choice list as the definition table stores it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "records/cChoices.h"

namespace tdefault::catalogue {

// Lines ITEM|DESCRIPTION, separated by carriage return and line feed; a line without "|" is an item
// without description. Empty text is an empty list, an empty line a choice of empty texts.
[[nodiscard]] std::shared_ptr<records::cChoices> TextToChoices(std::wstring_view text);

// The lines of all choices in their order, each with its "|"; nothing behind the last one.
[[nodiscard]] std::wstring ChoicesToText(const records::cChoices& choices);

}  // namespace tdefault::catalogue
