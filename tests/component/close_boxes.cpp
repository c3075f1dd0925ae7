// close_boxes COMMAND...: runs a program, closes the message boxes that it shows with OK, and
// writes a line "BOX TITLE | TEXT | BUTTONS" for each, with line breaks of the text as "\\n". Ends
// with the program's exit code, or 1000 when it cannot be started.
#include <windows.h>
// After windows.h.
#include <iostream>
#include <string>

#include "message_boxes.h"

namespace {

using tdefault::component::BoxCloser;
using tdefault::component::SeenBox;

// What stands behind this program's own name.
std::wstring OwnArguments() {
  const std::wstring line = GetCommandLineW();
  const std::size_t end = line.starts_with(L'"') ? line.find(L'"', 1) + 1 : line.find(L' ');
  const std::size_t begin = line.find_first_not_of(L' ', end);
  return begin == std::wstring::npos ? std::wstring() : line.substr(begin);
}

std::string OneLine(std::string text) {
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;)
    text.replace(at, 2, "\\n");
  return text;
}

void Write(const SeenBox& box) {
  std::cout << "BOX " << box.title << " | " << OneLine(box.text) << " |";
  for (const int button : box.buttons) std::cout << ' ' << button;
  std::cout << std::endl;
}

}  // namespace

int main() {
  std::wstring command = OwnArguments();
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &made) == 0)
    return 1000;
  CloseHandle(made.hThread);
  BoxCloser closer(made.dwProcessId);
  std::size_t written = 0;
  while (WaitForSingleObject(made.hProcess, 5) == WAIT_TIMEOUT) {
    closer.CloseBoxes();
    for (; written < closer.seen().size(); ++written) Write(closer.seen()[written]);
  }
  DWORD code = 0;
  GetExitCodeProcess(made.hProcess, &code);
  CloseHandle(made.hProcess);
  return static_cast<int>(code);
}
