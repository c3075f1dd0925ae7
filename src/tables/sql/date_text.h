// Dates as statements write them.
#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"

namespace tdefault::tables::sql {

// Reads "MM-DD-YYYY" or "^YYYY-MM-DD", with "-", "/" or "." between the numbers, behind it
// optionally a time "HH:MM[:SS] [AM|PM]" (then the value is a DateTime). Blanks and separators only
// are the empty date, and so are numbers that are no day of the calendar. Absent when the text has
// another form or its year has not four digits.
[[nodiscard]] std::optional<Value> ParseDateText(std::wstring_view text);

}  // namespace tdefault::tables::sql
