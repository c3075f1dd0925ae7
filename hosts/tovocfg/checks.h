// Whether a value fits an option's definition. The library stores whatever it is given: checking
// is the host's business.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tovocfg/option.h"

namespace tovocfg {

// What a check needs to know beside the option.
struct Surroundings {
  std::vector<std::string> report_names;
  // Whether a text survives the code page the INI files are written in.
  std::function<bool(const std::string&)> can_be_stored;
  // Why the folder with this full path cannot be the shop's data folder; empty when it can.
  std::function<std::string(const std::string&)> data_folder_problem = nullptr;
};

struct CheckedValue {
  std::string value;           // as it is to be stored
  std::string refusal;         // why it is not; empty when it is
  bool comment_helps = false;  // refused because of the option's definition, not of its file
  [[nodiscard]] bool accepted() const { return refusal.empty(); }
};

// A choice may be given by its description too, a yes/no value in any usual spelling; both come
// back in the spelling that the INI file uses.
[[nodiscard]] CheckedValue CheckValue(const Option& option, const std::string& given,
                                      const Surroundings& surroundings);

// "0 to 30, at most 3 decimals", "one of: 0 (Never), 1 (Always)"; empty when nothing limits the
// value.
[[nodiscard]] std::string AllowedValues(const Option& option);

// "Tax / Rate1: " and the refusal; below it the definition's comment, where that helps.
[[nodiscard]] std::string RefusalLines(const Option& option, const CheckedValue& checked);

}  // namespace tovocfg
