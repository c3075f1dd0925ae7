// A small shop on a simulated machine, and the doctor's way of looking at it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "platform/simulation/simulation.h"
#include "tovocfg/doctor.h"

namespace tovocfg::testing {

inline constexpr wchar_t kLocal[] = L"C:\\Desk\\TOVO.INI";
inline constexpr wchar_t kGlobal[] = L"C:\\Shop\\TOVOGBL.INI";
inline constexpr char kLocalText[] =
    "[Defaults]\r\nDataPath=C:\\Shop\r\n[Windows]\r\nZoom=110\r\nColour=2\r\n";
inline constexpr char kGlobalText[] = "[Tax]\r\nRate1=5.000\r\nName1=TPS\r\n";

struct Shop {
  tdefault::platform::simulation::Simulation machine;
  std::wstring ini_file = kLocal;  // as --ini names it
  std::wstring data_folder;        // as --data names it
  std::uint32_t adding_files = 0;
  std::string tables_setting;
  bool provider_registered = false;
  std::wstring diverted_folder;
  std::map<std::wstring, std::uint64_t> change_times;

  Shop() {
    machine.PutFile(kLocal, kLocalText);
    machine.PutFile(kGlobal, kGlobalText);
  }

  [[nodiscard]] Examination Begin() {
    Circumstances circumstances;
    circumstances.ini_file = ini_file;
    circumstances.data_folder = data_folder;
    circumstances.search_folders = {{"program folder", L"C:\\Program Files\\Host"},
                                    {"current folder", L"C:\\Work"},
                                    {"system folder", machine.system_folder()},
                                    {"Windows folder", machine.windows_folder()},
                                    {"PATH", L"C:\\Tools\\"},
                                    {"PATH", L"c:\\tools"}};
    circumstances.windows_folder = machine.windows_folder();
    circumstances.diverted_folder = diverted_folder;
    circumstances.tables_setting = tables_setting;
    circumstances.provider_registered = provider_registered;
    circumstances.facts_of = [this](const std::wstring& file) -> std::optional<FileFacts> {
      if (!machine.Contents(file)) return std::nullopt;
      const auto time = change_times.find(file);
      return FileFacts{machine.IsReadOnly(file), "2001-03-07 14:05",
                       time == change_times.end() ? 0 : time->second};
    };
    circumstances.adding_files = [this](const std::wstring&) { return adding_files; };
    return Examination(machine.platform(), circumstances);
  }

  // Everything but the library.
  [[nodiscard]] std::vector<Diagnosis> Examine() {
    Examination examination = Begin();
    Located located = ExamineLocations(examination);
    static_cast<void>(ExamineIniFiles(examination, located));
    ExamineTables(examination, located);
    ExamineTableAccess(examination);
    ExamineWriteAccess(examination, located);
    return Ordered(examination.diagnoses());
  }
};

// The first finding of that health whose text has the words; null when there is none.
inline const Diagnosis* Find(const std::vector<Diagnosis>& diagnoses, Health health,
                             std::string_view words) {
  const auto found = std::find_if(diagnoses.begin(), diagnoses.end(), [&](const Diagnosis& each) {
    return each.health == health && each.text.find(words) != std::string::npos;
  });
  return found == diagnoses.end() ? nullptr : &*found;
}

inline bool HasStep(const Diagnosis* diagnosis, const std::string& command) {
  return diagnosis != nullptr &&
         std::any_of(diagnosis->steps.begin(), diagnosis->steps.end(),
                     [&](const Step& step) { return step.command == command; });
}

}  // namespace tovocfg::testing
