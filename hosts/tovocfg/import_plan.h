// What an import would change, and why it may not.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tovocfg/checks.h"
#include "tovocfg/exchange_file.h"
#include "tovocfg/output.h"

namespace tovocfg {

struct ImportRules {
  std::string section;  // empty: every section
  Scope scope = Scope::kBoth;
  bool skip_unknown = false;
};

struct ImportPlan {
  std::size_t in_scope = 0;         // options of the file that the rules let in
  std::vector<Change> changes;      // those whose value differs here, in the order of the file
  std::vector<Setting> skipped;     // unknown here, and skipped as the rules say
  std::vector<const Option*> kept;  // set here, without a value in the file: they stay
  std::size_t other_ids = 0;   // found by section and key although their ID is another one here
  std::size_t other_site = 0;  // changes of keys that end in another site's number in the file
  std::string refusals;        // lines; empty when everything can be done
};

// Every option of the file is looked at, so that all refusals are told at once. A value that an
// option has already is not checked: nothing would be changed. An accepted value is stored as the
// file has it, so that what was exported comes back unchanged.
[[nodiscard]] ImportPlan PlanImport(const ExchangeFile& file, const std::vector<Option>& options,
                                    const ImportRules& rules, const Surroundings& surroundings);

// What is told before the changes: options that were skipped, stay as they are, or were found in
// another way than by their ID and key.
[[nodiscard]] std::string FormatImportNotes(const ImportPlan& plan, long site_of_file,
                                            long site_here);

}  // namespace tovocfg
