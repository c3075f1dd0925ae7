// The drives that the search for the data folder offers, and where the network ones point to.
#pragma once

#include <string>
#include <vector>

#include "platform/drives.h"

namespace tdefault::search {

struct DriveRow {
  std::wstring drive;        // its root, "C:\" for example
  std::wstring image;        // "HARDDRIVE" or "NETWORK"
  std::wstring description;  // what the user reads beside it
};

// The fixed and the network drives in the system's order. Removable, optical, memory and unknown
// drives are not offered.
[[nodiscard]] std::vector<DriveRow> EligibleDrives(platform::Drives& drives);

// The network path that is connected under a drive letter ("n:" or "N:\"), of several the last;
// "Drive Letter Not Found" when there is none, or when the system does not tell its connections.
// One reading of 1,024 connections in 32,768 bytes is all that is asked for. An Error of the port
// is passed on with the drive behind its description, and the enumeration is closed.
[[nodiscard]] std::wstring LetterToUNC(platform::Drives& drives, const std::wstring& drive);

}  // namespace tdefault::search
