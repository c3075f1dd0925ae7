// The command check: are the tables of a data folder whole? The only command that reads the tables
// itself instead of asking the library, so that it works where the library refuses to load them.
#pragma once

#include <ostream>
#include <string>

#include "platform/platform.h"
#include "tables/foxpro/table_check.h"
#include "tovocfg/arguments.h"

namespace tovocfg {

// What check ends with.
enum class CheckOutcome { kWhole = 0, kProblems = 1, kNotChecked = 2 };

// Checks one table of the folder, or all where `table` is empty. A line per table goes to `out` as
// soon as it is checked, with its findings below, then a line that sums up; why nothing could be
// checked is put into `problem`. Only opens files for reading.
[[nodiscard]] CheckOutcome CheckTables(tdefault::platform::Platform& platform,
                                       const std::wstring& folder, const std::string& table,
                                       std::ostream& out, std::string& problem,
                                       const Palette& palette = {});

// The same as one JSON document.
[[nodiscard]] CheckOutcome CheckTablesToJson(tdefault::platform::Platform& platform,
                                             const std::wstring& folder, const std::string& table,
                                             std::ostream& out, std::string& problem);

// One line, and one per finding; names are padded to `name_width` characters.
[[nodiscard]] std::string FormatCheckedTable(const tdefault::tables::foxpro::CheckedTable& checked,
                                             std::size_t name_width, const Palette& palette = {});

}  // namespace tovocfg
