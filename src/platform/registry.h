// The system's registry. A root is one of the system's predefined keys by its 32-bit number. Text
// travels in the system (ANSI) code page, where a character outside it becomes "?", and ends at its
// first NUL; names are compared without regard to case.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/value.h"
#include "platform/system_result.h"

namespace tdefault::platform {

namespace registry_root {
inline constexpr std::uint32_t kCurrentUser = 0x80000001;
inline constexpr std::uint32_t kLocalMachine = 0x80000002;
}  // namespace registry_root

namespace registry_type {
inline constexpr std::uint32_t kText = 1;
inline constexpr std::uint32_t kNumber = 4;
}  // namespace registry_type

// What a query for a number finds: the value's type and its bytes as a number, whatever they mean.
struct RegistryNumber {
  std::uint32_t type = 0;
  std::uint32_t number = 0;
};

// What a query for text leaves: a buffer of NUL characters with the value's bytes as characters in
// front, whatever the type, and their count, with which a text includes its closing NUL.
struct RegistryText {
  std::wstring characters;
  std::uint32_t count = 0;
};

struct RegistryValue {
  std::wstring name;  // empty for the key's unnamed value
  std::uint32_t type = 0;
  Bytes data;  // text in the system code page, closing NUL included
};

// An open key. Destruction closes it. Whatever the access does not include fails with 5.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;

  // Fails with 2 when there is no such value, 234 when it has more bytes than asked for: four for a
  // number, `capacity` for text.
  virtual SystemResult<RegistryNumber> QueryNumber(const std::wstring& name) = 0;
  virtual SystemResult<RegistryText> QueryText(const std::wstring& name,
                                               std::uint32_t capacity) = 0;

  // Set the value, of whatever type it was before: a number of four bytes, or a text with its
  // closing NUL, where empty text is a value without bytes.
  virtual SystemStatus SetNumber(const std::wstring& name, std::uint32_t number) = 0;
  virtual SystemStatus SetText(const std::wstring& name, const std::wstring& text) = 0;

  // Fails with 2 when there is no such value.
  virtual SystemStatus RemoveValue(const std::wstring& name) = 0;

  // Removes a key below this one with its values. Fails with 2 when there is none, 5 when it has
  // sub-keys.
  virtual SystemStatus RemoveKey(const std::wstring& name) = 0;

  // The sub-keys and values, by position from 0, in an order of the system's own. Fail with 259
  // behind the last one, ValueAt with 234 for a value of more than `capacity` bytes.
  virtual SystemResult<std::wstring> KeyAt(std::uint32_t position) = 0;
  virtual SystemResult<RegistryValue> ValueAt(std::uint32_t position, std::uint32_t capacity) = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;

  // Opens an existing key. Fails with 2 when there is none, 5 for a refused access, 6 for a root
  // that is none.
  virtual SystemResult<std::unique_ptr<RegistryKey>> OpenKey(std::uint32_t root,
                                                             const std::wstring& path,
                                                             std::uint32_t access) = 0;

  // Opens a key; where there is none, makes it with the class text, and the keys above it.
  virtual SystemResult<std::unique_ptr<RegistryKey>> CreateKey(std::uint32_t root,
                                                               const std::wstring& path,
                                                               const std::wstring& class_text,
                                                               std::uint32_t access) = 0;
};

}  // namespace tdefault::platform
