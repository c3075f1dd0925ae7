// The window of the data-folder search: the system's modal dialog over frmFSearch.
#pragma once

#include <string>
#include <utility>

#include "platform/platform.h"
#include "search/data_folder_search.h"

namespace tdefault::search {

// The module that this is linked into has the resources of search_window.rc.
class SearchWindow final : public DataFolderSearch {
 public:
  // `product`: the library's product name. The platform outlives the window.
  SearchWindow(const platform::Platform& platform, std::wstring product)
      : platform_(platform), product_(std::move(product)) {}

  std::wstring Show() override;

 private:
  platform::Platform platform_;
  std::wstring product_;
};

}  // namespace tdefault::search
