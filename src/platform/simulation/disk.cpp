#include "platform/simulation/disk.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "base/text.h"
#include "platform/simulation/path_rules.h"

namespace tdefault::platform::simulation {
namespace {

bool Permits(FileShare share, FileAccess access) noexcept {
  switch (share) {
    case FileShare::kNone:
      return false;
    case FileShare::kRead:
      return access == FileAccess::kRead;
    case FileShare::kReadWrite:
      return true;
  }
  return false;
}

}  // namespace

bool Node::Admits(const Holder& newcomer) const noexcept {
  return std::all_of(holders.begin(), holders.end(), [&](const Holder* holder) {
    return Permits(holder->share, newcomer.access) && Permits(newcomer.share, holder->access);
  });
}

bool Node::IsLocked(std::uint64_t offset, std::uint64_t length,
                    const Holder* holder) const noexcept {
  return std::any_of(locks.begin(), locks.end(), [&](const LockedRange& lock) {
    return lock.owner != holder && offset < lock.offset + lock.length &&
           lock.offset < offset + length;
  });
}

OpenNode::OpenNode(std::shared_ptr<Node> node, Holder holder)
    : node_(std::move(node)), holder_(holder) {
  assert(node_->Admits(holder_));
  node_->holders.push_back(&holder_);
}

OpenNode::~OpenNode() {
  std::erase(node_->holders, &holder_);
  std::erase_if(node_->locks, [this](const LockedRange& lock) { return lock.owner == &holder_; });
}

SystemStatus OpenNode::Lock(std::uint64_t offset, std::uint64_t length) {
  if (node_->IsLocked(offset, length, nullptr)) return SystemStatus(system_code::kLockViolation);
  node_->locks.push_back({&holder_, offset, length});
  return SystemStatus();
}

SystemStatus OpenNode::Unlock(std::uint64_t offset, std::uint64_t length) {
  const auto released = std::erase_if(node_->locks, [&](const LockedRange& lock) {
    return lock.owner == &holder_ && lock.offset == offset && lock.length == length;
  });
  return SystemStatus(released == 0 ? system_code::kNotLocked : system_code::kSuccess);
}

void Disk::MakeFolder(const std::wstring& path) {
  if (path.empty() || Find(path)) return;
  MakeFolder(FolderOf(path));
  auto folder = std::make_shared<Node>();
  folder->name = NameOf(path);
  folder->is_folder = true;
  nodes_[ToUpper(path)] = std::move(folder);
}

std::shared_ptr<Node> Disk::PutFile(const std::wstring& path, std::string_view bytes) {
  std::shared_ptr<Node> node = Find(path);
  if (!node) {
    MakeFolder(FolderOf(path));
    node = std::make_shared<Node>();
    node->name = NameOf(path);
    nodes_[ToUpper(path)] = node;
  }
  assert(!node->is_folder);
  node->bytes = bytes;
  return node;
}

std::shared_ptr<Node> Disk::Find(const std::wstring& path) const {
  const auto found = nodes_.find(ToUpper(path));
  return found == nodes_.end() ? nullptr : found->second;
}

SystemStatus Disk::Missing(const std::wstring& path) const {
  const std::shared_ptr<Node> folder = Find(FolderOf(path));
  return SystemStatus(folder && folder->is_folder ? system_code::kFileNotFound
                                                  : system_code::kPathNotFound);
}

SystemResult<std::shared_ptr<Node>> Disk::Openable(const std::wstring& path,
                                                   const Holder& holder) const {
  std::shared_ptr<Node> node = Find(path);
  if (!node) return Missing(path);
  if (node->is_folder || (node->read_only && holder.access != FileAccess::kRead)) {
    return SystemStatus(system_code::kAccessDenied);
  }
  if (!node->Admits(holder)) return SystemStatus(system_code::kSharingViolation);
  return node;
}

SystemStatus Disk::Removable(const std::wstring& path) const {
  const std::shared_ptr<Node> node = Find(path);
  if (!node) return Missing(path);
  if (node->is_folder || node->read_only) return SystemStatus(system_code::kAccessDenied);
  return SystemStatus(node->holders.empty() ? system_code::kSuccess
                                            : system_code::kSharingViolation);
}

void Disk::Erase(const std::wstring& path) { nodes_.erase(ToUpper(path)); }

void Disk::Rename(const std::wstring& from, const std::wstring& to) {
  const std::shared_ptr<Node> node = Find(from);
  assert(node && !node->is_folder);
  nodes_.erase(ToUpper(from));
  node->name = NameOf(to);
  nodes_[ToUpper(to)] = node;
}

std::vector<std::wstring> Disk::Roots() const {
  std::vector<std::wstring> roots;
  for (const auto& [path, node] : nodes_) {
    if (FolderOf(path).empty()) roots.push_back(path);
  }
  return roots;
}

std::vector<std::shared_ptr<Node>> Disk::List(const std::wstring& folder) const {
  const std::wstring prefix = ToUpper(JoinPath(folder, L""));
  std::vector<std::shared_ptr<Node>> listed;
  for (auto next = nodes_.lower_bound(prefix); next != nodes_.end(); ++next) {
    if (next->first.compare(0, prefix.size(), prefix) != 0) break;
    const bool direct = next->first.find(L'\\', prefix.size()) == std::wstring::npos;
    if (direct && next->first.size() > prefix.size()) listed.push_back(next->second);
  }
  return listed;
}

}  // namespace tdefault::platform::simulation
