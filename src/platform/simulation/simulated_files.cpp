#include "platform/simulation/simulated_files.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/simulation/path_rules.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::size_t kUniquePrefixLength = 3;

class SimulatedFile final : public File {
 public:
  SimulatedFile(World& world, std::shared_ptr<Node> node, Holder holder)
      : world_(world), open_(std::move(node), holder) {
    ++world_.open_handles;
  }
  ~SimulatedFile() override { --world_.open_handles; }

  SystemResult<std::size_t> ReadAt(std::uint64_t offset, std::span<std::uint8_t> target) override {
    if (const auto code = world_.calls.Begin("ReadAt", open_.node().name)) {
      return SystemStatus(*code);
    }
    if (open_.holder().access == FileAccess::kWrite) {
      return SystemStatus(system_code::kAccessDenied);
    }
    if (open_.node().IsLocked(offset, target.size(), &open_.holder())) {
      return SystemStatus(system_code::kLockViolation);
    }
    const std::string& bytes = open_.node().bytes;
    if (offset >= bytes.size()) return std::size_t{0};
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t count = std::min(target.size(), bytes.size() - start);
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(start), count, target.begin());
    return count;
  }

  SystemResult<std::uint64_t> Size() override {
    if (const auto code = world_.calls.Begin("Size", open_.node().name)) {
      return SystemStatus(*code);
    }
    return std::uint64_t{open_.node().bytes.size()};
  }

  SystemStatus WriteAt(std::uint64_t offset, std::span<const std::uint8_t> source) override {
    const auto torn = source.first(world_.writes_tear ? source.size() / 2 : 0);
    if (world_.calls.next_ends_process() && Refusal(offset, torn).ok()) Store(offset, torn);
    const auto planned = world_.calls.Begin("WriteAt", open_.node().name);
    const SystemStatus refusal = Refusal(offset, source);
    if (!refusal.ok()) return refusal;
    Store(offset, planned ? torn : source);
    return SystemStatus(planned.value_or(system_code::kSuccess));
  }

  // Destructors flush, so this is no call that throws.
  SystemStatus Flush() override {
    return SystemStatus(world_.calls.BeginFinal("Flush", open_.node().name));
  }

  SystemStatus TryLock(std::uint64_t offset, std::uint64_t length) override {
    if (const auto code = world_.calls.Begin("TryLock", open_.node().name)) {
      return SystemStatus(*code);
    }
    return open_.Lock(offset, length);
  }

  // Destructors give up locks, so this is no call that throws.
  SystemStatus Unlock(std::uint64_t offset, std::uint64_t length) override {
    const std::uint32_t code = world_.calls.BeginFinal("Unlock", open_.node().name);
    if (code != system_code::kSuccess) return SystemStatus(system_code::kNotLocked);
    return open_.Unlock(offset, length);
  }

 private:
  [[nodiscard]] SystemStatus Refusal(std::uint64_t offset,
                                     std::span<const std::uint8_t> source) const {
    if (open_.holder().access == FileAccess::kRead) {
      return SystemStatus(system_code::kAccessDenied);
    }
    const bool locked = open_.node().IsLocked(offset, source.size(), &open_.holder());
    return SystemStatus(locked ? system_code::kLockViolation : system_code::kSuccess);
  }

  // What lies between the old end of the file and the place becomes zeros.
  void Store(std::uint64_t offset, std::span<const std::uint8_t> source) {
    std::string& bytes = open_.node().bytes;
    const auto start = static_cast<std::size_t>(offset);
    if (!source.empty() && bytes.size() < start + source.size()) {
      bytes.resize(start + source.size());
    }
    std::copy(source.begin(), source.end(), bytes.begin() + static_cast<std::ptrdiff_t>(start));
  }

  World& world_;
  OpenNode open_;
};

class SimulatedEnumeration final : public FolderEnumeration {
 public:
  SimulatedEnumeration(World& world, std::vector<FolderEntry> entries)
      : world_(world), entries_(std::move(entries)) {
    ++world_.open_handles;
  }
  ~SimulatedEnumeration() override { --world_.open_handles; }

  std::optional<FolderEntry> Next() override {
    if (world_.calls.Begin("Next") || next_ == entries_.size()) return std::nullopt;
    return entries_[next_++];
  }

 private:
  World& world_;
  std::vector<FolderEntry> entries_;
  std::size_t next_ = 0;
};

// The names that the parts before the last separator, and the last part, of a pattern mean.
struct Pattern {
  std::wstring folder;
  std::wstring name;
};

Pattern SplitPattern(const std::wstring& pattern) {
  const std::size_t separator = pattern.find_last_of(L"\\/");
  if (separator != std::wstring::npos) {
    return {pattern.substr(0, separator + 1), pattern.substr(separator + 1)};
  }
  if (pattern.size() >= 2 && pattern[1] == L':') return {pattern.substr(0, 2), pattern.substr(2)};
  return {L".", pattern};
}

}  // namespace

SystemResult<std::unique_ptr<File>> SimulatedFiles::Open(const std::wstring& path,
                                                         FileAccess access, FileShare share) {
  if (const auto code = world_.calls.Begin("Open", path)) return SystemStatus(*code);
  const SystemResult<std::wstring> full = world_.Resolve(path);
  if (!full.ok()) return SystemStatus(full.code());
  const Holder holder{access, share};
  SystemResult<std::shared_ptr<Node>> node = world_.disk.Openable(full.value(), holder);
  if (!node.ok()) return SystemStatus(node.code());
  return std::unique_ptr<File>(
      std::make_unique<SimulatedFile>(world_, std::move(node).value(), holder));
}

SystemResult<std::unique_ptr<FolderEnumeration>> SimulatedFiles::Enumerate(
    const std::wstring& pattern) {
  if (const auto code = world_.calls.Begin("Enumerate", pattern)) return SystemStatus(*code);
  if (pattern.empty()) return SystemStatus(system_code::kPathNotFound);
  const Pattern parts = SplitPattern(pattern);
  const SystemResult<std::wstring> folder = world_.Resolve(parts.folder);
  if (!folder.ok()) return SystemStatus(folder.code());
  if (JoinPath(folder.value(), parts.name).size() >= kPathLimit) {
    return SystemStatus(system_code::kNameTooLong);
  }
  const std::shared_ptr<Node> node = world_.disk.Find(folder.value());
  if (!node) return SystemStatus(system_code::kPathNotFound);
  if (!node->is_folder) return SystemStatus(system_code::kInvalidFolder);
  std::vector<FolderEntry> entries;
  const bool is_root = FolderOf(folder.value()).empty();
  if (!is_root) {
    for (const wchar_t* own : {L".", L".."}) {
      if (MatchesPattern(own, parts.name)) entries.push_back({own, true});
    }
  }
  for (const std::shared_ptr<Node>& child : world_.disk.List(folder.value())) {
    if (MatchesPattern(child->name, parts.name)) {
      entries.push_back({child->name, child->is_folder});
    }
  }
  if (entries.empty()) return SystemStatus(system_code::kFileNotFound);
  return std::unique_ptr<FolderEnumeration>(
      std::make_unique<SimulatedEnumeration>(world_, std::move(entries)));
}

SystemStatus SimulatedFiles::Remove(const std::wstring& path) {
  if (const auto code = world_.calls.Begin("Remove", path)) return SystemStatus(*code);
  const SystemResult<std::wstring> full = world_.Resolve(path);
  if (!full.ok()) return SystemStatus(full.code());
  const SystemStatus removable = world_.disk.Removable(full.value());
  if (removable.ok()) world_.disk.Erase(full.value());
  return removable;
}

SystemStatus SimulatedFiles::Replace(const std::wstring& from, const std::wstring& to) {
  if (const auto code = world_.calls.Begin("Replace", from, to)) return SystemStatus(*code);
  const SystemResult<std::wstring> full_from = world_.Resolve(from);
  if (!full_from.ok()) return SystemStatus(full_from.code());
  const SystemResult<std::wstring> full_to = world_.Resolve(to);
  if (!full_to.ok()) return SystemStatus(full_to.code());
  const std::shared_ptr<Node> source = world_.disk.Find(full_from.value());
  if (!source) return world_.disk.Missing(full_from.value());
  if (source->is_folder) return SystemStatus(system_code::kAccessDenied);
  if (!source->holders.empty()) return SystemStatus(system_code::kSharingViolation);
  const std::shared_ptr<Node> target = world_.disk.Find(full_to.value());
  if (target && target != source) {
    // The system refuses to replace an open file with 5, unlike the deletion of one.
    const bool replaceable = world_.disk.Removable(full_to.value()).ok();
    if (!replaceable) return SystemStatus(system_code::kAccessDenied);
  } else if (!target && world_.disk.Missing(full_to.value()).code() != system_code::kFileNotFound) {
    return SystemStatus(system_code::kPathNotFound);
  }
  world_.disk.Rename(full_from.value(), full_to.value());
  return SystemStatus();
}

SystemStatus SimulatedFiles::Copy(const std::wstring& from, const std::wstring& to) {
  const auto planned = world_.calls.Begin("Copy", from, to);
  const SystemResult<std::wstring> full_from = world_.Resolve(from);
  if (!full_from.ok()) return SystemStatus(full_from.code());
  const SystemResult<std::wstring> full_to = world_.Resolve(to);
  if (!full_to.ok()) return SystemStatus(full_to.code());
  const auto source =
      world_.disk.Openable(full_from.value(), {FileAccess::kRead, FileShare::kReadWrite});
  if (!source.ok()) return SystemStatus(source.code());
  std::shared_ptr<Node> target = world_.disk.Find(full_to.value());
  if (target == source.value()) return SystemStatus(system_code::kSharingViolation);
  if (target) {
    const auto writable =
        world_.disk.Openable(full_to.value(), {FileAccess::kWrite, FileShare::kNone});
    if (!writable.ok()) return SystemStatus(writable.code());
  } else if (world_.disk.Missing(full_to.value()).code() != system_code::kFileNotFound) {
    return SystemStatus(system_code::kPathNotFound);
  }
  std::string bytes = source.value()->bytes;
  // A planned failure strikes in the middle of the copy, so that the target is torn.
  if (planned) bytes.resize(bytes.size() / 2);
  target = world_.disk.PutFile(full_to.value(), bytes);
  if (planned) return SystemStatus(*planned);
  target->read_only = source.value()->read_only;
  return SystemStatus();
}

SystemStatus SimulatedFiles::ClearReadOnly(const std::wstring& path) {
  if (const auto code = world_.calls.Begin("ClearReadOnly", path)) return SystemStatus(*code);
  const SystemResult<std::wstring> full = world_.Resolve(path);
  if (!full.ok()) return SystemStatus(full.code());
  const std::shared_ptr<Node> node = world_.disk.Find(full.value());
  if (!node) return world_.disk.Missing(full.value());
  node->read_only = false;
  return SystemStatus();
}

SystemResult<std::wstring> SimulatedFiles::CreateUnique(const std::wstring& folder,
                                                        const std::wstring& prefix) {
  if (const auto code = world_.calls.Begin("CreateUnique", folder)) return SystemStatus(*code);
  const SystemResult<std::wstring> full = world_.Resolve(folder);
  if (!full.ok()) return SystemStatus(system_code::kInvalidFolder);
  const std::shared_ptr<Node> node = world_.disk.Find(full.value());
  if (!node || !node->is_folder) return SystemStatus(system_code::kInvalidFolder);
  const std::wstring start = world_.Narrowed(prefix).substr(0, kUniquePrefixLength);
  constexpr std::wstring_view kDigits = L"0123456789abcdef";
  for (;;) {
    const std::uint32_t number = ++world_.unique_names;
    std::wstring name = start;
    for (int shift = 12; shift >= 0; shift -= 4) name += kDigits[(number >> shift) & 0xF];
    name += L".tmp";
    if (world_.disk.Find(JoinPath(full.value(), name))) continue;
    world_.disk.PutFile(JoinPath(full.value(), name), "");
    return JoinPath(folder, name);
  }
}

SystemResult<std::wstring> SimulatedFiles::CurrentFolder() {
  if (const auto code = world_.calls.Begin("CurrentFolder")) return SystemStatus(*code);
  return world_.current_folder;
}

SystemResult<std::wstring> SimulatedFiles::TemporaryFolder() {
  if (const auto code = world_.calls.Begin("TemporaryFolder")) return SystemStatus(*code);
  std::wstring folder = world_.windows_folder;
  for (const wchar_t* variable : {L"TMP", L"TEMP", L"USERPROFILE"}) {
    const auto found = world_.environment.find(std::wstring_view(variable));
    if (found == world_.environment.end()) continue;
    folder = found->second;
    break;
  }
  folder = JoinPath(folder, L"");
  if (folder.size() >= kPathLimit) return SystemStatus(system_code::kNameTooLong);
  return folder;
}

SystemResult<std::wstring> SimulatedFiles::Locate(const std::wstring& name,
                                                  std::uint32_t capacity) {
  if (const auto code = world_.calls.Begin("Locate", name)) return SystemStatus(*code);
  std::vector<std::wstring> candidates;
  if (HasFolderPart(name)) {
    candidates.push_back(name);
  } else if (!name.empty()) {
    for (const std::wstring& folder : {world_.program_folder, world_.current_folder,
                                       world_.system_folder, world_.windows_folder}) {
      candidates.push_back(JoinPath(folder, name));
    }
    const auto path = world_.environment.find(std::wstring_view(L"PATH"));
    if (path != world_.environment.end()) {
      for (const std::wstring& folder : Split(path->second, L";")) {
        if (!folder.empty()) candidates.push_back(JoinPath(folder, name));
      }
    }
  }
  for (const std::wstring& candidate : candidates) {
    const SystemResult<std::wstring> full = world_.Resolve(candidate);
    if (!full.ok() || !world_.disk.Find(full.value())) continue;
    if (full.value().size() >= capacity) break;
    return full.value();
  }
  return SystemStatus(system_code::kFileNotFound);
}

}  // namespace tdefault::platform::simulation
