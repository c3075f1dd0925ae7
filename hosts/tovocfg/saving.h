// What the commands that save values share.
#pragma once

#include <string>
#include <vector>

#include "tovocfg/arguments.h"
#include "tovocfg/checks.h"
#include "tovocfg/output.h"
#include "tovocfg/session.h"

namespace tovocfg {

// What the checks need to know: the report layouts, the code page, the folders of this machine.
[[nodiscard]] Surroundings SurroundingsOf(const Session& session);

// Shows the changes, sets and saves them, tells what was saved and where the previous files are,
// and compares what the options read afterwards; a dry run, or nothing to change, which
// `already` says, ends before that. All of it as JSON where that is asked for. Throws Stop when the
// save fails, with the state in which both INI files are.
ExitCode SaveOrTell(Session& session, const Request& request, const std::vector<Change>& changes,
                    Saving saving, const std::string& already);

}  // namespace tovocfg
