#include "platform/win32/win32_processes.h"

#include <windows.h>

#include "platform/win32/narrow_text.h"

namespace tdefault::platform::win32 {
namespace {

class Win32Process final : public Process {
 public:
  explicit Win32Process(const PROCESS_INFORMATION& started) : started_(started) {}
  ~Win32Process() override {
    CloseHandle(started_.hProcess);
    CloseHandle(started_.hThread);
  }
  Win32Process(const Win32Process&) = delete;
  Win32Process& operator=(const Win32Process&) = delete;

  SystemStatus Wait() override {
    if (WaitForSingleObject(started_.hProcess, INFINITE) == WAIT_FAILED) return LastFailure();
    return SystemStatus();
  }

  SystemResult<std::uint32_t> ExitCode() override {
    DWORD code = 0;
    if (!GetExitCodeProcess(started_.hProcess, &code)) return LastFailure();
    return std::uint32_t{code};
  }

 private:
  PROCESS_INFORMATION started_;
};

}  // namespace

SystemResult<std::unique_ptr<Process>> Win32Processes::Start(const std::wstring& application,
                                                             const std::wstring& command_line) {
  const SystemResult<std::string> path = NarrowPath(application);
  if (!path.ok()) return SystemStatus(path.code());
  std::string command = NarrowArgument(command_line);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_SHOW;
  PROCESS_INFORMATION started{};
  if (!CreateProcessA(path.value().c_str(), command.data(), nullptr, nullptr, TRUE,
                      NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup, &started))
    return LastFailure();
  return std::unique_ptr<Process>(std::make_unique<Win32Process>(started));
}

}  // namespace tdefault::platform::win32
