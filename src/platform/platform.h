// The only way to the operating system. src/platform/win32 is the product's adapter,
// src/platform/simulation the deterministic one of the tests.
#pragma once

#include "platform/clock.h"
#include "platform/dialogs.h"
#include "platform/drives.h"
#include "platform/files.h"
#include "platform/guid_source.h"
#include "platform/processes.h"
#include "platform/profile_files.h"
#include "platform/registry.h"
#include "platform/session.h"

namespace tdefault::platform {

// References to the ports; the adapter that owns them outlives every user.
struct Platform {
  ProfileFiles& profile_files;
  Files& files;
  Session& session;
  Clock& clock;
  GuidSource& guid_source;
  Dialogs& dialogs;
  Registry& registry;
  Processes& processes;
  Drives& drives;
};

}  // namespace tdefault::platform
