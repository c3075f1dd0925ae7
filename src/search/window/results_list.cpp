#include "search/window/results_list.h"

#include <algorithm>
#include <array>
#include <bit>

#include "search/window/display_scaling.h"
#include "search/window/resources.h"

namespace tdefault::search {
namespace {

struct KeyedImage {
  const wchar_t* key;
  int resource;
};
constexpr std::array<KeyedImage, 3> kImages{
    {{L"HARDDRIVE", IDI_HARD_DRIVE}, {L"NETWORK", IDI_NETWORK_DRIVE}, {L"path", IDI_FOLDER}}};

int ImageIndex(const std::wstring& key) {
  for (std::size_t index = 0; index < kImages.size(); ++index)
    if (key == kImages[index].key) return static_cast<int>(index);
  return I_IMAGENONE;
}

// The control takes texts that it does not change through pointers that could.
wchar_t* Text(const std::wstring& text) { return const_cast<wchar_t*>(text.c_str()); }

LRESULT Send(HWND list, UINT message, WPARAM first, const void* second) {
  return SendMessageW(list, message, first, std::bit_cast<LPARAM>(second));
}

HIMAGELIST LoadImages(HINSTANCE module, int width, int height) {
  const HIMAGELIST images =
      ImageList_Create(width, height, ILC_COLOR32 | ILC_MASK, static_cast<int>(kImages.size()), 0);
  if (images == nullptr) return nullptr;
  for (const KeyedImage& image : kImages) {
    const HANDLE icon = LoadImageW(module, MAKEINTRESOURCEW(image.resource), IMAGE_ICON, width,
                                   height, LR_DEFAULTCOLOR);
    if (icon == nullptr) continue;
    ImageList_AddIcon(images, static_cast<HICON>(icon));
    DestroyIcon(static_cast<HICON>(icon));
  }
  return images;
}

}  // namespace

class ResultsList::OwnSizing {
 public:
  explicit OwnSizing(ResultsList& list) : list_(list) { list_.sizing_ = true; }
  ~OwnSizing() { list_.sizing_ = false; }
  OwnSizing(const OwnSizing&) = delete;
  OwnSizing& operator=(const OwnSizing&) = delete;

 private:
  ResultsList& list_;
};

ResultsList::~ResultsList() {
  if (images_ != nullptr) ImageList_Destroy(images_);
}

void ResultsList::Attach(HWND list, HINSTANCE module, UINT dots_per_inch) {
  list_ = list;
  module_ = module;
  constexpr DWORD kStyles = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
  SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, kStyles, kStyles);
  Scale(dots_per_inch);
}

void ResultsList::Scale(UINT dots_per_inch) {
  dots_per_inch_ = dots_per_inch;
  const HIMAGELIST images = LoadImages(module_, ScaledMetric(SM_CXSMICON, dots_per_inch),
                                       ScaledMetric(SM_CYSMICON, dots_per_inch));
  Send(list_, LVM_SETIMAGELIST, LVSIL_SMALL, images);
  if (images_ != nullptr) ImageList_Destroy(images_);
  images_ = images;
}

void ResultsList::SetColumns(const std::vector<ListColumn>& columns) {
  const OwnSizing own(*this);
  ClearRows();
  while (!keys_.empty()) {
    SendMessageW(list_, LVM_DELETECOLUMN, 0, 0);
    keys_.pop_back();
  }
  for (const ListColumn& column : columns) {
    LVCOLUMNW made{};
    made.mask = LVCF_TEXT | LVCF_SUBITEM | LVCF_WIDTH;
    made.iSubItem = static_cast<int>(keys_.size());
    made.pszText = Text(column.caption);
    Send(list_, LVM_INSERTCOLUMNW, keys_.size(), &made);
    keys_.push_back(column.key);
  }
}

void ResultsList::SetColumnCaption(const std::wstring& key, const std::wstring& caption) {
  const auto found = std::find(keys_.begin(), keys_.end(), key);
  if (found == keys_.end()) return;
  LVCOLUMNW changed{};
  changed.mask = LVCF_TEXT;
  changed.pszText = Text(caption);
  Send(list_, LVM_SETCOLUMNW, static_cast<WPARAM>(found - keys_.begin()), &changed);
}

void ResultsList::SetColumnWidth(std::size_t column, int width) {
  const OwnSizing own(*this);
  SendMessageW(list_, LVM_SETCOLUMNWIDTH, column, width);
}

int ResultsList::ColumnWidth(std::size_t column) const {
  return static_cast<int>(SendMessageW(list_, LVM_GETCOLUMNWIDTH, column, 0));
}

int ResultsList::WidthOfContent(std::size_t column) {
  SetColumnWidth(column, LVSCW_AUTOSIZE);
  return std::max(ColumnWidth(column), CaptionWidth(column));
}

// With what the control draws round it; the control's own measure leaves some of that out.
int ResultsList::CaptionWidth(std::size_t column) const {
  constexpr int kRoundCaption = 20;  // pixels at 96 dots per inch
  std::array<wchar_t, 128> caption{};
  LVCOLUMNW asked{};
  asked.mask = LVCF_TEXT;
  asked.pszText = caption.data();
  asked.cchTextMax = static_cast<int>(caption.size());
  Send(list_, LVM_GETCOLUMNW, column, &asked);
  const HDC screen = GetDC(list_);
  const HGDIOBJ before =
      SelectObject(screen, std::bit_cast<HGDIOBJ>(SendMessageW(list_, WM_GETFONT, 0, 0)));
  SIZE size{};
  GetTextExtentPoint32W(screen, caption.data(), lstrlenW(caption.data()), &size);
  SelectObject(screen, before);
  ReleaseDC(list_, screen);
  return size.cx + MulDiv(kRoundCaption, static_cast<int>(dots_per_inch_), 96);
}

int ResultsList::Width() const {
  RECT client{};
  GetClientRect(list_, &client);
  const bool scroll_bar = (Style() & WS_VSCROLL) != 0;
  return client.right + (scroll_bar ? VerticalScrollBarWidth() : 0);
}

std::uint32_t ResultsList::Style() const {
  return static_cast<std::uint32_t>(GetWindowLongA(list_, GWL_STYLE));
}

int ResultsList::VerticalScrollBarWidth() const {
  return ScaledMetric(SM_CXVSCROLL, dots_per_inch_);
}

void ResultsList::ClearRows() { SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0); }

void ResultsList::AddRow(const ListRow& row) {
  LVITEMW item{};
  item.mask = LVIF_TEXT | LVIF_IMAGE;
  item.iItem = static_cast<int>(RowCount());
  item.pszText = Text(row.text);
  item.iImage = ImageIndex(row.image);
  const LRESULT at = Send(list_, LVM_INSERTITEMW, 0, &item);
  if (at < 0 || row.description.empty()) return;
  LVITEMW description{};
  description.iSubItem = 1;
  description.pszText = Text(row.description);
  Send(list_, LVM_SETITEMTEXTW, static_cast<WPARAM>(at), &description);
}

std::size_t ResultsList::RowCount() const {
  return static_cast<std::size_t>(SendMessageW(list_, LVM_GETITEMCOUNT, 0, 0));
}

std::wstring ResultsList::RowText(std::size_t row) const {
  std::wstring text(MAX_PATH, L'\0');
  for (;;) {
    LVITEMW item{};
    item.pszText = text.data();
    item.cchTextMax = static_cast<int>(text.size());
    const auto length = static_cast<std::size_t>(Send(list_, LVM_GETITEMTEXTW, row, &item));
    if (length + 1 < text.size()) {
      text.resize(length);
      return text;
    }
    text.resize(2 * text.size());
  }
}

bool ResultsList::RowIsSelected(std::size_t row) const {
  return (SendMessageW(list_, LVM_GETITEMSTATE, row, LVIS_SELECTED) & LVIS_SELECTED) != 0;
}

void ResultsList::MarkFirstRow() {
  constexpr WPARAM kFromTheStart = static_cast<WPARAM>(-1);
  if (SendMessageW(list_, LVM_GETNEXTITEM, kFromTheStart, LVNI_FOCUSED) >= 0) return;
  LVITEMW item{};
  item.state = LVIS_FOCUSED;
  item.stateMask = LVIS_FOCUSED;
  Send(list_, LVM_SETITEMSTATE, 0, &item);
}

bool ResultsList::IsColumnResize(const NMHDR& notification) const {
  if (sizing_ || notification.code != HDN_ITEMCHANGEDW) return false;
  const auto* const item = reinterpret_cast<const NMHEADERW&>(notification).pitem;
  return item != nullptr && (item->mask & HDI_WIDTH) != 0;
}

bool ResultsList::IsSelectionChange(const NMHDR& notification) const {
  if (notification.hwndFrom != list_ || notification.code != LVN_ITEMCHANGED) return false;
  const auto& change = reinterpret_cast<const NMLISTVIEW&>(notification);
  return (change.uChanged & LVIF_STATE) != 0 &&
         ((change.uOldState ^ change.uNewState) & LVIS_SELECTED) != 0;
}

}  // namespace tdefault::search
