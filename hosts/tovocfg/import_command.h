// Checks and saves the values of an export.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Throws Stop and LibraryError.
ExitCode Import(const Request& request);

}  // namespace tovocfg
