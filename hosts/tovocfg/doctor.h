// The command doctor: what is wrong with a shop's configuration, and what to do about it. Reads
// only. What needs the library or the registry is done by doctor_command.h.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tovocfg/examination.h"
#include "tovocfg/ini_check.h"

namespace tovocfg {

// Where the shop's files are, as the library finds them.
struct Located {
  std::wstring local_ini;  // as it is named or found; empty when there is none
  std::wstring data_folder;
  bool data_folder_exists = false;
  std::wstring global_ini;  // empty without a data folder
  bool has_definitions = false;

  // Those of the two that are known.
  [[nodiscard]] std::vector<IniFile> IniFiles() const;
};

// What is in an INI file that could be read.
struct ReadIni {
  IniFile file;
  IniText text;
};

// Tells which local INI file is in use and how it was found, other files of its name, and the data
// folder. Looks for nothing inside it.
[[nodiscard]] Located ExamineLocations(Examination& examination);

// Tells the state of both INI files and what interrupted saves have left.
[[nodiscard]] std::vector<ReadIni> ExamineIniFiles(Examination& examination,
                                                   const Located& located);

// Tells whether the folder's definitions are there and its tables whole.
void ExamineTables(Examination& examination, Located& located);

// Whether there is one.
bool ExamineTableAccess(Examination& examination);

// Tells what may be written: the INI files, the tables, and new files beside the INI files. Opens
// files for writing and closes them again; makes no file and asks for the right to instead.
void ExamineWriteAccess(Examination& examination, const Located& located);

// 32 or 64 for a program file; absent when it is none.
[[nodiscard]] std::optional<int> BitsOf(const Examination& examination, const std::wstring& file);

}  // namespace tovocfg
