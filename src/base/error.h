// The one error type of the library: what a host sees in Err.Number, Err.Source, Err.Description.
// docs/errors.md lists every number with its cause and remedy.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace tdefault {

// Numbers below 65536 are automation run-time errors; negative ones are HRESULTs and reach the
// host unchanged.
namespace error_number {
inline constexpr std::int32_t kInvalidArgument = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kDiskFull = 61;
inline constexpr std::int32_t kPermissionDenied = 70;
inline constexpr std::int32_t kPathFileAccess = 75;
inline constexpr std::int32_t kPathNotFound = 76;
inline constexpr std::int32_t kInvalidUseOfNull = 94;
inline constexpr std::int32_t kKeyAlreadyInUse = 457;

// The base for the library's own numbers, 0x80040000.
inline constexpr std::int32_t kObjectError = -2147221504;
inline constexpr std::int32_t kLoadFailed = kObjectError + 1;
inline constexpr std::int32_t kTableNotWritable = kObjectError + 3;
inline constexpr std::int32_t kNoIdentifier = kObjectError + 4;

// Data access: the codes an OLE DB provider gives.
inline constexpr std::int32_t kTableDamaged = static_cast<std::int32_t>(0x80004005);
inline constexpr std::int32_t kNoPermission = static_cast<std::int32_t>(0x80040E09);
inline constexpr std::int32_t kStatementError = static_cast<std::int32_t>(0x80040E14);
inline constexpr std::int32_t kRowDeleted = static_cast<std::int32_t>(0x80040E23);
inline constexpr std::int32_t kCannotMoveBack = static_cast<std::int32_t>(0x80040E24);
inline constexpr std::int32_t kIntegrityViolation = static_cast<std::int32_t>(0x80040E2F);
inline constexpr std::int32_t kNoSuchTable = static_cast<std::int32_t>(0x80040E37);
inline constexpr std::int32_t kRowChanged = static_cast<std::int32_t>(0x80040E38);
inline constexpr std::int32_t kInUseByAnother = static_cast<std::int32_t>(0x80040E40);
inline constexpr std::int32_t kValueDoesNotFit = static_cast<std::int32_t>(0x80040E57);

// Data access: the codes ADO itself gives, 0x800A0000 + n.
inline constexpr std::int32_t kInvalidArguments = static_cast<std::int32_t>(0x800A0BB9);
inline constexpr std::int32_t kNoCurrentRow = static_cast<std::int32_t>(0x800A0BCD);
inline constexpr std::int32_t kNotUpdatable = static_cast<std::int32_t>(0x800A0CB3);
inline constexpr std::int32_t kNoSuchItem = static_cast<std::int32_t>(0x800A0CC1);
inline constexpr std::int32_t kObjectClosed = static_cast<std::int32_t>(0x800A0E78);
inline constexpr std::int32_t kObjectOpen = static_cast<std::int32_t>(0x800A0E79);
}  // namespace error_number

// Thrown for what the caller of the object model must see, and translated once, at the automation
// edge. Absence (a missing key, an empty list) is a value, never an Error.
class Error final : public std::exception {
 public:
  Error(std::int32_t number, std::wstring source, std::wstring description);

  std::int32_t number() const noexcept { return number_; }
  const std::wstring& source() const noexcept { return source_; }
  const std::wstring& description() const noexcept { return description_; }

  // The three parts as UTF-8, for test output and debuggers.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::int32_t number_;
  std::wstring source_;
  std::wstring description_;
  std::string what_;
};

// Errors that several layers raise, with the texts hosts know from the automation run-time.
[[nodiscard]] Error InvalidArgument(std::wstring source);      // 5
[[nodiscard]] Error Overflow(std::wstring source);             // 6
[[nodiscard]] Error SubscriptOutOfRange(std::wstring source);  // 9
[[nodiscard]] Error TypeMismatch(std::wstring source);         // 13
[[nodiscard]] Error InvalidUseOfNull(std::wstring source);     // 94
[[nodiscard]] Error KeyAlreadyInUse(std::wstring source);      // 457

}  // namespace tdefault
