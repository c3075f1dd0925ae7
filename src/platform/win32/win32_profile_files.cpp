#include "platform/win32/win32_profile_files.h"

#include <windows.h>

#include "base/text.h"
#include "platform/win32/narrow_text.h"

namespace tdefault::platform::win32 {

std::wstring Win32ProfileFiles::ReadEntry(const std::wstring& section, const std::wstring& key,
                                          const std::wstring& fallback, std::uint32_t capacity,
                                          const std::wstring& file) {
  if (capacity == 0) return std::wstring();
  const SystemResult<std::string> path = NarrowPath(file);
  std::string narrow_fallback = NarrowArgument(fallback);
  narrow_fallback.resize(narrow_fallback.find_last_not_of(' ') + 1);
  if (!path.ok() || path.value().empty()) {
    return Wide(std::string_view(narrow_fallback).substr(0, capacity - 1));
  }
  std::string buffer(capacity, '\0');
  const DWORD count = GetPrivateProfileStringA(NarrowArgument(section).c_str(),
                                               NarrowArgument(key).c_str(), narrow_fallback.c_str(),
                                               buffer.data(), capacity, path.value().c_str());
  return Wide(std::string_view(buffer).substr(0, count));
}

std::wstring Win32ProfileFiles::ReadSection(const std::wstring& section, std::uint32_t capacity,
                                            const std::wstring& file) {
  if (capacity < 2) return std::wstring();
  const SystemResult<std::string> path = NarrowPath(file);
  if (!path.ok() || path.value().empty()) return std::wstring();
  std::string buffer(capacity, '\0');
  const DWORD count = GetPrivateProfileSectionA(NarrowArgument(section).c_str(), buffer.data(),
                                                capacity, path.value().c_str());
  if (count == 0) return std::wstring();
  // The count leaves the last NUL out, and both of them where the lines were cut.
  std::wstring lines = Wide(std::string_view(buffer).substr(0, count));
  if (lines.back() != L'\0') lines += L'\0';
  return lines + L'\0';
}

std::int32_t Win32ProfileFiles::WriteEntry(const std::wstring& section,
                                           const std::optional<std::wstring>& key,
                                           const std::optional<std::wstring>& value,
                                           const std::wstring& file) {
  const SystemResult<std::string> path = NarrowPath(file);
  if (!path.ok() || path.value().empty()) return 0;
  const std::string narrow_key = key ? NarrowArgument(*key) : std::string();
  const std::string narrow_value = value ? NarrowArgument(*value) : std::string();
  return WritePrivateProfileStringA(NarrowArgument(section).c_str(),
                                    key ? narrow_key.c_str() : nullptr,
                                    value ? narrow_value.c_str() : nullptr, path.value().c_str());
}

}  // namespace tdefault::platform::win32
