// Saving a catalogue under Windows (or Wine): what it costs beside its one unavoidable part, the
// system's profile writes.
//
//   save_catalogue FOLDER...    each a data folder made by bench/scale_shop.py
//
// For every folder it saves all options, several times over, and repeats the profile writes of a
// save in a bare loop, and as many copies and replacing moves of the INI files as plain calls of
// the system. It prints the best time of each, which is the least disturbed one. A save is over
// with the event Modified; what follows is loading, which open_catalogue measures.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
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

struct Write {
  std::wstring section;
  std::optional<std::wstring> key;
  std::optional<std::wstring> value;
  std::wstring file;
};

// Hands every call on, and keeps the writes in mind while it is told to.
class RecordingProfileFiles final : public platform::ProfileFiles {
 public:
  explicit RecordingProfileFiles(platform::ProfileFiles& inner) : inner_(inner) {}

  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override {
    return inner_.ReadEntry(section, key, fallback, capacity, file);
  }
  std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                           const std::wstring& file) override {
    return inner_.ReadSection(section, capacity, file);
  }
  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override {
    if (recording) writes.push_back({section, key, value, file});
    return inner_.WriteEntry(section, key, value, file);
  }

  bool recording = true;
  std::vector<Write> writes;

 private:
  platform::ProfileFiles& inner_;
};

class Host final : public catalogue::OptionsEvents {
 public:
  void Modified() override { saved_at = Now(); }
  void Status(const std::wstring& /*program_status*/) override {}
  void DLLError(std::int32_t /*number*/, const std::wstring& description) override {
    std::fprintf(stderr, "save_catalogue: %s\n", ToUtf8(description).c_str());
  }

  double saved_at = 0;
};

struct Measurement {
  std::size_t writes = 0;
  double saving = std::numeric_limits<double>::max();
  double bare = std::numeric_limits<double>::max();
  double files = std::numeric_limits<double>::max();
};

double BareLoop(platform::ProfileFiles& profile_files, const std::vector<Write>& writes) {
  const double start = Now();
  for (const Write& write : writes)
    (void)profile_files.WriteEntry(write.section, write.key, write.value, write.file);
  return Now() - start;
}

// What keeps the previous versions: each file is copied, and the copy replaces the version before.
double PlainFileCalls(const std::wstring& folder) {
  const double start = Now();
  for (const std::wstring& name : {folder + L"\\TOVO", folder + L"\\TOVOGBL"}) {
    CopyFileW((name + L".INI").c_str(), (name + L".tmp").c_str(), FALSE);
    MoveFileExW((name + L".tmp").c_str(), (name + L".old").c_str(), MOVEFILE_REPLACE_EXISTING);
  }
  return Now() - start;
}

// No writes when the folder cannot be opened or saved.
Measurement Measure(platform::win32::Win32Platform& windows, const std::wstring& folder,
                    int repetitions) {
  const platform::Platform& real = windows.platform();
  RecordingProfileFiles recording(real.profile_files);
  platform::Platform platform{recording,     real.files,       real.session,
                              real.clock,    real.guid_source, real.dialogs,
                              real.registry, real.processes,   real.drives};
  support::LocationState location;
  location.data_path = folder;
  location.local_ini_name = folder + L"\\TOVO.INI";
  const auto tables = tables::MakeTableAccess(platform);
  catalogue::Options options(platform, *tables, location);
  Host host;
  options.ListenTo(&host);
  Measurement best;
  if (!options.Initialize()) return best;
  for (int repetition = 0; repetition < repetitions; ++repetition) {
    const double start = Now();
    if (!options.Save()) return {};
    recording.recording = false;
    best.saving = std::min(best.saving, host.saved_at - start);
    best.bare = std::min(best.bare, BareLoop(real.profile_files, recording.writes));
    best.files = std::min(best.files, PlainFileCalls(folder));
  }
  best.writes = recording.writes.size();
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  platform::win32::Win32Platform windows;
  std::printf(" writes   save(ms)   bare(ms)   ratio  limit  files(ms)   ratio\n");
  for (int i = 1; i < argc; ++i) {
    try {
      constexpr int kRepetitions = 10;
      const Measurement one = Measure(windows, FromUtf8(argv[i]), kRepetitions);
      if (one.writes == 0) {
        std::fprintf(stderr, "save_catalogue: %s: no data folder, or it cannot be saved\n",
                     argv[i]);
        return 1;
      }
      constexpr double kLimit = 1.15;
      const double ratio = one.saving / one.bare;
      std::printf("%7zu %10.1f %10.1f %7.2f %6.2f%s %9.1f %7.2f\n", one.writes, one.saving * 1e3,
                  one.bare * 1e3, ratio, kLimit, ratio > kLimit ? "!" : " ", one.files * 1e3,
                  one.saving / (one.bare + one.files));
    } catch (const Error& error) {
      std::fprintf(stderr, "save_catalogue: %s: %s\n", argv[i], error.what());
      return 1;
    }
  }
  return 0;
}
