// Values as the keys of an index: bytes that sort as the values do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/date_time.h"
#include "tables/foxpro/general_weights.h"

namespace tdefault::tables::foxpro {

// Each appends one key.
void AppendDoubleKey(std::string& key, double number);  // 8 bytes
void AppendIntegerKey(std::string& key, std::int32_t number);
void AppendCurrencyKey(std::string& key, std::int64_t ten_thousandths);
void AppendDateKey(std::string& key, Date date);           // its day number, as a double
void AppendTimeKey(std::string& key, DateTime date_time);  // with the fraction of the day
void AppendLogicalKey(std::string& key, bool value);

// Bytes of a table's code page: filled up with blanks to `length` bytes, or cut.
void AppendTextKey(std::string& key, std::string_view text, std::size_t length);

// Under GENERAL: the heads of all characters but trailing blanks, then the tails of those that have
// one, filled up with zeros to `length` bytes, or cut.
void AppendGeneralKey(std::string& key, std::string_view text, const GeneralWeights& weights,
                      std::size_t length);

// The number that such a key stands for. REQUIRES: 8 bytes.
[[nodiscard]] double DoubleOfKey(std::string_view key) noexcept;

}  // namespace tdefault::tables::foxpro
