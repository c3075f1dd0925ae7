#include "support/system_errors.h"

#include <optional>
#include <utility>

#include "base/text.h"
#include "platform/system_result.h"

namespace tdefault::support {
namespace {

std::int32_t AutomationNumber(std::uint32_t code) {
  switch (code) {
    case platform::system_code::kFileNotFound:
      return error_number::kFileNotFound;
    case platform::system_code::kPathNotFound:
      return error_number::kPathNotFound;
    case platform::system_code::kAccessDenied:
    case platform::system_code::kSharingViolation:
    case platform::system_code::kLockViolation:
      return error_number::kPermissionDenied;
    case platform::system_code::kDiskFull:
      return error_number::kDiskFull;
    default:
      return error_number::kPathFileAccess;
  }
}

}  // namespace

std::wstring SystemErrorText(platform::Session& session, std::int32_t code) {
  const std::optional<std::wstring> message =
      session.SystemMessage(static_cast<std::uint32_t>(code));
  if (!message || message->empty()) return L"Error not found.";
  return ReplaceIgnoringCase(*message, L"\r\n", L"");
}

Error FileFailure(platform::Session& session, std::uint32_t code, std::wstring source,
                  const std::wstring& what) {
  return {AutomationNumber(code), std::move(source),
          what + L": " + SystemErrorText(session, static_cast<std::int32_t>(code))};
}

}  // namespace tdefault::support
