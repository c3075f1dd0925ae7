// lvwFindResults as a control: a list view in report mode whose columns have keys and whose rows
// have images.
#pragma once

#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "search/search_view.h"

namespace tdefault::search {

class ResultsList {
 public:
  ResultsList() = default;
  ~ResultsList();
  ResultsList(const ResultsList&) = delete;
  ResultsList& operator=(const ResultsList&) = delete;

  // The control, and the module that has its images.
  void Attach(HWND list, HINSTANCE module, UINT dots_per_inch);
  // Images of the size for that scaling.
  void Scale(UINT dots_per_inch);
  [[nodiscard]] HWND window() const noexcept { return list_; }

  void SetColumns(const std::vector<ListColumn>& columns);
  void SetColumnCaption(const std::wstring& key, const std::wstring& caption);
  void SetColumnWidth(std::size_t column, int width);
  [[nodiscard]] int ColumnWidth(std::size_t column) const;
  [[nodiscard]] int WidthOfContent(std::size_t column);
  // Between the borders.
  [[nodiscard]] int Width() const;
  [[nodiscard]] std::uint32_t Style() const;
  [[nodiscard]] int VerticalScrollBarWidth() const;

  void ClearRows();
  void AddRow(const ListRow& row);
  [[nodiscard]] std::size_t RowCount() const;
  [[nodiscard]] std::wstring RowText(std::size_t row) const;
  [[nodiscard]] bool RowIsSelected(std::size_t row) const;
  // Gives the first row the focus mark when none has it.
  void MarkFirstRow();

  // A notification of the control came from a width that the user gave a column.
  [[nodiscard]] bool IsColumnResize(const NMHDR& notification) const;
  // A row was selected, or is no longer.
  [[nodiscard]] bool IsSelectionChange(const NMHDR& notification) const;

 private:
  // What a width that this class sets itself is told from a user's by.
  class OwnSizing;

  [[nodiscard]] int CaptionWidth(std::size_t column) const;

  HWND list_ = nullptr;
  HINSTANCE module_ = nullptr;
  HIMAGELIST images_ = nullptr;
  UINT dots_per_inch_ = 96;
  std::vector<std::wstring> keys_;  // of the columns
  bool sizing_ = false;
};

}  // namespace tdefault::search
