// The command doctor, from the checked command line to the exit code.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Writes what it finds to standard output. Loads the library only when nothing stands in the way of
// that, and asks nobody anything. Needs a single-threaded apartment on the calling thread. Gives
// the exit code, as check does.
[[nodiscard]] int Doctor(const Request& request);

}  // namespace tovocfg
