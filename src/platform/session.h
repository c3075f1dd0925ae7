// Who runs the library, where, and on what: the host process, the signed-on user, the system.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tdefault::platform {

struct WindowsVersion {
  std::uint32_t platform_id = 0;  // 2: the NT family
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
};

// A name as a system call left it: the buffer it filled and the count it wrote back, which some
// calls mean with and some without the closing NUL.
struct NameBuffer {
  std::wstring characters;
  std::uint32_t count = 0;
};

class Session {
 public:
  virtual ~Session() = default;

  // The display name, as the directory knows the user, and the log-on name; up to `capacity`
  // characters. Absent when the system gives none.
  virtual std::optional<NameBuffer> DisplayName(std::uint32_t capacity) = 0;
  virtual std::optional<NameBuffer> LogOnName(std::uint32_t capacity) = 0;

  // Absent when the system does not tell.
  virtual std::optional<WindowsVersion> Version() = 0;

  // The system's message for a code, as its formatter gives it (line breaks included) and at most
  // 255 characters; absent when it has none.
  virtual std::optional<std::wstring> SystemMessage(std::uint32_t code) = 0;

  // The value of an environment variable; absent when it is not set.
  virtual std::optional<std::wstring> EnvironmentValue(const std::wstring& name) = 0;

  // The number of the system's narrow (ANSI) code page, 1252 for example. In some, as 932 and
  // 65001, a character takes several bytes.
  virtual std::uint32_t AnsiCodePage() = 0;

  // Text as bytes in that code page, where a character that it lacks becomes "?", and bytes as
  // text. Never fails; bytes that are no text in the page become some other characters, so that
  // only text survives the way there and back.
  virtual std::string SystemBytes(std::wstring_view text) = 0;
  virtual std::wstring SystemText(std::string_view bytes) = 0;

  // The host program's file name without folder and extension.
  virtual std::wstring HostExecutableName() = 0;

  // The product name or else the file description of the host program's version resource, else its
  // executable name.
  virtual std::wstring HostTitle() = 0;
};

}  // namespace tdefault::platform
