#include "tovocfg/exchange_reading.h"

#include "tovocfg/disk_file.h"
#include "tovocfg/session.h"

namespace tovocfg {

ExchangeFile ReadExchangeFrom(const std::string& path, const std::string& consequence) {
  const FileContent content = ReadDiskFile(path);
  if (content.is_missing)
    throw Stop{ExitCode::kFolderNotFound, "there is no file " + path + consequence};
  if (!content.problem.empty())
    throw Stop{ExitCode::kLibraryError, path + " cannot be read: " + content.problem + consequence};
  ReadExchange read = ReadExchangeFile(content.bytes);
  if (read.problems.empty()) return std::move(read.file);
  std::string text;
  for (const std::string& problem : read.problems)
    text.append(text.empty() ? "" : "\n")
        .append(path)
        .append(problem.starts_with("line ") ? ", " : ": ")
        .append(problem);
  throw Stop{ExitCode::kValueRefused, text + consequence};
}

}  // namespace tovocfg
