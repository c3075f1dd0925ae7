// The library as its hosts see it: every call goes through the type library's interfaces. Host
// authors can start from this file and library.cpp.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tovocfg/layout.h"
#include "tovocfg/option.h"
#include "tovocfg/output.h"

namespace tovocfg {

// An error that the library reported through automation's error information.
class LibraryError final : public std::exception {
 public:
  explicit LibraryError(ErrorReport report) : report_(std::move(report)) {}
  [[nodiscard]] const ErrorReport& report() const noexcept { return report_; }
  const char* what() const noexcept override { return report_.description.c_str(); }

 private:
  ErrorReport report_;
};

struct SaveOutcome {
  bool saved = false;
  bool modified_told = false;               // the event Modified came
  std::vector<ErrorReport> errors;          // what the event DLLError told
  std::optional<ErrorReport> reload_error;  // saved, but reading the options again raised this
};

// One Options object and what it handed out. Lives on the thread that made it, which must be a
// single-threaded apartment.
class Library {
 public:
  // Creates the object by its programmatic identifier. When the library is not registered, or when
  // a file is named, the class object is taken from that file: by default tdefault.dll in the
  // program's own folder. Throws LibraryError.
  explicit Library(const std::string& library_file);
  ~Library();

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Who is told what the library says while it works; standard error until this is called.
  void OnStatus(std::function<void(const std::string&)> told);

  void SetDataPath(const std::string& folder);
  // Loads the options at once; throws what loading throws.
  void SetIniFile(const std::string& file);

  [[nodiscard]] std::string DataPath() const;
  [[nodiscard]] std::string IniFile() const;
  [[nodiscard]] std::string GlobalIni() const;
  [[nodiscard]] long Location() const;
  [[nodiscard]] std::string Version() const;

  // False when the data folder is missing; the library asks the user about it with a message box.
  bool Initialize();

  // Copies of all options, in catalogue order.
  [[nodiscard]] std::vector<Option> Options() const;
  // The report layouts, in table order; read again with the options.
  [[nodiscard]] std::vector<Layout> Layouts() const;
  // Reads the layouts again. What could not be read is left out without an error.
  void RefreshLayouts();
  // Writes the choice; whether that went well, only reading it again tells.
  void UseLayout(const std::string& code, bool show_prices, const std::string& ini_file);

  // The ID of the definition; absent when there is none.
  [[nodiscard]] std::optional<std::string> FindDefinition(const std::string& section,
                                                          const std::string& key, bool local_ini);
  // These give what the library tells: whether the operation was done.
  bool DeleteOption(const std::string& id);
  bool CommentFile(const std::string& file);
  bool ClearComments(const std::string& file);
  bool RemoveComment(const std::string& file, const std::string& comment);
  bool CommentKey(const std::string& id);
  // Reads the options again.
  void Refresh();

  void SetNewValue(const std::string& id, const std::string& value);
  // Throws only what is raised before anything is written.
  SaveOutcome Save();

  // The file the object came from, and whether the registry named it.
  [[nodiscard]] std::string LibraryFile() const;
  [[nodiscard]] bool registered() const noexcept { return registered_; }

 private:
  struct Objects;
  std::unique_ptr<Objects> objects_;
  bool registered_ = false;
};

}  // namespace tovocfg
