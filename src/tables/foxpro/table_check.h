// Verifies a table of a data folder with its memo file and its structural index: whether rows,
// memo values and keys agree with each other and with what the headers declare. Opens the files for
// reading only, takes no locks, and repairs nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/files.h"
#include "tables/foxpro/table_errors.h"

namespace tdefault::tables::foxpro {

enum class FindingKind {
  kProblem,   // rows, memo values or keys are wrong, or cannot be read
  kWarning,   // odd, but nothing is lost or wrong by it
  kUnchecked  // what could not be checked, mostly because access was refused
};

// A sentence that names table, file and place, and one that tells what to do.
struct Finding {
  FindingKind kind = FindingKind::kProblem;
  std::wstring text;
};

struct CheckedTag {
  std::wstring name;
  std::uint64_t keys = 0;
};

struct CheckedTable {
  TableIdentity table;
  bool has_header = false;  // false: not even the header could be read, all counts are 0
  std::uint32_t records = 0;
  std::uint32_t deleted = 0;  // of the records
  bool has_memo = false;
  bool has_index = false;
  // These two are absent where the file could not be read.
  std::optional<std::uint64_t> memo_values;  // that are not empty
  std::optional<std::vector<CheckedTag>> tags;
  std::vector<Finding> findings;  // a bounded part of them
  std::uint64_t problems = 0;     // these three count all findings
  std::uint64_t warnings = 0;
  std::uint64_t unchecked = 0;

  [[nodiscard]] std::uint64_t untold() const {
    return problems + warnings + unchecked - findings.size();
  }
};

struct CheckSettings {
  std::uint32_t ansi_code_page = 1252;  // of tables without a code page mark
  // Findings told of each of the four areas: table file, rows, memo file, index.
  std::size_t findings_per_area = 5;
};

// Checks one table. Others may work with it meanwhile: when they change it during the check and
// something seems wrong, it is checked again, a few times at most. Never throws for what the files
// hold or for access that is refused: that is what findings tell. Memory stays bounded whatever the
// size of the files.
[[nodiscard]] CheckedTable CheckTable(platform::Files& files, platform::Clock& clock,
                                      const TableIdentity& table, const CheckSettings& settings);

// The tables of a data folder in alphabetical order, by their files, named as those are. Throws
// kNoPermission and kTableDamaged when the folder cannot be listed.
[[nodiscard]] std::vector<TableIdentity> FindTables(platform::Files& files,
                                                    const std::wstring& folder);

}  // namespace tdefault::tables::foxpro
