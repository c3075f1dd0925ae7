// Counts what a simulated process asks of its platform, and makes chosen calls fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tdefault::platform::simulation {

// Thrown when the simulated process has ended: nothing of the product may catch it, so it is no
// std::exception.
struct ProcessEnded {};

struct RecordedCall {
  std::string operation;  // the port's operation, "ReadEntry" for example
  std::wstring path;      // the file or name it is about, as passed; empty when there is none
  std::wstring target;    // the second path of Replace and Copy
};

class CallLog {
 public:
  // Counts a call. Gives the code the call has to fail with; absent when it takes place. Throws
  // ProcessEnded when the process ends here or has ended before.
  std::optional<std::uint32_t> Begin(const char* operation, const std::wstring& path = {},
                                     const std::wstring& target = {});

  void FailCall(std::size_t number, std::uint32_t code) { single_failures_[number] = code; }
  void FailFrom(std::size_t number, std::uint32_t code);
  void FailNext(const std::string& operation, std::uint32_t code) {
    operation_failures_[operation] = code;
  }
  void EndProcessAt(std::size_t number) { end_at_ = number; }

  // Counts a call that cannot throw, as Begin does: the code it has to fail with, or success. Where
  // the process ends at it, it has no effect and the next call tells.
  std::uint32_t BeginFinal(const char* operation, const std::wstring& path) noexcept;

  // Whether the process ends at the next call.
  [[nodiscard]] bool next_ends_process() const noexcept { return calls_.size() + 1 == end_at_; }

  // Forgets calls and faults: the log of a new process.
  void Reset() { *this = CallLog(); }

  [[nodiscard]] const std::vector<RecordedCall>& calls() const noexcept { return calls_; }

 private:
  std::vector<RecordedCall> calls_;
  std::map<std::size_t, std::uint32_t> single_failures_;
  std::map<std::string, std::uint32_t> operation_failures_;
  std::size_t fail_from_ = 0;  // 0: never
  std::uint32_t fail_from_code_ = 0;
  std::size_t end_at_ = 0;  // 0: never
};

}  // namespace tdefault::platform::simulation
