// The surroundings of the objects of one host thread. The only place that builds the product's
// adapters.
#pragma once

#include <memory>

#include "platform/win32/win32_platform.h"
#include "search/window/search_window.h"
#include "support/location_state.h"
#include "tables/table_access.h"

namespace tdefault::automation {

// Shared by all objects of the thread, so that the overrides of one Options object hold for all.
class HostThread {
 public:
  HostThread();

  [[nodiscard]] platform::Platform& platform() noexcept { return adapters_.platform(); }
  [[nodiscard]] tables::TableAccess& tables() noexcept { return *tables_; }
  [[nodiscard]] search::DataFolderSearch& data_folder_search() noexcept { return search_window_; }
  [[nodiscard]] support::LocationState& location() noexcept { return location_; }

 private:
  platform::win32::Win32Platform adapters_;
  std::unique_ptr<tables::TableAccess> tables_;
  search::SearchWindow search_window_;
  support::LocationState location_;
};

}  // namespace tdefault::automation
