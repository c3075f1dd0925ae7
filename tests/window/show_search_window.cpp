// show_search_window SCENE [WIDTH HEIGHT]: shows the search dialog over a machine in memory, says
// "shown" when the scene stands, and closes it when a line is read. With a size (of the client area
// in pixels), the window is given that first. Scenes: drives, searching, shortened, results,
// nothing.
#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include <iostream>
#include <string>
#include <thread>

#include "search/window/resources.h"
#include "search/window/search_window.h"
#include "window/held_search.h"
#include "window/scenes.h"
#include "window/user.h"

namespace {

using namespace tdefault;
using platform::simulation::Simulation;
using window::HeldSearch;
using window::User;

constexpr wchar_t kDeepFolder[] =
    L"C:\\Users\\Public\\Documents\\Tovo Shop Management\\Backups of the year\\2026\\November\\";

struct Request {
  std::string scene;
  int width = 0;
  int height = 0;
};

void Resize(HWND dialog, const Request& request) {
  if (request.width == 0) return;
  RECT outer{0, 0, request.width, request.height};
  AdjustWindowRectEx(&outer, static_cast<DWORD>(GetWindowLongW(dialog, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongW(dialog, GWL_EXSTYLE)));
  SetWindowPos(dialog, nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void SelectRows(const User& user, const std::string& scene) {
  user.Select(0);
  if (scene == "results") user.Select(2);
  if (scene == "nothing") {
    user.Select(0, false);
    user.Select(1);
  }
}

void Play(User& user, const HeldSearch& held, const Request& request) {
  if (!user.SeeDialog()) return;
  Resize(user.dialog(), request);
  SelectRows(user, request.scene);
  if (request.scene != "drives") {
    user.PressAlt(L's');
    if (request.scene == "searching" || request.scene == "shortened")
      (void)held.WaitUntilReached();
    else
      (void)window::WaitUntil([&] { return user.IsEnabled(IDOK); });
    if (request.scene == "results") user.Select(1);
  }
  RedrawWindow(user.dialog(), nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
  std::cout << "shown" << std::endl;
  std::string line;
  std::getline(std::cin, line);
  PostMessageW(user.dialog(), WM_COMMAND, IDCANCEL, 0);
  held.GoOn();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 && count != 4) return 2;
  Request request{arguments[1], 0, 0};
  if (count == 4) {
    request.width = std::stoi(arguments[2]);
    request.height = std::stoi(arguments[3]);
  }
  Simulation machine;
  window::FurnishShop(machine);
  machine.AddFolder(kDeepFolder);
  HeldSearch held(machine.platform().files, request.scene == "shortened" ? kDeepFolder
                                            : request.scene == "searching"
                                                ? L"C:\\Program Files\\TOVO\\"
                                                : L"none");
  search::SearchWindow dialog(window::WithFiles(machine.platform(), held),
                              GetModuleHandleW(nullptr), L"Tovo Defaults");
  User user(GetCurrentThreadId());
  std::thread playing([&] { Play(user, held, request); });
  dialog.Show();
  playing.join();
  return 0;
}
