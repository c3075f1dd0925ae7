// A host whose data folder has moved: the question, the search dialog and what Initialize answers,
// with a user at the keyboard and one at the mouse.
#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>

#include "host.h"
#include "search/window/resources.h"
#include "window/user.h"

using namespace tdefault::component;
using tdefault::window::User;
using tdefault::window::WaitUntil;

namespace {

constexpr int kDriveC = 0;

// The question about the folder, when it is there.
HWND FindQuestion() {
  const HWND box = FindWindowW(L"#32770", L"Tovo Data Path Not Found");
  DWORD process = 0;
  GetWindowThreadProcessId(box, &process);
  return process == GetCurrentProcessId() && GetDlgItem(box, IDYES) != nullptr ? box : nullptr;
}

// What Initialize answers for a data folder that is not there, to a user who says Yes and acts in
// the dialog.
struct StartUp {
  HRESULT result = E_FAIL;
  VARIANT_BOOL ready = VARIANT_TRUE;
  bool path_kept = false;
};

StartUp StartWithout(const Shop& shop, const std::function<void(User&)>& acts) {
  const ComPtr<::_Options> options = CreateOptions(shop);
  const std::wstring missing = shop.data() + L"\\moved";
  REQUIRE(options->put_DataPath(Bstr(missing).get()) == S_OK);
  User user(GetCurrentThreadId());
  std::thread acting([&] {
    HWND box = nullptr;
    CHECK(WaitUntil([&] { return (box = FindQuestion()) != nullptr; }));
    PostMessageW(box, WM_COMMAND, IDYES, 0);
    const bool seen = user.SeeDialog();
    CHECK(seen);
    if (seen) acts(user);
    const bool gone = WaitUntil([&] { return user.DialogIsGone(); });
    CHECK(gone);
    // Initialize would wait for an answer for ever.
    if (!gone) user.ClickCorner();
  });
  StartUp start_up;
  start_up.result = options->Initialize(&start_up.ready);
  acting.join();
  start_up.path_kept = Text(options.Get(), &::_Options::get_DataPath) == Utf8(missing);
  return start_up;
}

void CheckFailedQuietly(const StartUp& start_up) {
  CHECK(start_up.result == S_OK);
  CHECK(start_up.ready == VARIANT_FALSE);
  CHECK(start_up.path_kept);
  CHECK(TakeErrorInformation().description == "");
}

// The keyboard is the list's again as the last of all.
bool SearchIsOver(const User& user) {
  return WaitUntil([&] {
    return user.IsVisible(IDOK) && user.IsEnabled(IDOK) && user.Focus() == user.Control(IDC_LIST);
  });
}

// The row of the shop's data folder; -1 when it was not found.
int RowOf(const User& user, const Shop& shop) {
  const auto rows = user.Rows();
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const std::wstring& row) {
    return lstrcmpiW(row.c_str(), shop.data().c_str()) == 0;
  });
  return found == rows.end() ? -1 : static_cast<int>(found - rows.begin());
}

}  // namespace

TEST_CASE("Yes, then Cancel in the dialog: start-up fails without an error") {
  const Apartment apartment;
  const Shop shop;
  CheckFailedQuietly(StartWithout(shop, [](User& user) {
    CHECK(user.Text(IDC_MESSAGE) ==
          L"Please wait while Tovo Defaults searches for the Tovo data folder.");
    CHECK(user.Rows()[kDriveC] == L"C:\\");
    user.Press(VK_ESCAPE);
  }));
}

TEST_CASE("Yes, then Cancel while the dialog searches: start-up fails without an error") {
  const Apartment apartment;
  const Shop shop;
  CheckFailedQuietly(StartWithout(shop, [](User& user) {
    user.ClickRow(kDriveC);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDC_SEARCH); }));
    user.ClickControl(IDC_SEARCH);
    CHECK(WaitUntil([&] { return !user.Text(IDC_STATUS).empty(); }));
    user.ClickControl(IDCANCEL);
  }));
}

TEST_CASE("Yes, then a folder by keyboard: it is found, and start-up still fails") {
  const Apartment apartment;
  const Shop shop;
  CheckFailedQuietly(StartWithout(shop, [&](User& user) {
    user.Press(VK_SPACE);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDC_SEARCH); }));
    user.Press(VK_RETURN);
    CHECK(SearchIsOver(user));
    const int row = RowOf(user, shop);
    CHECK(row >= 0);
    for (int down = 0; down < row; ++down) user.Press(VK_DOWN);
    user.Press(VK_SPACE);
    user.Press(VK_RETURN);
  }));
}

TEST_CASE("Yes, then a folder by mouse: it is found, and start-up still fails") {
  const Apartment apartment;
  const Shop shop;
  CheckFailedQuietly(StartWithout(shop, [&](User& user) {
    user.ClickRow(kDriveC);
    user.ClickControl(IDC_SEARCH);
    CHECK(SearchIsOver(user));
    const int row = RowOf(user, shop);
    CHECK(row >= 0);
    SendMessageW(user.Control(IDC_LIST), LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), 0);
    user.DoubleClickRow(row);
  }));
}

TEST_CASE(
    "a host that lets go of the catalogue while the dialog is open is answered all the same") {
  const Apartment apartment;
  const Shop shop;
  ComPtr<::_Options> options = CreateOptions(shop);
  REQUIRE(options->put_DataPath(Bstr(shop.data() + L"\\moved").get()) == S_OK);
  ::_Options* const called = options.Get();
  // Posted to the host's own window, so that it is done on the host's thread.
  const HWND host =
      CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  SetPropW(host, L"options", options.Detach());
  SetWindowLongPtrW(host, GWLP_WNDPROC,
                    reinterpret_cast<LONG_PTR>(
                        +[](HWND window, UINT message, WPARAM first, LPARAM second) -> LRESULT {
                          if (message == WM_APP)
                            static_cast<::_Options*>(RemovePropW(window, L"options"))->Release();
                          return DefWindowProcW(window, message, first, second);
                        }));
  User user(GetCurrentThreadId());
  std::thread acting([&] {
    HWND box = nullptr;
    CHECK(WaitUntil([&] { return (box = FindQuestion()) != nullptr; }));
    PostMessageW(box, WM_COMMAND, IDYES, 0);
    CHECK(user.SeeDialog());
    SendMessageW(host, WM_APP, 0, 0);
    user.Press(VK_ESCAPE);
  });
  VARIANT_BOOL ready = VARIANT_TRUE;
  CHECK(called->Initialize(&ready) == S_OK);
  CHECK(ready == VARIANT_FALSE);
  acting.join();
  DestroyWindow(host);
}
