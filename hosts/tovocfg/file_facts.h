// What INI files tell about options beside what the library gives.
#pragma once

#include <string>
#include <vector>

#include "platform/profile_files.h"
#include "tovocfg/option.h"

namespace tovocfg {

struct IniFiles {
  std::wstring local_name;  // as the library names it to the system: a bare name or a full path
  std::wstring local_file;  // full paths; empty when there is none
  std::wstring global_file;
};

// Fills in all parts of a font that has a value, and the part of a printer's key that all sites
// share. A font of which the file holds nothing but the name is left as it is.
void AddFileFacts(tdefault::platform::ProfileFiles& profile_files, const IniFiles& files,
                  std::vector<Option>& options);

// What a save would do to values that nobody set, because it writes every option as it was loaded.
struct LossesOfSaving {
  // Was loaded as not set although its file has a value: the file could not be read at that moment.
  const Option* unread = nullptr;
  // The file's values are longer than what the library keeps of them.
  std::vector<const Option*> shortened;
};

[[nodiscard]] LossesOfSaving FindLosses(tdefault::platform::ProfileFiles& profile_files,
                                        const IniFiles& files, const std::vector<Option>& options);

}  // namespace tovocfg
