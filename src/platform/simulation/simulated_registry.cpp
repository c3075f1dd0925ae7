#include "platform/simulation/simulated_registry.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/simulation/registry_store.h"

namespace tdefault::platform::simulation {
namespace {

// What an operation needs the key to be open for.
constexpr std::uint32_t kQuery = 0x1;
constexpr std::uint32_t kSet = 0x2;
constexpr std::uint32_t kEnumerate = 0x8;

class SimulatedKey final : public RegistryKey {
 public:
  SimulatedKey(World& world, std::shared_ptr<RegistryNode> node, std::uint32_t access)
      : world_(world), node_(std::move(node)), access_(access) {
    ++world_.open_handles;
  }
  ~SimulatedKey() override { --world_.open_handles; }

  SystemResult<RegistryNumber> QueryNumber(const std::wstring& name) override {
    std::array<std::uint8_t, sizeof(std::uint32_t)> buffer{};
    const auto value = Query("QueryNumber", name, buffer.size());
    if (!value.ok()) return SystemStatus(value.code());
    std::copy(value.value()->data.begin(), value.value()->data.end(), buffer.begin());
    std::uint32_t number = 0;
    for (auto byte = buffer.rbegin(); byte != buffer.rend(); ++byte) number = number << 8 | *byte;
    return RegistryNumber{value.value()->type, number};
  }

  SystemResult<RegistryText> QueryText(const std::wstring& name, std::uint32_t capacity) override {
    const auto value = Query("QueryText", name, capacity);
    if (!value.ok()) return SystemStatus(value.code());
    const Bytes& data = value.value()->data;
    std::wstring characters = world_.code_page.Decode(std::string(data.begin(), data.end()));
    characters.resize(capacity, L'\0');
    return RegistryText{std::move(characters), static_cast<std::uint32_t>(data.size())};
  }

  SystemStatus SetNumber(const std::wstring& name, std::uint32_t number) override {
    Bytes data;
    for (int shift = 0; shift < 32; shift += 8)
      data.push_back(static_cast<std::uint8_t>(number >> shift));
    return Set("SetNumber", name, registry_type::kNumber, std::move(data));
  }

  SystemStatus SetText(const std::wstring& name, const std::wstring& text) override {
    std::string bytes = world_.code_page.Encode(text.substr(0, text.find(L'\0')));
    if (!bytes.empty()) bytes.push_back('\0');
    return Set("SetText", name, registry_type::kText, Bytes(bytes.begin(), bytes.end()));
  }

  SystemStatus RemoveValue(const std::wstring& name) override {
    if (const auto code = world_.calls.Begin("RemoveValue", name)) return SystemStatus(*code);
    if ((access_ & kSet) == 0) return SystemStatus(system_code::kAccessDenied);
    const bool removed = node_->values.erase(world_.Narrowed(name)) != 0;
    return SystemStatus(removed ? system_code::kSuccess : system_code::kFileNotFound);
  }

  SystemStatus RemoveKey(const std::wstring& name) override {
    if (const auto code = world_.calls.Begin("RemoveKey", name)) return SystemStatus(*code);
    const auto found = node_->keys.find(world_.Narrowed(name));
    if (found == node_->keys.end()) return SystemStatus(system_code::kFileNotFound);
    if (!found->second->keys.empty()) return SystemStatus(system_code::kAccessDenied);
    node_->keys.erase(found);
    return SystemStatus();
  }

  SystemResult<std::wstring> KeyAt(std::uint32_t position) override {
    if (const auto code = world_.calls.Begin("KeyAt", node_->name)) return SystemStatus(*code);
    if ((access_ & kEnumerate) == 0) return SystemStatus(system_code::kAccessDenied);
    if (position >= node_->keys.size()) return SystemStatus(system_code::kNoMoreItems);
    return std::next(node_->keys.begin(), position)->second->name;
  }

  SystemResult<RegistryValue> ValueAt(std::uint32_t position, std::uint32_t capacity) override {
    if (const auto code = world_.calls.Begin("ValueAt", node_->name)) return SystemStatus(*code);
    if ((access_ & kQuery) == 0) return SystemStatus(system_code::kAccessDenied);
    if (position >= node_->values.size()) return SystemStatus(system_code::kNoMoreItems);
    const RegistryNode::Value& value = std::next(node_->values.begin(), position)->second;
    if (value.data.size() > capacity) return SystemStatus(system_code::kMoreData);
    return RegistryValue{value.name, value.type, value.data};
  }

 private:
  SystemResult<const RegistryNode::Value*> Query(const char* operation, const std::wstring& name,
                                                 std::size_t capacity) {
    if (const auto code = world_.calls.Begin(operation, name)) return SystemStatus(*code);
    if ((access_ & kQuery) == 0) return SystemStatus(system_code::kAccessDenied);
    const auto found = node_->values.find(world_.Narrowed(name));
    if (found == node_->values.end()) return SystemStatus(system_code::kFileNotFound);
    if (found->second.data.size() > capacity) return SystemStatus(system_code::kMoreData);
    return &found->second;
  }

  SystemStatus Set(const char* operation, const std::wstring& name, std::uint32_t type,
                   Bytes data) {
    if (const auto code = world_.calls.Begin(operation, name)) return SystemStatus(*code);
    if ((access_ & kSet) == 0) return SystemStatus(system_code::kAccessDenied);
    RegistryNode::Value& value = node_->values[world_.Narrowed(name)];
    // A value that was there keeps the spelling of its name.
    if (value.name.empty()) value.name = world_.Narrowed(name);
    value.type = type;
    value.data = std::move(data);
    return SystemStatus();
  }

  World& world_;
  std::shared_ptr<RegistryNode> node_;
  std::uint32_t access_;
};

}  // namespace

SystemResult<std::unique_ptr<RegistryKey>> SimulatedRegistry::OpenKey(std::uint32_t root,
                                                                      const std::wstring& path,
                                                                      std::uint32_t access) {
  const auto planned = world_.calls.Begin("OpenKey", path);
  world_.registry.Record({root, path, access, std::nullopt});
  if (planned) return SystemStatus(*planned);
  if (!RegistryStore::IsRoot(root)) return SystemStatus(system_code::kInvalidHandle);
  std::shared_ptr<RegistryNode> node = world_.registry.Find(root, world_.Narrowed(path));
  if (!node) return SystemStatus(system_code::kFileNotFound);
  return std::unique_ptr<RegistryKey>(
      std::make_unique<SimulatedKey>(world_, std::move(node), access));
}

SystemResult<std::unique_ptr<RegistryKey>> SimulatedRegistry::CreateKey(
    std::uint32_t root, const std::wstring& path, const std::wstring& class_text,
    std::uint32_t access) {
  const auto planned = world_.calls.Begin("CreateKey", path);
  world_.registry.Record({root, path, access, class_text});
  if (planned) return SystemStatus(*planned);
  if (!RegistryStore::IsRoot(root)) return SystemStatus(system_code::kInvalidHandle);
  std::shared_ptr<RegistryNode> node =
      world_.registry.Make(root, world_.Narrowed(path), world_.Narrowed(class_text));
  return std::unique_ptr<RegistryKey>(
      std::make_unique<SimulatedKey>(world_, std::move(node), access));
}

}  // namespace tdefault::platform::simulation
