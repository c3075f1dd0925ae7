#include "search/window/search_window.h"

#include "search/window/search_dialog.h"

namespace tdefault::search {

std::wstring SearchWindow::Show() {
  SearchDialog dialog(platform_, module_, product_);
  dialog.Run();
  return dialog.NewDataPath();
}

}  // namespace tdefault::search
