// What the doctor's examinations share: the machine, where to look, and what was found so far.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "tovocfg/diagnosis.h"

namespace tovocfg {

// One folder of the system's search for a bare file name.
struct SearchFolder {
  std::string name;  // "program folder"
  std::wstring path;
};

// What the ports do not tell about a file.
struct FileFacts {
  bool read_only = false;
  std::string changed;            // local time, "2026-03-07 14:05"
  std::uint64_t change_time = 0;  // the same, to compare
};

struct Circumstances {
  std::wstring ini_file;     // as the command line names it, in full; empty: found by the system
  std::wstring data_folder;  // likewise; empty: as the local INI file says
  std::vector<SearchFolder> search_folders;
  std::wstring windows_folder;
  // Where the system puts what old programs write to folders that they may not write to; below it
  // lie the paths without their drive. Empty where it does no such thing.
  std::wstring diverted_folder;
  std::string tables_setting;  // the environment variable TDEFAULT_TABLES
  bool provider_registered = false;
  // Absent when there is no such file.
  std::function<std::optional<FileFacts>(const std::wstring& file)> facts_of;
  // The system's code for "may files be made in this folder?", 0 for yes. Makes none.
  std::function<std::uint32_t(const std::wstring& folder)> adding_files;
};

// The whole content of a file, or the system's code where it cannot be read.
struct Content {
  std::uint32_t code = 0;
  std::string bytes;
  [[nodiscard]] bool ok() const { return code == 0; }
  [[nodiscard]] bool missing() const;
  [[nodiscard]] bool held() const;  // another program does not let it be read
};

class Examination {
 public:
  Examination(tdefault::platform::Platform& platform, Circumstances circumstances)
      : platform_(platform), circumstances_(std::move(circumstances)) {}

  [[nodiscard]] tdefault::platform::Platform& platform() const { return platform_; }
  [[nodiscard]] const Circumstances& circumstances() const { return circumstances_; }
  [[nodiscard]] const std::vector<Diagnosis>& diagnoses() const { return diagnoses_; }

  void Add(Diagnosis diagnosis) { diagnoses_.push_back(std::move(diagnosis)); }
  void Add(Health health, Topic topic, std::string text, std::string advice = {},
           std::vector<Step> steps = {}) {
    diagnoses_.push_back({health, topic, std::move(text), std::move(advice), std::move(steps)});
  }

  // A file that another program holds for itself exists too.
  [[nodiscard]] bool IsFile(const std::wstring& path) const;
  // The time of the last change; empty when there is no such file.
  [[nodiscard]] std::string ChangedAt(const std::wstring& path) const;
  // Whether both files exist and the first one was changed before the second.
  [[nodiscard]] bool ChangedBefore(const std::wstring& path, const std::wstring& other) const;
  // Read while others may go on writing.
  [[nodiscard]] Content Read(const std::wstring& path) const;
  // The names in a folder that match a pattern such as "tov*.tmp", in alphabetical order.
  [[nodiscard]] std::vector<std::wstring> NamesIn(const std::wstring& folder,
                                                  const std::wstring& pattern) const;

 private:
  tdefault::platform::Platform& platform_;
  Circumstances circumstances_;
  std::vector<Diagnosis> diagnoses_;
};

// The folder of a file, without its last backslash; the file's name in its folder.
[[nodiscard]] std::wstring FolderOf(const std::wstring& file);
[[nodiscard]] std::wstring NameOf(const std::wstring& file);

// "access denied (code 5)", "in use by another program (code 32)".
[[nodiscard]] std::string Reason(std::uint32_t code);

// A path as a command line takes it.
[[nodiscard]] std::string Quoted(const std::wstring& path);

[[nodiscard]] Step CopyStep(std::string purpose, const std::wstring& from, const std::wstring& to);
[[nodiscard]] Step DeleteStep(std::string purpose, const std::wstring& file);

}  // namespace tovocfg
