#include "tovocfg/wide_text.h"

#include <windows.h>

namespace tovocfg {

std::wstring ToWide(std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int count = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(count), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), count);
  return wide;
}

std::string ToUtf8(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  const int count =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(count), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), count, nullptr, nullptr);
  return narrow;
}

bool FitsSystemCodePage(const std::string& text) {
  const std::wstring wide = ToWide(text);
  if (wide.empty()) return true;
  BOOL replaced = FALSE;
  // Without the flag a character may become one that only looks like it.
  WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()),
                      nullptr, 0, nullptr, &replaced);
  return replaced == FALSE;
}

}  // namespace tovocfg
