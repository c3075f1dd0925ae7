#include "support/locations.h"

#include <utility>

#include "base/text.h"

namespace tdefault::support {
namespace {

void DropTrailingBackslash(std::wstring& path) {
  if (!path.empty() && path.back() == L'\\') path.pop_back();
}

}  // namespace

std::wstring LocalIniName(const LocationState& location) {
  return location.local_ini_name.empty() ? kLocalIniDefaultName : location.local_ini_name;
}

std::wstring GetDataPath(platform::Platform& platform, const LocationState& location) {
  std::wstring path = location.data_path.empty()
                          ? platform.profile_files.ReadEntry(L"Defaults", L"DataPath", L"",
                                                             kPathCapacity, LocalIniName(location))
                          : std::wstring(TrimBlanks(location.data_path));
  DropTrailingBackslash(path);
  return path;
}

void SetDataPath(LocationState& location, std::wstring_view path) {
  std::wstring stored(path);
  DropTrailingBackslash(stored);
  location.data_path = std::move(stored);
}

std::wstring GetIniPath(platform::Platform& platform, const LocationState& location,
                        const std::wstring& name) {
  if (EqualIgnoringCase(name, kGlobalMarker))
    return GetDataPath(platform, location) + L"\\" + kGlobalIniName;
  if (name.find(L'\\') != std::wstring::npos) return name;
  platform::SystemResult<std::wstring> found = platform.files.Locate(name, kPathCapacity);
  return found.ok() ? std::move(found).value() : std::wstring();
}

}  // namespace tdefault::support
