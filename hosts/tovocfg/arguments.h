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
  // Of diff, as programs that compare files have them.
  kDifferent = 1,
  kNotCompared = 2,
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
  kExport,
  kImport,
  kDiff,
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
  bool force = false;         // of export: an existing file is replaced
  bool skip_unknown = false;  // of import
  bool defaults = false;      // of diff: said so, though it is what diff does by itself
  std::string with_data;      // of diff: the other data folder
  std::string with_ini;       // of diff: the other local INI file
  std::string section;        // of list, export, import and diff; empty for all
  std::string table;          // of check; empty for all
  std::string layout;         // of reports use
  // Of comment and uncomment, empty for the INI files in use; of export, empty for standard output;
  // of import and diff the export to read.
  std::string file;
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
