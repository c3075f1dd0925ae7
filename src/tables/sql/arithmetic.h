// The operators + - * / on values: numbers, text, dates and times.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/error.h"
#include "base/value.h"
#include "tables/sql/syntax.h"
#include "tables/sql/value_type.h"

namespace tdefault::tables::sql {

// The result's type; absent when the operator does not take these operands. kAny where the operands
// leave it open.
[[nodiscard]] std::optional<ValueType> ResultType(ArithmeticOperator operation, ValueType left,
                                                  ValueType right) noexcept;

[[nodiscard]] std::wstring_view Symbol(ArithmeticOperator operation) noexcept;

// "Operator/operand type mismatch" at `position`.
[[nodiscard]] Error OperandMismatch(std::size_t position, std::wstring_view symbol, ValueType left,
                                    ValueType right);

// Replaces `left` by the result; a null operand gives a null. Numbers of every type are computed in
// double precision. Throws StatementError at `position` for operands of the wrong type, a division
// by zero, an overflow and a day outside the years 1 to 9999.
void Apply(ArithmeticOperator operation, Value& left, const Value& right, std::size_t position);

// The number with the other sign.
[[nodiscard]] Value Negate(const Value& value, std::size_t position);

}  // namespace tdefault::tables::sql
