// What only the system itself can show: moves between volumes, time that passes, and the host
// program's version resource.
#include <windows.h>

#include <chrono>
#include <filesystem>

#include "platform/win32/version_resource.h"
#include "platform_fixture.h"

using namespace tdefault::platform;

namespace {

void CALLBACK SetFlag(ULONG_PTR flag) { *reinterpret_cast<bool*>(flag) = true; }

// A folder on a volume other than the one of the fixture's folder.
class OtherVolume {
 public:
  OtherVolume() : folder_(L"Z:\\dev\\shm\\tdefault-" + std::to_wstring(GetCurrentProcessId())) {
    std::filesystem::create_directory(folder_);
  }
  ~OtherVolume() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  std::wstring Path(const std::wstring& name) const { return folder_ + L"\\" + name; }

 private:
  std::wstring folder_;
};

std::size_t CountFiles(const std::wstring& folder) {
  const std::filesystem::directory_iterator files(folder);
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace

TEST_CASE("a file from another volume replaces its target and is gone") {
  Win32Fixture fixture;
  const OtherVolume other;
  fixture.PutFile(other.Path(L"new.txt"), "new");
  fixture.PutFile(L"old.txt", "old content");
  CHECK(MoveFileExW(other.Path(L"new.txt").c_str(), (fixture.folder() + L"\\old.txt").c_str(),
                    MOVEFILE_REPLACE_EXISTING) == FALSE);
  REQUIRE(GetLastError() == ERROR_NOT_SAME_DEVICE);
  CHECK(fixture.platform().files.Replace(other.Path(L"new.txt"), L"old.txt").ok());
  CHECK(fixture.Contents(L"old.txt") == "new");
  CHECK_FALSE(fixture.Contents(other.Path(L"new.txt")));
  CHECK(CountFiles(fixture.folder()) == 1);
}

TEST_CASE("a refused replacement from another volume leaves both files and nothing else") {
  Win32Fixture fixture;
  const OtherVolume other;
  fixture.PutFile(other.Path(L"new.txt"), "new");
  fixture.PutFile(L"old.txt", "old content");
  {
    auto held = fixture.Hold(L"old.txt", FileShare::kReadWrite, FileAccess::kRead);
    CHECK(fixture.platform().files.Replace(other.Path(L"new.txt"), L"old.txt").code() ==
          system_code::kAccessDenied);
  }
  CHECK(fixture.Contents(L"old.txt") == "old content");
  CHECK(fixture.Contents(other.Path(L"new.txt")) == "new");
  CHECK(CountFiles(fixture.folder()) == 1);
  CHECK(fixture.platform().files.Replace(other.Path(L"none.txt"), L"old.txt").code() ==
        system_code::kFileNotFound);
  CHECK(fixture.platform().files.Replace(other.Path(L"new.txt"), L"nowhere\\old.txt").code() ==
        system_code::kPathNotFound);
  CHECK(CountFiles(fixture.folder()) == 1);
}

TEST_CASE("a pause takes at least its time") {
  win32::Win32Platform adapter;
  const auto start = std::chrono::steady_clock::now();
  CHECK(adapter.platform().clock.Pause(50, false) == 0);
  // The system's timer may be a tick early.
  CHECK(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(40));
}

TEST_CASE("a completion routine ends an alertable pause early") {
  win32::Win32Platform adapter;
  bool ran = false;
  QueueUserAPC(SetFlag, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&ran));
  CHECK(adapter.platform().clock.Pause(60000, true) == WAIT_IO_COMPLETION);
  CHECK(ran);
}

TEST_CASE("the title is the product name of the host's version resource") {
  win32::Win32Platform adapter;
  CHECK(adapter.platform().session.HostTitle() == L"Contract tests \u0142");
  CHECK(adapter.platform().session.HostExecutableName() == L"contract_platform");
}

TEST_CASE("a version resource gives its texts, and an absent field or file none") {
  const std::wstring path = win32::HostExecutablePath();
  CHECK(win32::VersionResourceText(path, L"FileDescription") == L"Proof of the ports");
  CHECK(win32::VersionResourceText(path, L"Comments").empty());
  CHECK(win32::VersionResourceText(path + L".none", L"ProductName").empty());
}

TEST_CASE("file handles are inherited by programs that the host starts") {
  Win32Fixture fixture;
  fixture.PutFile(L"a.txt", "x");
  auto file = fixture.platform().files.Open(L"a.txt", FileAccess::kRead, FileShare::kRead);
  REQUIRE(file.ok());
  // Handles are multiples of four; the process is young, so its own are among the first.
  bool inheritable = false;
  for (std::uintptr_t value = 4; value < 4096 && !inheritable; value += 4) {
    const auto handle = reinterpret_cast<HANDLE>(value);
    DWORD flags = 0;
    BY_HANDLE_FILE_INFORMATION information{};
    inheritable = GetHandleInformation(handle, &flags) && (flags & HANDLE_FLAG_INHERIT) != 0 &&
                  GetFileType(handle) == FILE_TYPE_DISK &&
                  GetFileInformationByHandle(handle, &information) &&
                  information.nFileSizeHigh == 0 && information.nFileSizeLow == 1;
  }
  CHECK(inheritable);
}
