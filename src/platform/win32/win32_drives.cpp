#include "platform/win32/win32_drives.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/win32/narrow_text.h"

namespace tdefault::platform::win32 {
namespace {

std::wstring WideOrEmpty(const char* text) { return text == nullptr ? std::wstring() : Wide(text); }

class Win32Connections final : public ConnectionEnumeration {
 public:
  Win32Connections(const NetworkCalls& network, HANDLE handle)
      : network_(network), handle_(handle) {}
  ~Win32Connections() override { network_.close(handle_); }
  Win32Connections(const Win32Connections&) = delete;
  Win32Connections& operator=(const Win32Connections&) = delete;

  SystemResult<std::vector<NetworkConnection>> Read(std::uint32_t count,
                                                    std::uint32_t buffer_bytes) override {
    // The entries stand at its start, the texts that they point to behind them.
    std::vector<NETRESOURCEA> buffer(buffer_bytes / sizeof(NETRESOURCEA) + 1);
    DWORD entries = count;
    DWORD size = buffer_bytes;
    const DWORD code = network_.read(handle_, &entries, buffer.data(), &size);
    std::vector<NetworkConnection> connections;
    if (code == ERROR_NO_MORE_ITEMS) return connections;
    // These calls return their failure and need not leave it as the thread's last one.
    if (code != NO_ERROR) return SystemStatus(code);
    const std::size_t filled = std::min<std::size_t>(entries, buffer_bytes / sizeof(NETRESOURCEA));
    for (std::size_t i = 0; i < filled; ++i) {
      connections.push_back(
          {WideOrEmpty(buffer[i].lpLocalName), WideOrEmpty(buffer[i].lpRemoteName)});
    }
    return connections;
  }

 private:
  NetworkCalls network_;
  HANDLE handle_;
};

}  // namespace

std::vector<std::wstring> Win32Drives::Roots() {
  // One text per drive, each with its NUL, and a NUL behind the last.
  constexpr DWORD kUsualSize = 26 * 4 + 1;
  std::string list(kUsualSize, '\0');
  DWORD count = GetLogicalDriveStringsA(kUsualSize, list.data());
  if (count >= list.size()) {
    list.resize(std::size_t{count} + 1);
    count = GetLogicalDriveStringsA(count + 1, list.data());
  }
  std::vector<std::wstring> roots;
  std::string_view rest = std::string_view(list).substr(0, count);
  while (!rest.empty()) {
    const std::string_view root = rest.substr(0, rest.find('\0'));
    if (!root.empty()) roots.push_back(Wide(root));
    rest.remove_prefix(std::min(root.size() + 1, rest.size()));
  }
  return roots;
}

DriveKind Win32Drives::KindOf(const std::wstring& root) {
  const SystemResult<std::string> narrow = NarrowPath(root);
  if (!narrow.ok()) return DriveKind::kNoRoot;
  const UINT kind = GetDriveTypeA(narrow.value().c_str());
  return kind <= DRIVE_RAMDISK ? static_cast<DriveKind>(kind) : DriveKind::kUnknown;
}

SystemResult<std::unique_ptr<ConnectionEnumeration>> Win32Drives::ConnectedResources() {
  // No usage flag means all usages.
  constexpr DWORD kAllUsages = 0;
  HANDLE handle = nullptr;
  const DWORD code =
      network_.open(RESOURCE_CONNECTED, RESOURCETYPE_ANY, kAllUsages, nullptr, &handle);
  if (code != NO_ERROR) return SystemStatus(code);
  return std::unique_ptr<ConnectionEnumeration>(
      std::make_unique<Win32Connections>(network_, handle));
}

}  // namespace tdefault::platform::win32
