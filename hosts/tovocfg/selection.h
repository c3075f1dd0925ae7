// Finding options by what a user types.
#pragma once

#include <string>
#include <vector>

#include "tovocfg/option.h"

namespace tovocfg {

enum class Scope { kBoth, kLocal, kGlobal };

[[nodiscard]] bool InScope(bool local_ini, Scope scope);

struct Selection {
  const Option* option = nullptr;
  std::string problem;     // why there is none
  bool ambiguous = false;  // the problem is that there are several
};

// By section and key, without regard to case. The key of a printer option may be given without the
// site's number, unless another option has exactly that key.
[[nodiscard]] Selection FindByKey(const std::vector<Option>& options, const std::string& section,
                                  const std::string& key, long location, Scope scope);

[[nodiscard]] Selection FindById(const std::vector<Option>& options, const std::string& id);

// The options of one section in catalogue order; all of them, section by section, for an empty
// name.
[[nodiscard]] std::vector<const Option*> OptionsOf(const std::vector<Option>& options,
                                                   const std::string& section, Scope scope);

// Why a section has nothing to show: it does not exist, or its options live in the other file.
[[nodiscard]] std::string NoSuchSection(const std::vector<Option>& options,
                                        const std::string& section);

}  // namespace tovocfg
