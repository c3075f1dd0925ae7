// console_run PAGE PROGRAM ARGUMENT...: runs a program on a console of its own whose code page is
// PAGE, and writes what stands on the screen afterwards to standard output, as UTF-8. Ends with the
// program's exit code.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr SHORT kColumns = 200;
constexpr SHORT kRows = 300;

int Failed(const char* step) {
  std::printf("console_run: %s: error %lu\n", step, GetLastError());
  return 250;
}

// A word as the program's own command line has to hold it.
std::wstring Quoted(const wchar_t* word) {
  std::wstring quoted = L"\"";
  for (; *word != L'\0'; ++word) {
    if (*word == L'"') quoted += L'\\';
    quoted += *word;
  }
  return quoted + L"\"";
}

void WriteUtf8(HANDLE out, const std::wstring& line) {
  char bytes[4 * kColumns];
  const int count = WideCharToMultiByte(CP_UTF8, 0, line.data(), static_cast<int>(line.size()),
                                        bytes, sizeof(bytes), nullptr, nullptr);
  DWORD written = 0;
  WriteFile(out, bytes, static_cast<DWORD>(count), &written, nullptr);
}

void WriteScreen(HANDLE out, HANDLE screen) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(screen, &info)) return;
  for (SHORT row = 0; row <= info.dwCursorPosition.Y; ++row) {
    std::wstring line(static_cast<std::size_t>(info.dwSize.X), L' ');
    DWORD read = 0;
    ReadConsoleOutputCharacterW(screen, line.data(), static_cast<DWORD>(line.size()), {0, row},
                                &read);
    line.resize(line.find_last_not_of(L' ') + 1);
    if (row < info.dwCursorPosition.Y || !line.empty()) WriteUtf8(out, line + L"\n");
  }
}

}  // namespace

int wmain(int count, wchar_t** words) {
  if (count < 3) return 251;
  const HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
  FreeConsole();
  if (!AllocConsole()) return Failed("AllocConsole");
  if (!SetConsoleOutputCP(static_cast<UINT>(_wtoi(words[1])))) return Failed("SetConsoleOutputCP");
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE screen =
      CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                &inheritable, CONSOLE_TEXTMODE_BUFFER, nullptr);
  if (screen == INVALID_HANDLE_VALUE) return Failed("CreateConsoleScreenBuffer");
  if (!SetConsoleScreenBufferSize(screen, {kColumns, kRows}))
    return Failed("SetConsoleScreenBufferSize");
  std::wstring line;
  for (int word = 2; word < count; ++word) line += (word == 2 ? L"" : L" ") + Quoted(words[word]);
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = screen;
  start.hStdError = screen;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                      &process))
    return Failed("CreateProcessW");
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  WriteScreen(out, screen);
  return static_cast<int>(code);
}
