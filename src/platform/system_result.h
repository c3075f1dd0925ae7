// How ports report: the operating system's own error number, unchanged, or the result.
#pragma once

#include <cassert>
#include <cstdint>
#include <optional>
#include <utility>

namespace tdefault::platform {

// The numbers that callers tell apart (the system's "last error" codes).
namespace system_code {
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNoMoreFiles = 18;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kLockViolation = 33;
inline constexpr std::uint32_t kFileExists = 80;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kDiskFull = 112;
inline constexpr std::uint32_t kInvalidName = 123;
inline constexpr std::uint32_t kNotLocked = 158;
inline constexpr std::uint32_t kAlreadyExists = 183;
inline constexpr std::uint32_t kNameTooLong = 206;
inline constexpr std::uint32_t kMoreData = 234;
inline constexpr std::uint32_t kNoMoreItems = 259;
inline constexpr std::uint32_t kInvalidFolder = 267;
}  // namespace system_code

// Outcome of an operation without a result.
class [[nodiscard]] SystemStatus {
 public:
  constexpr SystemStatus() = default;
  constexpr explicit SystemStatus(std::uint32_t code) : code_(code) {}

  constexpr bool ok() const noexcept { return code_ == system_code::kSuccess; }
  constexpr std::uint32_t code() const noexcept { return code_; }

 private:
  std::uint32_t code_ = system_code::kSuccess;
};

// Outcome of an operation with a result: the result, or the code of the failure.
template <class T>
class [[nodiscard]] SystemResult {
 public:
  SystemResult(T value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  // A failure without a code of its own counts as an invalid parameter, so it is never success.
  SystemResult(SystemStatus failure)  // NOLINT(google-explicit-constructor)
      : code_(failure.ok() ? system_code::kInvalidParameter : failure.code()) {}

  bool ok() const noexcept { return value_.has_value(); }
  std::uint32_t code() const noexcept { return code_; }

  // REQUIRES: ok().
  T& value() & {
    assert(ok());
    return *value_;
  }
  const T& value() const& {
    assert(ok());
    return *value_;
  }
  T&& value() && {
    assert(ok());
    return *std::move(value_);
  }

 private:
  std::optional<T> value_;
  std::uint32_t code_ = system_code::kSuccess;
};

}  // namespace tdefault::platform
