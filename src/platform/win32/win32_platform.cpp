#include "platform/win32/win32_platform.h"

#include "platform/win32/win32_drives.h"
#include "platform/win32/win32_files.h"
#include "platform/win32/win32_processes.h"
#include "platform/win32/win32_profile_files.h"
#include "platform/win32/win32_registry.h"
#include "platform/win32/win32_session.h"

namespace tdefault::platform::win32 {

struct Win32Platform::Ports {
  Win32ProfileFiles profile_files;
  Win32Files files;
  Win32Session session;
  Win32Clock clock;
  Win32GuidSource guid_source;
  Win32Dialogs dialogs;
  Win32Registry registry;
  Win32Processes processes;
  Win32Drives drives;
  Platform platform{profile_files, files,    session,   clock, guid_source,
                    dialogs,       registry, processes, drives};
};

Win32Platform::Win32Platform() : ports_(std::make_unique<Ports>()) {}

Win32Platform::~Win32Platform() = default;

Platform& Win32Platform::platform() noexcept { return ports_->platform; }

}  // namespace tdefault::platform::win32
