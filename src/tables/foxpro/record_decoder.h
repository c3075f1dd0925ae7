// From the bytes of a record to the values of its columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"
#include "tables/foxpro/memo_file.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {

// The number that a numeric column stores as text: blanks around it ignored, blank is 0. Absent
// when the text is no number.
[[nodiscard]] std::optional<double> ParseStoredNumber(std::string_view text);

// The day that a date column stores as eight digits; blanks or zeros are the empty date. Absent
// when the text is no day.
[[nodiscard]] std::optional<Date> ParseStoredDate(std::string_view text);

// Decodes the records of one table. Stored numbers become double (columns of the types N, F and B)
// or 32-bit integers (type I); a numeric column full of asterisks, which FoxPro stores for a number
// that does not fit, is null. Text stays blank-padded as stored.
class RecordDecoder {
 public:
  // All three outlive the decoder; `memo` is null for a table without a memo file.
  RecordDecoder(const TableLayout& layout, const TableIdentity& table, MemoFile* memo);

  // `record` points at the deletion mark of a whole record. Throws kTableDamaged naming the place
  // when the bytes are no value of the column. REQUIRES: column < layout.columns.size().
  [[nodiscard]] Value Decode(std::size_t column, const std::uint8_t* record,
                             std::uint32_t record_number) const;

  // The text's bytes as they stand in the record, or in the memo file, until the next call; absent
  // for a null and for a column that is neither text of fixed width nor memo text. Throws and
  // REQUIRES as Decode.
  [[nodiscard]] std::optional<std::string_view> StoredText(std::size_t column,
                                                           const std::uint8_t* record,
                                                           std::uint32_t record_number) const;

  // The block of the memo file at which the value starts; 0 for an empty or null one. Throws
  // kTableDamaged naming the place. REQUIRES: the column is a memo column.
  [[nodiscard]] std::uint32_t MemoBlock(std::size_t column, const std::uint8_t* record,
                                        std::uint32_t record_number) const;

 private:
  [[nodiscard]] bool Flag(const std::uint8_t* record, std::size_t bit) const;
  // The value's bytes until the next call; none for block 0.
  [[nodiscard]] std::string_view MemoData(std::uint32_t block, const ValuePlace& place) const;
  [[nodiscard]] std::string_view VariableLength(std::string_view bytes,
                                                const ValuePlace& place) const;

  const TableLayout& layout_;
  const TableIdentity& table_;
  MemoFile* memo_;
};

}  // namespace tdefault::tables::foxpro
