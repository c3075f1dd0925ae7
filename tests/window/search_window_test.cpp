// The search dialog as its user has it: the real window, by keyboard, by mouse and by assistive
// programs, over a machine in memory.
#include <windows.h>
// After windows.h.
#include <commctrl.h>
#include <doctest/doctest.h>

#include <array>
#include <bit>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/error.h"
#include "search/window/resources.h"
#include "search/window/search_window.h"
#include "unit/readable.h"
#include "window/held_search.h"
#include "window/scenes.h"
#include "window/user.h"

using namespace tdefault;
using platform::simulation::Simulation;
using window::HeldSearch;
using window::User;
using window::WaitUntil;

namespace {

using Texts = std::vector<std::wstring>;

// A shop whose searches wait at C:\Shop until they are let go; most tests let them go at once.
struct Scene {
  Scene() : held(machine.platform().files, L"C:\\Shop\\") { window::FurnishShop(machine); }

  // Shows the dialog while `acts` runs on the user's thread, and gives the new data path. The
  // dialog is closed when the user has left it open.
  std::wstring Show(const std::function<void(User&)>& acts) {
    search::SearchWindow shown(window::WithFiles(machine.platform(), held),
                               GetModuleHandleW(nullptr), L"Tovo Defaults");
    User user(GetCurrentThreadId());
    std::thread acting([&] {
      const bool seen = user.SeeDialog();
      CHECK(seen);
      if (seen) acts(user);
      held.GoOn();
      left_open = !WaitUntil([&] { return user.DialogIsGone(); });
      if (left_open) user.ClickCorner();
    });
    const std::wstring path = shown.Show();
    acting.join();
    return path;
  }

  Simulation machine;
  HeldSearch held;
  bool left_open = false;
};

bool SearchIsOver(const User& user) {
  return WaitUntil([&] { return user.IsVisible(IDOK) && user.IsEnabled(IDOK); });
}

bool IsDefault(const User& user, int button) {
  const LRESULT id = SendMessageW(user.dialog(), DM_GETDEFID, 0, 0);
  return HIWORD(id) == DC_HASDEFID && LOWORD(id) == button;
}

// How far a system handle table has grown: handles of things that are gone are used again.
template <class Make, class Destroy>
std::size_t HighestHandle(Make make, Destroy destroy) {
  constexpr std::size_t kSlots = 0xFFFF;
  std::array<decltype(make()), 32> made{};
  std::size_t highest = 0;
  for (auto& one : made) {
    one = make();
    highest = std::max(highest, std::bit_cast<std::size_t>(one) & kSlots);
  }
  for (auto& one : made) destroy(one);
  return highest;
}

struct Resources {
  std::size_t gdi = HighestHandle([] { return CreateSolidBrush(RGB(1, 2, 3)); },
                                  [](HBRUSH brush) { DeleteObject(brush); });
  std::size_t user =
      HighestHandle([] { return CreateMenu(); }, [](HMENU menu) { DestroyMenu(menu); });
  std::size_t kernel = HighestHandle([] { return CreateEventW(nullptr, FALSE, FALSE, nullptr); },
                                     [](HANDLE event) { CloseHandle(event); });
  // Systems that count them.
  DWORD counted_gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  DWORD counted_user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
};

BOOL CALLBACK CountIfVisible(HWND window, LPARAM counter) {
  *std::bit_cast<std::size_t*>(counter) += IsWindowVisible(window) != 0 ? 1U : 0U;
  return TRUE;
}

std::size_t WindowsOfThread() {
  std::size_t count = 0;
  EnumThreadWindows(GetCurrentThreadId(), CountIfVisible, std::bit_cast<LPARAM>(&count));
  return count;
}

// A window of the host.
class HostWindow {
 public:
  HostWindow()
      : window_(CreateWindowExW(0, L"Static", L"Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20,
                                300, 200, nullptr, nullptr, nullptr, nullptr)) {}
  ~HostWindow() { DestroyWindow(window_); }
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;
  [[nodiscard]] HWND get() const { return window_; }

 private:
  HWND window_;
};

}  // namespace

TEST_CASE("by keyboard: a drive is selected and searched, and the folder chosen becomes the path") {
  Scene scene;
  scene.held.GoOn();
  const std::wstring path = scene.Show([](User& user) {
    CHECK(user.Rows() == Texts{L"C:\\", L"D:\\", L"N:\\"});
    CHECK(user.Focus() == user.Control(IDC_LIST));
    CHECK_FALSE(user.IsEnabled(IDC_SEARCH));
    user.Press(VK_SPACE);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDC_SEARCH); }));
    user.Press(VK_RETURN);
    CHECK(SearchIsOver(user));
    CHECK(user.Rows() == Texts{L"C:\\Program Files\\Tovo\\Data", L"C:\\Shop\\Data"});
    CHECK(user.Focus() == user.Control(IDC_LIST));
    user.Press(VK_DOWN);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDOK); }));
    user.Press(VK_RETURN);
  });
  CHECK(path == L"C:\\Shop\\Data");
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("by mouse: a drive is clicked and searched, and the folder clicked becomes the path") {
  Scene scene;
  scene.held.GoOn();
  const std::wstring path = scene.Show([](User& user) {
    user.ClickRow(2);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDC_SEARCH); }));
    user.ClickControl(IDC_SEARCH);
    CHECK(SearchIsOver(user));
    CHECK(user.Rows() == Texts{L"N:", L"", L"N:\\Old\\Data"});
    user.ClickRow(2);
    user.ClickControl(IDOK);
  });
  CHECK(path == L"N:\\Old\\Data");
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("a double click on a folder accepts it") {
  Scene scene;
  scene.held.GoOn();
  const std::wstring path = scene.Show([](User& user) {
    user.Select(0);
    user.PressAlt(L's');
    CHECK(SearchIsOver(user));
    user.DoubleClickRow(0);
  });
  CHECK(path == L"C:\\Program Files\\Tovo\\Data");
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("the dialog says what it is for, and names and pictures its drives") {
  Scene scene;
  (void)scene.Show([](User& user) {
    std::array<wchar_t, 64> title{};
    GetWindowTextW(user.dialog(), title.data(), static_cast<int>(title.size()));
    CHECK(std::wstring(title.data()) == L"Tovo Data Folder Search");
    CHECK(user.Text(IDC_MESSAGE) ==
          L"Please wait while Tovo Defaults searches for the Tovo data folder.");
    CHECK(user.Caption(0) == L"Select drives to search");
    CHECK(user.Caption(1) == L"Description");
    CHECK(user.Rows(1) == Texts{L"Local hard drive C:\\", L"Local hard drive D:\\",
                                L"Networked drive \\\\server\\tovo"});
    CHECK(user.Image(0) == user.Image(1));
    CHECK(user.Image(0) != user.Image(2));
    user.Press(VK_ESCAPE);
  });
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("the list of the dialog takes several rows, and shows its images") {
  Scene scene;
  (void)scene.Show([](User& user) {
    const HWND list = user.Control(IDC_LIST);
    const auto style = static_cast<DWORD>(GetWindowLongW(list, GWL_STYLE));
    CHECK((style & LVS_TYPEMASK) == LVS_REPORT);
    CHECK((style & LVS_SINGLESEL) == 0);
    CHECK((style & LVS_SHOWSELALWAYS) != 0);
    const auto images =
        std::bit_cast<HIMAGELIST>(SendMessageW(list, LVM_GETIMAGELIST, LVSIL_SMALL, 0));
    CHECK(ImageList_GetImageCount(images) == 3);
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("every control of the dialog is reached by the Tab key, in reading order") {
  Scene scene;
  (void)scene.Show([](User& user) {
    user.Select(0);
    CHECK(WaitUntil([&] { return user.IsEnabled(IDC_SEARCH); }));
    for (const int control : {IDC_SEARCH, IDCANCEL, IDC_LIST}) {
      user.Press(VK_TAB);
      CHECK(WaitUntil([&] { return user.Focus() == user.Control(control); }));
    }
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("labels and buttons of the dialog have access keys, and the list a name") {
  Scene scene;
  scene.held.GoOn();
  (void)scene.Show([](User& user) {
    CHECK(user.Text(IDC_SEARCH) == L"&Search");
    CHECK(user.Text(IDOK) == L"&OK");
    CHECK(user.Text(IDCANCEL) == L"&Cancel");
    // Screen readers name a control after the label in front of it.
    CHECK(GetWindow(user.Control(IDC_LIST), GW_HWNDPREV) == user.Control(IDC_LIST_LABEL));
    CHECK(user.Text(IDC_LIST_LABEL) == L"&Drives:");
    user.Press(VK_TAB);
    CHECK(WaitUntil([&] { return user.Focus() == user.Control(IDCANCEL); }));
    user.PressAlt(L'd');
    CHECK(WaitUntil([&] { return user.Focus() == user.Control(IDC_LIST); }));
    user.Select(0);
    user.PressAlt(L's');
    CHECK(SearchIsOver(user));
    CHECK(user.Text(IDC_LIST_LABEL) == L"&Folders:");
    user.PressAlt(L'c');
  });
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("Enter presses the visible one of cmdSearch and cmdOK") {
  Scene scene;
  scene.held.GoOn();
  (void)scene.Show([](User& user) {
    CHECK(IsDefault(user, IDC_SEARCH));
    CHECK(user.IsVisible(IDC_SEARCH));
    CHECK_FALSE(user.IsVisible(IDOK));
    user.Select(0);
    user.PressAlt(L's');
    CHECK(SearchIsOver(user));
    CHECK(IsDefault(user, IDOK));
    CHECK_FALSE(user.IsVisible(IDC_SEARCH));
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("Escape, the corner and the cancel button close the dialog without a path") {
  const std::vector<std::function<void(User&)>> ways = {
      [](User& user) { user.Press(VK_ESCAPE); }, [](User& user) { user.ClickCorner(); },
      [](User& user) { user.ClickControl(IDCANCEL); }, [](User& user) { user.PressAlt(L'c'); }};
  for (const auto& way : ways) {
    Scene scene;
    scene.held.GoOn();
    CHECK(scene.Show(way).empty());
    CHECK_FALSE(scene.left_open);
    const std::wstring path = scene.Show([&](User& user) {
      user.Select(0);
      user.PressAlt(L's');
      CHECK(SearchIsOver(user));
      user.Select(0);
      way(user);
    });
    CHECK(path.empty());
    CHECK_FALSE(scene.left_open);
  }
}

TEST_CASE("a running search is cancelled by keyboard, by mouse and by the corner") {
  const std::vector<std::function<void(User&)>> ways = {
      [](User& user) { user.Press(VK_ESCAPE); }, [](User& user) { user.Press(VK_RETURN); },
      [](User& user) { user.ClickControl(IDCANCEL); }, [](User& user) { user.ClickCorner(); }};
  for (const auto& way : ways) {
    Scene scene;
    const std::wstring path = scene.Show([&](User& user) {
      user.Select(0);
      user.PressAlt(L's');
      CHECK(scene.held.WaitUntilReached());
      CHECK(user.Text(IDC_STATUS) == L"Searching ...");
      CHECK(user.Caption(0) == L"Tovo Data Paths Found (0)");
      CHECK_FALSE(user.IsEnabled(IDOK));
      CHECK(user.Focus() == user.Control(IDCANCEL));
      way(user);
      scene.held.GoOn();
    });
    CHECK(path.empty());
    CHECK_FALSE(scene.left_open);
    // The folder after that moment is the last one that was listed.
    for (const auto& call : scene.machine.calls()) CHECK(call.path != L"C:\\Shop\\Data\\Old\\*.*");
  }
}

TEST_CASE("the folder that is searched is shown, and nothing when the search is over") {
  Scene scene;
  (void)scene.Show([&](User& user) {
    user.Select(0);
    user.PressAlt(L's');
    CHECK(scene.held.WaitUntilReached());
    CHECK(user.Text(IDC_FOLDER) == L"C:\\Shop\\");
    scene.held.GoOn();
    CHECK(SearchIsOver(user));
    CHECK(user.Text(IDC_STATUS) == L"Finished");
    CHECK(user.Text(IDC_FOLDER).empty());
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("nothing found: the row that says so chooses nothing") {
  Scene scene;
  const std::wstring path = scene.Show([](User& user) {
    user.Select(1);
    user.PressAlt(L's');
    CHECK(SearchIsOver(user));
    CHECK(user.Rows() == Texts{L"the Tovo data path was not found"});
    CHECK(user.Caption(0) == L"Tovo Data Paths Found (0)");
    user.DoubleClickRow(0);
  });
  CHECK(path.empty());
  CHECK_FALSE(scene.left_open);
}

TEST_CASE("a button that cannot be pressed is not pressed by a message either") {
  Scene scene;
  (void)scene.Show([](User& user) {
    SendMessageW(user.dialog(), WM_COMMAND, IDOK, 0);
    SendMessageW(user.dialog(), WM_COMMAND, IDC_SEARCH, 0);
    CHECK(user.Caption(0) == L"Select drives to search");
    CHECK_FALSE(user.DialogIsGone());
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("a window that is resized keeps its controls inside and the columns their shares") {
  Scene scene;
  (void)scene.Show([](User& user) {
    const HWND list = user.Control(IDC_LIST);
    const auto width = [list](WPARAM column) {
      return static_cast<double>(SendMessageW(list, LVM_GETCOLUMNWIDTH, column, 0));
    };
    RECT before{};
    GetWindowRect(user.dialog(), &before);
    RECT list_before{};
    GetClientRect(list, &list_before);
    const double share = width(0) / list_before.right;
    for (const int wider : {300, 40, -100}) {
      SetWindowPos(user.dialog(), nullptr, 0, 0, before.right - before.left + wider,
                   before.bottom - before.top + wider / 2, SWP_NOMOVE | SWP_NOZORDER);
      RECT client{};
      GetClientRect(list, &client);
      CHECK(client.right == list_before.right + wider);
      CHECK(width(0) / client.right == doctest::Approx(share).epsilon(0.02));
      CHECK(width(0) + width(1) == client.right);
      RECT cancel{};
      GetWindowRect(user.Control(IDCANCEL), &cancel);
      RECT dialog{};
      GetWindowRect(user.dialog(), &dialog);
      CHECK(cancel.right < dialog.right);
      CHECK(cancel.bottom < dialog.bottom);
    }
    SetWindowPos(user.dialog(), nullptr, 0, 0, 10, 10, SWP_NOMOVE | SWP_NOZORDER);
    RECT least{};
    GetWindowRect(user.dialog(), &least);
    CHECK(least.right - least.left > 100);
    CHECK(least.bottom - least.top > 100);
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("on a monitor of another scaling font, images and places grow with it") {
  Scene scene;
  (void)scene.Show([](User& user) {
    const HWND list = user.Control(IDC_LIST);
    const auto font_height = [&] {
      LOGFONTW font{};
      GetObjectW(std::bit_cast<HGDIOBJ>(SendMessageW(list, WM_GETFONT, 0, 0)), sizeof font, &font);
      return std::abs(font.lfHeight);
    };
    const auto icon_width = [&] {
      int width = 0;
      int height = 0;
      ImageList_GetIconSize(
          std::bit_cast<HIMAGELIST>(SendMessageW(list, LVM_GETIMAGELIST, LVSIL_SMALL, 0)), &width,
          &height);
      return width;
    };
    const auto button_width = [&] {
      RECT button{};
      GetClientRect(user.Control(IDCANCEL), &button);
      return static_cast<double>(button.right);
    };
    const auto font_before = font_height();
    const int icon_before = icon_width();
    const double button_before = button_width();
    RECT place{10, 10, 900, 760};
    SendMessageW(user.dialog(), WM_DPICHANGED, MAKEWPARAM(192, 192), std::bit_cast<LPARAM>(&place));
    RECT now{};
    GetWindowRect(user.dialog(), &now);
    CHECK(EqualRect(&now, &place));
    CHECK(font_height() == doctest::Approx(2.0 * font_before).epsilon(0.1));
    CHECK(icon_width() == 2 * icon_before);
    CHECK(button_width() == doctest::Approx(2.0 * button_before).epsilon(0.1));
    user.Press(VK_ESCAPE);
  });
}

TEST_CASE("while the dialog is open the host's active window takes no input, and then again") {
  const HostWindow host;
  SetActiveWindow(host.get());
  Scene scene;
  (void)scene.Show([&](User& user) {
    CHECK(GetWindow(user.dialog(), GW_OWNER) == host.get());
    CHECK_FALSE(IsWindowEnabled(host.get()));
    user.Press(VK_ESCAPE);
  });
  CHECK(IsWindowEnabled(host.get()));
  CHECK(GetActiveWindow() == host.get());
}

TEST_CASE("without an active window the dialog shuts out every window of the thread") {
  const HostWindow first;
  const HostWindow second;
  EnableWindow(second.get(), FALSE);
  SetActiveWindow(nullptr);
  // Some systems keep one active; then it is the owner.
  const bool owned = GetActiveWindow() != nullptr;
  Scene scene;
  (void)scene.Show([&](User& user) {
    CHECK((GetWindow(user.dialog(), GW_OWNER) != nullptr) == owned);
    CHECK_FALSE(IsWindowEnabled(first.get()));
    user.Press(VK_ESCAPE);
  });
  CHECK(IsWindowEnabled(first.get()));
  // What the host itself has disabled stays so.
  CHECK_FALSE(IsWindowEnabled(second.get()));
}

TEST_CASE("a host that is to end stops the search, and still gets its message") {
  Scene scene;
  const DWORD thread = GetCurrentThreadId();
  const std::wstring path = scene.Show([&](User& user) {
    user.Select(0);
    user.PressAlt(L's');
    CHECK(scene.held.WaitUntilReached());
    PostThreadMessageW(thread, WM_QUIT, 3, 0);
    scene.held.GoOn();
  });
  CHECK(path.empty());
  MSG message{};
  CHECK(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  CHECK(message.wParam == 3);
}

TEST_CASE("an error of the search closes the dialog and reaches its caller") {
  class FailingFiles final : public tests::ForwardingFiles {
   public:
    using ForwardingFiles::ForwardingFiles;
    platform::SystemResult<std::unique_ptr<platform::FolderEnumeration>> Enumerate(
        const std::wstring&) override {
      throw Error(7, L"Files", L"Out of memory");
    }
  };
  Simulation machine;
  FailingFiles files(machine.platform().files);
  search::SearchWindow shown(window::WithFiles(machine.platform(), files),
                             GetModuleHandleW(nullptr), L"Tovo Defaults");
  User user(GetCurrentThreadId());
  std::thread acting([&] {
    CHECK(user.SeeDialog());
    user.Select(0);
    user.PressAlt(L's');
  });
  std::wstring source;
  try {
    (void)shown.Show();
  } catch (const Error& error) {
    source = error.source();
  }
  acting.join();
  CHECK(source == L"Files:FindFile");
  CHECK(user.DialogIsGone());
}

TEST_CASE("200 openings leave no window, handle or drawing object behind") {
  const auto open_once = [] {
    Scene scene;
    scene.held.GoOn();
    (void)scene.Show([](User& user) {
      user.Select(0);
      user.PressAlt(L's');
      CHECK(SearchIsOver(user));
      user.Press(VK_ESCAPE);
    });
  };
  for (int warm_up = 0; warm_up < 5; ++warm_up) open_once();
  const Resources before;
  const std::size_t windows = WindowsOfThread();
  for (int opening = 0; opening < 200; ++opening) open_once();
  const Resources after;
  CHECK(WindowsOfThread() == windows);
  // One lost object of an opening would have taken 200.
  CHECK(after.gdi < before.gdi + 100);
  CHECK(after.user < before.user + 100);
  CHECK(after.kernel < before.kernel + 400);
  CHECK(after.counted_gdi <= before.counted_gdi + 5);
  CHECK(after.counted_user <= before.counted_user + 5);
}
