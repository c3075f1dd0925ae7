#include "platform/simulation/simulated_profile_files.h"

#include "platform/simulation/path_rules.h"
#include "platform/simulation/profile_text.h"

namespace tdefault::platform::simulation {

SystemResult<std::wstring> SimulatedProfileFiles::Place(const std::wstring& file) const {
  if (file.empty()) return SystemStatus(system_code::kFileNotFound);
  return world_.Resolve(HasFolderPart(file) ? file : JoinPath(world_.windows_folder, file));
}

std::optional<ProfileText> SimulatedProfileFiles::Readable(const std::wstring& file) const {
  const SystemResult<std::wstring> path = Place(file);
  if (!path.ok()) return std::nullopt;
  const auto node = world_.disk.Openable(path.value(), {FileAccess::kRead, FileShare::kReadWrite});
  if (!node.ok()) return std::nullopt;
  return ProfileText(node.value()->bytes, world_.code_page);
}

std::optional<std::wstring> SimulatedProfileFiles::Stored(const std::wstring& section,
                                                          const std::wstring& key,
                                                          const std::wstring& file) const {
  const std::optional<ProfileText> text = Readable(file);
  if (!text) return std::nullopt;
  return text->Find(world_.Narrowed(section), world_.Narrowed(key));
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

std::wstring SimulatedProfileFiles::ReadSection(const std::wstring& section, std::uint32_t capacity,
                                                const std::wstring& file) {
  if (world_.calls.Begin("ReadSection", file) || capacity < 2) return {};
  const std::optional<ProfileText> text = Readable(file);
  if (!text) return {};
  std::wstring lines;
  for (const std::wstring& line : text->SectionLines(world_.Narrowed(section))) {
    lines += line;
    lines += L'\0';
  }
  if (lines.empty()) return {};
  if (lines.size() >= capacity) lines.resize(capacity - 2);
  if (lines.empty() || lines.back() != L'\0') lines += L'\0';
  return lines + L'\0';
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
