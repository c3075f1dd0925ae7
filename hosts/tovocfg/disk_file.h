// Files that users name, and what is piped into the program, read and written as a whole.
#pragma once

#include <string>

namespace tovocfg {

struct FileContent {
  std::string bytes;
  std::string problem;      // the system's reason, when it could not be read; empty when it could
  bool is_missing = false;  // the reason is that there is no such file
};

// Others may have the file open, for writing too. Fails for a file of 64 MB or more.
[[nodiscard]] FileContent ReadDiskFile(const std::string& path);

// Why the file cannot be opened for writing now, by the system's reason; empty when it can.
[[nodiscard]] std::string WritingProblem(const std::string& path);

// What another program writes into this one, or a file that is redirected into it, up to its end.
// Fails for a keyboard and from 64 MB on.
[[nodiscard]] FileContent ReadStandardInput();

enum class IfExists { kRefuse, kReplace };

// Writes to a file of another name beside it and moves that to the name in one step, so that at no
// moment a part of the content stands there. Empty when it is written; else why not: then the file
// of that name is as before, or there is none.
[[nodiscard]] std::string WriteDiskFile(const std::string& path, const std::string& bytes,
                                        IfExists if_exists);

}  // namespace tovocfg
