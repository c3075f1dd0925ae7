// The command check, from the checked command line to the exit code.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Writes results to standard output and problems to standard error. Does without the library, which
// refuses to load damaged tables. Gives a CheckOutcome as number.
[[nodiscard]] int Check(const Request& request);

}  // namespace tovocfg
