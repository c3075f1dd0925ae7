// keep_open PATH SHARE NAME: opens a file for reading, sharing it as the FILE_SHARE_* number says,
// sets the event NAME-held, and holds the file until NAME-release is set. Ends with the system's
// error when the file cannot be opened.
#include <windows.h>

#include <string>

int wmain(int count, wchar_t** arguments) {
  if (count != 4) return 87;
  const std::wstring name = arguments[3];
  const HANDLE held = OpenEventW(EVENT_MODIFY_STATE, FALSE, (name + L"-held").c_str());
  const HANDLE release = OpenEventW(SYNCHRONIZE, FALSE, (name + L"-release").c_str());
  if (held == nullptr || release == nullptr) return static_cast<int>(GetLastError());
  const HANDLE file =
      CreateFileW(arguments[1], GENERIC_READ, static_cast<DWORD>(std::stoul(arguments[2])), nullptr,
                  OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return static_cast<int>(GetLastError());
  SetEvent(held);
  WaitForSingleObject(release, 120000);
  CloseHandle(file);
  return 0;
}
