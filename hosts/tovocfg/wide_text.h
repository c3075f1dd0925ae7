// Between UTF-8, which the program works in, and the wide text of Windows.
#pragma once

#include <string>
#include <string_view>

namespace tovocfg {

[[nodiscard]] std::wstring ToWide(std::string_view text);
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

// Whether every character of a UTF-8 text exists in the system's code page for 8-bit text, which
// is what INI files are written in.
[[nodiscard]] bool FitsSystemCodePage(const std::string& text);

}  // namespace tovocfg
