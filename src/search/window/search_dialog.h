// The dialog's window procedure, its controls and their places.
#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "search/dialog_layout.h"
#include "search/frmFSearch.h"
#include "search/search_view.h"
#include "search/window/dialog_pump.h"
#include "search/window/modal_surroundings.h"
#include "search/window/results_list.h"

namespace tdefault::search {

class SearchDialog final : private SearchView {
 public:
  SearchDialog(const platform::Platform& platform, HINSTANCE module, const std::wstring& product);
  ~SearchDialog() override;

  SearchDialog(const SearchDialog&) = delete;
  SearchDialog& operator=(const SearchDialog&) = delete;

  // Shows the dialog until it is closed. Throws what its work has thrown.
  void Run();
  [[nodiscard]] const std::wstring& NewDataPath() const noexcept { return form_.NewDataPath(); }

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second);

  // Handles a message; false for the system's own handling.
  bool Handle(UINT message, WPARAM first, LPARAM second);
  void Create();
  void Command(int control, int notification);
  void Notified(const NMHDR& notification);
  void TellSmallestSize(MINMAXINFO& limits);
  void Scaled(UINT dots_per_inch, const RECT& place);
  // The system's font, and what is measured with it.
  void TakeFont();
  void PlaceControls();
  [[nodiscard]] int MessageHeight(int width) const;
  [[nodiscard]] HWND Control(int control) const { return GetDlgItem(window_, control); }
  void SetLabel(int control, const std::wstring& text);

  void SetMessage(const std::wstring& text) override;
  void SetStatus(const std::wstring& text) override;
  void SetFolder(const std::wstring& text) override;
  int FolderLabelWidth() override;
  int TextWidth(const std::wstring& text) override;
  void SetColumns(const std::vector<ListColumn>& columns) override { list_.SetColumns(columns); }
  void SetColumnCaption(const std::wstring& key, const std::wstring& caption) override {
    list_.SetColumnCaption(key, caption);
  }
  void SetColumnWidth(std::size_t column, int width) override {
    list_.SetColumnWidth(column, width);
  }
  int ColumnWidth(std::size_t column) override { return list_.ColumnWidth(column); }
  int WidthOfContent(std::size_t column) override { return list_.WidthOfContent(column); }
  int ListWidth() override { return list_.Width(); }
  std::uint32_t ListStyle() override { return list_.Style(); }
  int VerticalScrollBarWidth() override { return list_.VerticalScrollBarWidth(); }
  void ClearRows() override { list_.ClearRows(); }
  void AddRow(const ListRow& row) override { list_.AddRow(row); }
  std::size_t RowCount() override { return list_.RowCount(); }
  std::wstring RowText(std::size_t row) override { return list_.RowText(row); }
  bool RowIsSelected(std::size_t row) override { return list_.RowIsSelected(row); }
  void ShowButton(AcceptButton button) override;
  void SetEnabled(AcceptButton button, bool enabled) override;
  void FocusList() override;
  void FocusCancel() override;
  void Hide() override;

  void Focus(HWND control);

  HINSTANCE module_;
  std::wstring product_;
  DialogPump pump_;
  frmFSearch form_;

  HWND window_ = nullptr;
  bool hidden_ = false;
  std::exception_ptr failure_;
  std::optional<OtherWindowsDisabled> others_;
  ResultsList list_;

  UINT dots_per_inch_ = 96;
  HFONT font_ = nullptr;
  HDC measuring_ = nullptr;
  DialogUnits units_;
  std::wstring status_;
};

}  // namespace tdefault::search
