// Opening a catalogue under Windows (or Wine): what it costs beside its two unavoidable parts, the
// system's profile reads and one read of the table files.
//
//   open_catalogue FOLDER...    each a data folder made by bench/make_definitions.py
//
// For every folder it runs, in turn and several times over: a bare loop of the profile reads that
// the load makes, a plain read of the table files, and the opening itself with the profile calls
// timed inside it. It prints the best time of each, which is the least disturbed one.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "catalogue/Options.h"
#include "platform/platform.h"
#include "platform/win32/win32_platform.h"
#include "support/location_state.h"
#include "tables/table_access_choice.h"

namespace {

using namespace tdefault;
using Seconds = std::chrono::duration<double>;

double Now() { return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

// Hands every call on and adds up the time spent in it.
class TimedProfileFiles final : public platform::ProfileFiles {
 public:
  explicit TimedProfileFiles(platform::ProfileFiles& inner) : inner_(inner) {}

  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override {
    const double start = Now();
    std::wstring value = inner_.ReadEntry(section, key, fallback, capacity, file);
    seconds_ += Now() - start;
    ++calls_;
    return value;
  }

  std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                           const std::wstring& file) override {
    return inner_.ReadSection(section, capacity, file);
  }

  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override {
    return inner_.WriteEntry(section, key, value, file);
  }

  void Reset() {
    seconds_ = 0;
    calls_ = 0;
  }
  [[nodiscard]] double seconds() const { return seconds_; }
  [[nodiscard]] int calls() const { return calls_; }

 private:
  platform::ProfileFiles& inner_;
  double seconds_ = 0;
  int calls_ = 0;
};

struct Measurement {
  int definitions = 0;
  int profile_calls = 0;
  double bare_profile = std::numeric_limits<double>::max();
  double plain_read = std::numeric_limits<double>::max();
  double opening = std::numeric_limits<double>::max();
  double profile_inside = 0;
};

// The profile reads of one load, without anything around them.
double BareProfileLoop(platform::Platform& platform, const catalogue::Options& options) {
  const std::wstring local = options.INIFile();
  const std::wstring global = options.GlobalIni();
  struct Entry {
    std::wstring section;
    std::wstring key;
    bool local;
  };
  std::vector<Entry> entries;
  for (const auto& option : options.elements())
    entries.push_back({option->Section(), option->Key(), option->LocalINI()});
  const double start = Now();
  for (const Entry& entry : entries)
    (void)platform.profile_files.ReadEntry(entry.section, entry.key, L"Not found", 2555,
                                           entry.local ? local : global);
  return Now() - start;
}

double PlainRead(platform::Platform& platform, const std::wstring& folder) {
  std::vector<std::uint8_t> buffer(std::size_t{1} << 20U);
  const double start = Now();
  for (const wchar_t* name : {L"\\defaults.dbf", L"\\defaults.fpt"}) {
    auto file = platform.files.Open(folder + name, platform::FileAccess::kRead,
                                    platform::FileShare::kReadWrite);
    if (!file.ok()) continue;
    std::uint64_t offset = 0;
    for (;;) {
      const auto count = file.value()->ReadAt(offset, buffer);
      if (!count.ok() || count.value() == 0) break;
      offset += count.value();
    }
  }
  return Now() - start;
}

Measurement Measure(platform::win32::Win32Platform& windows, const std::wstring& folder,
                    int repetitions) {
  const platform::Platform& real = windows.platform();
  TimedProfileFiles timed(real.profile_files);
  platform::Platform platform{timed,         real.files,       real.session,
                              real.clock,    real.guid_source, real.dialogs,
                              real.registry, real.processes,   real.drives};
  support::LocationState location;
  const auto tables = tables::MakeTableAccess(platform);
  Measurement best;
  for (int repetition = 0; repetition < repetitions; ++repetition) {
    catalogue::Options options(platform, *tables, location);
    options.SetDataPath(folder);
    location.local_ini_name = folder + L"\\TOVO.INI";
    timed.Reset();
    const double start = Now();
    if (!options.Initialize()) return best;
    const double opening = Now() - start;
    if (opening < best.opening) {
      best.opening = opening;
      best.profile_inside = timed.seconds();
      best.profile_calls = timed.calls();
    }
    best.definitions = static_cast<int>(options.elements().size());
    best.bare_profile = std::min(best.bare_profile, BareProfileLoop(windows.platform(), options));
    best.plain_read = std::min(best.plain_read, PlainRead(windows.platform(), folder));
  }
  return best;
}

void Print(const Measurement& one, double own_cost_of_smallest) {
  const double own = (one.opening - one.profile_inside) / one.definitions;
  std::printf("%11d %9.1f %8d %7.1f%% %7.1f%% %10.0f %9.1f %9.1f %6.2f %11.2f %7.2f\n",
              one.definitions, one.opening * 1e3, one.profile_calls,
              100 * one.profile_inside / one.opening, 100 * one.plain_read / one.opening,
              one.definitions / one.opening, one.bare_profile * 1e3, one.plain_read * 1e3,
              one.opening / (one.bare_profile + one.plain_read), own * 1e6,
              own / own_cost_of_smallest);
}

}  // namespace

int main(int argc, char** argv) {
  platform::win32::Win32Platform windows;
  std::printf(
      "definitions  open(ms)  profile  in prof  plain rd  records/s bare(ms)  plain(ms)  "
      "ratio  own(us/def)  growth\n");
  double smallest = 0;
  for (int i = 1; i < argc; ++i) {
    try {
      const int repetitions = i < 3 ? 5 : 2;
      const Measurement one = Measure(windows, FromUtf8(argv[i]), repetitions);
      if (one.definitions == 0) {
        std::fprintf(stderr, "open_catalogue: %s: no data folder, or an empty one\n", argv[i]);
        return 1;
      }
      if (smallest == 0) smallest = (one.opening - one.profile_inside) / one.definitions;
      Print(one, smallest);
    } catch (const Error& error) {
      std::fprintf(stderr, "open_catalogue: %s: %s\n", argv[i], error.what());
      return 1;
    }
  }
  return 0;
}
