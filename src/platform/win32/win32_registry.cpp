#include "platform/win32/win32_registry.h"

#include <windows.h>

#include <utility>

#include "platform/win32/narrow_text.h"

namespace tdefault::platform::win32 {
namespace {

// The longest names that the system takes, in bytes, with their closing NUL.
constexpr std::size_t kKeyNameBuffer = 512;
constexpr std::size_t kValueNameBuffer = 32768;

// The registry calls give their code as the result.
SystemStatus StatusOfCode(LSTATUS code) { return SystemStatus(static_cast<std::uint32_t>(code)); }

const BYTE* DataOf(const std::string& bytes) { return reinterpret_cast<const BYTE*>(bytes.data()); }

class Win32RegistryKey final : public RegistryKey {
 public:
  explicit Win32RegistryKey(HKEY key) : key_(key) {}
  ~Win32RegistryKey() override { RegCloseKey(key_); }
  Win32RegistryKey(const Win32RegistryKey&) = delete;
  Win32RegistryKey& operator=(const Win32RegistryKey&) = delete;

  SystemResult<RegistryNumber> QueryNumber(const std::wstring& name) override {
    DWORD type = 0;
    DWORD number = 0;
    DWORD count = sizeof number;
    const LSTATUS code = RegQueryValueExA(key_, NarrowArgument(name).c_str(), nullptr, &type,
                                          reinterpret_cast<BYTE*>(&number), &count);
    if (code != ERROR_SUCCESS) return StatusOfCode(code);
    return RegistryNumber{type, number};
  }

  SystemResult<RegistryText> QueryText(const std::wstring& name, std::uint32_t capacity) override {
    std::string buffer(capacity, '\0');
    DWORD count = capacity;
    const LSTATUS code = RegQueryValueExA(key_, NarrowArgument(name).c_str(), nullptr, nullptr,
                                          reinterpret_cast<BYTE*>(buffer.data()), &count);
    if (code != ERROR_SUCCESS) return StatusOfCode(code);
    // A page of several bytes per character makes it shorter.
    std::wstring characters = Wide(std::string_view(buffer).substr(0, count));
    const auto characters_count = static_cast<std::uint32_t>(characters.size());
    characters.resize(capacity, L'\0');
    return RegistryText{std::move(characters), characters_count};
  }

  SystemStatus SetNumber(const std::wstring& name, std::uint32_t number) override {
    return StatusOfCode(RegSetValueExA(key_, NarrowArgument(name).c_str(), 0, REG_DWORD,
                                       reinterpret_cast<const BYTE*>(&number), sizeof number));
  }

  SystemStatus SetText(const std::wstring& name, const std::wstring& text) override {
    const std::string bytes = NarrowArgument(text);
    const auto count = static_cast<DWORD>(bytes.empty() ? 0 : bytes.size() + 1);
    return StatusOfCode(RegSetValueExA(key_, NarrowArgument(name).c_str(), 0, REG_SZ,
                                       count == 0 ? nullptr : DataOf(bytes), count));
  }

  SystemStatus RemoveValue(const std::wstring& name) override {
    return StatusOfCode(RegDeleteValueA(key_, NarrowArgument(name).c_str()));
  }

  SystemStatus RemoveKey(const std::wstring& name) override {
    return StatusOfCode(RegDeleteKeyA(key_, NarrowArgument(name).c_str()));
  }

  SystemResult<std::wstring> KeyAt(std::uint32_t position) override {
    std::string name(kKeyNameBuffer, '\0');
    auto count = static_cast<DWORD>(name.size());
    const LSTATUS code =
        RegEnumKeyExA(key_, position, name.data(), &count, nullptr, nullptr, nullptr, nullptr);
    if (code != ERROR_SUCCESS) return StatusOfCode(code);
    return Wide(std::string_view(name).substr(0, count));
  }

  SystemResult<RegistryValue> ValueAt(std::uint32_t position, std::uint32_t capacity) override {
    std::string name(kValueNameBuffer, '\0');
    auto name_count = static_cast<DWORD>(name.size());
    // The system wants a place for the bytes even where there is to be none.
    Bytes data(capacity + 1U);
    DWORD count = capacity;
    DWORD type = 0;
    const LSTATUS code = RegEnumValueA(key_, position, name.data(), &name_count, nullptr, &type,
                                       data.data(), &count);
    if (code != ERROR_SUCCESS) return StatusOfCode(code);
    data.resize(count);
    return RegistryValue{Wide(std::string_view(name).substr(0, name_count)), type, std::move(data)};
  }

 private:
  HKEY key_;
};

// The numbers of the roots are signed, so that they are the same in programs of both bitnesses.
HKEY HandleOf(std::uint32_t root) {
  return static_cast<HKEY>(LongToHandle(static_cast<LONG>(root)));
}

}  // namespace

SystemResult<std::unique_ptr<RegistryKey>> Win32Registry::OpenKey(std::uint32_t root,
                                                                  const std::wstring& path,
                                                                  std::uint32_t access) {
  HKEY key = nullptr;
  const LSTATUS code = RegOpenKeyExA(HandleOf(root), NarrowArgument(path).c_str(), 0, access, &key);
  if (code != ERROR_SUCCESS) return StatusOfCode(code);
  return std::unique_ptr<RegistryKey>(std::make_unique<Win32RegistryKey>(key));
}

SystemResult<std::unique_ptr<RegistryKey>> Win32Registry::CreateKey(std::uint32_t root,
                                                                    const std::wstring& path,
                                                                    const std::wstring& class_text,
                                                                    std::uint32_t access) {
  HKEY key = nullptr;
  std::string class_name = NarrowArgument(class_text);
  const LSTATUS code =
      RegCreateKeyExA(HandleOf(root), NarrowArgument(path).c_str(), 0, class_name.data(),
                      REG_OPTION_NON_VOLATILE, access, nullptr, &key, nullptr);
  if (code != ERROR_SUCCESS) return StatusOfCode(code);
  return std::unique_ptr<RegistryKey>(std::make_unique<Win32RegistryKey>(key));
}

}  // namespace tdefault::platform::win32
