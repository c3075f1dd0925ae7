// The window of the data-folder search: the system's modal dialog over frmFSearch.
#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "platform/platform.h"
#include "search/data_folder_search.h"

namespace tdefault::search {

class SearchWindow final : public DataFolderSearch {
 public:
  // `module`: the library or program that has the resources of search_window.rc. `product`: the
  // library's product name. The platform outlives the window.
  SearchWindow(const platform::Platform& platform, HINSTANCE module, std::wstring product)
      : platform_(platform), module_(module), product_(std::move(product)) {}

  std::wstring Show() override;

 private:
  platform::Platform platform_;
  HINSTANCE module_;
  std::wstring product_;
};

}  // namespace tdefault::search
