#include "search/window/search_dialog.h"

// After windows.h.
#include <commctrl.h>

#include <bit>

#include "search/window/display_scaling.h"
#include "search/window/resources.h"

namespace tdefault::search {
namespace {

// Posted to the dialog once it stands: the drives are asked for when the window can be seen, since
// a network drive may take its time.
constexpr UINT kActivated = WM_APP + 1;

// The letters whose average width the base units of a dialog rest on.
constexpr wchar_t kLetters[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int kLetterCount = 52;

int AcceptControl(AcceptButton button) {
  return button == AcceptButton::kSearch ? IDC_SEARCH : IDOK;
}

platform::Platform WithDialogs(platform::Platform platform, platform::Dialogs& dialogs) {
  return {platform.profile_files, platform.files,       platform.session,
          platform.clock,         platform.guid_source, dialogs,
          platform.registry,      platform.processes,   platform.drives};
}

void Place(HWND control, const Box& box) {
  SetWindowPos(control, nullptr, box.left, box.top, box.width, box.height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

bool CanBePressed(HWND button) {
  const auto style = static_cast<DWORD>(GetWindowLongW(button, GWL_STYLE));
  return (style & WS_VISIBLE) != 0 && (style & WS_DISABLED) == 0;
}

}  // namespace

SearchDialog::SearchDialog(const platform::Platform& platform, HINSTANCE module,
                           const std::wstring& product)
    : module_(module),
      product_(product),
      pump_(platform.dialogs),
      form_(WithDialogs(platform, pump_), *this) {}

SearchDialog::~SearchDialog() {
  if (measuring_ != nullptr) DeleteDC(measuring_);
  if (font_ != nullptr) DeleteObject(font_);
}

void SearchDialog::Run() {
  const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&controls);
  const VisualStyles styles(module_);
  const PerMonitorScaling scaling;
  DialogBoxParamW(module_, MAKEINTRESOURCEW(IDD_SEARCH), GetActiveWindow(), Procedure,
                  std::bit_cast<LPARAM>(this));
  others_.reset();
  if (failure_) std::rethrow_exception(failure_);
}

INT_PTR CALLBACK SearchDialog::Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(window, DWLP_USER, second);
    std::bit_cast<SearchDialog*>(second)->window_ = window;
  }
  auto* const self = std::bit_cast<SearchDialog*>(GetWindowLongPtrW(window, DWLP_USER));
  if (self == nullptr) return FALSE;
  try {
    return self->Handle(message, first, second) ? TRUE : FALSE;
  } catch (...) {
    // Nothing may be thrown through the system's frames.
    if (!self->failure_) self->failure_ = std::current_exception();
    self->Hide();
    return TRUE;
  }
}

bool SearchDialog::Handle(UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_INITDIALOG:
      Create();
      return false;  // the focus is set
    case kActivated:
      form_.Form_Activate();
      return true;
    case WM_COMMAND:
      Command(LOWORD(first), HIWORD(first));
      return true;
    case WM_NOTIFY:
      Notified(*std::bit_cast<const NMHDR*>(second));
      return false;
    case WM_SIZE:
      PlaceControls();
      return false;
    case WM_GETMINMAXINFO:
      TellSmallestSize(*std::bit_cast<MINMAXINFO*>(second));
      return true;
    case WM_DPICHANGED:
      Scaled(LOWORD(first), *std::bit_cast<const RECT*>(second));
      return true;
    case WM_SETTINGCHANGE:
      TakeFont();
      PlaceControls();
      return false;
    default:
      return false;
  }
}

void SearchDialog::Create() {
  TakeOverScaling(window_);
  dots_per_inch_ = DotsPerInch(window_);
  pump_.Serve(window_);
  if (GetWindow(window_, GW_OWNER) == nullptr) others_.emplace(window_);
  list_.Attach(Control(IDC_LIST), module_, dots_per_inch_);
  TakeFont();
  form_.Form_Initialize(product_);

  const Size client = FirstSize(units_);
  const SIZE outer = OuterSize(window_, {client.width, client.height}, dots_per_inch_);
  RECT old{};
  GetWindowRect(window_, &old);
  // Where the system has centred it, the middle stays.
  SetWindowPos(window_, nullptr, (old.left + old.right - outer.cx) / 2,
               (old.top + old.bottom - outer.cy) / 2, outer.cx, outer.cy,
               SWP_NOZORDER | SWP_NOACTIVATE);
  SendMessageW(window_, DM_REPOSITION, 0, 0);
  PlaceControls();
  SetFocus(list_.window());
  PostMessageW(window_, kActivated, 0, 0);
}

void SearchDialog::Command(int control, int notification) {
  if (notification != BN_CLICKED) return;
  // The Enter key and other programs reach a button that cannot be pressed, too.
  if (control != IDCANCEL && !CanBePressed(Control(control))) return;
  switch (control) {
    case IDC_SEARCH:
      form_.cmdSearch_Click();
      break;
    case IDOK:
      form_.cmdOK_Click();
      break;
    case IDCANCEL:
      form_.cmdCancel_Click();
      break;
    default:
      break;
  }
}

void SearchDialog::Notified(const NMHDR& notification) {
  if (list_.IsSelectionChange(notification)) {
    form_.lvwFindResults_SelectionChanged();
  } else if (list_.IsColumnResize(notification)) {
    form_.lvwFindResults_ColumnResized();
  } else if (notification.hwndFrom == list_.window() && notification.code == NM_DBLCLK) {
    const int row = reinterpret_cast<const NMITEMACTIVATE&>(notification).iItem;
    if (row >= 0) form_.lvwFindResults_DblClick(static_cast<std::size_t>(row));
  }
}

void SearchDialog::TellSmallestSize(MINMAXINFO& limits) {
  const int width = SmallestSize(units_, 0).width;
  const Size client = SmallestSize(units_, MessageHeight(MessageWidth(units_, width)));
  const SIZE outer = OuterSize(window_, {client.width, client.height}, dots_per_inch_);
  limits.ptMinTrackSize = {outer.cx, outer.cy};
}

void SearchDialog::Scaled(UINT dots_per_inch, const RECT& place) {
  dots_per_inch_ = dots_per_inch;
  TakeFont();
  list_.Scale(dots_per_inch);
  SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left,
               place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
  PlaceControls();
}

void SearchDialog::TakeFont() {
  const HFONT font = CreateMessageFont(dots_per_inch_);
  if (font == nullptr) return;
  for (HWND control = GetWindow(window_, GW_CHILD); control != nullptr;
       control = GetWindow(control, GW_HWNDNEXT))
    SendMessageW(control, WM_SETFONT, std::bit_cast<WPARAM>(font), TRUE);
  if (measuring_ == nullptr) measuring_ = CreateCompatibleDC(nullptr);
  SelectObject(measuring_, font);
  if (font_ != nullptr) DeleteObject(font_);
  font_ = font;

  TEXTMETRICW metrics{};
  SIZE letters{};
  if (GetTextMetricsW(measuring_, &metrics) &&
      GetTextExtentPoint32W(measuring_, kLetters, kLetterCount, &letters))
    units_ = {(letters.cx / (kLetterCount / 2) + 1) / 2, metrics.tmHeight};
}

int SearchDialog::MessageHeight(int width) const {
  RECT text{0, 0, width, 0};
  const std::wstring message = [this] {
    std::wstring read(static_cast<std::size_t>(GetWindowTextLengthW(Control(IDC_MESSAGE))) + 1,
                      L'\0');
    read.resize(static_cast<std::size_t>(
        GetWindowTextW(Control(IDC_MESSAGE), read.data(), static_cast<int>(read.size()))));
    return read;
  }();
  DrawTextW(measuring_, message.c_str(), -1, &text, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
  return text.bottom;
}

void SearchDialog::PlaceControls() {
  if (list_.window() == nullptr) return;
  RECT client{};
  GetClientRect(window_, &client);
  const int message_height = MessageHeight(MessageWidth(units_, client.right));
  const Layout layout = Arrange(units_, {client.right, client.bottom}, message_height);
  Place(Control(IDC_MESSAGE), layout.message);
  Place(Control(IDC_LIST_LABEL), layout.list_label);
  Place(list_.window(), layout.list);
  Place(Control(IDC_STATUS), layout.status);
  Place(Control(IDC_FOLDER), layout.folder);
  Place(Control(IDC_SEARCH), layout.accept);
  Place(Control(IDOK), layout.accept);
  Place(Control(IDCANCEL), layout.cancel);
  form_.Form_Resize();
  InvalidateRect(window_, nullptr, TRUE);
}

void SearchDialog::SetLabel(int control, const std::wstring& text) {
  if (!hidden_) SetWindowTextW(Control(control), text.c_str());
}

void SearchDialog::SetMessage(const std::wstring& text) { SetLabel(IDC_MESSAGE, text); }

void SearchDialog::SetStatus(const std::wstring& text) {
  if (text == status_) return;
  status_ = text;
  SetLabel(IDC_STATUS, text);
}

void SearchDialog::SetFolder(const std::wstring& text) {
  SetLabel(IDC_FOLDER, text);
  if (form_.Searching() && pump_.ProgramEnds() && !hidden_) form_.cmdCancel_Click();
}

int SearchDialog::FolderLabelWidth() {
  RECT label{};
  GetClientRect(Control(IDC_FOLDER), &label);
  return label.right;
}

int SearchDialog::TextWidth(const std::wstring& text) {
  SIZE size{};
  GetTextExtentPoint32W(measuring_, text.c_str(), static_cast<int>(text.size()), &size);
  return size.cx;
}

void SearchDialog::ShowButton(AcceptButton button) {
  const bool drives = button == AcceptButton::kSearch;
  SetLabel(IDC_LIST_LABEL, drives ? L"&Drives:" : L"&Folders:");
  ShowWindow(Control(drives ? IDOK : IDC_SEARCH), SW_HIDE);
  ShowWindow(Control(AcceptControl(button)), SW_SHOWNA);
  SendMessageW(window_, DM_SETDEFID, static_cast<WPARAM>(AcceptControl(button)), 0);
}

void SearchDialog::SetEnabled(AcceptButton button, bool enabled) {
  const HWND control = Control(AcceptControl(button));
  if (!enabled && GetFocus() == control) Focus(list_.window());
  EnableWindow(control, enabled ? TRUE : FALSE);
}

void SearchDialog::FocusList() {
  list_.MarkFirstRow();
  Focus(list_.window());
}

void SearchDialog::FocusCancel() { Focus(Control(IDCANCEL)); }

// A hidden window that took the focus would take it from the host.
void SearchDialog::Focus(HWND control) {
  if (!hidden_) SendMessageW(window_, WM_NEXTDLGCTL, std::bit_cast<WPARAM>(control), TRUE);
}

void SearchDialog::Hide() {
  if (hidden_) return;
  hidden_ = true;
  if (others_) others_->Enable();
  EndDialog(window_, 0);
}

}  // namespace tdefault::search
