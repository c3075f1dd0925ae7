// The simulated profile-file port; docs/profile-files.md lists its rules.
#pragma once

#include "platform/profile_files.h"
#include "platform/simulation/profile_text.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedProfileFiles final : public ProfileFiles {
 public:
  explicit SimulatedProfileFiles(World& world) : world_(world) {}

  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override;
  std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                           const std::wstring& file) override;
  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override;

 private:
  // A bare name means the Windows folder, every other path counts from the current folder.
  [[nodiscard]] SystemResult<std::wstring> Place(const std::wstring& file) const;
  // What a write makes of the file; absent when it may not be written.
  struct Change {
    std::wstring path;
    std::string bytes;
  };
  [[nodiscard]] std::optional<Change> NewContent(const std::wstring& section,
                                                 const std::optional<std::wstring>& key,
                                                 const std::optional<std::wstring>& value,
                                                 const std::wstring& file) const;
  // Absent when the file cannot be read.
  [[nodiscard]] std::optional<ProfileText> Readable(const std::wstring& file) const;
  // The value in the file; absent when there is none or the file cannot be read.
  [[nodiscard]] std::optional<std::wstring> Stored(const std::wstring& section,
                                                   const std::wstring& key,
                                                   const std::wstring& file) const;

  World& world_;
};

}  // namespace tdefault::platform::simulation
