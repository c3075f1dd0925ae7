// Tells whether a row was changed since it was read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tables/row_source.h"

namespace tdefault::tables::sql {

struct RowMark {
  std::uint32_t record_number;
  std::uint64_t hash;

  friend bool operator==(const RowMark&, const RowMark&) = default;
};

class RowMarker {
 public:
  // The columns that matter, in any order and with repetitions.
  explicit RowMarker(std::vector<std::size_t> columns);

  // Equal marks of one record mean that these columns hold what they held before.
  [[nodiscard]] RowMark Mark(const RowCursor& row) const;

 private:
  std::vector<std::size_t> columns_;
};

}  // namespace tdefault::tables::sql
