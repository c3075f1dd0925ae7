// A sample shop whose save is watched: which of its calls are the save's own, and what it leaves.
#pragma once

#include <doctest/doctest.h>

#include <cstddef>
#include <string>

#include "base/error.h"
#include "integration/sample_shop.h"

namespace tdefault::testing {

class WatchedShop : public SampleShop {
 public:
  // From here on calls are the save's.
  void BeginWatching() {
    first_call = machine.call_count() + 1;
    tables.calls.count = 0;
  }
  // When Modified is raised: behind it the save loads again.
  void EndWatching() {
    last_call = machine.call_count();
    last_table_call = tables.calls.count;
  }

  // Loading again may fail, when the save has its outcome.
  bool Save() {
    try {
      return options.Save();
    } catch (const Error&) {
      return true;
    }
  }

  [[nodiscard]] std::string Content(const std::wstring& path) const {
    return machine.Contents(path).value_or("(missing)");
  }

  void CheckNothingLeft() const {
    CHECK(machine.open_handles() == 0);
    CHECK(tables.calls.open_connections == 0);
    CHECK(tables.calls.open_recordsets == 0);
    for (const std::wstring& path : machine.AllFiles())
      CHECK(path.find(L".tmp") == std::wstring::npos);
  }

  std::size_t first_call = 0;
  std::size_t last_call = 0;
  std::size_t last_table_call = 0;
};

}  // namespace tdefault::testing
