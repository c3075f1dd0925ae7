// What the commands that work through the library share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tovocfg/arguments.h"
#include "tovocfg/failure.h"
#include "tovocfg/file_facts.h"
#include "tovocfg/library.h"
#include "tovocfg/option.h"
#include "tovocfg/output.h"
#include "tovocfg/selection.h"

namespace tovocfg {

[[nodiscard]] Scope ScopeOf(const Request& request);

// Throws Stop when it cannot be found.
[[nodiscard]] std::unique_ptr<Library> OpenLibrary(const Request& request);

// Points the library at the folder and the file that were named. Throws Stop when there is no such
// file, LibraryError.
void Locate(Library& library, const Request& request);

[[nodiscard]] Whereabouts WhereaboutsOf(const Library& library);

// Empty when there is no such environment variable.
[[nodiscard]] std::string EnvironmentValue(const wchar_t* name);

// Throws Stop when the INI file of any of the options is missing or cannot be read: all its options
// would look as if they were not set.
void RequireIniFiles(const Whereabouts& where, const std::vector<const Option*>& options);

// A library with its options loaded.
class Session {
 public:
  // Throws Stop when the library or the data folder is not found, LibraryError.
  explicit Session(const Request& request);

  [[nodiscard]] Library& library() const { return *library_; }
  [[nodiscard]] const Whereabouts& where() const { return where_; }
  [[nodiscard]] const std::vector<Option>& options() const { return options_; }

  // Of a save now.
  [[nodiscard]] LossesOfSaving Losses() const;

  // The options as the library has them after a save.
  [[nodiscard]] std::vector<Option> ReadAgain() const;

  // Throws Stop when there is no such option or there are several.
  [[nodiscard]] const Option& Find(const std::string& section, const std::string& key,
                                   const Request& request) const;
  [[nodiscard]] const Option& Find(const std::string& id) const;
  // By the words of the request: section and key, or the ID.
  [[nodiscard]] const Option& Named(const Request& request) const;

 private:
  [[nodiscard]] IniFiles Files() const;

  std::unique_ptr<Library> library_;
  Whereabouts where_;
  std::string local_ini_name_;  // as the library names it to the system
  std::vector<Option> options_;
};

}  // namespace tovocfg
