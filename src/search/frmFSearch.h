// The dialog that looks for the data folder: what it shows and does, apart from its window.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "search/cFileSearch.h"
#include "search/search_view.h"

namespace tdefault::search {

// One showing of the dialog. The window calls the members named after its controls when the user
// does something to them, also while cmdSearch_Click runs. The platform's message pump is the one
// that keeps the window alive during a search. Platform and view outlive the form.
class frmFSearch {
 public:
  frmFSearch(const platform::Platform& platform, SearchView& view);
  ~frmFSearch();

  frmFSearch(const frmFSearch&) = delete;
  frmFSearch& operator=(const frmFSearch&) = delete;

  // The window is made; `product` is the library's product name.
  void Form_Initialize(const std::wstring& product);
  // The window appears: offers the drives to search.
  void Form_Activate();
  // The list has a new width: the columns keep their shares of it.
  void Form_Resize();
  // The user gave a column another width.
  void lvwFindResults_ColumnResized();

  void lvwFindResults_SelectionChanged();
  // Accepts the row when it is a folder found.
  void lvwFindResults_DblClick(std::size_t row);
  // Searches the selected drives. Throws what the search throws.
  void cmdSearch_Click();
  // Accepts the first selected row; with one row only, that one. Stays open when none is chosen.
  void cmdOK_Click();
  // Stops a running search at the next folder, and closes.
  void cmdCancel_Click();

  // The folder accepted; empty until then.
  [[nodiscard]] const std::wstring& NewDataPath() const noexcept { return new_data_path_; }
  [[nodiscard]] bool Searching() const noexcept { return m_cFS != nullptr; }

 private:
  enum class Role { kDrives, kResults };

  void FillDriveList();
  void RunSearch(const std::wstring& file_name);
  [[nodiscard]] std::wstring FindAndRelease(const std::wstring& file_name,
                                            const std::wstring& drives);
  void ShowResults(const std::wstring& found);
  void ShowProgress(const std::wstring& folder);
  [[nodiscard]] std::wstring ShortenToFit(std::wstring folder);
  [[nodiscard]] std::wstring SelectedDrives();
  [[nodiscard]] bool AnyRowSelected();
  [[nodiscard]] bool HasVerticalScrollbar();
  void SizeDriveColumns();
  void SizeResultColumn();
  // The width of the last column behind `used` pixels of columns before it.
  [[nodiscard]] int WidthLeft(int used);
  void RememberShares();
  void Accept(std::size_t row);

  platform::Platform platform_;
  SearchView& view_;
  Role role_ = Role::kDrives;
  // What parts of the list's width the columns have.
  std::vector<double> shares_;
  bool user_sized_ = false;
  bool folders_found_ = false;
  std::unique_ptr<cFileSearch> m_cFS;  // while a search runs
  std::wstring new_data_path_;
};

}  // namespace tdefault::search
