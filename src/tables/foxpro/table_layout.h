// The header of a table file: what columns its records hold, and where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/code_page.h"
#include "platform/files.h"
#include "tables/foxpro/table_errors.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// Whether values of a column type stand in the memo file.
[[nodiscard]] constexpr bool IsMemoType(char type) {
  return type == 'M' || type == 'G' || type == 'P' || type == 'W';
}

// The numbers that a column gives to new rows, as the header tells when it is read.
struct AutomaticNumber {
  std::uint32_t next = 0;
  std::uint8_t step = 0;
};

struct StoredColumn {
  Column column;
  std::size_t offset = 0;             // in the record, behind the deletion mark at 0
  std::size_t descriptor_offset = 0;  // in the file
  bool binary = false;                // never translated to another code page
  std::optional<AutomaticNumber> automatic;
  // Bits of the _NullFlags column: the value is null; the last byte of the value is its length.
  std::optional<std::size_t> null_bit;
  std::optional<std::size_t> length_bit;
};

struct TableLayout {
  std::uint8_t version = 0;
  std::uint32_t record_count = 0;
  std::uint32_t header_length = 0;
  std::uint32_t record_length = 0;
  CodePage code_page;
  std::vector<StoredColumn> columns;  // without the system columns
  std::size_t null_flags_offset = 0;  // of _NullFlags in the record, where a column has a bit
  std::size_t null_flags_length = 0;  // 0 without that column
  bool has_memo_columns = false;
  bool memo_pointers_are_digits = false;  // 10 digits instead of 4 bytes
  bool visual = false;                    // one of Visual FoxPro's versions
  bool has_structural_index = false;      // the header says that there is one
  bool has_backlink = false;              // belongs to a database container
  bool is_database_container = false;
  bool has_hidden_columns = false;  // system columns other than _NullFlags
};

// Reads the header and checks it against itself; whether the file has the records that it counts is
// another question. `ansi_code_page` is the page of tables without a code page mark. Throws
// FileFailure, DamagedFile and RefusedFile.
[[nodiscard]] TableLayout ReadTableLayout(platform::File& file, const TableIdentity& table,
                                          std::uint32_t ansi_code_page);

}  // namespace tdefault::tables::foxpro
