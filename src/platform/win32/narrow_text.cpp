#include "platform/win32/narrow_text.h"

#include <windows.h>

namespace tdefault::platform::win32 {

std::string Narrow(std::wstring_view text) {
  if (text.empty()) return std::string();
  // Without best fit: a name must not turn into another one. UTF-8 as system page knows no flags.
  const DWORD flags = GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
  const int wide_count = static_cast<int>(text.size());
  const int count =
      WideCharToMultiByte(CP_ACP, flags, text.data(), wide_count, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(count), '\0');
  WideCharToMultiByte(CP_ACP, flags, text.data(), wide_count, narrow.data(), count, nullptr,
                      nullptr);
  return narrow;
}

std::wstring Wide(std::string_view text) {
  if (text.empty()) return std::wstring();
  const int narrow_count = static_cast<int>(text.size());
  const int count = MultiByteToWideChar(CP_ACP, 0, text.data(), narrow_count, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(count), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), narrow_count, wide.data(), count);
  return wide;
}

std::string NarrowArgument(std::wstring_view text) {
  return Narrow(text.substr(0, text.find(L'\0')));
}

SystemResult<std::string> NarrowPath(std::wstring_view path) {
  if (path.find(L'\0') != std::wstring_view::npos) return SystemStatus(system_code::kInvalidName);
  std::string narrow = Narrow(path);
  if (narrow.size() >= MAX_PATH) return SystemStatus(system_code::kNameTooLong);
  return narrow;
}

SystemStatus LastFailure() {
  const DWORD code = GetLastError();
  // A failure must not look like success, even when the system names no reason.
  return SystemStatus(code == ERROR_SUCCESS ? system_code::kInvalidParameter : code);
}

}  // namespace tdefault::platform::win32
