// The commands about report layouts.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Both throw Stop and LibraryError.
[[nodiscard]] ExitCode ListReports(const Request& request);
[[nodiscard]] ExitCode UseReport(const Request& request);

}  // namespace tovocfg
