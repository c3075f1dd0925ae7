// Machines for the search dialog to look at.
#pragma once

#include <memory>
#include <string>

#include "platform/simulation/simulation.h"

namespace tdefault::window {

// Two fixed drives and a mapped one; on C: two data folders, on D: none, on N: one that is the
// first entry of the drive, and one more.
inline void FurnishShop(platform::simulation::Simulation& machine) {
  using platform::DriveKind;
  machine.SetDrive(L"D:\\", DriveKind::kFixed);
  machine.SetDrive(L"E:\\", DriveKind::kOptical);
  machine.SetDrive(L"N:\\", DriveKind::kRemote);
  machine.AddConnection(L"N:", L"\\\\server\\tovo");
  machine.PutFile(L"C:\\PROGRAM FILES\\TOVO\\DATA\\DEFAULTS.DBF", "");
  machine.PutFile(L"C:\\Shop\\Data\\defaults.dbf", "");
  machine.PutFile(L"C:\\Shop\\Data\\Old\\orders.dbf", "");
  machine.PutFile(L"D:\\Pictures\\shop.jpg", "");
  machine.PutFile(L"N:\\defaults.dbf", "");
  machine.PutFile(L"N:\\Old\\Data\\defaults.dbf", "");
}

}  // namespace tdefault::window
