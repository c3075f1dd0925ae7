// Files and folders that the command line names.
#pragma once

#include <string>

#include "tovocfg/output.h"

namespace tovocfg {

[[nodiscard]] std::string FullPath(const std::string& path);
[[nodiscard]] bool IsFolder(const std::string& path);
[[nodiscard]] bool IsFile(const std::string& path);

// What to tell the user when a file or folder is missing.
[[nodiscard]] std::string NoSuchIniFile(const std::string& file);
[[nodiscard]] std::string MissingFolder(const Whereabouts& where, bool folder_was_named);

}  // namespace tovocfg
