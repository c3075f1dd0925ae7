// The library's version as hosts see it.
#pragma once

#include <string>

namespace tdefault::catalogue {

// "major.minor.revision". The file version has a further number in between, which is not shown:
// 1.3.0.1 is "1.3.1".
[[nodiscard]] inline std::wstring VersionText(int major, int minor, int revision) {
  return std::to_wstring(major) + L"." + std::to_wstring(minor) + L"." + std::to_wstring(revision);
}

}  // namespace tdefault::catalogue
