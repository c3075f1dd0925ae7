#include "search/frmFSearch.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "search/drives.h"
#include "support/paths.h"

namespace tdefault::search {
namespace {

constexpr wchar_t kPathsColumn[] = L"Paths";
constexpr std::uint32_t kVerticalScrollBarStyle = 0x200000;

// What a shortened folder text keeps of its beginning, and where the part may end that it leaves
// out.
constexpr std::size_t kKeptCharacters = 10;
constexpr std::size_t kFirstCut = 14;  // the 15th character

std::wstring CountCaption(std::size_t count) {
  return L"Tovo Data Paths Found (" + std::to_wstring(count) + L")";
}

}  // namespace

frmFSearch::frmFSearch(const platform::Platform& platform, SearchView& view)
    : platform_(platform), view_(view) {}

frmFSearch::~frmFSearch() = default;

void frmFSearch::Form_Initialize(const std::wstring& product) {
  view_.SetMessage(L"Please wait while " + product + L" searches for the Tovo data folder.");
}

void frmFSearch::Form_Activate() {
  FillDriveList();
  view_.FocusList();
}

void frmFSearch::FillDriveList() {
  role_ = Role::kDrives;
  view_.SetColumns({{L"Drives", L"Select drives to search"}, {L"Description", L"Description"}});
  for (const DriveRow& row : EligibleDrives(platform_.drives))
    view_.AddRow({row.drive, row.image, row.description});
  SizeDriveColumns();
  view_.ShowButton(AcceptButton::kSearch);
  view_.SetEnabled(AcceptButton::kSearch, AnyRowSelected());
}

void frmFSearch::cmdSearch_Click() {
  if (Searching() || role_ != Role::kDrives) return;
  RunSearch(L"defaults.dbf");
}

void frmFSearch::RunSearch(const std::wstring& file_name) {
  const std::wstring drives = SelectedDrives();
  role_ = Role::kResults;
  view_.SetColumns({{kPathsColumn, CountCaption(0)}});
  SizeResultColumn();
  view_.ShowButton(AcceptButton::kOK);
  view_.SetEnabled(AcceptButton::kOK, false);
  view_.FocusCancel();

  m_cFS = std::make_unique<cFileSearch>(platform_.files, platform_.session, platform_.dialogs);
  m_cFS->OnFolderChange([this](const std::wstring& folder) { ShowProgress(folder); });
  const std::wstring found = FindAndRelease(file_name, drives);

  // A search without a result ends without the engine's last event.
  ShowProgress({});
  ShowResults(found);
}

// The engine is there while it searches, and no longer.
std::wstring frmFSearch::FindAndRelease(const std::wstring& file_name, const std::wstring& drives) {
  const struct Release {
    std::unique_ptr<cFileSearch>& engine;
    ~Release() { engine.reset(); }
  } release{m_cFS};
  return m_cFS->FindFile(file_name, true, drives, true);
}

std::wstring frmFSearch::SelectedDrives() {
  std::wstring drives;
  for (std::size_t row = 0; row < view_.RowCount(); ++row)
    if (view_.RowIsSelected(row)) drives += view_.RowText(row) + L";";
  if (!drives.empty()) drives.pop_back();
  return drives;
}

void frmFSearch::ShowProgress(const std::wstring& folder) {
  view_.SetStatus(folder.empty() ? L"Finished" : L"Searching ...");
  view_.SetFolder(ShortenToFit(folder));
}

std::wstring frmFSearch::ShortenToFit(std::wstring folder) {
  while (view_.TextWidth(folder) > view_.FolderLabelWidth()) {
    const std::size_t rest = folder.find(L'\\', kFirstCut);
    if (rest == std::wstring::npos) break;
    folder = folder.substr(0, kKeptCharacters) + L"..." + folder.substr(rest);
  }
  return folder;
}

// An empty piece, which the engine leaves behind the match that came first in a folder, is a row
// and counts like any other.
void frmFSearch::ShowResults(const std::wstring& found) {
  std::vector<std::wstring> pieces;
  if (!found.empty()) pieces = Split(found, L"\r\n");
  folders_found_ = !pieces.empty();
  if (!folders_found_) view_.AddRow({L"the Tovo data path was not found", L"path", {}});
  for (const std::wstring& piece : pieces)
    view_.AddRow(
        {support::ProperCasePath(support::ParentFolder(piece, support::WithoutBackslash::kEmpty)),
         L"path",
         {}});
  // The rows may have brought a scroll bar.
  SizeResultColumn();
  view_.SetColumnCaption(kPathsColumn, CountCaption(pieces.size()));
  view_.SetEnabled(AcceptButton::kOK, true);
  view_.FocusList();
}

void frmFSearch::lvwFindResults_SelectionChanged() {
  view_.SetEnabled(role_ == Role::kDrives ? AcceptButton::kSearch : AcceptButton::kOK,
                   AnyRowSelected());
}

bool frmFSearch::AnyRowSelected() {
  for (std::size_t row = 0; row < view_.RowCount(); ++row)
    if (view_.RowIsSelected(row)) return true;
  return false;
}

void frmFSearch::lvwFindResults_DblClick(std::size_t row) {
  if (role_ == Role::kResults && !Searching() && row < view_.RowCount()) Accept(row);
}

void frmFSearch::cmdOK_Click() {
  if (role_ != Role::kResults || Searching()) return;
  const std::size_t rows = view_.RowCount();
  std::size_t chosen = 0;
  while (chosen < rows && !view_.RowIsSelected(chosen)) ++chosen;
  if (chosen == rows && rows == 1) chosen = 0;
  if (chosen < rows) {
    Accept(chosen);
    return;
  }
  view_.SetEnabled(AcceptButton::kOK, false);
  view_.FocusList();
}

void frmFSearch::Accept(std::size_t row) {
  if (folders_found_) new_data_path_ = view_.RowText(row);
  view_.Hide();
}

void frmFSearch::cmdCancel_Click() {
  if (m_cFS) m_cFS->SetCancel(true);
  view_.Hide();
}

bool frmFSearch::HasVerticalScrollbar() {
  return (view_.ListStyle() & kVerticalScrollBarStyle) != 0;
}

int frmFSearch::WidthLeft(int used) {
  const int scroll_bar = HasVerticalScrollbar() ? view_.VerticalScrollBarWidth() : 0;
  return std::max(view_.ListWidth() - used - scroll_bar, 0);
}

void frmFSearch::SizeDriveColumns() {
  // Room for the description, however long the caption is in a narrow window.
  const int first = std::min(view_.WidthOfContent(0), view_.ListWidth() / 2);
  view_.SetColumnWidth(0, first);
  view_.SetColumnWidth(1, WidthLeft(first));
  user_sized_ = false;
  RememberShares();
}

void frmFSearch::SizeResultColumn() {
  view_.SetColumnWidth(0, WidthLeft(0));
  user_sized_ = false;
  RememberShares();
}

void frmFSearch::lvwFindResults_ColumnResized() {
  user_sized_ = true;
  RememberShares();
}

void frmFSearch::RememberShares() {
  shares_.clear();
  const double whole = std::max(view_.ListWidth(), 1);
  const std::size_t columns = role_ == Role::kDrives ? 2 : 1;
  for (std::size_t column = 0; column < columns; ++column)
    shares_.push_back(view_.ColumnWidth(column) / whole);
}

void frmFSearch::Form_Resize() {
  int used = 0;
  for (std::size_t column = 0; column < shares_.size(); ++column) {
    const bool fits_the_rest = column + 1 == shares_.size() && !user_sized_;
    const int width = fits_the_rest
                          ? WidthLeft(used)
                          : static_cast<int>(std::lround(shares_[column] * view_.ListWidth()));
    view_.SetColumnWidth(column, width);
    used += width;
  }
}

}  // namespace tdefault::search
