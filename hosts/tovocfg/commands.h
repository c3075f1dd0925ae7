// The commands of tovocfg, from the checked command line to the exit code.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Writes results to standard output and problems to standard error. Needs a single-threaded
// apartment on the calling thread.
[[nodiscard]] ExitCode Run(const Request& request);

}  // namespace tovocfg
