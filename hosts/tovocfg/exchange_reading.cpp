#include "tovocfg/exchange_reading.h"

#include <algorithm>

#include "tovocfg/disk_file.h"
#include "tovocfg/paths.h"
#include "tovocfg/session.h"

namespace tovocfg {

namespace {

// Blanks and line ends alone are what shells make of nothing.
bool IsBlank(const std::string& bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
  });
}

std::string ContentOf(const std::string& word, const std::string& consequence) {
  const std::string name = ExchangeName(word);
  const bool is_piped = word == kStandardInput;
  FileContent content = is_piped ? ReadStandardInput() : ReadDiskFile(name);
  if (content.is_missing)
    throw Stop{ExitCode::kFolderNotFound, "there is no file " + name + consequence};
  if (!is_piped && IsFolder(name)) content.problem = "it is a folder.";
  if (!content.problem.empty())
    throw Stop{ExitCode::kLibraryError, name + " cannot be read: " + content.problem + consequence};
  if (IsBlank(content.bytes))
    throw Stop{ExitCode::kValueRefused,
               name + " is empty" +
                   (is_piped ? "; see whether the command in front of the pipe has failed" : "") +
                   consequence};
  return std::move(content.bytes);
}

}  // namespace

std::string ExchangeName(const std::string& word) {
  return word == kStandardInput ? "standard input" : FullPath(word);
}

ExchangeFile ReadExchangeFrom(const std::string& word, const std::string& consequence) {
  ReadExchange read = ReadExchangeFile(ContentOf(word, consequence));
  if (read.problems.empty()) return std::move(read.file);
  std::string text;
  for (const std::string& problem : read.problems)
    text.append(text.empty() ? "" : "\n")
        .append(ExchangeName(word))
        .append(problem.starts_with("line ") ? ", " : ": ")
        .append(problem);
  throw Stop{ExitCode::kValueRefused, text + consequence};
}

}  // namespace tovocfg
