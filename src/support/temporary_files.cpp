#include "support/temporary_files.h"

#include <optional>
#include <utility>

#include "base/error.h"
#include "support/paths.h"
#include "support/session.h"
#include "support/system_errors.h"

namespace tdefault::support {
namespace {

using platform::SystemResult;
using platform::SystemStatus;

constexpr std::int32_t kRetryPauseMilliseconds = 100;

SystemResult<std::wstring> CreateScratchFile(platform::Files& files, const std::wstring& prefix) {
  SystemResult<std::wstring> folder = files.TemporaryFolder();
  if (!folder.ok()) return folder;
  SystemResult<std::wstring> path = files.CreateUnique(folder.value(), prefix);
  if (!path.ok()) return path;
  return TextBeforeNull(path.value());
}

// The copy must be writable, or it could neither replace nor be deleted later.
SystemStatus ClearReadOnlyWithRetry(platform::Platform& platform, const std::wstring& path) {
  if (platform.files.ClearReadOnly(path).ok()) return {};
  WaitBeforeRetry(platform);
  return platform.files.ClearReadOnly(path);
}

}  // namespace

std::wstring MakeTempCopy(platform::Platform& platform, const std::wstring& path) {
  const std::wstring folder = ParentFolder(path, WithoutBackslash::kPathItself);
  const SystemResult<std::wstring> created = platform.files.CreateUnique(folder, L"tov");
  if (!created.ok()) return {};
  std::wstring copy = TextBeforeNull(created.value());
  SystemStatus status = platform.files.Copy(path, copy);
  if (status.ok()) status = ClearReadOnlyWithRetry(platform, copy);
  if (status.ok()) return copy;
  const Error failure =
      FileFailure(platform.session, status.code(), L"MakeTempCopy",
                  L"The file '" + path + L"' could not be copied to '" + copy + L"'");
  if (RemoveWithRetry(platform, copy).ok()) throw failure;
  throw Error(
      failure.number(), failure.source(),
      failure.description() + L" The incomplete copy '" + copy + L"' is left and can be deleted.");
}

std::wstring TempFileName(platform::Files& files, const std::wstring& prefix) {
  SystemResult<std::wstring> path = CreateScratchFile(files, prefix);
  return path.ok() ? std::move(path).value() : std::wstring();
}

std::wstring GetTempFile(platform::Platform& platform, const std::wstring& prefix) {
  SystemResult<std::wstring> path = CreateScratchFile(platform.files, prefix);
  if (path.ok()) return std::move(path).value();
  const auto code = static_cast<std::int32_t>(path.code());
  throw Error(code, L"GetTempFile", SystemErrorText(platform.session, code));
}

SystemStatus RemoveWithRetry(platform::Platform& platform, const std::wstring& path) {
  if (platform.files.Remove(path).ok()) return {};
  WaitBeforeRetry(platform);
  return platform.files.Remove(path);
}

void WaitBeforeRetry(platform::Platform& platform) {
  Pause(platform.clock, kRetryPauseMilliseconds, false);
}

}  // namespace tdefault::support
