#include "tovocfg/examination.h"

#include <algorithm>
#include <span>
#include <utility>

#include "base/text.h"
#include "support/paths.h"

namespace tovocfg {

namespace {

using tdefault::ToUtf8;
using tdefault::platform::FileAccess;
using tdefault::platform::FileShare;
namespace system_code = tdefault::platform::system_code;

// No INI file is that long; what is behind it is left out.
constexpr std::size_t kLongestContent = std::size_t{16} << 20U;

}  // namespace

bool Content::missing() const {
  return code == system_code::kFileNotFound || code == system_code::kPathNotFound;
}

bool Content::held() const {
  return code == system_code::kSharingViolation || code == system_code::kLockViolation;
}

bool Examination::IsFile(const std::wstring& path) const {
  return circumstances_.facts_of(path).has_value();
}

std::string Examination::ChangedAt(const std::wstring& path) const {
  const std::optional<FileFacts> facts = circumstances_.facts_of(path);
  return facts ? facts->changed : std::string();
}

bool Examination::ChangedBefore(const std::wstring& path, const std::wstring& other) const {
  const std::optional<FileFacts> facts = circumstances_.facts_of(path);
  const std::optional<FileFacts> others = circumstances_.facts_of(other);
  return facts && others && facts->change_time < others->change_time;
}

Content Examination::Read(const std::wstring& path) const {
  Content content;
  const auto file = platform_.files.Open(path, FileAccess::kRead, FileShare::kReadWrite);
  if (!file.ok()) {
    content.code = file.code();
    return content;
  }
  const auto size = file.value()->Size();
  if (!size.ok()) {
    content.code = size.code();
    return content;
  }
  content.bytes.resize(
      static_cast<std::size_t>(std::min<std::uint64_t>(size.value(), kLongestContent)));
  const auto count = file.value()->ReadAt(
      0, {reinterpret_cast<std::uint8_t*>(content.bytes.data()), content.bytes.size()});
  content.code = count.code();
  content.bytes.resize(count.ok() ? count.value() : 0);
  return content;
}

std::vector<std::wstring> Examination::NamesIn(const std::wstring& folder,
                                               const std::wstring& pattern) const {
  std::vector<std::wstring> names;
  const auto entries = platform_.files.Enumerate(folder + L"\\" + pattern);
  if (!entries.ok()) return names;
  while (const auto entry = entries.value()->Next())
    if (!entry->is_folder) names.push_back(entry->name);
  std::sort(names.begin(), names.end(), tdefault::LessIgnoringCase());
  return names;
}

std::wstring FolderOf(const std::wstring& file) {
  return tdefault::support::ParentFolder(file, tdefault::support::WithoutBackslash::kEmpty);
}

std::wstring NameOf(const std::wstring& file) { return file.substr(file.find_last_of(L'\\') + 1); }

std::string Reason(std::uint32_t code) {
  std::string text = "system error";
  switch (code) {
    case system_code::kFileNotFound:
    case system_code::kPathNotFound:
      text = "not found";
      break;
    case system_code::kAccessDenied:
      text = "access denied";
      break;
    case system_code::kSharingViolation:
    case system_code::kLockViolation:
      text = "in use by another program";
      break;
    default:
      break;
  }
  return text + " (code " + std::to_string(code) + ")";
}

std::string Quoted(const std::wstring& path) { return "\"" + ToUtf8(path) + "\""; }

Step CopyStep(std::string purpose, const std::wstring& from, const std::wstring& to) {
  return {std::move(purpose), "copy /y " + Quoted(from) + " " + Quoted(to)};
}

Step DeleteStep(std::string purpose, const std::wstring& file) {
  return {std::move(purpose), "del " + Quoted(file)};
}

}  // namespace tovocfg
