// The session of another machine whose narrow text is of another code page, one that the
// simulation does not carry.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "platform/platform.h"

namespace tdefault::tests {

class ForwardingSession : public platform::Session {
 public:
  // `session` outlives this.
  explicit ForwardingSession(platform::Session& session) : session_(session) {}

  std::optional<platform::NameBuffer> DisplayName(std::uint32_t capacity) override {
    return session_.DisplayName(capacity);
  }
  std::optional<platform::NameBuffer> LogOnName(std::uint32_t capacity) override {
    return session_.LogOnName(capacity);
  }
  std::optional<platform::WindowsVersion> Version() override { return session_.Version(); }
  std::optional<std::wstring> SystemMessage(std::uint32_t code) override {
    return session_.SystemMessage(code);
  }
  std::optional<std::wstring> EnvironmentValue(const std::wstring& name) override {
    return session_.EnvironmentValue(name);
  }
  std::wstring HostExecutableName() override { return session_.HostExecutableName(); }
  std::wstring HostTitle() override { return session_.HostTitle(); }

 private:
  platform::Session& session_;
};

class Utf8Session final : public ForwardingSession {
 public:
  using ForwardingSession::ForwardingSession;

  std::uint32_t AnsiCodePage() override { return 65001; }
  std::string SystemBytes(std::wstring_view text) override { return ToUtf8(text); }
  std::wstring SystemText(std::string_view bytes) override { return FromUtf8(bytes); }
};

// A page with two bytes for a character behind the byte 0x83, as 932 has it; the second one may be
// a bracket or a bar. The characters are some that the tables of the tests can hold.
class DoubleByteSession final : public ForwardingSession {
 public:
  using ForwardingSession::ForwardingSession;

  std::uint32_t AnsiCodePage() override { return 932; }
  std::string SystemBytes(std::wstring_view text) override {
    std::string bytes;
    for (const wchar_t character : text) {
      const std::optional<char> second = SecondByte(character);
      if (second)
        bytes += {kFirst, *second};
      else
        bytes += character < 0x80 ? static_cast<char>(character) : '?';
    }
    return bytes;
  }
  std::wstring SystemText(std::string_view bytes) override {
    std::wstring text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if (bytes[i] != kFirst || i + 1 == bytes.size()) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]));
        continue;
      }
      ++i;
      for (const auto& [character, second] : kPairs)
        if (second == bytes[i]) text += character;
    }
    return text;
  }

 private:
  static constexpr char kFirst = '\x83';
  static constexpr std::pair<wchar_t, char> kPairs[] = {
      {L'\u00E9', ']'}, {L'\u00C9', '['}, {L'\u00FC', '|'}, {L'\u00DF', '\\'}};

  static std::optional<char> SecondByte(wchar_t wanted) {
    for (const auto& [character, second] : kPairs)
      if (character == wanted) return second;
    return std::nullopt;
  }
};

// The machine with that session in place of its own; every part of it outlives this.
inline platform::Platform With(const platform::Platform& machine, platform::Session& session) {
  return {machine.profile_files, machine.files,       session,
          machine.clock,         machine.guid_source, machine.dialogs,
          machine.registry,      machine.processes,   machine.drives};
}

}  // namespace tdefault::tests
