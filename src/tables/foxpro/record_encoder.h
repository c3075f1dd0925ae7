// From values to the bytes of a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "base/value.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {

// The text of a number in a numeric column: rounded to the decimals, halves away from zero, and to
// fewer where that is too wide; without the 0 before the point where only that is too wide. Not
// padded. Absent when not even the whole number fits.
[[nodiscard]] std::optional<std::string> FormatStoredNumber(double number, std::size_t width,
                                                            std::size_t decimals);

// Encodes the records of one table. Memo columns are encoded in two parts: the bytes that their
// block holds and, once it is known, the number of that block.
class RecordEncoder {
 public:
  // Both outlive the encoder.
  RecordEncoder(const TableLayout& layout, const TableIdentity& table);

  // The value that decoding gives after this one was stored. Throws as TableChanges::Stored.
  // REQUIRES of all: column < layout.columns.size().
  [[nodiscard]] Value Stored(std::size_t column, const Value& value) const;

  // Makes the bytes a live record whose columns were given no value: null where the column takes
  // nulls, else blank.
  void PutUngiven(std::uint8_t* record) const;

  // Puts a value into the record. REQUIRES: it comes from Stored; a memo column's is null.
  void Put(std::size_t column, const Value& stored, std::uint8_t* record) const;

  [[nodiscard]] bool IsMemo(std::size_t column) const;
  // The bytes that a memo column's block holds. REQUIRES: the value comes from Stored and is not
  // null.
  [[nodiscard]] std::string MemoBytes(const Value& stored) const;
  // 0: an empty value, without a block.
  void PutMemoBlock(std::size_t column, std::uint32_t block, std::uint8_t* record) const;

 private:
  [[nodiscard]] Value StoredText(const StoredColumn& stored, const Value& value) const;
  [[nodiscard]] Value StoredNumber(const StoredColumn& stored, const Value& value) const;
  [[nodiscard]] Value StoredMoment(const StoredColumn& stored, const Value& value) const;
  [[nodiscard]] Value StoredBytes(const StoredColumn& stored, const Value& value) const;
  void PutBlank(const StoredColumn& stored, std::uint8_t* record) const;
  void PutVariable(const StoredColumn& stored, const std::string& bytes,
                   std::uint8_t* record) const;
  void SetFlag(std::uint8_t* record, std::size_t bit, bool value) const;
  [[nodiscard]] std::string Encode(const std::wstring& text) const;

  [[nodiscard]] Error DoesNotFit(const StoredColumn& stored, const Value& value,
                                 const std::wstring& reason) const;
  [[nodiscard]] Error Mismatch(const StoredColumn& stored, const Value& value) const;

  const TableLayout& layout_;
  const TableIdentity& table_;
};

}  // namespace tdefault::tables::foxpro
