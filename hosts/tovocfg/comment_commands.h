// The commands about the comments of whole INI files.
#pragma once

#include "tovocfg/arguments.h"

namespace tovocfg {

// Both throw Stop and LibraryError.
[[nodiscard]] ExitCode CommentFiles(const Request& request);
[[nodiscard]] ExitCode UncommentFiles(const Request& request);

}  // namespace tovocfg
