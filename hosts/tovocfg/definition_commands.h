// The commands about single definitions.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// All throw Stop and LibraryError.
[[nodiscard]] ExitCode Exists(const Request& request);
[[nodiscard]] ExitCode Delete(const Request& request);
[[nodiscard]] ExitCode Disable(const Request& request);

}  // namespace tovocfg
