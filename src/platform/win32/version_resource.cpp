#include "platform/win32/version_resource.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace tdefault::platform::win32 {
namespace {

// One entry of the resource's list of translations.
struct Translation {
  WORD language = 0;
  WORD code_page = 0;
};

std::wstring FourDigits(WORD number) {
  constexpr std::wstring_view kDigits = L"0123456789abcdef";
  std::wstring text;
  for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[(number >> shift) & 0xF];
  return text;
}

std::vector<Translation> Translations(const std::vector<BYTE>& resource) {
  void* list = nullptr;
  UINT size = 0;
  std::vector<Translation> translations;
  if (VerQueryValueW(resource.data(), L"\\VarFileInfo\\Translation", &list, &size)) {
    const auto* first = static_cast<const Translation*>(list);
    translations.assign(first, first + size / sizeof(Translation));
  }
  // Resources without a usable list still hold US English in Unicode or in page 1252, as a rule.
  translations.push_back({0x0409, 1200});
  translations.push_back({0x0409, 1252});
  return translations;
}

}  // namespace

std::wstring HostExecutablePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD count = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (count < path.size()) {
      path.resize(count);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::wstring VersionResourceText(const std::wstring& path, const wchar_t* field) {
  DWORD unused = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &unused);
  if (size == 0) return std::wstring();
  std::vector<BYTE> resource(size);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, resource.data())) return std::wstring();
  for (const Translation& translation : Translations(resource)) {
    const std::wstring name = L"\\StringFileInfo\\" + FourDigits(translation.language) +
                              FourDigits(translation.code_page) + L"\\" + field;
    void* text = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(resource.data(), name.c_str(), &text, &length) || length == 0) continue;
    std::wstring value(static_cast<const wchar_t*>(text), length);
    value.resize(std::min(value.find(L'\0'), value.size()));
    const std::size_t last = value.find_last_not_of(L' ');
    value.resize(last == std::wstring::npos ? 0 : last + 1);
    if (!value.empty()) return value;
  }
  return std::wstring();
}

}  // namespace tdefault::platform::win32
