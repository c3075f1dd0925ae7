// How a command tells that it could not do what it was asked for.
#pragma once

#include <string>
#include <vector>

#include "tovocfg/arguments.h"
#include "tovocfg/output.h"

namespace tovocfg {

// Ends a command that cannot go on: the exit code, and what to tell the user.
struct Stop {
  ExitCode exit_code;
  std::string text;
  std::vector<ErrorReport> errors = {};  // what the library raised
  std::string consequence = {};          // told behind the errors
};

[[nodiscard]] std::string FormatStop(const Stop& stop, const Palette& palette);

// One object; `command` is empty where the command line could not be understood. Ends in a line
// break.
[[nodiscard]] std::string StopToJson(const Stop& stop, const std::string& command);

}  // namespace tovocfg
