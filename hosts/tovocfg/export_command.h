// Writes the options' values to a file or to standard output.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Throws Stop and LibraryError.
ExitCode Export(const Request& request);

}  // namespace tovocfg
