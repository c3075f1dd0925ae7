// Values on their way into fields and criteria.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// The day, with or without a time, that a user's text names: month-day-year or year-month-day, the
// year with four digits, "-", "/" or "." between the numbers, behind it optionally HH:MM[:SS] with
// AM or PM. Blank text is the empty date. Absent for other text and for days that do not exist.
[[nodiscard]] std::optional<Value> ParseDay(std::wstring_view text);

// The value as the column's kind, by automation's rules, text for a day by ParseDay; a null stays
// one. A number that does not fit stays a number that the column refuses. Throws kTypeMismatch
// naming column and value when it does not convert.
[[nodiscard]] Value ConvertForColumn(const Value& value, const Column& column);

// What the column holds, for error texts: "a number", "a date".
[[nodiscard]] std::wstring_view Describe(const Column& column) noexcept;

// The value for error texts: text between quotation marks and shortened.
[[nodiscard]] std::wstring Shown(const Value& value);

}  // namespace tdefault::tables::foxpro
