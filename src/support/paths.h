// Text operations on paths, and whether files and folders exist.
#pragma once

#include <string>
#include <string_view>

#include "platform/files.h"

namespace tdefault::support {

// What a path without a backslash has as its parent folder: the catalogue takes the path itself,
// the data-folder search none.
enum class WithoutBackslash { kPathItself, kEmpty };

// The text before the last backslash.
[[nodiscard]] std::wstring ParentFolder(std::wstring_view path, WithoutBackslash otherwise);

// For display: without surrounding blanks, the first letter and every letter behind "/", "\", ":"
// or a blank in upper case, all others in lower case.
[[nodiscard]] std::wstring ProperCasePath(std::wstring_view text);

// The text before and behind the first NUL character; without one, the whole text and empty text.
[[nodiscard]] std::wstring TextBeforeNull(std::wstring_view text);
[[nodiscard]] std::wstring TextAfterNull(std::wstring_view text);

// A file that another process holds open exists too. Empty text does not.
[[nodiscard]] bool FileExists(platform::Files& files, const std::wstring& path);

// Whether a directory listing of the name as it stands shows a file.
[[nodiscard]] bool IsListed(platform::Files& files, const std::wstring& name);

// A folder exists when it has any entry ("." counts). Empty text does not.
[[nodiscard]] bool FolderExists(platform::Files& files, const std::wstring& path);

}  // namespace tdefault::support
