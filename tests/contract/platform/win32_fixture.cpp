#include "win32_fixture.h"

#include <windows.h>
// Needs the types of windows.h.
#include <lmcons.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tdefault::platform {
namespace {

namespace fs = std::filesystem;

// A refused set-up would make the case prove nothing.
void Require(bool succeeded, const char* what) {
  if (!succeeded) {
    throw std::runtime_error(std::string(what) + ": system error " +
                             std::to_string(GetLastError()));
  }
}

void RequireCode(LSTATUS code) {
  SetLastError(static_cast<DWORD>(code));
  Require(code == ERROR_SUCCESS, "a registry call");
}

OVERLAPPED PlaceAt(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

}  // namespace

void Win32Fixture::Held::Lock(std::uint64_t offset, std::uint64_t length) {
  OVERLAPPED place = PlaceAt(offset);
  Require(LockFileEx(handle_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                     static_cast<DWORD>(length), static_cast<DWORD>(length >> 32), &place),
          "locking bytes");
}

void Win32Fixture::Held::Unlock(std::uint64_t offset, std::uint64_t length) {
  OVERLAPPED place = PlaceAt(offset);
  Require(UnlockFileEx(handle_, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32),
                       &place),
          "unlocking bytes");
}

void Win32Fixture::Held::Release() noexcept {
  if (handle_ != nullptr) CloseHandle(handle_);
  handle_ = nullptr;
}

Win32Fixture::Win32Fixture() : former_folder_(fs::current_path().wstring()) {
  static int count = 0;
  folder_ =
      (fs::temp_directory_path() / ("tdefault contract " + std::to_string(GetCurrentProcessId()) +
                                    "-" + std::to_string(++count)))
          .wstring();
  registry_path_ = L"Software\\tdefault contract " + std::to_wstring(GetCurrentProcessId()) + L"-" +
                   std::to_wstring(count);
  Require(CreateDirectoryW(folder_.c_str(), nullptr), "making the folder of the case");
  Require(SetCurrentDirectoryW(folder_.c_str()), "entering the folder of the case");
}

Win32Fixture::~Win32Fixture() {
  RegDeleteTreeW(HKEY_CURRENT_USER, registry_path_.c_str());
  SetCurrentDirectoryW(former_folder_.c_str());
  std::error_code ignored;
  for (const auto& entry : fs::recursive_directory_iterator(folder_, ignored)) {
    SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  fs::remove_all(folder_, ignored);
}

std::wstring Win32Fixture::windows_folder() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetWindowsDirectoryW(path.data(), MAX_PATH));
  return path;
}

std::wstring Win32Fixture::program_folder() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  return fs::path(path).parent_path().wstring();
}

void Win32Fixture::PutFile(const std::wstring& path, std::string_view bytes) {
  std::ofstream file(fs::path(path), std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  Require(!file.fail(), "writing a file");
}

void Win32Fixture::AddFolder(const std::wstring& path) { fs::create_directories(path); }

void Win32Fixture::EnterFolder(const std::wstring& path) {
  Require(SetCurrentDirectoryW(path.c_str()), "entering a folder");
}

void Win32Fixture::RemoveFile(const std::wstring& path) {
  Require(DeleteFileW(path.c_str()), "deleting a file");
}

std::optional<std::string> Win32Fixture::Contents(const std::wstring& path) {
  std::ifstream file(fs::path(path), std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void Win32Fixture::SetReadOnly(const std::wstring& path) {
  Require(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY), "marking a file read-only");
}

bool Win32Fixture::IsReadOnly(const std::wstring& path) {
  return (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
}

void Win32Fixture::SetVariable(const std::wstring& name, const std::optional<std::wstring>& value) {
  Require(SetEnvironmentVariableW(name.c_str(), value ? value->c_str() : nullptr),
          "setting a variable");
}

Win32Fixture::Held Win32Fixture::Hold(const std::wstring& path, FileShare share,
                                      FileAccess access) {
  const DWORD access_flags = access == FileAccess::kRead    ? GENERIC_READ
                             : access == FileAccess::kWrite ? GENERIC_WRITE
                                                            : GENERIC_READ | GENERIC_WRITE;
  const DWORD share_flags = share == FileShare::kNone   ? 0
                            : share == FileShare::kRead ? FILE_SHARE_READ
                                                        : FILE_SHARE_READ | FILE_SHARE_WRITE;
  const HANDLE handle =
      CreateFileW(path.c_str(), access_flags, share_flags, nullptr, OPEN_EXISTING, 0, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "holding a file open");
  return Held(handle);
}

std::wstring Win32Fixture::AddProgram(const std::wstring& name) {
  const std::wstring path = folder_ + L"\\" + name;
  // Under Wine the file system of the machine that built it is Z:.
  std::wstring program = fs::path(TDEFAULT_RECORD_RUN).make_preferred().wstring();
  if (program.front() == L'\\') program = L"Z:" + program;
  Require(CopyFileW(program.c_str(), path.c_str(), FALSE), "copying a program");
  return path;
}

std::wstring Win32Fixture::KeyClass(const std::wstring& path) {
  HKEY key = nullptr;
  std::wstring text(256, L'\0');
  auto count = static_cast<DWORD>(text.size());
  RequireCode(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key));
  const LSTATUS code = RegQueryInfoKeyW(key, text.data(), &count, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(key);
  RequireCode(code);
  return text.substr(0, count);
}

bool Win32Fixture::is_wine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool Win32Fixture::ignores_read_only() {
  std::wstring name(UNLEN + 1, L'\0');
  DWORD count = UNLEN + 1;
  return is_wine() && GetUserNameW(name.data(), &count) && name.substr(0, count - 1) == L"root";
}

}  // namespace tdefault::platform
