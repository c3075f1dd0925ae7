#include "platform/simulation/simulated_session.h"

namespace tdefault::platform::simulation {
namespace {

constexpr std::size_t kMessageLimit = 255;

// The next number of the seeded sequence (splitmix64: an odd step, then a mix of all bits).
std::uint64_t NextRandom(std::uint64_t& state) {
  state += 0x9E3779B97F4A7C15;
  std::uint64_t mixed = state;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  return mixed ^ (mixed >> 31);
}

// The buffer of blanks with the name and its closing NUL in it. The name has to fit with its NUL.
std::optional<NameBuffer> FilledBuffer(const std::wstring& name, std::uint32_t capacity,
                                       std::uint32_t count) {
  if (name.size() >= capacity) return std::nullopt;
  NameBuffer buffer{std::wstring(capacity, L' '), count};
  buffer.characters.replace(0, name.size(), name);
  buffer.characters[name.size()] = L'\0';
  return buffer;
}

}  // namespace

std::optional<NameBuffer> SimulatedSession::DisplayName(std::uint32_t capacity) {
  if (world_.calls.Begin("DisplayName") || !world_.display_name) return std::nullopt;
  const std::wstring name = world_.Narrowed(*world_.display_name);
  return FilledBuffer(name, capacity, static_cast<std::uint32_t>(name.size()));
}

std::optional<NameBuffer> SimulatedSession::LogOnName(std::uint32_t capacity) {
  if (world_.calls.Begin("LogOnName") || !world_.log_on_name) return std::nullopt;
  const std::wstring name = world_.Narrowed(*world_.log_on_name);
  return FilledBuffer(name, capacity, static_cast<std::uint32_t>(name.size() + 1));
}

std::optional<WindowsVersion> SimulatedSession::Version() {
  if (world_.calls.Begin("Version")) return std::nullopt;
  return world_.version;
}

std::optional<std::wstring> SimulatedSession::SystemMessage(std::uint32_t code) {
  if (world_.calls.Begin("SystemMessage")) return std::nullopt;
  const auto found = world_.system_messages.find(code);
  if (found == world_.system_messages.end()) return std::nullopt;
  const std::wstring message = world_.Narrowed(found->second);
  // The formatter fails when its buffer is too small, it does not cut.
  if (message.empty() || message.size() > kMessageLimit) return std::nullopt;
  return message;
}

std::optional<std::wstring> SimulatedSession::EnvironmentValue(const std::wstring& name) {
  if (world_.calls.Begin("EnvironmentValue", name)) return std::nullopt;
  const auto found = world_.environment.find(name);
  if (found == world_.environment.end()) return std::nullopt;
  return found->second;
}

std::uint32_t SimulatedSession::AnsiCodePage() {
  // It cannot fail, only be counted.
  static_cast<void>(world_.calls.Begin("AnsiCodePage"));
  return world_.code_page.number();
}

std::string SimulatedSession::SystemBytes(std::wstring_view text) {
  return world_.code_page.Encode(text);
}

std::wstring SimulatedSession::SystemText(std::string_view bytes) {
  return world_.code_page.Decode(bytes);
}

std::wstring SimulatedSession::HostExecutableName() {
  static_cast<void>(world_.calls.Begin("HostExecutableName"));
  return world_.host_executable_name;
}

std::wstring SimulatedSession::HostTitle() {
  const bool fails = world_.calls.Begin("HostTitle").has_value();
  return fails || world_.host_title.empty() ? world_.host_executable_name : world_.host_title;
}

std::uint32_t SimulatedClock::Pause(std::uint32_t milliseconds, bool alertable) {
  if (const auto code = world_.calls.Begin("Pause")) return *code;
  world_.pauses.push_back({milliseconds, alertable});
  world_.milliseconds += milliseconds;
  if (world_.during_pause) world_.during_pause();
  return 0;
}

std::optional<Guid> SimulatedGuidSource::Create() {
  if (world_.calls.Begin("Create") || world_.guid_source_fails) return std::nullopt;
  if (!world_.next_guids.empty()) {
    const Guid next = world_.next_guids.front();
    world_.next_guids.pop_front();
    return next;
  }
  constexpr std::uint16_t kRandomVersion = 0x4000;
  constexpr std::uint8_t kVariant = 0x80;
  const std::uint64_t high = NextRandom(world_.random_state);
  std::uint64_t low = NextRandom(world_.random_state);
  Guid guid;
  guid.data1 = static_cast<std::uint32_t>(high >> 32);
  guid.data2 = static_cast<std::uint16_t>(high >> 16);
  guid.data3 = static_cast<std::uint16_t>((high & 0x0FFF) | kRandomVersion);
  for (std::uint8_t& byte : guid.data4) {
    byte = static_cast<std::uint8_t>(low);
    low >>= 8;
  }
  guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3F) | kVariant);
  return guid;
}

std::optional<MessageAnswer> SimulatedDialogs::AskYesNoCancel(const std::wstring& title,
                                                              const std::wstring& text) {
  if (world_.calls.Begin("AskYesNoCancel")) return std::nullopt;
  if (world_.answers.empty()) return std::nullopt;
  world_.shown_boxes.push_back({title, text});
  const MessageAnswer answer = world_.answers.front();
  world_.answers.pop_front();
  return answer;
}

void SimulatedDialogs::ProcessPendingMessages() {
  if (world_.calls.Begin("ProcessPendingMessages")) return;
  if (world_.during_messages) world_.during_messages();
}

void SimulatedDialogs::Tell(const std::wstring& title, const std::wstring& text) {
  if (!world_.calls.Begin("Tell")) world_.shown_boxes.push_back({title, text});
}

}  // namespace tdefault::platform::simulation
