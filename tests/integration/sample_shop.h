// The sample shop on a simulated machine, served by the embedded engine.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "catalogue/Options.h"
#include "platform/simulation/simulation.h"
#include "support/location_state.h"
#include "tables/foxpro/embedded_table_access.h"
#include "unit/readable.h"
#include "unit/recording_tables.h"

namespace tdefault::testing {

// The bytes of a file of samples/shop.
inline std::string SampleBytes(const std::string& name) {
  const std::string path = std::string(TDEFAULT_SAMPLE_SHOP) + "/" + name;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  // In one piece: character by character takes long under the sanitizers.
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

inline const std::wstring kShopFolder = L"C:\\SHOP\\DATA";
inline const std::wstring kShopLocalIni = L"C:\\Windows\\TOVO.INI";
inline const std::wstring kShopGlobalIni = L"C:\\SHOP\\DATA\\TOVOGBL.INI";

class SampleShop {
 public:
  SampleShop() {
    for (const char* name : {"defaults.dbf", "defaults.fpt", "reports.dbf", "reports.fpt",
                             "options.dbf", "need.dbf", "numbers.dbf", "TOVOGBL.INI"})
      machine.PutFile(kShopFolder + L"\\" + FromUtf8(name),
                      SampleBytes(std::string("data/") + name));
    machine.PutFile(kShopLocalIni, SampleBytes("workstation/TOVO.INI"));
  }

  SampleShop(const SampleShop&) = delete;
  SampleShop& operator=(const SampleShop&) = delete;

  // The option of a section and key; null when there is none.
  [[nodiscard]] std::shared_ptr<records::INIOption> Find(std::wstring_view section,
                                                         std::wstring_view key) const {
    for (const auto& option : options.elements())
      if (EqualIgnoringCase(option->Section(), section) && EqualIgnoringCase(option->Key(), key))
        return option;
    return nullptr;
  }

  platform::simulation::Simulation machine;
  tables::foxpro::EmbeddedTableAccess engine{
      machine.platform().files, tables::foxpro::LockPatience{machine.platform().clock}, 1252};
  RecordingTables tables{engine};
  support::LocationState location;
  catalogue::Options options{machine.platform(), tables, location};
};

}  // namespace tdefault::testing
