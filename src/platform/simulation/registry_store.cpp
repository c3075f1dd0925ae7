#include "platform/simulation/registry_store.h"

#include <stdexcept>
#include <utility>

#include "platform/registry.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::uint32_t kFirstRoot = 0x80000000;
constexpr std::uint32_t kLastRoot = 0x80000003;

std::vector<std::wstring> NamesOf(std::wstring_view path) {
  std::vector<std::wstring> names;
  for (std::wstring& name : Split(path, L"\\"))
    if (!name.empty()) names.push_back(std::move(name));
  return names;
}

}  // namespace

RegistryStore::RegistryStore(CodePage code_page) : code_page_(code_page) {
  for (std::uint32_t root = kFirstRoot; root <= kLastRoot; ++root)
    roots_[root] = std::make_shared<RegistryNode>();
}

bool RegistryStore::IsRoot(std::uint32_t root) noexcept {
  return root >= kFirstRoot && root <= kLastRoot;
}

std::shared_ptr<RegistryNode> RegistryStore::Find(std::uint32_t root,
                                                  std::wstring_view path) const {
  const auto found = roots_.find(root);
  std::shared_ptr<RegistryNode> key = found == roots_.end() ? nullptr : found->second;
  for (const std::wstring& name : NamesOf(path)) {
    if (!key) return nullptr;
    const auto next = key->keys.find(name);
    key = next == key->keys.end() ? nullptr : next->second;
  }
  return key;
}

std::shared_ptr<RegistryNode> RegistryStore::Make(std::uint32_t root, std::wstring_view path,
                                                  const std::wstring& class_text) {
  std::shared_ptr<RegistryNode> key = Find(root, L"");
  if (!key) throw std::invalid_argument("no registry root: " + std::to_string(root));
  bool is_new = false;
  for (const std::wstring& name : NamesOf(path)) {
    std::shared_ptr<RegistryNode>& next = key->keys[name];
    is_new = next == nullptr;
    if (is_new) {
      next = std::make_shared<RegistryNode>();
      next->name = name;
    }
    key = std::shared_ptr<RegistryNode>(next);
  }
  if (is_new) key->class_text = class_text;
  return key;
}

void RegistryStore::PutKey(std::uint32_t root, const std::wstring& path) {
  static_cast<void>(Make(root, path, L""));
}

void RegistryStore::PutText(std::uint32_t root, const std::wstring& path, const std::wstring& name,
                            std::wstring_view text) {
  PutValue(root, path, name, registry_type::kText, code_page_.Encode(text) + '\0');
}

void RegistryStore::PutNumber(std::uint32_t root, const std::wstring& path,
                              const std::wstring& name, std::uint32_t number) {
  std::string data;
  for (int shift = 0; shift < 32; shift += 8) data.push_back(static_cast<char>(number >> shift));
  PutValue(root, path, name, registry_type::kNumber, data);
}

void RegistryStore::PutValue(std::uint32_t root, const std::wstring& path, const std::wstring& name,
                             std::uint32_t type, std::string_view data) {
  Make(root, path, L"")->values[name] = {name, type, Bytes(data.begin(), data.end())};
}

std::shared_ptr<RegistryNode> RegistryStore::KeyAt(std::uint32_t root,
                                                   const std::wstring& path) const {
  std::shared_ptr<RegistryNode> key = Find(root, path);
  if (!key) throw std::invalid_argument("no registry key: " + ToUtf8(path));
  return key;
}

const RegistryNode::Value* RegistryStore::ValueAt(std::uint32_t root, const std::wstring& path,
                                                  const std::wstring& name) const {
  const std::shared_ptr<RegistryNode> key = KeyAt(root, path);
  const auto found = key->values.find(name);
  return found == key->values.end() ? nullptr : &found->second;
}

bool RegistryStore::HasKey(std::uint32_t root, const std::wstring& path) const {
  return Find(root, path) != nullptr;
}

std::wstring RegistryStore::ClassOf(std::uint32_t root, const std::wstring& path) const {
  return KeyAt(root, path)->class_text;
}

std::optional<std::uint32_t> RegistryStore::TypeOf(std::uint32_t root, const std::wstring& path,
                                                   const std::wstring& name) const {
  const RegistryNode::Value* value = ValueAt(root, path, name);
  return value == nullptr ? std::nullopt : std::optional(value->type);
}

std::optional<std::string> RegistryStore::DataOf(std::uint32_t root, const std::wstring& path,
                                                 const std::wstring& name) const {
  const RegistryNode::Value* value = ValueAt(root, path, name);
  if (value == nullptr) return std::nullopt;
  return std::string(value->data.begin(), value->data.end());
}

}  // namespace tdefault::platform::simulation
