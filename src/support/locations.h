// Where the data folder and the two INI files are.
#pragma once

#include <string>
#include <string_view>

#include "platform/platform.h"
#include "support/location_state.h"

namespace tdefault::support {

// The size of every path buffer that the system's calls get.
inline constexpr std::uint32_t kPathCapacity = 260;

inline constexpr const wchar_t* kLocalIniDefaultName = L"TOVO.INI";
inline constexpr const wchar_t* kGlobalIniName = L"TOVOGBL.INI";
// Names the global INI file wherever an INI file's name is expected, in any case.
inline constexpr const wchar_t* kGlobalMarker = L"GLOBAL";

// The override, or "TOVO.INI". A name without folder goes to the profile calls as it is, and those
// look for it in the Windows folder.
[[nodiscard]] std::wstring LocalIniName(const LocationState& location);

// The data folder: the override without surrounding blanks, or else key "DataPath" of section
// "Defaults" of the local INI file, not trimmed; either without one trailing backslash.
[[nodiscard]] std::wstring GetDataPath(platform::Platform& platform, const LocationState& location);

// Sets the override: the path less one trailing backslash. Empty text ends it. Nothing is tested.
void SetDataPath(LocationState& location, std::wstring_view path);

// The path of an INI file: of the global one for "GLOBAL", whether it exists or not; a name with a
// backslash unchanged; where the system's file search finds any other name, or empty text.
[[nodiscard]] std::wstring GetIniPath(platform::Platform& platform, const LocationState& location,
                                      const std::wstring& name);

}  // namespace tdefault::support
