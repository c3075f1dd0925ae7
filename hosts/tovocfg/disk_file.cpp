#include "tovocfg/disk_file.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

constexpr LONGLONG kLargest = 64LL * 1024 * 1024;
constexpr const char* kTooLarge = "it has 64 MB or more.";

// Closes the handle.
class DiskHandle {
 public:
  explicit DiskHandle(HANDLE handle) : handle_(handle) {}
  ~DiskHandle() { Close(); }
  DiskHandle(const DiskHandle&) = delete;
  DiskHandle& operator=(const DiskHandle&) = delete;

  [[nodiscard]] bool is_open() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const noexcept { return handle_; }
  void Close() {
    if (is_open()) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE handle_;
};

// The system's message for an error, without the line break at its end.
std::string MessageOf(DWORD error) {
  std::array<wchar_t, 512> buffer{};
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                     buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
  const std::vector<std::string> lines = Lines(ToUtf8({buffer.data(), length}));
  return lines.empty() ? "error " + std::to_string(error) : Trimmed(lines.front());
}

bool WriteAll(HANDLE file, const std::string& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const auto part = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - at, 1U << 20));
    DWORD written = 0;
    if (WriteFile(file, bytes.data() + at, part, &written, nullptr) == 0 || written == 0)
      return false;
    at += written;
  }
  return FlushFileBuffers(file) != 0;
}

}  // namespace

FileContent ReadDiskFile(const std::string& path) {
  FileContent content;
  const auto failed = [&content](DWORD error) {
    content.problem = MessageOf(error);
    content.is_missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    content.bytes.clear();
    return content;
  };
  const DiskHandle file(CreateFileW(ToWide(path).c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.is_open()) return failed(GetLastError());
  LARGE_INTEGER size{};
  if (GetFileSizeEx(file.get(), &size) == 0) return failed(GetLastError());
  if (size.QuadPart >= kLargest) {
    content.problem = kTooLarge;
    return content;
  }
  content.bytes.resize(static_cast<std::size_t>(size.QuadPart));
  DWORD read = 0;
  if (ReadFile(file.get(), content.bytes.data(), static_cast<DWORD>(content.bytes.size()), &read,
               nullptr) == 0)
    return failed(GetLastError());
  content.bytes.resize(read);
  return content;
}

std::string WritingProblem(const std::string& path) {
  const DiskHandle file(CreateFileW(ToWide(path).c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return file.is_open() ? std::string() : MessageOf(GetLastError());
}

FileContent ReadStandardInput() {
  FileContent content;
  const auto failed = [&content](std::string problem) {
    content.problem = std::move(problem);
    content.bytes.clear();
    return content;
  };
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (input == nullptr || input == INVALID_HANDLE_VALUE || GetConsoleMode(input, &mode) != 0)
    return failed("nothing is piped or redirected into it.");
  std::vector<char> part(std::size_t{1} << 16U);
  for (;;) {
    DWORD read = 0;
    if (ReadFile(input, part.data(), static_cast<DWORD>(part.size()), &read, nullptr) == 0) {
      const DWORD error = GetLastError();
      // The program at the other end has ended.
      return error == ERROR_BROKEN_PIPE ? content : failed(MessageOf(error));
    }
    if (read == 0) return content;
    content.bytes.append(part.data(), read);
    if (content.bytes.size() >= static_cast<std::size_t>(kLargest)) return failed(kTooLarge);
  }
}

std::string WriteDiskFile(const std::string& path, const std::string& bytes, IfExists if_exists) {
  const std::wstring target = ToWide(path);
  const DWORD attributes = GetFileAttributesW(target.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return "it is a folder";
    if (if_exists == IfExists::kRefuse) return "it exists already; replace it with --force";
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
      return "it is marked as read-only; take the mark off, or name another file";
  }
  const std::wstring beside = target + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  DiskHandle file(CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.is_open()) return MessageOf(GetLastError());
  const bool written = WriteAll(file.get(), bytes);
  DWORD error = written ? ERROR_SUCCESS : GetLastError();
  file.Close();
  // Without the flag the system itself refuses a name that was taken meanwhile.
  const DWORD flags = if_exists == IfExists::kReplace ? MOVEFILE_REPLACE_EXISTING : 0;
  if (written && MoveFileExW(beside.c_str(), target.c_str(), flags) != 0) return {};
  if (written) error = GetLastError();
  DeleteFileW(beside.c_str());
  return MessageOf(error) +
         (written ? " See whether you may write to it and whether another program has it open."
                  : "");
}

}  // namespace tovocfg
