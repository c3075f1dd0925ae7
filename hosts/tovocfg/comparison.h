// How the values of options here differ from those elsewhere.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tovocfg/exchange_file.h"
#include "tovocfg/option.h"

namespace tovocfg {

struct Side {
  bool has_option = false;
  std::optional<std::string> value;  // absent: its INI file has no such key
  std::string description;           // of the choice that the value is
};

struct Difference {
  std::string section;
  std::string key;
  std::string key_there;  // where it is another one: keys may end in the site's number
  bool local_ini = false;
  std::string type;
  Side here;
  Side there;
};

struct Comparison {
  std::size_t compared = 0;  // options of either side
  std::vector<Difference> differences;
};

// What the options would be set to by their definitions.
[[nodiscard]] std::vector<Setting> DefaultsOf(const std::vector<const Option*>& options);

// Options are paired as an import pairs them. An absent key is another value than an empty one.
// Differences stand in the order of the options here, those of options that are only there behind.
[[nodiscard]] Comparison Compare(const std::vector<const Option*>& here,
                                 const std::vector<Setting>& there);

// Where the values of a side come from.
struct SideFacts {
  std::string kind;         // "catalogue", "defaults" or "export"
  std::string file;         // of an export; kStandardInput when it came from there
  std::string exported;     // when
  std::string data_folder;  // empty for defaults
  std::string local_ini;    // of a catalogue; empty when there is none
  long site = 0;
};

// The two sides, then section by section the differing keys in aligned columns, then the count.
[[nodiscard]] std::string FormatComparison(const Comparison& comparison, const SideFacts& here,
                                           const SideFacts& there);

// Ends in a line break; the value of an absent key is null, that of an absent option is left out.
[[nodiscard]] std::string ComparisonToJson(const Comparison& comparison, const SideFacts& here,
                                           const SideFacts& there);

}  // namespace tovocfg
