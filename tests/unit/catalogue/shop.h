// A shop for catalogue tests: a machine with both INI files and the data folder, scripted tables,
// and a host that records what the catalogue tells it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/Options.h"
#include "platform/simulation/simulation.h"
#include "support/location_state.h"
#include "unit/fake_tables.h"
#include "unit/readable.h"

namespace tdefault::testing {

inline const std::wstring kLocalIni = L"C:\\Windows\\TOVO.INI";
inline const std::wstring kGlobalIni = L"C:\\SHOP\\TOVOGBL.INI";
inline const std::wstring kLocalOld = L"C:\\Windows\\TOVO.old";
inline const std::wstring kGlobalOld = L"C:\\SHOP\\TOVOGBL.old";
inline const std::wstring kDefinitions = L"SELECT * FROM DEFAULTS";
inline const std::wstring kLayouts = L"SELECT * FROM REPORTS";

// A row of DEFAULTS.
struct Definition {
  std::wstring id;
  bool local_ini = false;
  std::wstring section;
  std::int32_t type = 0;
  std::wstring key;
  std::wstring choices = L"";
  std::wstring additional_proc = L"";
  std::wstring linkfield = L"";
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  std::int32_t decimals = 0;
  std::wstring default_value = L"";
  std::wstring comment = L"";
};

class RecordingHost final : public catalogue::OptionsEvents {
 public:
  struct Told {
    std::int32_t number = 0;
    std::wstring description;
  };

  void Modified() override { ++modified; }
  void Status(const std::wstring& program_status) override { statuses.push_back(program_status); }
  void DLLError(std::int32_t number, const std::wstring& description) override {
    errors.push_back({number, description});
  }

  int modified = 0;
  std::vector<std::wstring> statuses;
  std::vector<Told> errors;
};

// The local INI file names the data folder C:\SHOP and location 3.
class Shop {
 public:
  Shop() {
    machine.PutFile(kLocalIni,
                    "[Defaults]\r\nDataPath=C:\\SHOP\r\n[Companyname]\r\nLocation=3\r\n");
    machine.PutFile(kGlobalIni, "[GLOBAL]\r\n");
    machine.PutFile(L"C:\\SHOP\\DEFAULTS.DBF", "table");
    FakeResult& definitions = tables.store.results[kDefinitions];
    definitions.columns = {L"ID",        L"LOCALINI", L"INISECTION", L"TYPE",    L"KEY",
                           L"LINKFIELD", L"CHOICES",  L"MINIMUM",    L"MAXIMUM", L"DECIMALS",
                           L"DEFAULT",   L"COMMENT",  L"ADDTNLPROC"};
    tables.store.results[kLayouts].columns = {L"NAME", L"DESCIPT", L"PICTURE", L"REPORTNAME"};
    options.ListenTo(&host);
  }

  Shop(const Shop&) = delete;
  Shop& operator=(const Shop&) = delete;

  // As the engine gives a row: text blank-padded to its column.
  void Define(const Definition& definition) {
    const auto padded = [](std::wstring text, std::size_t width) {
      if (text.size() < width) text.resize(width, L' ');
      return text;
    };
    rows().push_back({padded(definition.id, 36), definition.local_ini,
                      padded(definition.section, 30), definition.type, padded(definition.key, 30),
                      padded(definition.linkfield, 30), definition.choices, definition.minimum,
                      definition.maximum, definition.decimals, padded(definition.default_value, 30),
                      definition.comment, padded(definition.additional_proc, 60)});
  }

  std::vector<std::vector<Value>>& rows() { return tables.store.results[kDefinitions].rows; }

  std::string local() const { return machine.Contents(kLocalIni).value_or("(missing)"); }
  std::string global() const { return machine.Contents(kGlobalIni).value_or("(missing)"); }

  // How often the catalogue made that call of the machine.
  [[nodiscard]] std::size_t CallsOf(std::string_view operation) const {
    return static_cast<std::size_t>(
        std::count_if(machine.calls().begin(), machine.calls().end(),
                      [&](const auto& call) { return call.operation == operation; }));
  }

  // What a load has as the option's value.
  std::wstring ValueOf(const std::wstring& id) const { return options.Item(id)->CurrentValue(); }
  void SetNew(const std::wstring& id, std::wstring_view value) {
    options.Item(id)->SetNewValue(value);
  }

  platform::simulation::Simulation machine;
  FakeTables tables;
  support::LocationState location;
  RecordingHost host;
  catalogue::Options options{machine.platform(), tables, location};
};

}  // namespace tdefault::testing
