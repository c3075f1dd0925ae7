// Values of ADO's fields and what they are here.
#pragma once

#include "automation/com_types.h"
// After windows.h.
#include <cstdint>

#include "base/value.h"

namespace tdefault::tables::ado {

// ADO's numbers of the data types that columns of FoxPro tables have.
enum class DataType : std::int32_t {
  kInteger = 3,
  kDouble = 5,
  kCurrency = 6,
  kDate = 7,
  kBoolean = 11,
  kBinary = 128,  // the fixed-width text columns marked as binary
  kChar = 129,
  kNumeric = 131,
  kDatabaseDate = 133,
  kTimestamp = 135,
  kVarChar = 200,
  kLongVarChar = 201,
  kWideChar = 130,
  kVarWideChar = 202,
  kLongVarWideChar = 203,
  kVarBinary = 204,
  kLongVarBinary = 205,
};

// A field's value. A date of 1899-12-30 without a time is the empty date, fixed-width binary
// columns are text in the system's code page. Throws TypeMismatch for a variant that no column
// gives.
[[nodiscard]] Value ToValue(const VARIANT& variant, DataType type);

// The bytes of a field's text or binary value, text in the system's code page; none for a null.
// Throws TypeMismatch for another value.
[[nodiscard]] Bytes ToBytes(const VARIANT& variant);

// What a field of that type is given. Text for a field of another type is converted by the rules of
// US English, a date from month-day-year; text for a binary field becomes bytes in the system's
// code page. Any value for a text field becomes text. The rest converts ADO. Throws TypeMismatch
// for text that does not convert.
[[nodiscard]] automation::Variant ToVariant(const Value& value, DataType type);

}  // namespace tdefault::tables::ado
