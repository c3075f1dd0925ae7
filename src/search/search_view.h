// The window of the data-folder search, as its logic sees it. Widths are in pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tdefault::search {

// A column of lvwFindResults.
struct ListColumn {
  std::wstring key;
  std::wstring caption;
};

// A row of lvwFindResults.
struct ListRow {
  std::wstring text;
  std::wstring image;        // "HARDDRIVE", "NETWORK" or "path"
  std::wstring description;  // shown where there is a second column
};

// The buttons of which one is visible at a time: cmdSearch beside the drives, cmdOK beside the
// folders found.
enum class AcceptButton { kSearch, kOK };

// Rows and columns are counted from 0.
class SearchView {
 public:
  virtual ~SearchView() = default;

  // The labels.
  virtual void SetMessage(const std::wstring& text) = 0;  // lblMsg
  virtual void SetStatus(const std::wstring& text) = 0;
  virtual void SetFolder(const std::wstring& text) = 0;
  [[nodiscard]] virtual int FolderLabelWidth() = 0;
  // How wide the folder label draws a text.
  [[nodiscard]] virtual int TextWidth(const std::wstring& text) = 0;

  // lvwFindResults. New columns replace all columns and rows. The width of the list is that between
  // its borders, which a scroll bar makes no smaller.
  virtual void SetColumns(const std::vector<ListColumn>& columns) = 0;
  virtual void SetColumnCaption(const std::wstring& key, const std::wstring& caption) = 0;
  virtual void SetColumnWidth(std::size_t column, int width) = 0;
  [[nodiscard]] virtual int ColumnWidth(std::size_t column) = 0;
  // What shows the caption and every row of the column uncut.
  [[nodiscard]] virtual int WidthOfContent(std::size_t column) = 0;
  [[nodiscard]] virtual int ListWidth() = 0;
  // The bits of the window style.
  [[nodiscard]] virtual std::uint32_t ListStyle() = 0;
  [[nodiscard]] virtual int VerticalScrollBarWidth() = 0;
  virtual void ClearRows() = 0;
  virtual void AddRow(const ListRow& row) = 0;
  [[nodiscard]] virtual std::size_t RowCount() = 0;
  [[nodiscard]] virtual std::wstring RowText(std::size_t row) = 0;
  [[nodiscard]] virtual bool RowIsSelected(std::size_t row) = 0;

  // The button becomes the visible one and the default of the Enter key.
  virtual void ShowButton(AcceptButton button) = 0;
  virtual void SetEnabled(AcceptButton button, bool enabled) = 0;

  // The keyboard goes to the list, or to cmdCancel.
  virtual void FocusList() = 0;
  virtual void FocusCancel() = 0;

  virtual void Hide() = 0;
};

}  // namespace tdefault::search
