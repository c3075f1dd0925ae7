// record_run [MILLISECONDS [SET [AWAIT]]]: a program that takes a while, writes its command line
// into the file of its own name with ".txt" behind it, and answers 42. How it was started stands in
// a second file, with ".start.txt" behind its name: a line each for how its window is to be shown
// (empty when that is left to it), its priority class, and its current folder. SET and AWAIT are
// inherited events by their handles: one to set at the start and one to wait for.
#include <windows.h>

#include <array>
#include <string>

namespace {

HANDLE HandleOf(const wchar_t* number) {
  return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(std::stoull(number)));
}

bool WriteFileText(const std::wstring& path, const std::string& text) {
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  const BOOL done =
      WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(file);
  return done && written == text.size();
}

std::string Utf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string converted(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, converted.data(), size, nullptr, nullptr);
  return converted;
}

std::wstring Start() {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  GetStartupInfoW(&startup);
  const std::wstring show =
      (startup.dwFlags & STARTF_USESHOWWINDOW) != 0 ? std::to_wstring(startup.wShowWindow) : L"";
  std::array<wchar_t, MAX_PATH> folder{};
  GetCurrentDirectoryW(MAX_PATH, folder.data());
  return L"show " + show + L"\npriority " + std::to_wstring(GetPriorityClass(GetCurrentProcess())) +
         L"\nfolder " + folder.data() + L"\n";
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const DWORD milliseconds = count > 1 ? static_cast<DWORD>(std::stoul(arguments[1])) : 0;
  if (count > 2 && !SetEvent(HandleOf(arguments[2]))) return 2;
  if (count > 3) WaitForSingleObject(HandleOf(arguments[3]), 120000);
  Sleep(milliseconds);
  std::array<wchar_t, MAX_PATH> program{};
  GetModuleFileNameW(nullptr, program.data(), MAX_PATH);
  const std::wstring name = program.data();
  const bool written = WriteFileText(name + L".start.txt", Utf8(Start())) &&
                       WriteFileText(name + L".txt", Utf8(GetCommandLineW()));
  return written ? 42 : 3;
}
