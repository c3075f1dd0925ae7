// What tovocfg prints, as UTF-8 text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tovocfg/colour.h"
#include "tovocfg/option.h"

namespace tovocfg {

// Where everything is that a command works with.
struct Whereabouts {
  std::string data_folder;
  bool data_folder_exists = false;
  std::string local_ini;  // empty when it cannot be found
  std::string global_ini;
  bool global_ini_exists = false;
  long location = 0;
  std::string tables;
  std::string library_version;
  std::string library_file;
  bool library_registered = false;
  std::string program_version;
};

struct Change {
  const Option* option = nullptr;
  std::string new_value;
  [[nodiscard]] bool IsChange() const { return WholeValue(*option) != new_value; }
};

// What the library raised, as automation reports it.
struct ErrorReport {
  std::int32_t number = 0;
  std::string source;
  std::string description;
};

// Aligned columns: section, key, type, value, default, file; a line with counts at the end.
[[nodiscard]] std::string FormatTable(const std::vector<const Option*>& options);

// One option with everything that is known about it.
[[nodiscard]] std::string FormatDetails(const Option& option, const Whereabouts& where);

[[nodiscard]] std::string FormatChange(const Change& change, const Palette& palette = {});

[[nodiscard]] std::string FormatWhereabouts(const Whereabouts& where);

// The table access that the library uses, from the environment variable TDEFAULT_TABLES; empty when
// there is no such variable, and from whether the provider is registered.
[[nodiscard]] std::string DescribeTables(const std::string& setting, bool provider_registered);

// The JSON forms end in a line break; values are exact, "Not found" included.
[[nodiscard]] std::string OptionsToJson(const std::vector<const Option*>& options,
                                        const Whereabouts& where);
[[nodiscard]] std::string OptionToJson(const Option& option, const Whereabouts& where);
[[nodiscard]] std::string WhereaboutsToJson(const Whereabouts& where);

// An option as an export names it.
struct NamedOption {
  std::string section;
  std::string key;
  std::string file;  // "local" or "global"
};

// What became of a change of values, or (as a dry run) would.
struct Saving {
  bool dry_run = false;
  std::size_t saved = 0;  // options
  std::vector<std::string> previous_files;
  std::vector<std::string> status;  // what the library told meanwhile
  // Others than those that were set, of which the files held more than the library keeps.
  std::vector<NamedOption> shortened = {};
  bool is_import = false;
  // Of an import: what is unknown here and was left out, and what has no value in the file.
  std::vector<NamedOption> skipped = {};
  std::vector<NamedOption> kept = {};
};
[[nodiscard]] std::string SavingToJson(const std::vector<Change>& changes, const Whereabouts& where,
                                       const Saving& saving);

// "error 53 from SOURCE", the description, and what to do about it where that is known.
[[nodiscard]] std::string FormatError(const ErrorReport& error, const Palette& palette = {});

// What to do about an error whose own text does not say it; empty for others.
[[nodiscard]] std::string HintFor(const ErrorReport& error);

// Numbers below 0x800A0000 + 65536 are shown as the automation run-time's own: 0x800A0035 is 53.
[[nodiscard]] std::string ErrorNumber(std::int32_t number);

}  // namespace tovocfg
