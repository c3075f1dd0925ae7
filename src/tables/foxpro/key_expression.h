// The keys of one tag: which rows have one, and its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/table_layout.h"
#include "tables/foxpro/tag_directory.h"

namespace tdefault::tables::foxpro {

class RecordDecoder;

// Evaluates the tag's expressions with the dialect's own parser and binder. The key of a plain
// column is made from the record's bytes directly.
class TagKeys {
 public:
  // Throws TagNotKept when the expressions, their types or the collating sequence are such that no
  // key could be made as FoxPro makes it. All arguments outlive the keys.
  TagKeys(const IndexTag& tag, const IndexIdentity& index, const TableLayout& layout,
          const RecordDecoder& decoder);
  ~TagKeys();
  TagKeys(const TagKeys&) = delete;
  TagKeys& operator=(const TagKeys&) = delete;

  // Of the row in these bytes, which point at the deletion mark; absent when the tag's condition
  // leaves the row out. Throws what decoding throws, and TagNotKept for a row whose key has no
  // value.
  [[nodiscard]] std::optional<std::string> KeyOf(const std::uint8_t* record,
                                                 std::uint32_t record_number) const;

  // Likewise, but throws StatementError for a row whose key has no value.
  [[nodiscard]] std::optional<std::string> Evaluate(const std::uint8_t* record,
                                                    std::uint32_t record_number) const;

  // The filling that pages leave out at the end of keys.
  [[nodiscard]] char padding() const;

  // Whether FoxPro's keys may differ from these by the last bits of a number.
  [[nodiscard]] bool inexact() const;
  // Whether two keys of the tag stand for the same value, as far as that can be told.
  [[nodiscard]] bool SameKeys(std::string_view left, std::string_view right) const;
  // A key below which there is none that stands for the same value.
  [[nodiscard]] std::string LowestSame(std::string_view key) const;

  [[nodiscard]] bool Uses(std::size_t column) const;
  [[nodiscard]] bool UsesDeletionMark() const;

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tdefault::tables::foxpro
