// Searching a tree of folders under Windows (or Wine): what it costs beside the system's own
// command that lists the same tree.
//
//   search_folders TREE...    each a folder made by bench/make_folders.py, from small to large
//
// The search, the search in its window and "cmd /c dir /s /b" go over each tree in turn, several
// times; the least of each counts, but the longest time that the window took to answer. The most
// memory is that of this process so far.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <thread>

#include "base/text.h"
#include "measure.h"
#include "platform/win32/win32_platform.h"
#include "search/cFileSearch.h"
#include "search/window/resources.h"
#include "search/window/search_window.h"
#include "window/user.h"

namespace {

using namespace tdefault;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The seconds that the system's command takes; none when it fails.
double DirSeconds(const std::wstring& folder) {
  std::wstring command = L"cmd.exe /c dir /s /b \"" + folder + L"\" > nul";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  const double start = Now();
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return 0;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  const double seconds = Now() - start;
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code == 0 ? seconds : 0;
}

struct Searched {
  double seconds = 0;
  std::size_t folders = 0;
};

Searched Search(platform::Platform& ports, const std::wstring& folder) {
  search::cFileSearch search(ports.files, ports.session, ports.dialogs);
  Searched searched;
  search.OnFolderChange([&searched](const std::wstring&) { ++searched.folders; });
  const double start = Now();
  const std::wstring result = search.FindFile(L"defaults.dbf", true, folder, true);
  searched.seconds = Now() - start;
  if (!result.empty()) searched.folders = 0;
  return searched;
}

// A machine whose one drive is a folder.
class FolderAsDrive final : public platform::Drives {
 public:
  explicit FolderAsDrive(std::wstring folder) : folder_(std::move(folder)) {}

  std::vector<std::wstring> Roots() override { return {folder_}; }
  platform::DriveKind KindOf(const std::wstring&) override { return platform::DriveKind::kFixed; }
  platform::SystemResult<std::unique_ptr<platform::ConnectionEnumeration>> ConnectedResources()
      override {
    return platform::SystemStatus(ERROR_NO_NETWORK);
  }

 private:
  std::wstring folder_;
};

struct SearchedInWindow {
  double seconds = std::numeric_limits<double>::max();
  double longest_answer = 0;  // to a message of another thread while it searches
};

SearchedInWindow SearchInWindow(const platform::Platform& ports, const std::wstring& folder) {
  FolderAsDrive drive(folder);
  const platform::Platform platform{ports.profile_files, ports.files,       ports.session,
                                    ports.clock,         ports.guid_source, ports.dialogs,
                                    ports.registry,      ports.processes,   drive};
  SearchedInWindow searched;
  search::SearchWindow window(platform, GetModuleHandleW(nullptr), L"Tovo Defaults");
  window::User user(GetCurrentThreadId());
  std::thread acting([&] {
    if (!user.SeeDialog()) return;
    user.Select(0);
    const double start = Now();
    user.ClickControl(IDC_SEARCH);
    do {
      const double asked = Now();
      SendMessageW(user.dialog(), WM_NULL, 0, 0);
      searched.longest_answer = std::max(searched.longest_answer, Now() - asked);
      Sleep(1);
    } while (user.IsVisible(IDC_SEARCH) || !user.IsEnabled(IDOK));
    searched.seconds = Now() - start;
    user.ClickControl(IDCANCEL);
  });
  window.Show();
  acting.join();
  return searched;
}

bool Measure(platform::Platform& ports, const std::wstring& tree) {
  double searching = std::numeric_limits<double>::max();
  SearchedInWindow in_window;
  double listing = std::numeric_limits<double>::max();
  std::size_t folders = 0;
  constexpr int kRounds = 3;
  for (int round = 0; round < kRounds; ++round) {
    const Searched searched = Search(ports, tree);
    const SearchedInWindow shown = SearchInWindow(ports, tree);
    const double dir = DirSeconds(tree);
    if (searched.folders < 2 || dir == 0) return false;
    folders = searched.folders;
    searching = std::min(searching, searched.seconds);
    in_window.seconds = std::min(in_window.seconds, shown.seconds);
    in_window.longest_answer = std::max(in_window.longest_answer, shown.longest_answer);
    listing = std::min(listing, dir);
  }
  constexpr double kLimit = 1.0;
  constexpr double kLongestAnswer = 100;  // milliseconds
  const double ratio = searching / listing;
  const double ratio_in_window = in_window.seconds / listing;
  const double answer = in_window.longest_answer * 1e3;
  std::printf("%8zu %11.1f %11.0f %9.1f %7.2f%s %11.1f %7.2f%s %6.2f %10.1f%s %9.2f\n", folders,
              searching * 1e3, static_cast<double>(folders) / searching, listing * 1e3, ratio,
              ratio > kLimit ? "!" : " ", in_window.seconds * 1e3, ratio_in_window,
              ratio_in_window > kLimit ? "!" : " ", kLimit, answer,
              answer > kLongestAnswer ? "!" : " ", bench::PeakMegabytes());
  std::fflush(stdout);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  platform::win32::Win32Platform windows;
  std::printf(
      " folders  search(ms)   folders/s   dir(ms)   ratio   window(ms)   ratio   limit answer(ms) "
      "  peak(MB)\n");
  for (int i = 1; i < argc; ++i) {
    if (!Measure(windows.platform(), FromUtf8(argv[i]))) {
      std::fprintf(stderr, "search_folders: %s: no tree of folders, or dir failed\n", argv[i]);
      return 1;
    }
  }
  return 0;
}
