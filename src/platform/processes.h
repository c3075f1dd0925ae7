// Programs that the library starts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/system_result.h"

namespace tdefault::platform {

// A process that was started. Destruction lets go of it and does not end it.
class Process {
 public:
  virtual ~Process() = default;

  // Suspends the calling thread until the process has ended, however long that takes.
  virtual SystemStatus Wait() = 0;

  // What the process answered; 259 while it runs.
  virtual SystemResult<std::uint32_t> ExitCode() = 0;
};

class Processes {
 public:
  virtual ~Processes() = default;

  // Starts a program with both texts exactly as given, at normal priority and with its window
  // shown; it inherits this process's handles, environment and current folder. Both travel in the
  // system (ANSI) code page; the command line ends at its first NUL. Fails with 2 or 3 when no file
  // has the application's name, 123 for one that is no file name, quotation marks included.
  virtual SystemResult<std::unique_ptr<Process>> Start(const std::wstring& application,
                                                       const std::wstring& command_line) = 0;
};

}  // namespace tdefault::platform
