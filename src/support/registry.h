// Numbers and texts of the registry. Every operation opens the key it needs, does one thing and
// closes the key again. Roots are the system's predefined keys by their numbers
// (platform::registry_root). No operation throws what a port reports: results are the system's code
// or what stands for a failure below.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "platform/session.h"

namespace tdefault::support {

// How DeleteRegValue gets at the key.
enum class DeleteMode { kCreate = 1, kExistingOnly = 2, kCreateAlso = 3 };

enum class SystemKind {
  kPlatform0,
  kPlatform1Major5,  // or later
  kPlatform1Major4,
  kPlatform1Earlier,
  kOther,  // the NT family
};

struct ListedValue {
  std::wstring name;
  std::uint32_t type = 0;
  std::wstring text;  // of a value of type 1 (text), else empty
};

class clsUseReg {
 public:
  // The ports outlive the object.
  clsUseReg(platform::Registry& registry, platform::Session& session) noexcept
      : registry_(registry), session_(session) {}

  // The first four bytes as a number, the least of them first. Throws SubscriptOutOfRange when
  // there are fewer.
  [[nodiscard]] static std::int32_t BytesToLong(std::span<const std::uint8_t> bytes);

  // The number of a value; `otherwise` for a value that its key does not have. A missing key, a
  // value of another type and every failure are 0.
  [[nodiscard]] std::int32_t ReadRegNumber(std::uint32_t root, const std::wstring& sub_key,
                                           const std::wstring& item, std::int32_t otherwise = 0);

  // Makes the key where it is missing. The system's code, 0 on success.
  std::int32_t SaveRegNumber(std::uint32_t root, const std::wstring& sub_key,
                             const std::wstring& value_name, std::int32_t number);

  // Deletes a key below `sub_key`. The system's code: 0 on success, 5 for a key that has sub-keys,
  // which stays, 87 for an empty name, which would mean `sub_key` itself.
  std::int32_t DeleteRegKey(std::uint32_t root, const std::wstring& sub_key,
                            const std::wstring& key_to_delete);

  // --- For the library's own use ------------------------------------------------------------

  // As SaveRegNumber. Empty text is stored as a value without bytes.
  std::int32_t SaveRegText(std::uint32_t root, const std::wstring& sub_key,
                           const std::wstring& value_name, const std::wstring& text);

  // The system's code: 0 on success, 2 for a value that the key does not have.
  std::int32_t DeleteRegValue(DeleteMode mode, std::uint32_t root, const std::wstring& sub_key,
                              const std::wstring& value_name);

  // The text of a value; `otherwise` for a missing key, a missing value and one without bytes,
  // "Function error" for every other failure, a text of 255 characters or more included.
  [[nodiscard]] std::wstring ReadRegText(std::uint32_t root, const std::wstring& sub_key,
                                         const std::wstring& item, const std::wstring& otherwise);

  // kOther as well when the system does not tell.
  [[nodiscard]] SystemKind PlatformVersion();

  // The names below a key; what was listed before a failure.
  [[nodiscard]] std::vector<std::wstring> ListRegKeys(std::uint32_t root,
                                                      const std::wstring& sub_key);
  [[nodiscard]] std::vector<ListedValue> ListRegValues(std::uint32_t root,
                                                       const std::wstring& sub_key);

  // The bytes up to the first zero one as text in the system code page.
  [[nodiscard]] std::wstring BytesToText(std::span<const std::uint8_t> bytes);

 private:
  platform::Registry& registry_;
  platform::Session& session_;
};

}  // namespace tdefault::support
