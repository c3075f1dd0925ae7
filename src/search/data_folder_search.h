// The dialog in which a user looks for the data folder, as the catalogue sees it.
#pragma once

#include <string>

namespace tdefault::search {

class DataFolderSearch {
 public:
  virtual ~DataFolderSearch() = default;

  // Shows the dialog modally to the host's active window and returns when it is closed. Gives the
  // folder that the user chose, empty without a choice or where no window can be shown. Throws what
  // the search throws.
  virtual std::wstring Show() = 0;
};

}  // namespace tdefault::search
