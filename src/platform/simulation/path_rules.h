// Windows' rules for the text of paths, without a file system behind them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/system_result.h"

namespace tdefault::platform::simulation {

// A path has fewer characters than this.
inline constexpr std::size_t kPathLimit = 260;

// The full path that a path names for a process: drive or share first, backslashes, no "." and
// "..", no blanks or dots at the end of a part, no backslash at the end but that of a root. Fails
// with 3 for empty text, 123 for a character that no name may hold, 206 when the path has 260
// characters or more.
[[nodiscard]] SystemResult<std::wstring> ResolvePath(std::wstring_view path,
                                                     const std::wstring& current_folder);

// The folder of a full path, and its last part. The folder of a root is empty text.
[[nodiscard]] std::wstring FolderOf(const std::wstring& full_path);
[[nodiscard]] std::wstring NameOf(const std::wstring& full_path);

// `folder` and `name` with exactly one backslash between them.
[[nodiscard]] std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

[[nodiscard]] bool IsSeparator(wchar_t character) noexcept;

// Whether the text holds a folder part: a drive, a slash or a backslash.
[[nodiscard]] bool HasFolderPart(std::wstring_view path) noexcept;

// Whether a name matches a pattern with * (any characters) and ? (one character), without regard
// to case; "*.*" matches names without a dot too.
[[nodiscard]] bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

}  // namespace tdefault::platform::simulation
