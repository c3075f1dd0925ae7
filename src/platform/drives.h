// The machine's drives, and the network resources that it is connected to.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/system_result.h"

namespace tdefault::platform {

// The system's own numbers.
enum class DriveKind {
  kUnknown = 0,
  kNoRoot = 1,
  kRemovable = 2,
  kFixed = 3,
  kRemote = 4,
  kOptical = 5,
  kRamDisk = 6
};

// A network resource in use.
struct NetworkConnection {
  std::wstring local_name;  // "N:"; empty for a connection without a drive letter
  std::wstring remote_name;
};

// The connections of the moment it was opened. Destruction closes it.
class ConnectionEnumeration {
 public:
  virtual ~ConnectionEnumeration() = default;

  // Up to `count` of those that have not been read yet, as many as a buffer of `buffer_bytes`
  // takes; none at the end. Fails with 234 when the buffer does not take a single one.
  virtual SystemResult<std::vector<NetworkConnection>> Read(std::uint32_t count,
                                                            std::uint32_t buffer_bytes) = 0;
};

class Drives {
 public:
  virtual ~Drives() = default;

  // The root of every drive, "C:\" for example, in the system's order; none when the system does
  // not tell.
  virtual std::vector<std::wstring> Roots() = 0;

  // What kind of drive a root is of, in any letter case; kNoRoot where there is none.
  virtual DriveKind KindOf(const std::wstring& root) = 0;

  // Every kind of resource that is connected now; those that are only remembered are not among
  // them. Fails with 1222 on a machine without a network.
  virtual SystemResult<std::unique_ptr<ConnectionEnumeration>> ConnectedResources() = 0;
};

}  // namespace tdefault::platform
