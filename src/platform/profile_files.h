// INI ("profile") files through the operating system's own profile calls. docs/profile-files.md
// lists the rules we rely on. Text travels in the system (ANSI) code page, where a character
// outside it becomes "?", and ends at its first NUL; a file name with a NUL or of 260 characters or
// more is no file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tdefault::platform {

class ProfileFiles {
 public:
  virtual ~ProfileFiles() = default;

  // The value of a key, at most `capacity` - 1 characters of it. An absent key, section or file,
  // or a file that cannot be read, gives `fallback` (its trailing blanks cut). A file name without
  // a folder is looked for in the Windows folder. Never fails.
  virtual std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                                 const std::wstring& fallback, std::uint32_t capacity,
                                 const std::wstring& file) = 0;

  // The lines of a section as the call leaves them in a buffer of `capacity` characters, NULs
  // included: KEY=VALUE without blanks around key and value, each with a NUL behind it, and one NUL
  // more at the end. Comment lines are left out, lines without "=" are not. What does not fit is
  // cut behind `capacity` - 2 characters, in the middle of a line too. Empty text for a section
  // without lines, an absent section or file, or a file that cannot be read. Blanks around
  // `section` are not for this call: systems differ in whether they count. A file name without a
  // folder is looked for in the Windows folder. Never fails.
  virtual std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                                   const std::wstring& file) = 0;

  // Sets one key, creating file and section when needed; an absent `value` removes the key, an
  // absent `key` the whole section. The system's result: non-zero on success, zero when the file
  // could not be written. A file that may not be written is as it was then; but the system rewrites
  // in place, so a write that breaks off (disk full, end of the process) can leave it torn. Who
  // cannot bear that keeps a copy first.
  virtual std::int32_t WriteEntry(const std::wstring& section,
                                  const std::optional<std::wstring>& key,
                                  const std::optional<std::wstring>& value,
                                  const std::wstring& file) = 0;
};

}  // namespace tdefault::platform
