// Temporary files: safety copies beside a file, and scratch files in the user's temporary folder.
#pragma once

#include <string>

#include "platform/platform.h"

namespace tdefault::support {

// Copies a file to a new one with a unique name ("tov...") in the same folder and gives the copy's
// path; the copy can be written even where the original is read-only. Empty text when no unique
// name could be made. Throws with the number for the cause (53 when there is no such file), source
// "MakeTempCopy", when the file cannot be copied; then no copy is left.
[[nodiscard]] std::wstring MakeTempCopy(platform::Platform& platform, const std::wstring& path);

// A new empty file in the user's temporary folder; empty text when it cannot be made.
[[nodiscard]] std::wstring TempFileName(platform::Files& files, const std::wstring& prefix);

// As TempFileName, but throws the system's error code as its number, source "GetTempFile".
[[nodiscard]] std::wstring GetTempFile(platform::Platform& platform, const std::wstring& prefix);

// Deletes a file; when that fails, once more after a moment, because scanners and indexers hold new
// files briefly.
platform::SystemStatus RemoveWithRetry(platform::Platform& platform, const std::wstring& path);

// The moment that a second attempt waits.
void WaitBeforeRetry(platform::Platform& platform);

}  // namespace tdefault::support
