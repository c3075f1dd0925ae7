// The command line of tovocfg.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tovocfg/colour.h"

namespace tovocfg {

// What tovocfg ends with, all commands but check and doctor; README.md beside this file explains
// each to users.
enum class ExitCode {
  kOk = 0,
  kLibraryError = 1,
  kUsage = 2,
  kValueRefused = 3,
  kOptionNotFound = 4,
  kFolderNotFound = 5,
  kNoLibrary = 6,
};

enum class Command {
  kNone,
  kList,
  kGet,
  kSet,
  kExists,
  kDelete,
  kDisable,
  kComment,
  kUncomment,
  kReports,
  kUseReport,
  kWhere,
  kCheck,
  kDoctor,
};

struct Request {
  Command command = Command::kNone;
  std::string data_folder;   // empty: as the local INI file says
  std::string ini_file;      // empty: TOVO.INI on the system's search path
  std::string library_file;  // empty: the registered library, else the one beside the program
  bool json = false;
  ColourWish colour = ColourWish::kAuto;
  Palette output;  // the colours of standard output
  Palette errors;  // and of standard error
  bool dry_run = false;
  bool hide_prices = false;
  bool all_comments = false;           // of uncomment
  std::optional<std::string> comment;  // of uncomment: the text of the comments to remove
  bool local_only = false;
  bool global_only = false;
  std::string section;             // of list; empty for all
  std::string table;               // of check; empty for all
  std::string layout;              // of reports use
  std::string file;                // of comment and uncomment; empty for the INI files in use
  std::vector<std::string> words;  // of get, set, exists, delete and disable
};

struct ParsedArguments {
  Request request;  // its command is kNone when there is nothing to run
  ExitCode exit_code = ExitCode::kOk;
  std::string text;  // help, version or the reason of a refusal
};

// "reports use"; empty for kNone.
[[nodiscard]] std::string NameOf(Command command);

// The arguments are UTF-8 and do not include the program's own name.
// A refusal keeps those options of the request that settle how it is told: --json and --colour.
[[nodiscard]] ParsedArguments ParseArguments(std::vector<std::string> arguments);

}  // namespace tovocfg
