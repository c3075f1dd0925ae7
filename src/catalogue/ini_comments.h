// What the operations on an INI file's comments share with those on definitions.
#pragma once

#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace tdefault::catalogue {

// Turns every line of the key, in whatever section, into a comment, each behind a line that says
// who did it and when. False when the file could not be rewritten; it is as before then.
bool CommentOutKey(platform::Platform& platform, const std::wstring& ini_file,
                   const std::wstring& key);

// The number of keys in a section that are no comments, as far as its first 10,000 characters
// hold them; 0 without such a section. Throws Overflow above 32,767.
[[nodiscard]] std::int16_t CountSectionKeys(platform::ProfileFiles& profile_files,
                                            const std::wstring& ini_file,
                                            const std::wstring& section);

}  // namespace tdefault::catalogue
