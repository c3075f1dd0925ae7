// What a program file says about itself.
#pragma once

#include <string>

namespace tdefault::platform::win32 {

// The full path of the program this process runs.
[[nodiscard]] std::wstring HostExecutablePath();

// A text of a file's version resource ("ProductName"), in the first translation that has it;
// empty when there is none.
[[nodiscard]] std::wstring VersionResourceText(const std::wstring& path, const wchar_t* field);

}  // namespace tdefault::platform::win32
