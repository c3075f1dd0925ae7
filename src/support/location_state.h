// The two overrides that every Options object of one host thread shares.
#pragma once

#include <string>

namespace tdefault::support {

// Both empty until set. Owned by the automation edge, one per thread of the host; the core gets a
// reference and never touches thread state itself.
struct LocationState {
  std::wstring data_path;       // as set, less one trailing backslash; not trimmed
  std::wstring local_ini_name;  // empty: "TOVO.INI"
};

}  // namespace tdefault::support
