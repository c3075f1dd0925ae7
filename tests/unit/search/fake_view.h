// The window of the search dialog as a record of what it shows. A character is 6 pixels wide, a row
// as many as its text.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "search/search_view.h"

namespace tdefault::search {

class FakeView final : public SearchView {
 public:
  static constexpr int kCharacter = 6;

  void SetMessage(const std::wstring& text) override { message = text; }
  void SetStatus(const std::wstring& text) override {
    status = text;
    statuses.push_back(text);
  }
  void SetFolder(const std::wstring& text) override {
    folder = text;
    folders.push_back(text);
    if (during_search) during_search();
  }
  int FolderLabelWidth() override { return label_width; }
  int TextWidth(const std::wstring& text) override {
    return kCharacter * static_cast<int>(text.size());
  }
  void SetColumns(const std::vector<ListColumn>& new_columns) override {
    columns = new_columns;
    widths.assign(columns.size(), 0);
    ClearRows();
  }
  void SetColumnCaption(const std::wstring& key, const std::wstring& caption) override {
    for (ListColumn& column : columns)
      if (column.key == key) column.caption = caption;
  }
  void SetColumnWidth(std::size_t column, int width) override { widths.at(column) = width; }
  int ColumnWidth(std::size_t column) override { return widths.at(column); }
  int WidthOfContent(std::size_t column) override {
    int width = TextWidth(columns.at(column).caption);
    for (const ListRow& row : rows)
      width = std::max(width, TextWidth(column == 0 ? row.text : row.description));
    return width;
  }
  int ListWidth() override { return list_width; }
  std::uint32_t ListStyle() override {
    const bool scrolls = rows.size() > rows_in_sight;
    return 0x50210005U & ~(scrolls ? 0U : 0x200000U);
  }
  int VerticalScrollBarWidth() override { return 17; }
  void ClearRows() override {
    rows.clear();
    selected.clear();
  }
  void AddRow(const ListRow& row) override { rows.push_back(row); }
  std::size_t RowCount() override { return rows.size(); }
  std::wstring RowText(std::size_t row) override { return rows.at(row).text; }
  bool RowIsSelected(std::size_t row) override { return selected.contains(row); }
  void ShowButton(AcceptButton button) override { visible = button; }
  void SetEnabled(AcceptButton button, bool enabled) override {
    (button == AcceptButton::kSearch ? search_enabled : ok_enabled) = enabled;
  }
  void FocusList() override { focus = L"list"; }
  void FocusCancel() override { focus = L"cancel"; }
  void Hide() override { hidden = true; }

  // What the user sees.
  std::wstring message;
  std::wstring status;
  std::wstring folder;
  std::vector<ListColumn> columns;
  std::vector<int> widths;
  std::vector<ListRow> rows;
  std::set<std::size_t> selected;
  AcceptButton visible = AcceptButton::kSearch;
  bool search_enabled = false;
  bool ok_enabled = false;
  std::wstring focus;
  bool hidden = false;

  // All that the labels have shown.
  std::vector<std::wstring> statuses;
  std::vector<std::wstring> folders;

  int list_width = 400;
  int label_width = 6000;
  std::size_t rows_in_sight = 10;
  // What the user does when a folder is shown.
  std::function<void()> during_search;
};

}  // namespace tdefault::search
