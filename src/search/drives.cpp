#include "search/drives.h"

#include <cstdint>
#include <memory>
#include <string_view>

#include "base/error.h"
#include "base/text.h"

namespace tdefault::search {
namespace {

constexpr std::uint32_t kMostConnections = 1024;
constexpr std::uint32_t kConnectionBufferBytes = 32768;

// The letter and its colon, without the backslash of a root.
std::wstring_view LocalName(std::wstring_view drive) {
  if (drive.ends_with(L'\\')) drive.remove_suffix(1);
  return drive;
}

}  // namespace

std::vector<DriveRow> EligibleDrives(platform::Drives& drives) {
  std::vector<DriveRow> rows;
  for (const std::wstring& root : drives.Roots()) {
    const platform::DriveKind kind = drives.KindOf(root);
    if (kind == platform::DriveKind::kFixed) {
      rows.push_back({root, L"HARDDRIVE", L"Local hard drive " + root});
    } else if (kind == platform::DriveKind::kRemote) {
      rows.push_back({root, L"NETWORK", L"Networked drive " + LetterToUNC(drives, root)});
    }
  }
  return rows;
}

std::wstring LetterToUNC(platform::Drives& drives, const std::wstring& drive) {
  std::wstring path = L"Drive Letter Not Found";
  const std::wstring_view local_name = LocalName(drive);
  // A connection without a letter has an empty local name, which is nobody's.
  if (local_name.empty()) return path;
  try {
    const auto enumeration = drives.ConnectedResources();
    if (!enumeration.ok()) return path;
    const auto connections = enumeration.value()->Read(kMostConnections, kConnectionBufferBytes);
    if (!connections.ok()) return path;
    for (const platform::NetworkConnection& connection : connections.value()) {
      if (EqualIgnoringCase(connection.local_name, local_name)) path = connection.remote_name;
    }
  } catch (const Error& error) {
    throw Error(
        error.number(), error.source() + L":LetterToUNC",
        error.description() + L": reading the network path of drive " + std::wstring(local_name));
  }
  return path;
}

}  // namespace tdefault::search
