// Searching a tree of folders under Windows (or Wine): what it costs beside the system's own
// command that lists the same tree.
//
//   search_folders TREE...    each a folder made by bench/make_folders.py, from small to large
//
// The search and "cmd /c dir /s /b" go over each tree in turn, several times; the least of each
// counts. The most memory is that of this process so far.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string>

#include "base/text.h"
#include "measure.h"
#include "platform/win32/win32_platform.h"
#include "search/cFileSearch.h"

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

bool Measure(platform::Platform& ports, const std::wstring& tree) {
  double searching = std::numeric_limits<double>::max();
  double listing = std::numeric_limits<double>::max();
  std::size_t folders = 0;
  constexpr int kRounds = 3;
  for (int round = 0; round < kRounds; ++round) {
    const Searched searched = Search(ports, tree);
    const double dir = DirSeconds(tree);
    if (searched.folders < 2 || dir == 0) return false;
    folders = searched.folders;
    searching = std::min(searching, searched.seconds);
    listing = std::min(listing, dir);
  }
  constexpr double kLimit = 1.0;
  const double ratio = searching / listing;
  std::printf("%8zu %11.1f %11.0f %9.1f %7.2f %6.2f%s %9.2f\n", folders, searching * 1e3,
              static_cast<double>(folders) / searching, listing * 1e3, ratio, kLimit,
              ratio > kLimit ? " !" : "  ", bench::PeakMegabytes());
  std::fflush(stdout);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  platform::win32::Win32Platform windows;
  std::printf(" folders  search(ms)   folders/s   dir(ms)   ratio  limit    peak(MB)\n");
  for (int i = 1; i < argc; ++i) {
    if (!Measure(windows.platform(), FromUtf8(argv[i]))) {
      std::fprintf(stderr, "search_folders: %s: no tree of folders, or dir failed\n", argv[i]);
      return 1;
    }
  }
  return 0;
}
