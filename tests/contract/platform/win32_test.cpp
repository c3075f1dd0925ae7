// What only the system itself can show: moves between volumes, time that passes, and the host
// program's version resource.
#include <windows.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <vector>

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

// Another process that has locked byte 77 of a file and holds it until it is told to end.
constexpr wchar_t kLockedFile[] = L"TDEFAULT_CONTRACT_LOCKED_FILE";
constexpr wchar_t kLockEvent[] = L"TDEFAULT_CONTRACT_LOCK_EVENT";
constexpr std::uint64_t kLockedByte = 77;
constexpr DWORD kGenerous = 60000;

std::wstring LockingCommand() {
  return L"\"" + win32::HostExecutablePath() +
         L"\" --no-skip --test-case=\"holds a lock for another process\"";
}

class LockingProcess {
 public:
  explicit LockingProcess(Win32Fixture& fixture, const std::wstring& path)
      : event_name_(L"tdefault contract locks " + std::to_wstring(GetCurrentProcessId())) {
    fixture.SetVariable(kLockedFile, path);
    fixture.SetVariable(kLockEvent, event_name_);
    locked_ = CreateEventW(nullptr, TRUE, FALSE, (event_name_ + L" held").c_str());
    end_ = CreateEventW(nullptr, TRUE, FALSE, (event_name_ + L" end").c_str());
    std::wstring command = LockingCommand();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    REQUIRE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &process_));
    const std::array<HANDLE, 2> events = {locked_, process_.hProcess};
    REQUIRE(WaitForMultipleObjects(2, events.data(), FALSE, kGenerous) == WAIT_OBJECT_0);
  }
  ~LockingProcess() {
    TerminateProcess(process_.hProcess, 1);
    WaitForSingleObject(process_.hProcess, kGenerous);
    for (const HANDLE handle : {process_.hProcess, process_.hThread, locked_, end_})
      CloseHandle(handle);
  }
  LockingProcess(const LockingProcess&) = delete;
  LockingProcess& operator=(const LockingProcess&) = delete;

  // Lets it give up its lock and end.
  void End() {
    SetEvent(end_);
    REQUIRE(WaitForSingleObject(process_.hProcess, kGenerous) == WAIT_OBJECT_0);
  }
  // Ends it in the middle of its work.
  void Kill() {
    TerminateProcess(process_.hProcess, 1);
    REQUIRE(WaitForSingleObject(process_.hProcess, kGenerous) == WAIT_OBJECT_0);
  }

 private:
  std::wstring event_name_;
  HANDLE locked_ = nullptr;
  HANDLE end_ = nullptr;
  PROCESS_INFORMATION process_{};
};

// The system may take a moment to give up what a process held that was ended.
std::uint32_t LockWithin(File& file, std::uint64_t offset, DWORD milliseconds) {
  const ULONGLONG start = GetTickCount64();
  for (;;) {
    const std::uint32_t code = file.TryLock(offset, 1).code();
    if (code == 0 || GetTickCount64() - start > milliseconds) return code;
    Sleep(10);
  }
}

std::size_t CountFiles(const std::wstring& folder) {
  const std::filesystem::directory_iterator files(folder);
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// Who may do what with a file, as the system spells it.
std::vector<unsigned char> Permissions(const std::wstring& path) {
  DWORD size = 0;
  GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<unsigned char> descriptor(size);
  REQUIRE(
      GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(), size, &size));
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  REQUIRE(GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &defaulted));
  REQUIRE(list != nullptr);
  const auto* bytes = reinterpret_cast<const unsigned char*>(list);
  return {bytes, bytes + list->AclSize};
}

// Lets everybody read the file, or nobody but its owner.
void SetReaders(const std::wstring& path, bool everybody) {
  std::array<unsigned char, SECURITY_MAX_SID_SIZE> owner{};
  std::array<unsigned char, SECURITY_MAX_SID_SIZE> world{};
  DWORD size = 0;
  GetFileSecurityW(path.c_str(), OWNER_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<unsigned char> current(size);
  REQUIRE(GetFileSecurityW(path.c_str(), OWNER_SECURITY_INFORMATION, current.data(), size, &size));
  PSID current_owner = nullptr;
  BOOL defaulted = FALSE;
  REQUIRE(GetSecurityDescriptorOwner(current.data(), &current_owner, &defaulted));
  REQUIRE(CopySid(owner.size(), owner.data(), current_owner));
  DWORD world_size = world.size();
  REQUIRE(CreateWellKnownSid(WinWorldSid, nullptr, world.data(), &world_size));
  alignas(ACL) std::array<unsigned char, 256> buffer{};
  auto* list = reinterpret_cast<PACL>(buffer.data());
  REQUIRE(InitializeAcl(list, buffer.size(), ACL_REVISION));
  REQUIRE(AddAccessAllowedAce(list, ACL_REVISION, FILE_ALL_ACCESS, owner.data()));
  if (everybody) REQUIRE(AddAccessAllowedAce(list, ACL_REVISION, FILE_GENERIC_READ, world.data()));
  SECURITY_DESCRIPTOR descriptor{};
  REQUIRE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
  REQUIRE(SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
  REQUIRE(SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, &descriptor));
}

}  // namespace

TEST_CASE("a file from another folder gets the permissions of the file that it replaces") {
  for (const bool everybody : {true, false}) {
    CAPTURE(everybody);
    Win32Fixture fixture;
    fixture.AddFolder(L"temp");
    fixture.PutFile(L"temp\\new.txt", "new");
    fixture.PutFile(L"old.txt", "old content");
    SetReaders(L"temp\\new.txt", !everybody);
    SetReaders(L"old.txt", everybody);
    const auto before = Permissions(L"old.txt");
    REQUIRE(before != Permissions(L"temp\\new.txt"));
    CHECK(fixture.platform().files.Replace(L"temp\\new.txt", L"old.txt").ok());
    CHECK(fixture.Contents(L"old.txt") == "new");
    CHECK(Permissions(L"old.txt") == before);
    CHECK_FALSE(fixture.Contents(L"temp\\new.txt"));
    CHECK(CountFiles(fixture.folder()) == 2);
  }
}

TEST_CASE("a file from the same folder gets the permissions of the file that it replaces") {
  for (const bool everybody : {true, false}) {
    CAPTURE(everybody);
    Win32Fixture fixture;
    fixture.PutFile(L"new.txt", "new");
    fixture.PutFile(L"old.txt", "old content");
    SetReaders(L"new.txt", !everybody);
    SetReaders(L"old.txt", everybody);
    const auto before = Permissions(L"old.txt");
    const auto own = Permissions(L"new.txt");
    REQUIRE(before != own);
    {
      auto held = fixture.Hold(L"old.txt", FileShare::kReadWrite, FileAccess::kRead);
      CHECK_FALSE(fixture.platform().files.Replace(L"new.txt", L"old.txt").ok());
    }
    CHECK(Permissions(L"new.txt") == own);
    CHECK(Permissions(L"old.txt") == before);
    CHECK(fixture.platform().files.Replace(L"new.txt", L"old.txt").ok());
    CHECK(fixture.Contents(L"old.txt") == "new");
    CHECK(Permissions(L"old.txt") == before);
    CHECK(CountFiles(fixture.folder()) == 1);
  }
}

TEST_CASE("a file from the same folder with a new name keeps its permissions") {
  Win32Fixture fixture;
  fixture.PutFile(L"new.txt", "new");
  SetReaders(L"new.txt", false);
  const auto own = Permissions(L"new.txt");
  CHECK(fixture.platform().files.Replace(L"new.txt", L"moved.txt").ok());
  CHECK(Permissions(L"moved.txt") == own);
}

TEST_CASE("a file from another folder with a new name gets the permissions that new files get") {
  Win32Fixture fixture;
  fixture.AddFolder(L"temp");
  fixture.PutFile(L"temp\\new.txt", "new");
  fixture.PutFile(L"other.txt", "");
  SetReaders(L"temp\\new.txt", false);
  CHECK(fixture.platform().files.Replace(L"temp\\new.txt", L"moved.txt").ok());
  CHECK(Permissions(L"moved.txt") == Permissions(L"other.txt"));
}

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

TEST_CASE(
    "a program is started shown, at normal priority, in the host's folder, with its handles") {
  Win32Fixture fixture;
  const std::wstring program = fixture.AddProgram(L"program.exe");
  fixture.AddFolder(L"elsewhere");
  Win32Fixture::EnterFolder(fixture.folder() + L"\\elsewhere");
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE event = CreateEventW(&inherited, TRUE, FALSE, nullptr);
  REQUIRE(event != nullptr);
  const auto number = std::to_wstring(reinterpret_cast<std::uintptr_t>(event));
  // A program that is started without a priority class takes over this one; under Wine every one
  // is told that it has the normal one.
  CHECK(SetPriorityClass(GetCurrentProcess(), IDLE_PRIORITY_CLASS));
  const auto process = fixture.platform().processes.Start(program, L"program.exe 0 " + number);
  CHECK(SetPriorityClass(GetCurrentProcess(), NORMAL_PRIORITY_CLASS));
  REQUIRE(process.ok());
  REQUIRE(process.value()->Wait().ok());
  CHECK(WaitForSingleObject(event, 0) == WAIT_OBJECT_0);
  CloseHandle(event);
  CHECK(fixture.Contents(program + L".start.txt") ==
        tdefault::ToUtf8(L"show " + std::to_wstring(SW_SHOW) + L"\npriority " +
                         std::to_wstring(NORMAL_PRIORITY_CLASS) + L"\nfolder " + fixture.folder() +
                         L"\\elsewhere\n"));
}

// Run by LockingProcess.
TEST_CASE("holds a lock for another process" * doctest::skip()) {
  win32::Win32Platform adapter;
  Platform& platform = adapter.platform();
  const auto path = platform.session.EnvironmentValue(kLockedFile);
  const auto event_name = platform.session.EnvironmentValue(kLockEvent);
  if (!path || !event_name) return;
  const HANDLE locked = OpenEventW(EVENT_MODIFY_STATE, FALSE, (*event_name + L" held").c_str());
  const HANDLE end = OpenEventW(SYNCHRONIZE, FALSE, (*event_name + L" end").c_str());
  auto file = platform.files.Open(*path, FileAccess::kReadWrite, FileShare::kReadWrite);
  REQUIRE(file.ok());
  const SystemStatus status = file.value()->TryLock(kLockedByte, 1);
  if (!status.ok()) ExitProcess(status.code());
  SetEvent(locked);
  WaitForSingleObject(end, kGenerous);
  REQUIRE(file.value()->Unlock(kLockedByte, 1).ok());
}

TEST_CASE("bytes that another process locks are refused until it gives them up or ends") {
  Win32Fixture fixture;
  fixture.PutFile(L"a.dbf", "x");
  const std::wstring path = fixture.folder() + L"\\a.dbf";
  auto file = fixture.platform().files.Open(path, FileAccess::kReadWrite, FileShare::kReadWrite);
  REQUIRE(file.ok());
  for (const bool killed : {false, true}) {
    CAPTURE(killed);
    LockingProcess other(fixture, path);
    CHECK(file.value()->TryLock(kLockedByte, 1).code() == system_code::kLockViolation);
    CHECK(file.value()->TryLock(kLockedByte + 1, 1).ok());
    CHECK(file.value()->Unlock(kLockedByte + 1, 1).ok());
    if (killed) {
      other.Kill();
    } else {
      other.End();
    }
    CHECK(LockWithin(*file.value(), kLockedByte, kGenerous) == 0);
    CHECK(file.value()->Unlock(kLockedByte, 1).ok());
  }
}

TEST_CASE("bytes that this process locks are refused to another one") {
  Win32Fixture fixture;
  fixture.PutFile(L"a.dbf", "x");
  auto file = fixture.platform().files.Open(L"a.dbf", FileAccess::kRead, FileShare::kReadWrite);
  REQUIRE(file.ok());
  CHECK(file.value()->TryLock(kLockedByte, 1).ok());
  fixture.SetVariable(kLockedFile, fixture.folder() + L"\\a.dbf");
  fixture.SetVariable(kLockEvent, L"tdefault contract, nobody waits");
  std::wstring command = LockingCommand();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  REQUIRE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                         &startup, &process));
  CHECK(WaitForSingleObject(process.hProcess, kGenerous) == WAIT_OBJECT_0);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CHECK(code == system_code::kLockViolation);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

TEST_CASE("today is the local day") {
  win32::Win32Platform adapter;
  SYSTEMTIME before{};
  GetLocalTime(&before);
  const tdefault::Date today = adapter.platform().clock.Today();
  SYSTEMTIME after{};
  GetLocalTime(&after);
  const tdefault::Date first = *tdefault::MakeDate(before.wYear, before.wMonth, before.wDay);
  const tdefault::Date last = *tdefault::MakeDate(after.wYear, after.wMonth, after.wDay);
  CHECK((today == first || today == last));
  const tdefault::DateTime now = adapter.platform().clock.Now();
  CHECK(now.date >= first);
  const std::int32_t started = ((before.wHour * 60 + before.wMinute) * 60 + before.wSecond) * 1000;
  // Within a minute, or on the next day.
  if (now.date == first) {
    CHECK(now.milliseconds >= started);
    CHECK(now.milliseconds < started + 60'000);
  }
}

TEST_CASE("a program inherits handles, and has no exit code but 259 while it runs") {
  Win32Fixture fixture;
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  const HANDLE started = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
  const HANDLE end = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
  const auto number = [](HANDLE handle) {
    return std::to_wstring(reinterpret_cast<ULONG_PTR>(handle));
  };
  const std::wstring program = fixture.AddProgram(L"program.exe");
  const auto process = fixture.platform().processes.Start(
      program, L"program 0 " + number(started) + L" " + number(end));
  REQUIRE(process.ok());
  CHECK(WaitForSingleObject(started, kGenerous) == WAIT_OBJECT_0);
  CHECK(process.value()->ExitCode().value() == 259);
  SetEvent(end);
  CHECK(process.value()->Wait().ok());
  CHECK(process.value()->ExitCode().value() == 42);
  CloseHandle(started);
  CloseHandle(end);
}

TEST_CASE("a file that is no program is not started") {
  Win32Fixture fixture;
  fixture.PutFile(fixture.folder() + L"\\text.exe", "no program");
  CHECK(fixture.platform().processes.Start(fixture.folder() + L"\\text.exe", L"text").code() ==
        193);
}
