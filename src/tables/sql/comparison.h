// How values compare: numbers by size whatever their column types, text through a collation and
// without regard to trailing blanks, dates as the beginning of their day.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"
#include "tables/row_source.h"
#include "tables/sql/syntax.h"
#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {

[[nodiscard]] bool AreComparable(ValueType left, ValueType right) noexcept;

// The outcome for two values of comparable types, none of them null. "==" compares text character
// by character after padding, without the collation.
[[nodiscard]] bool Compare(ComparisonOperator operation, const Value& left, const Value& right,
                           const Collation& collation);

// Whether the operator holds for values of this order (less than, equal to or greater than 0).
[[nodiscard]] bool Holds(ComparisonOperator operation, int order) noexcept;

// "=", "<>" and so on, as error texts show them.
[[nodiscard]] std::wstring_view Symbol(ComparisonOperator operation) noexcept;

// Bytes that are equal exactly when the values compare equal; a null equals a null. REQUIRES: not
// binary.
[[nodiscard]] std::string SortKey(const Value& value, const Collation& collation);

// Less than, equal to or greater than 0: two values by their sort keys, a null before all others.
[[nodiscard]] int CompareSortKeys(std::string_view left, std::string_view right,
                                  const Collation& collation);

// Whether the text has the pattern's form: "%" any run of characters, "_" one character, a
// character behind `escape` itself. Characters match when the collation finds them equal; blanks
// at the end of both do not count.
[[nodiscard]] bool MatchesPattern(std::wstring_view text, std::wstring_view pattern,
                                  std::optional<wchar_t> escape, const Collation& collation);

}  // namespace tdefault::tables::sql
