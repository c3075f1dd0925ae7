// Builds table, memo and index files for tests, with any columns and any tags, byte by byte after
// docs/table-format.md and without the engine's help.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tdefault::tests {

struct ColumnSpec {
  std::string name = {};  // upper case, at most 10 characters
  char type = 'C';
  std::uint8_t length = 0;  // may stay 0 for types that have only one
  std::uint8_t decimals = 0;
  bool nullable = false;
  bool binary = false;
  std::uint32_t next_number = 0;  // of an automatic number (with step)
  std::uint8_t number_step = 0;   // 0: no automatic number
};

struct TagSpec {
  std::string name = {};         // upper case
  std::string expression = {};   // as FoxPro stores it
  std::string condition = {};    // FOR; empty: none
  std::uint16_t key_length = 0;  // in the index, the byte for null included
  bool unique = false;
  bool candidate = false;
  bool descending = false;
  bool nullable = false;  // the key has a leading byte for null
  bool general = false;   // GENERAL collation
};

struct TableSpec {
  std::uint8_t version = 0x30;
  std::uint8_t code_page_mark = 0x03;
  std::vector<ColumnSpec> columns = {};
  std::vector<TagSpec> tags = {};  // none: no index file
  std::uint16_t memo_block_size = 64;
};

// The files of an empty table: every tag is an empty tree. A table with nullable, V or Q columns
// gets its _NullFlags column.
struct BuiltTable {
  std::string table;
  std::string memo;   // empty when no column needs one
  std::string index;  // empty without tags
};

// Throws std::invalid_argument for what the version cannot hold.
[[nodiscard]] BuiltTable BuildTable(const TableSpec& spec);

}  // namespace tdefault::tests
