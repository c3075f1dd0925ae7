#include "support/paths.h"

#include <optional>

#include "base/text.h"

namespace tdefault::support {

std::wstring ParentFolder(std::wstring_view path, WithoutBackslash otherwise) {
  const std::size_t last = path.rfind(L'\\');
  if (last != std::wstring_view::npos) return std::wstring(path.substr(0, last));
  return otherwise == WithoutBackslash::kPathItself ? std::wstring(path) : std::wstring();
}

std::wstring ProperCasePath(std::wstring_view text) {
  std::wstring result(TrimBlanks(text));
  bool starts_word = true;
  for (wchar_t& character : result) {
    const wchar_t original = character;
    character = starts_word ? ToUpper(original) : ToLower(original);
    starts_word = std::wstring_view(L"/\\: ").find(original) != std::wstring_view::npos;
  }
  return result;
}

std::wstring TextBeforeNull(std::wstring_view text) {
  return std::wstring(text.substr(0, text.find(L'\0')));
}

std::wstring TextAfterNull(std::wstring_view text) {
  const std::size_t null = text.find(L'\0');
  return null == std::wstring_view::npos ? std::wstring() : std::wstring(text.substr(null + 1));
}

bool FileExists(platform::Files& files, const std::wstring& path) {
  if (path.empty()) return false;
  const auto opened = files.Open(path, platform::FileAccess::kRead, platform::FileShare::kRead);
  return opened.ok() || opened.code() == platform::system_code::kSharingViolation;
}

bool IsListed(platform::Files& files, const std::wstring& name) {
  const auto listing = files.Enumerate(name);
  if (!listing.ok()) return false;
  while (const std::optional<platform::FolderEntry> entry = listing.value()->Next())
    if (!entry->is_folder) return true;
  return false;
}

bool FolderExists(platform::Files& files, const std::wstring& path) {
  if (path.empty()) return false;
  return files.Enumerate(path.back() == L'\\' ? path + L"*" : path + L"\\*").ok();
}

}  // namespace tdefault::support
