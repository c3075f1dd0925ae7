// ADO for tests on machines without a provider: while a stand-in lives, programs of this process
// that create ADODB.Connection and ADODB.Recordset get objects that are used late bound like the
// real ones, give their data types and errors, and are served by another table access.
#pragma once

#include "automation/com_types.h"
// After windows.h.
#include <set>
#include <string>
#include <vector>

#include "tables/table_access.h"

namespace tdefault::tests {

// What the objects of one stand-in share.
struct StandInState {
  tables::TableAccess* access = nullptr;

  // How they behave.
  bool long_values_in_chunks = false;     // Value of a long column is Empty, GetChunk gives it
  bool tells_errors_late = false;         // error texts are filled in when they are asked for
  bool tells_actual_sizes = true;         // else ActualSize is -1
  std::set<std::wstring> binary_columns;  // text columns that are shown as marked binary

  // What was seen of them.
  std::vector<std::wstring> calls;  // "Connection.Mode = 1", "Recordset.Find 'A = 1'"
  int names_asked = 0;
  int live_objects = 0;
};

class AdoStandIn {
 public:
  // `access` outlives the stand-in and all its objects. REQUIRES: COM is initialised.
  explicit AdoStandIn(tables::TableAccess& access);
  ~AdoStandIn();
  AdoStandIn(const AdoStandIn&) = delete;
  AdoStandIn& operator=(const AdoStandIn&) = delete;

  [[nodiscard]] StandInState& state() noexcept { return state_; }

 private:
  class Factory;

  StandInState state_;
  std::vector<automation::ComPtr<IUnknown>> factories_;
  std::vector<DWORD> cookies_;
};

}  // namespace tdefault::tests
