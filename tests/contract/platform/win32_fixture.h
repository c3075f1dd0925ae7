// The operating system's own calls, in a folder that each case gets anew and that is removed behind
// it. Set-up and inspection use the wide calls, so that they are independent of the adapter.
#pragma once

#include <doctest/doctest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/platform.h"
#include "platform/win32/win32_platform.h"

namespace tdefault::platform {

class Win32Fixture {
 public:
  // An open handle of the system.
  class Held {
   public:
    explicit Held(void* handle) : handle_(handle) {}
    Held(Held&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Held& operator=(Held&&) = delete;
    ~Held() { Release(); }
    void Release() noexcept;
    // A refusal throws.
    void Lock(std::uint64_t offset, std::uint64_t length);
    void Unlock(std::uint64_t offset, std::uint64_t length);

   private:
    void* handle_;
  };

  Win32Fixture();
  ~Win32Fixture();
  Win32Fixture(const Win32Fixture&) = delete;
  Win32Fixture& operator=(const Win32Fixture&) = delete;

  Platform& platform() { return adapter_.platform(); }
  std::wstring folder() const { return folder_; }
  static std::wstring windows_folder();
  static std::wstring program_folder();

  void PutFile(const std::wstring& path, std::string_view bytes);
  void AddFolder(const std::wstring& path);
  void RemoveFile(const std::wstring& path);
  static void EnterFolder(const std::wstring& path);
  std::optional<std::string> Contents(const std::wstring& path);
  void SetReadOnly(const std::wstring& path);
  bool IsReadOnly(const std::wstring& path);
  void SetVariable(const std::wstring& name, const std::optional<std::wstring>& value);
  Held Hold(const std::wstring& path, FileShare share, FileAccess access);
  std::wstring AddProgram(const std::wstring& name);
  std::wstring registry_path() const { return registry_path_; }
  static std::wstring KeyClass(const std::wstring& path);
  static bool is_wine();
  static bool ignores_read_only();

 private:
  win32::Win32Platform adapter_;
  std::wstring folder_;
  std::wstring former_folder_;
  std::wstring registry_path_;
};

}  // namespace tdefault::platform

TYPE_TO_STRING_AS("Win32Fixture", tdefault::platform::Win32Fixture);
