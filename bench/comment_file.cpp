// Writing the definitions' comments into an INI file under Windows (or Wine): what a key costs.
//
//   comment_file FOLDER...    each a data folder made by bench/scale_shop.py
//
// For every folder it joins the folder's two INI files to one, and then clears the comments of that
// and writes them, several times over. It prints the best time of each, which is the least
// disturbed one. Clearing is the same rewriting without a look at the definitions.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "platform/platform.h"
#include "platform/win32/win32_platform.h"
#include "support/location_state.h"
#include "tables/table_access_choice.h"

namespace {

using namespace tdefault;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Measurement {
  int keys = 0;
  double commenting = std::numeric_limits<double>::max();
  double clearing = std::numeric_limits<double>::max();

  [[nodiscard]] double per_key() const { return commenting / keys; }
};

void AppendFile(platform::Files& files, const std::wstring& path, std::string& text) {
  const auto file = files.Open(path, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
  if (!file.ok()) return;
  const auto size = file.value()->Size();
  if (!size.ok()) return;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.value()));
  if (file.value()->ReadAt(0, bytes).ok()) text.append(bytes.begin(), bytes.end());
}

// Whether a file of that name is there now with those bytes.
bool PutFile(platform::Files& files, const std::wstring& folder, const std::wstring& path,
             const std::string& text) {
  const auto made = files.CreateUnique(folder, L"ini");
  if (!made.ok()) return false;
  {
    const auto file =
        files.Open(made.value(), platform::FileAccess::kWrite, platform::FileShare::kNone);
    if (!file.ok() ||
        !file.value()
             ->WriteAt(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()})
             .ok())
      return false;
  }
  return files.Replace(made.value(), path).ok();
}

int KeysOf(std::string_view text) {
  int keys = 0;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view line = text.substr(start, end - start);
    if (!line.starts_with(';') && line.find('=') != std::string_view::npos) ++keys;
    start = end + 1;
  }
  return keys;
}

Measurement Measure(platform::Platform& platform, const std::wstring& folder, int repetitions) {
  const auto tables = tables::MakeTableAccess(platform);
  support::LocationState location;
  location.data_path = folder;
  location.local_ini_name = folder + L"\\TOVO.INI";
  catalogue::Options options(platform, *tables, location);
  std::string text;
  AppendFile(platform.files, folder + L"\\TOVO.INI", text);
  AppendFile(platform.files, folder + L"\\TOVOGBL.INI", text);
  const std::wstring path = folder + L"\\comments.ini";
  Measurement best;
  if (!PutFile(platform.files, folder, path, text)) return best;
  for (int repetition = 0; repetition < repetitions; ++repetition) {
    const double start = Now();
    if (!options.ClearIniComments(path)) return best;
    const double cleared = Now();
    if (!options.CommentFile(path)) return best;
    best.clearing = std::min(best.clearing, cleared - start);
    best.commenting = std::min(best.commenting, Now() - cleared);
  }
  best.keys = KeysOf(text);
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  platform::win32::Win32Platform windows;
  std::printf("   keys  comment(ms)  clear(ms)   ratio  us/key  growth\n");
  double smallest = 0;
  for (int i = 1; i < argc; ++i) {
    constexpr int kRepetitions = 7;
    const Measurement one = Measure(windows.platform(), FromUtf8(argv[i]), kRepetitions);
    if (one.keys == 0) {
      std::fprintf(stderr, "comment_file: %s: no data folder, or its files cannot be rewritten\n",
                   argv[i]);
      return 1;
    }
    if (smallest == 0) smallest = one.per_key();
    std::printf("%7d %12.1f %10.1f %7.2f %7.2f %7.2f\n", one.keys, one.commenting * 1e3,
                one.clearing * 1e3, one.commenting / one.clearing, one.per_key() * 1e6,
                one.per_key() / smallest);
  }
  return 0;
}
