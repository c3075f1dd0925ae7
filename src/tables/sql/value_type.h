// The types of the dialect's values and the names that error texts give them.
#pragma once

#include <string_view>

#include "base/value.h"

namespace tdefault::tables::sql {

// kAny: known only when there is a value (a null, IIF with unlike results).
enum class ValueType { kAny, kLogical, kNumber, kText, kDate, kDateTime, kBinary };

// kAny for a null.
[[nodiscard]] ValueType TypeOf(const Value& value);

// "text", "a number" and so on.
[[nodiscard]] std::wstring_view Describe(ValueType type) noexcept;

// Whether it is a date, with or without a time.
[[nodiscard]] bool IsDay(ValueType type) noexcept;

// Of any numeric value. REQUIRES: the type is kNumber.
[[nodiscard]] double NumberOf(const Value& value) noexcept;

// A date as the beginning of its day. REQUIRES: the type is kDate or kDateTime.
[[nodiscard]] DateTime DateTimeOf(const Value& value) noexcept;

}  // namespace tdefault::tables::sql
