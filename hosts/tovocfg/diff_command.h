// Compares the options' values with their defaults, another shop's or an export's.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Throws Stop and LibraryError.
ExitCode Diff(const Request& request);

}  // namespace tovocfg
