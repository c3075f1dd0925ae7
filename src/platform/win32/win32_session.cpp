#include "platform/win32/win32_session.h"

#include <windows.h>
// The security header needs the types above and one of its user-mode marks.
#define SECURITY_WIN32
#include <objbase.h>
#include <security.h>

#include <algorithm>
#include <array>

#include "platform/win32/narrow_text.h"
#include "platform/win32/version_resource.h"

namespace tdefault::platform::win32 {
namespace {

constexpr std::size_t kMessageBuffer = 256;

// The buffer as wide text. A page of several bytes per character makes it shorter, so the count,
// which is in bytes, is carried over with its distance from the end of the name.
NameBuffer WideBuffer(const std::string& buffer, std::uint32_t count) {
  const std::size_t name_length = std::min(buffer.find('\0'), buffer.size());
  const std::wstring name = Wide(std::string_view(buffer).substr(0, name_length));
  const std::wstring rest = Wide(std::string_view(buffer).substr(name_length));
  const std::size_t bytes_lost = name_length - name.size();
  return {name + rest,
          static_cast<std::uint32_t>(count - std::min<std::size_t>(bytes_lost, count))};
}

std::wstring FileNameWithoutExtension(const std::wstring& path) {
  const std::size_t separator = path.find_last_of(L"\\/");
  const std::wstring name = separator == std::wstring::npos ? path : path.substr(separator + 1);
  return name.substr(0, name.rfind(L'.'));
}

// The button that closed the box; 0 when it could not be shown.
int ShowBox(const std::wstring& title, const std::wstring& text, UINT kind) {
  const HWND owner = GetActiveWindow();
  // Without an owner the box has to lock the thread's windows itself.
  const UINT modality = owner == nullptr ? MB_TASKMODAL : MB_APPLMODAL;
  return MessageBoxW(owner, text.c_str(), title.c_str(), kind | MB_SETFOREGROUND | modality);
}

}  // namespace

std::optional<NameBuffer> Win32Session::DisplayName(std::uint32_t capacity) {
  std::string buffer(capacity, ' ');
  ULONG count = capacity;
  if (!GetUserNameExA(NameDisplay, buffer.data(), &count)) return std::nullopt;
  return WideBuffer(buffer, count);
}

std::optional<NameBuffer> Win32Session::LogOnName(std::uint32_t capacity) {
  std::string buffer(capacity, ' ');
  DWORD count = capacity;
  if (!GetUserNameA(buffer.data(), &count)) return std::nullopt;
  return WideBuffer(buffer, count);
}

std::optional<WindowsVersion> Win32Session::Version() {
  OSVERSIONINFOA record{};
  static_assert(sizeof(record) == 148);
  record.dwOSVersionInfoSize = sizeof(record);
  if (!GetVersionExA(&record)) return std::nullopt;
  return WindowsVersion{record.dwPlatformId, record.dwMajorVersion, record.dwMinorVersion};
}

std::optional<std::wstring> Win32Session::SystemMessage(std::uint32_t code) {
  std::array<char, kMessageBuffer> buffer;
  buffer.fill(' ');
  const DWORD count =
      FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                     buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
  if (count == 0) return std::nullopt;
  return Wide(std::string_view(buffer.data(), count));
}

std::optional<std::wstring> Win32Session::EnvironmentValue(const std::wstring& name) {
  const std::wstring variable = name.substr(0, name.find(L'\0'));
  std::wstring value;
  for (;;) {
    // A variable that is set to empty text and one that is not set both give 0 characters.
    SetLastError(ERROR_SUCCESS);
    const DWORD count =
        GetEnvironmentVariableW(variable.c_str(), value.data(), static_cast<DWORD>(value.size()));
    if (count == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
    if (count == 0 || count < value.size()) {
      value.resize(count);
      return value;
    }
    value.resize(count);
  }
}

std::uint32_t Win32Session::AnsiCodePage() { return GetACP(); }

std::string Win32Session::SystemBytes(std::wstring_view text) { return Narrow(text); }

std::wstring Win32Session::SystemText(std::string_view bytes) { return Wide(bytes); }

std::wstring Win32Session::HostExecutableName() {
  return FileNameWithoutExtension(HostExecutablePath());
}

std::wstring Win32Session::HostTitle() {
  const std::wstring path = HostExecutablePath();
  for (const wchar_t* field : {L"ProductName", L"FileDescription"}) {
    std::wstring text = VersionResourceText(path, field);
    if (!text.empty()) return text;
  }
  return FileNameWithoutExtension(path);
}

std::uint32_t Win32Clock::Pause(std::uint32_t milliseconds, bool alertable) {
  return SleepEx(milliseconds, alertable ? TRUE : FALSE);
}

std::uint64_t Win32Clock::Milliseconds() { return GetTickCount64(); }

DateTime Win32Clock::Now() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const std::int32_t seconds = (now.wHour * 60 + now.wMinute) * 60 + now.wSecond;
  return {MakeDate(now.wYear, now.wMonth, now.wDay).value_or(Date{}),
          seconds * kMillisecondsPerSecond + now.wMilliseconds};
}

std::optional<Guid> Win32GuidSource::Create() {
  GUID made{};
  // S_FALSE (unique on this machine only) gives an identifier as well.
  if (FAILED(CoCreateGuid(&made))) return std::nullopt;
  Guid guid{made.Data1, made.Data2, made.Data3, {}};
  std::copy(std::begin(made.Data4), std::end(made.Data4), guid.data4.begin());
  return guid;
}

std::optional<MessageAnswer> Win32Dialogs::AskYesNoCancel(const std::wstring& title,
                                                          const std::wstring& text) {
  switch (ShowBox(title, text, MB_YESNOCANCEL | MB_ICONQUESTION)) {
    case IDYES:
      return MessageAnswer::kYes;
    case IDNO:
      return MessageAnswer::kNo;
    case IDCANCEL:
      return MessageAnswer::kCancel;
    default:
      return std::nullopt;
  }
}

void Win32Dialogs::ProcessPendingMessages() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      // Meant for the host's own loop.
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void Win32Dialogs::Tell(const std::wstring& title, const std::wstring& text) {
  ShowBox(title, text, MB_OK);
}

}  // namespace tdefault::platform::win32
