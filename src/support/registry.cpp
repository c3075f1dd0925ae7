#include "support/registry.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "platform/system_result.h"

namespace tdefault::support {
namespace {

using platform::RegistryKey;
using platform::SystemResult;
namespace system_code = platform::system_code;

// Query, enumerate, notify and read the key's protection.
constexpr std::uint32_t kReadAccess = 0x20019;
// Query, set, create sub-keys, enumerate, notify and change the key's protection.
constexpr std::uint32_t kWriteAccess = 0x4001F;

constexpr const wchar_t* kTextClass = L"REG_SZ";
constexpr std::uint32_t kTextCapacity = 255;

constexpr std::uint32_t kDataCapacity = 2048;
constexpr std::uint32_t kLargestData = 1U << 20;

std::int32_t ResultOf(std::uint32_t code) { return static_cast<std::int32_t>(code); }

// The value at a position, with as much room as it takes. Fails with 234 for one that is too large
// to be listed.
SystemResult<platform::RegistryValue> ValueOfAnySize(RegistryKey& key, std::uint32_t position) {
  for (std::uint32_t capacity = kDataCapacity;; capacity *= 2) {
    SystemResult<platform::RegistryValue> value = key.ValueAt(position, capacity);
    if (value.ok() || value.code() != system_code::kMoreData || capacity >= kLargestData)
      return value;
  }
}

}  // namespace

std::int32_t clsUseReg::BytesToLong(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kCount = sizeof(std::int32_t);
  if (bytes.size() < kCount) throw SubscriptOutOfRange(L"clsUseReg:BytesToLong");
  std::uint32_t number = 0;
  for (std::size_t i = kCount; i-- > 0;) number = number << 8 | bytes[i];
  return static_cast<std::int32_t>(number);
}

std::int32_t clsUseReg::ReadRegNumber(std::uint32_t root, const std::wstring& sub_key,
                                      const std::wstring& item, std::int32_t otherwise) {
  const auto key = registry_.OpenKey(root, sub_key, kReadAccess);
  if (!key.ok()) return 0;
  const auto found = key.value()->QueryNumber(item);
  if (!found.ok()) return found.code() == system_code::kFileNotFound ? otherwise : 0;
  if (found.value().type != platform::registry_type::kNumber) return 0;
  return static_cast<std::int32_t>(found.value().number);
}

std::int32_t clsUseReg::SaveRegNumber(std::uint32_t root, const std::wstring& sub_key,
                                      const std::wstring& value_name, std::int32_t number) {
  const std::wstring class_text = std::to_wstring(platform::registry_type::kNumber);
  const auto key = registry_.CreateKey(root, sub_key, class_text, kWriteAccess);
  if (!key.ok()) return ResultOf(key.code());
  return ResultOf(key.value()->SetNumber(value_name, static_cast<std::uint32_t>(number)).code());
}

std::int32_t clsUseReg::DeleteRegKey(std::uint32_t root, const std::wstring& sub_key,
                                     const std::wstring& key_to_delete) {
  if (key_to_delete.empty() || key_to_delete.front() == L'\0')
    return ResultOf(system_code::kInvalidParameter);
  const auto key = registry_.OpenKey(root, sub_key, kWriteAccess);
  if (!key.ok()) return ResultOf(key.code());
  return ResultOf(key.value()->RemoveKey(key_to_delete).code());
}

std::int32_t clsUseReg::SaveRegText(std::uint32_t root, const std::wstring& sub_key,
                                    const std::wstring& value_name, const std::wstring& text) {
  const auto key = registry_.CreateKey(root, sub_key, kTextClass, kWriteAccess);
  if (!key.ok()) return ResultOf(key.code());
  return ResultOf(key.value()->SetText(value_name, text).code());
}

std::int32_t clsUseReg::DeleteRegValue(DeleteMode mode, std::uint32_t root,
                                       const std::wstring& sub_key,
                                       const std::wstring& value_name) {
  const auto key = mode == DeleteMode::kExistingOnly
                       ? registry_.OpenKey(root, sub_key, kWriteAccess)
                       : registry_.CreateKey(root, sub_key, kTextClass, kWriteAccess);
  if (!key.ok()) return ResultOf(key.code());
  return ResultOf(key.value()->RemoveValue(value_name).code());
}

std::wstring clsUseReg::ReadRegText(std::uint32_t root, const std::wstring& sub_key,
                                    const std::wstring& item, const std::wstring& otherwise) {
  const auto failed = [&](std::uint32_t code) {
    return code == system_code::kFileNotFound ? otherwise : std::wstring(L"Function error");
  };
  const auto key = registry_.OpenKey(root, sub_key, kReadAccess);
  if (!key.ok()) return failed(key.code());
  const auto found = key.value()->QueryText(item, kTextCapacity);
  if (!found.ok()) return failed(found.code());
  if (found.value().count == 0) return otherwise;
  return found.value().characters.substr(0, found.value().count - 1U);
}

SystemKind clsUseReg::PlatformVersion() {
  const std::optional<platform::WindowsVersion> version = session_.Version();
  if (!version || version->platform_id > 1) return SystemKind::kOther;
  if (version->platform_id == 0) return SystemKind::kPlatform0;
  if (version->major >= 5) return SystemKind::kPlatform1Major5;
  return version->major == 4 ? SystemKind::kPlatform1Major4 : SystemKind::kPlatform1Earlier;
}

std::vector<std::wstring> clsUseReg::ListRegKeys(std::uint32_t root, const std::wstring& sub_key) {
  std::vector<std::wstring> names;
  const auto key = registry_.OpenKey(root, sub_key, kReadAccess);
  if (!key.ok()) return names;
  for (std::uint32_t position = 0;; ++position) {
    auto name = key.value()->KeyAt(position);
    // 259 behind the last one; to go on after another failure might never end.
    if (!name.ok()) return names;
    names.push_back(std::move(name).value());
  }
}

std::vector<ListedValue> clsUseReg::ListRegValues(std::uint32_t root, const std::wstring& sub_key) {
  std::vector<ListedValue> values;
  const auto key = registry_.OpenKey(root, sub_key, kReadAccess);
  if (!key.ok()) return values;
  for (std::uint32_t position = 0;; ++position) {
    const auto value = ValueOfAnySize(*key.value(), position);
    if (!value.ok() && value.code() != system_code::kMoreData) return values;
    if (!value.ok()) continue;
    const bool is_text = value.value().type == platform::registry_type::kText;
    values.push_back({value.value().name, value.value().type,
                      is_text ? BytesToText(value.value().data) : std::wstring()});
  }
}

std::wstring clsUseReg::BytesToText(std::span<const std::uint8_t> bytes) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return session_.SystemText(all.substr(0, all.find('\0')));
}

}  // namespace tdefault::support
