// Tables in memory for tests of the dialect. They keep the promises of tables/row_source.h and
// count what is asked of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/text.h"
#include "tables/foxpro/collation.h"
#include "tables/row_source.h"

namespace tdefault::tests {

struct MemoryTable {
  std::vector<tables::Column> columns;
  std::vector<std::vector<Value>> rows;  // fixed-width text is padded when it is read
  std::size_t opened = 0;
  std::size_t scans = 0;
  std::size_t rows_visited = 0;
  std::size_t seeks = 0;
  std::vector<std::size_t> reads;  // per column
  // One visit more is the Error kInUseByAnother, which the dialect itself never raises.
  std::size_t most_rows_visited = std::numeric_limits<std::size_t>::max();

  bool gives_stored_text = false;  // rows give the bytes of fixed-width text, as stored ones do
  std::size_t stored_reads = 0;    // of such bytes

  std::set<std::uint32_t> deleted;           // record numbers
  std::set<std::uint32_t> locked_by_others;  // locking one of them is the Error kInUseByAnother
  // What somebody else does just before a record is locked.
  std::function<void(MemoryTable& table, std::uint32_t record_number)> before_lock;
  // Rows that were announced together, and the columns that they are given.
  struct Run {
    std::uint32_t first;
    std::uint32_t count;
    std::vector<std::size_t> columns;

    friend bool operator==(const Run&, const Run&) = default;
  };
  std::vector<Run> runs;
  std::size_t writes = 0;  // rows inserted, updated and deleted
};

class MemoryTables final : public tables::TableFinder {
 public:
  MemoryTables();

  // Replaces the table of this name. The reference stays valid.
  MemoryTable& Add(const std::wstring& name, MemoryTable table);
  void set_collation(tables::foxpro::CollatingSequence sequence);

  std::unique_ptr<tables::Table> OpenTable(const std::wstring& name) override;

 private:
  std::map<std::wstring, MemoryTable, LessIgnoringCase> tables_;
  std::unique_ptr<tables::Collation> collation_;
};

// A column as tables describe it: NAME, its type letter, width and decimals where the type has
// them.
[[nodiscard]] tables::Column MakeColumn(const std::wstring& name, char type,
                                        std::int32_t length = 0, std::int32_t decimals = 0);

}  // namespace tdefault::tests
