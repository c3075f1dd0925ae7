// A data folder on a simulated machine, and short ways to read its tables in tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/value.h"
#include "platform/simulation/simulation.h"
#include "tables/foxpro/stored_table.h"

namespace tdefault::tables::testing {

// The files of the table T.
inline const std::wstring kTable = L"C:\\Data\\T.dbf";
inline const std::wstring kMemo = L"C:\\Data\\T.fpt";
inline const std::wstring kIndex = L"C:\\Data\\T.cdx";

// The byte of a memo file that stands for its lock.
inline constexpr std::uint64_t kMemoLock = 0x40000000;

class TableShelf {
 public:
  // `ansi_code_page` is the page of tables without a mark.
  explicit TableShelf(std::uint32_t ansi_code_page = 1252);

  // Puts C:\Data\T.dbf there, and T.fpt when there are memo bytes.
  void Put(std::string_view table, std::string_view memo = {});

  [[nodiscard]] platform::simulation::Simulation& machine() { return machine_; }
  [[nodiscard]] foxpro::TableView& view() { return view_; }

  // Opens a table; REQUIRES: the shelf outlives it.
  [[nodiscard]] std::unique_ptr<Table> Open(const std::wstring& name = L"T");

  // Every value of every row of T.
  [[nodiscard]] std::vector<std::vector<Value>> Rows();
  // The value of T's first row and first column.
  [[nodiscard]] Value First();

 private:
  platform::simulation::Simulation machine_;
  foxpro::TableView view_;
};

// The error that the call throws. Fails the test when it throws none.
template <class Call>
[[nodiscard]] Error ErrorOf(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  return Error(0, L"", L"no error");
}

[[nodiscard]] inline bool Contains(const Error& error, std::wstring_view text) {
  return error.description().find(text) != std::wstring::npos;
}

}  // namespace tdefault::tables::testing
