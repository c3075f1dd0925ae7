#include "platform/simulation/path_rules.h"

#include <algorithm>
#include <vector>

#include "base/text.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::wstring_view kForbidden = L"<>|\"*?";

bool IsDriveLetter(wchar_t character) noexcept {
  return (character >= L'A' && character <= L'Z') || (character >= L'a' && character <= L'z');
}

bool HasForbiddenCharacter(std::wstring_view path) noexcept {
  for (std::size_t i = 0; i < path.size(); ++i) {
    const wchar_t character = path[i];
    if (character < 32 || kForbidden.find(character) != std::wstring_view::npos) return true;
    // A colon elsewhere would name a stream of a file.
    if (character == L':' && !(i == 1 && IsDriveLetter(path[0]))) return true;
  }
  return false;
}

// The characters of the root of a full path: "C:\" or "\\server\share".
std::size_t RootLength(std::wstring_view path) noexcept {
  if (path.size() >= 2 && path[1] == L':') return std::min<std::size_t>(3, path.size());
  if (path.size() >= 2 && path[0] == L'\\' && path[1] == L'\\') {
    const std::size_t server_end = path.find(L'\\', 2);
    if (server_end == std::wstring_view::npos) return path.size();
    return std::min(path.find(L'\\', server_end + 1), path.size());
  }
  return 0;
}

// The path with a root in front: a drive-relative or relative path counts from the current folder.
std::wstring WithRoot(std::wstring path, const std::wstring& current_folder) {
  if (path.size() >= 2 && path[0] == L'\\' && path[1] == L'\\') return path;
  if (path.size() >= 2 && path[1] == L':') {
    if (path.size() >= 3 && path[2] == L'\\') return path;
    const std::wstring drive = path.substr(0, 2);
    const bool on_current_drive =
        EqualIgnoringCase(drive, std::wstring_view(current_folder).substr(0, 2));
    return JoinPath(on_current_drive ? current_folder : drive + L"\\", path.substr(2));
  }
  if (path[0] == L'\\') {
    const std::size_t root = RootLength(current_folder);
    return JoinPath(current_folder.substr(0, root), path.substr(1));
  }
  return JoinPath(current_folder, path);
}

std::wstring JoinParts(std::wstring_view root, std::wstring_view rest) {
  std::vector<std::wstring> parts;
  for (std::wstring& part : Split(rest, L"\\")) {
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
      continue;
    }
    const std::size_t last = part.find_last_not_of(L". ");
    if (last == std::wstring::npos) continue;
    part.resize(last + 1);
    parts.push_back(std::move(part));
  }
  std::wstring full(root);
  for (const std::wstring& part : parts) full = JoinPath(full, part);
  return full;
}

}  // namespace

SystemResult<std::wstring> ResolvePath(std::wstring_view path, const std::wstring& current_folder) {
  if (path.empty()) return SystemStatus(system_code::kPathNotFound);
  if (path.size() >= kPathLimit) return SystemStatus(system_code::kNameTooLong);
  if (HasForbiddenCharacter(path)) return SystemStatus(system_code::kInvalidName);
  std::wstring text(path);
  std::replace(text.begin(), text.end(), L'/', L'\\');
  text = WithRoot(std::move(text), current_folder);
  const std::size_t root = RootLength(text);
  std::wstring full =
      JoinParts(std::wstring_view(text).substr(0, root), std::wstring_view(text).substr(root));
  if (full.size() >= kPathLimit) return SystemStatus(system_code::kNameTooLong);
  return full;
}

std::wstring FolderOf(const std::wstring& full_path) {
  const std::size_t root = RootLength(full_path);
  if (full_path.size() <= root) return std::wstring();
  const std::size_t separator = full_path.rfind(L'\\');
  return full_path.substr(0, std::max(separator, root));
}

std::wstring NameOf(const std::wstring& full_path) {
  const std::size_t separator = full_path.rfind(L'\\');
  return separator == std::wstring::npos ? full_path : full_path.substr(separator + 1);
}

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name) {
  std::wstring joined(folder);
  if (joined.empty() || joined.back() != L'\\') joined += L'\\';
  return joined.append(name);
}

bool IsSeparator(wchar_t character) noexcept { return character == L'\\' || character == L'/'; }

bool HasFolderPart(std::wstring_view path) noexcept {
  return std::any_of(path.begin(), path.end(), IsSeparator) ||
         (path.size() >= 2 && path[1] == L':');
}

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern) {
  if (pattern == L"*.*") return true;
  std::size_t in_name = 0;
  std::size_t in_pattern = 0;
  std::size_t star = std::wstring_view::npos;
  std::size_t resume = 0;
  while (in_name < name.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == L'*') {
      star = in_pattern++;
      resume = in_name;
    } else if (in_pattern < pattern.size() &&
               (pattern[in_pattern] == L'?' ||
                ToUpper(pattern[in_pattern]) == ToUpper(name[in_name]))) {
      ++in_pattern;
      ++in_name;
    } else if (star != std::wstring_view::npos) {
      in_pattern = star + 1;
      in_name = ++resume;
    } else {
      return false;
    }
  }
  while (in_pattern < pattern.size() && pattern[in_pattern] == L'*') ++in_pattern;
  return in_pattern == pattern.size();
}

}  // namespace tdefault::platform::simulation
