// The session, clock, identifier and message-box ports over the system's calls.
#pragma once

#include "platform/clock.h"
#include "platform/dialogs.h"
#include "platform/guid_source.h"
#include "platform/session.h"

namespace tdefault::platform::win32 {

class Win32Session final : public Session {
 public:
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
};

class Win32Clock final : public Clock {
 public:
  std::uint32_t Pause(std::uint32_t milliseconds, bool alertable) override;
  std::uint64_t Milliseconds() override;
  DateTime Now() override;
};

class Win32GuidSource final : public GuidSource {
 public:
  std::optional<Guid> Create() override;
};

class Win32Dialogs final : public Dialogs {
 public:
  std::optional<MessageAnswer> AskYesNoCancel(const std::wstring& title,
                                              const std::wstring& text) override;
  void ProcessPendingMessages() override;
  void Tell(const std::wstring& title, const std::wstring& text) override;
};

}  // namespace tdefault::platform::win32
