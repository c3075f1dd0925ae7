// The simulated session, clock, identifiers and message boxes: what the test has set or scripted.
#pragma once

#include "platform/clock.h"
#include "platform/dialogs.h"
#include "platform/guid_source.h"
#include "platform/session.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

class SimulatedSession final : public Session {
 public:
  explicit SimulatedSession(World& world) : world_(world) {}

  std::optional<NameBuffer> DisplayName(std::uint32_t capacity) override;
  std::optional<NameBuffer> LogOnName(std::uint32_t capacity) override;
  std::optional<WindowsVersion> Version() override;
  std::optional<std::wstring> SystemMessage(std::uint32_t code) override;
  std::optional<std::wstring> EnvironmentValue(const std::wstring& name) override;
  std::uint32_t AnsiCodePage() override;
  std::string SystemBytes(std::wstring_view text) override;
  std::wstring SystemText(std::string_view bytes) override;
  std::wstring HostExecutableName() override;
  std::wstring HostTitle() override;

 private:
  World& world_;
};

class SimulatedClock final : public Clock {
 public:
  explicit SimulatedClock(World& world) : world_(world) {}
  std::uint32_t Pause(std::uint32_t milliseconds, bool alertable) override;
  std::uint64_t Milliseconds() override { return world_.milliseconds; }
  DateTime Now() override { return world_.now; }

 private:
  World& world_;
};

class SimulatedGuidSource final : public GuidSource {
 public:
  explicit SimulatedGuidSource(World& world) : world_(world) {}
  std::optional<Guid> Create() override;

 private:
  World& world_;
};

class SimulatedDialogs final : public Dialogs {
 public:
  explicit SimulatedDialogs(World& world) : world_(world) {}
  std::optional<MessageAnswer> AskYesNoCancel(const std::wstring& title,
                                              const std::wstring& text) override;
  void ProcessPendingMessages() override;
  void Tell(const std::wstring& title, const std::wstring& text) override;

 private:
  World& world_;
};

}  // namespace tdefault::platform::simulation
