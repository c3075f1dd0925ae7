#include "platform/simulation/simulated_profile_files.h"

#include "platform/simulation/path_rules.h"
#include "platform/simulation/profile_text.h"

namespace tdefault::platform::simulation {

SystemResult<std::wstring> SimulatedProfileFiles::Place(const std::wstring& file) const {
  if (file.empty()) return SystemStatus(system_code::kFileNotFound);
  return world_.Resolve(HasFolderPart(file) ? file : JoinPath(world_.windows_folder, file));
}

std::optional<std::wstring> SimulatedProfileFiles::Stored(const std::wstring& section,
                                                          const std::wstring& key,
                                                          const std::wstring& file) const {
  const SystemResult<std::wstring> path = Place(file);
  if (!path.ok()) return std::nullopt;
  const auto node = world_.disk.Openable(path.value(), {FileAccess::kRead, FileShare::kReadWrite});
  if (!node.ok()) return std::nullopt;
  const ProfileText text(node.value()->bytes, world_.code_page);
  return text.Find(world_.Narrowed(section), world_.Narrowed(key));
}

std::wstring SimulatedProfileFiles::ReadEntry(const std::wstring& section, const std::wstring& key,
                                              const std::wstring& fallback, std::uint32_t capacity,
                                              const std::wstring& file) {
  const bool fails = world_.calls.Begin("ReadEntry", file).has_value();
  const std::optional<std::wstring> stored = fails ? std::nullopt : Stored(section, key, file);
  std::wstring value =
      world_.Narrowed(stored ? std::wstring_view(*stored)
                             : TrimTrailingBlanks(fallback.substr(0, fallback.find(L'\0'))));
  value.resize(std::min<std::size_t>(value.size(), capacity == 0 ? 0 : capacity - 1));
  return value;
}

std::int32_t SimulatedProfileFiles::WriteEntry(const std::wstring& section,
                                               const std::optional<std::wstring>& key,
                                               const std::optional<std::wstring>& value,
                                               const std::wstring& file) {
  const auto write = [&](bool breaks_off) {
    std::optional<Change> change = NewContent(section, key, value, file);
    if (!change) return 0;
    if (breaks_off) change->bytes.resize(change->bytes.size() / 2);
    world_.disk.PutFile(change->path, change->bytes);
    return breaks_off ? 0 : 1;
  };
  if (world_.writes_tear && world_.calls.next_ends_process()) write(true);
  const bool fails = world_.calls.Begin("WriteEntry", file).has_value();
  return fails && !world_.writes_tear ? 0 : write(fails);
}

std::optional<SimulatedProfileFiles::Change> SimulatedProfileFiles::NewContent(
    const std::wstring& section, const std::optional<std::wstring>& key,
    const std::optional<std::wstring>& value, const std::wstring& file) const {
  const SystemResult<std::wstring> path = Place(file);
  if (!path.ok()) return std::nullopt;
  std::string bytes;
  if (world_.disk.Find(path.value())) {
    const auto node =
        world_.disk.Openable(path.value(), {FileAccess::kReadWrite, FileShare::kReadWrite});
    if (!node.ok()) return std::nullopt;
    bytes = node.value()->bytes;
  } else if (world_.disk.Missing(path.value()).code() != system_code::kFileNotFound) {
    return std::nullopt;
  }
  ProfileText text(bytes, world_.code_page);
  if (!key) {
    text.RemoveSection(world_.Narrowed(section));
  } else if (!value) {
    text.RemoveKey(world_.Narrowed(section), world_.Narrowed(*key));
  } else {
    text.Set(world_.Narrowed(section), world_.Narrowed(*key), world_.Narrowed(*value));
  }
  return Change{path.value(), text.Bytes()};
}

}  // namespace tdefault::platform::simulation
