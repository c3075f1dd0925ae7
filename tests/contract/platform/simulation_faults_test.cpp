// What only the simulation can show: calls that fail on demand, a process that ends, other
// processes that hold files, scripted answers.
#include <doctest/doctest.h>

#include "platform/simulation/simulation.h"

using namespace tdefault::platform;
using simulation::ProcessEnded;
using simulation::Simulation;

namespace {

constexpr std::uint32_t kDiskFull = system_code::kDiskFull;

std::unique_ptr<File> OpenFile(Simulation& machine, FileAccess access = FileAccess::kReadWrite) {
  auto file = machine.platform().files.Open(L"a.dbf", access, FileShare::kReadWrite);
  REQUIRE(file.ok());
  return std::move(file).value();
}

SystemStatus Write(File& file, std::uint64_t offset, std::string_view text) {
  return file.WriteAt(offset, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace

TEST_CASE("a call told to fail has no effect and fails once") {
  Simulation machine;
  machine.PutFile(L"a.ini", "[S]\r\nk=old\r\n");
  ProfileFiles& profiles = machine.platform().profile_files;
  machine.FailCall(1, kDiskFull);
  CHECK(profiles.WriteEntry(L"S", L"k", L"new", L".\\a.ini") == 0);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=old\r\n");
  CHECK(profiles.WriteEntry(L"S", L"k", L"new", L".\\a.ini") != 0);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=new\r\n");
}

TEST_CASE("a failing read of an entry gives the fallback") {
  Simulation machine;
  machine.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  machine.FailCall(1, system_code::kAccessDenied);
  ProfileFiles& profiles = machine.platform().profile_files;
  CHECK(profiles.ReadEntry(L"S", L"k", L"fallback", 100, L".\\a.ini") == L"fallback");
  CHECK(profiles.ReadEntry(L"S", L"k", L"fallback", 100, L".\\a.ini") == L"v");
}

TEST_CASE("from the call told on, every call fails") {
  Simulation machine;
  machine.PutFile(L"a.txt", "x");
  Files& files = machine.platform().files;
  machine.FailFrom(2, kDiskFull);
  CHECK(files.Copy(L"a.txt", L"b.txt").ok());
  CHECK(files.Remove(L"a.txt").code() == kDiskFull);
  CHECK(files.Remove(L"a.txt").code() == kDiskFull);
  CHECK(machine.Exists(L"a.txt"));
}

TEST_CASE("the next call of an operation can be told to fail") {
  Simulation machine;
  machine.PutFile(L"a.txt", "x");
  Files& files = machine.platform().files;
  machine.FailNext("Remove", kDiskFull);
  CHECK(files.Copy(L"a.txt", L"b.txt").ok());
  CHECK(files.Remove(L"a.txt").code() == kDiskFull);
  CHECK(files.Remove(L"a.txt").ok());
}

TEST_CASE("a failing copy leaves half of the content in the target") {
  Simulation machine;
  machine.PutFile(L"a.txt", "12345678");
  machine.PutFile(L"b.txt", "other content");
  machine.FailCall(1, kDiskFull);
  CHECK(machine.platform().files.Copy(L"a.txt", L"b.txt").code() == kDiskFull);
  CHECK(machine.Contents(L"a.txt") == "12345678");
  CHECK(machine.Contents(L"b.txt") == "1234");
}

TEST_CASE("a write that breaks off leaves half of the new content where writes tear") {
  Simulation machine;
  machine.PutFile(L"a.ini", "[S]\r\nk=old\r\n");
  machine.TearWrites();
  ProfileFiles& profiles = machine.platform().profile_files;
  machine.FailCall(1, kDiskFull);
  CHECK(profiles.WriteEntry(L"S", L"k", L"longer", L".\\a.ini") == 0);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=");
  machine.PutFile(L"a.ini", "[S]\r\nk=old\r\n");
  machine.EndProcessAt(2);
  CHECK_THROWS_AS(profiles.WriteEntry(L"S", L"k", L"longer", L".\\a.ini"), ProcessEnded);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=");
  // A process that has ended writes nothing any more.
  CHECK_THROWS_AS(profiles.WriteEntry(L"S", L"k", L"x", L".\\a.ini"), ProcessEnded);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=");
}

TEST_CASE("a write that a held or read-only file refuses tears nothing") {
  Simulation machine;
  machine.TearWrites();
  for (const wchar_t* file : {L"a.ini", L"b.ini"}) machine.PutFile(file, "[S]\r\nk=old\r\n");
  machine.SetReadOnly(L"a.ini");
  const auto held = machine.HoldOpen(L"b.ini", FileShare::kRead);
  for (const wchar_t* file : {L"a.ini", L"b.ini"}) {
    machine.FailNext("WriteEntry", kDiskFull);
    CHECK(machine.platform().profile_files.WriteEntry(L"S", L"k", L"new",
                                                      std::wstring(L".\\") + file) == 0);
    CHECK(machine.Contents(file) == "[S]\r\nk=old\r\n");
  }
}

TEST_CASE("a write at a place that fails leaves nothing, or its first half where writes tear") {
  Simulation machine;
  machine.PutFile(L"a.dbf", "0123456789");
  const auto file = OpenFile(machine);
  machine.FailNext("WriteAt", kDiskFull);
  CHECK(Write(*file, 2, "abcd").code() == kDiskFull);
  CHECK(machine.Contents(L"a.dbf") == "0123456789");
  machine.TearWrites();
  machine.FailNext("WriteAt", kDiskFull);
  CHECK(Write(*file, 2, "abcd").code() == kDiskFull);
  CHECK(machine.Contents(L"a.dbf") == "01ab456789");
  machine.FailNext("WriteAt", kDiskFull);
  CHECK(Write(*file, 9, "wxyz").code() == kDiskFull);
  CHECK(machine.Contents(L"a.dbf") == "01ab45678wx");
  CHECK(Write(*file, 9, "wxyz").ok());
  CHECK(machine.Contents(L"a.dbf") == "01ab45678wxyz");
}

TEST_CASE("the process ends at a write at a place before it, or at its half where writes tear") {
  Simulation machine;
  machine.PutFile(L"a.dbf", "0123456789");
  for (const char* left : {"0123456789", "01ab456789"}) {
    const auto file = OpenFile(machine);
    if (std::string_view(left) == "01ab456789") machine.TearWrites();
    machine.EndProcessAt(machine.call_count() + 1);
    CHECK_THROWS_AS(static_cast<void>(Write(*file, 2, "abcd")), ProcessEnded);
    CHECK_THROWS_AS(static_cast<void>(Write(*file, 0, "wxyz")), ProcessEnded);
    CHECK(machine.Contents(L"a.dbf") == left);
    machine.EndProcessAt(0);
  }
}

TEST_CASE("a write at a place that the file refuses tears nothing") {
  Simulation machine;
  machine.TearWrites();
  machine.PutFile(L"a.dbf", "0123456789");
  auto held = machine.HoldOpen(L"a.dbf", FileShare::kReadWrite);
  held.Lock(4, 1);
  const auto reading = OpenFile(machine, FileAccess::kRead);
  const auto writing = OpenFile(machine);
  machine.FailNext("WriteAt", kDiskFull);
  CHECK(Write(*reading, 0, "abcd").code() == system_code::kAccessDenied);
  machine.FailNext("WriteAt", kDiskFull);
  CHECK(Write(*writing, 3, "abcd").code() == system_code::kLockViolation);
  machine.EndProcessAt(machine.call_count() + 1);
  CHECK_THROWS_AS(static_cast<void>(Write(*writing, 3, "abcd")), ProcessEnded);
  CHECK(machine.Contents(L"a.dbf") == "0123456789");
}

TEST_CASE("flushing, locking and unlocking fail on demand") {
  Simulation machine;
  machine.PutFile(L"a.dbf", "01");
  auto file = OpenFile(machine);
  machine.FailNext("Flush", kDiskFull);
  CHECK(file->Flush().code() == kDiskFull);
  CHECK(file->Flush().ok());
  machine.FailNext("TryLock", 1117);
  CHECK(file->TryLock(5, 1).code() == 1117);
  CHECK(file->TryLock(5, 1).ok());
  machine.FailNext("Unlock", 1117);
  CHECK(file->Unlock(5, 1).code() == system_code::kNotLocked);
  auto held = machine.HoldOpen(L"a.dbf", FileShare::kReadWrite);
  CHECK_THROWS_AS(held.Lock(5, 1), std::invalid_argument);
  file.reset();
  held.Lock(5, 1);
}

TEST_CASE("a process that ends at an unlocking keeps its locks until its files close") {
  Simulation machine;
  machine.PutFile(L"a.dbf", "01");
  auto file = OpenFile(machine);
  CHECK(file->TryLock(5, 1).ok());
  machine.EndProcessAt(machine.call_count() + 1);
  CHECK_FALSE(file->Unlock(5, 1).ok());
  CHECK_THROWS_AS(static_cast<void>(file->Size()), ProcessEnded);
  CHECK_FALSE(file->Unlock(5, 1).ok());
  auto held = machine.HoldOpen(L"a.dbf", FileShare::kReadWrite);
  CHECK_THROWS_AS(held.Lock(5, 1), std::invalid_argument);
  file.reset();
  held.Lock(5, 1);
  machine.Restart();
  CHECK(OpenFile(machine)->TryLock(5, 1).code() == system_code::kLockViolation);
}

TEST_CASE("a failing replacement leaves both files as they were") {
  Simulation machine;
  machine.PutFile(L"a.txt", "new");
  machine.PutFile(L"b.txt", "old");
  machine.FailCall(1, kDiskFull);
  CHECK(machine.platform().files.Replace(L"a.txt", L"b.txt").code() == kDiskFull);
  CHECK(machine.Contents(L"a.txt") == "new");
  CHECK(machine.Contents(L"b.txt") == "old");
}

TEST_CASE("operations with an optional result fail with its absence") {
  Simulation machine;
  machine.Answer(MessageAnswer::kYes);
  machine.FailFrom(1, kDiskFull);
  Platform& platform = machine.platform();
  CHECK_FALSE(platform.session.Version());
  CHECK_FALSE(platform.session.DisplayName(260));
  CHECK_FALSE(platform.session.LogOnName(260));
  CHECK_FALSE(platform.session.SystemMessage(2));
  CHECK_FALSE(platform.session.EnvironmentValue(L"TMP"));
  CHECK_FALSE(platform.guid_source.Create());
  CHECK_FALSE(platform.dialogs.AskYesNoCancel(L"title", L"text"));
  CHECK(machine.shown_boxes().empty());
  CHECK(platform.session.HostTitle() == L"Host");
  CHECK(platform.session.AnsiCodePage() == 1252);
  CHECK(platform.clock.Pause(5, false) == kDiskFull);
  CHECK(machine.pauses().empty());
}

TEST_CASE("drives that are set are listed with those of the disk until they have no root") {
  Simulation machine;
  machine.AddFolder(L"d:\\shop");
  machine.SetDrive(L"a:\\", DriveKind::kRemovable);
  Drives& drives = machine.platform().drives;
  CHECK(drives.Roots() == std::vector<std::wstring>{L"A:\\", L"C:\\", L"D:\\"});
  CHECK(drives.KindOf(L"A:\\") == DriveKind::kRemovable);
  CHECK(drives.KindOf(L"D:\\") == DriveKind::kFixed);
  machine.SetDrive(L"D:\\", DriveKind::kNoRoot);
  CHECK(drives.Roots() == std::vector<std::wstring>{L"A:\\", L"C:\\"});
  CHECK(drives.KindOf(L"D:\\") == DriveKind::kNoRoot);
  CHECK_THROWS_AS(machine.SetDrive(L"D:", DriveKind::kFixed), std::invalid_argument);
}

TEST_CASE("drives and connections fail on demand, and an open enumeration is counted") {
  Simulation machine;
  machine.AddConnection(L"N:", L"\\\\server\\shop");
  Drives& drives = machine.platform().drives;
  machine.FailNext("Roots", 5);
  CHECK(drives.Roots().empty());
  machine.FailNext("KindOf", 5);
  CHECK(drives.KindOf(L"C:\\") == DriveKind::kUnknown);
  machine.FailNext("ConnectedResources", 1222);
  CHECK(drives.ConnectedResources().code() == 1222);
  CHECK(machine.open_handles() == 0);
  {
    const auto connections = drives.ConnectedResources();
    REQUIRE(connections.ok());
    CHECK(machine.open_handles() == 1);
    machine.FailNext("Read", system_code::kMoreData);
    CHECK(connections.value()->Read(1, 100).code() == system_code::kMoreData);
    const auto read = connections.value()->Read(1, 100);
    REQUIRE(read.ok());
    REQUIRE(read.value().size() == 1);
    CHECK(read.value().front().remote_name == L"\\\\server\\shop");
    CHECK(connections.value()->Read(1, 100).value().empty());
  }
  CHECK(machine.open_handles() == 0);
}

TEST_CASE("a failing enumeration ends early") {
  Simulation machine;
  machine.PutFile(L"a.txt", "");
  auto listing = machine.platform().files.Enumerate(L"*");
  REQUIRE(listing.ok());
  CHECK(listing.value()->Next());
  machine.FailCall(3, kDiskFull);
  CHECK_FALSE(listing.value()->Next());
}

TEST_CASE("the process ends at the call told, before it takes effect, and for good") {
  Simulation machine;
  machine.PutFile(L"a.txt", "x");
  Files& files = machine.platform().files;
  machine.EndProcessAt(2);
  CHECK(files.Copy(L"a.txt", L"b.txt").ok());
  CHECK_THROWS_AS(static_cast<void>(files.Remove(L"a.txt")), ProcessEnded);
  CHECK_THROWS_AS(static_cast<void>(machine.platform().session.Version()), ProcessEnded);
  CHECK(machine.Exists(L"a.txt"));
  machine.Restart();
  CHECK(machine.call_count() == 0);
  CHECK(files.Remove(L"a.txt").ok());
}

TEST_CASE("a process that ends leaves no file open") {
  Simulation machine;
  machine.PutFile(L"a.txt", "x");
  machine.EndProcessAt(2);
  CHECK_THROWS_AS(
      {
        auto file = machine.platform().files.Open(L"a.txt", FileAccess::kRead, FileShare::kNone);
        CHECK(machine.open_handles() == 1);
        static_cast<void>(file.value()->Size());
      },
      ProcessEnded);
  CHECK(machine.open_handles() == 0);
  machine.Restart();
  CHECK(machine.platform().files.Remove(L"a.txt").ok());
}

TEST_CASE("calls are counted and recorded with what they are about") {
  Simulation machine;
  machine.PutFile(L"C:\\data\\a.txt", "x");
  static_cast<void>(machine.platform().files.Copy(L"C:\\data\\a.txt", L"b.txt"));
  static_cast<void>(machine.platform().session.Version());
  REQUIRE(machine.call_count() == 2);
  CHECK(machine.calls()[0].operation == "Copy");
  CHECK(machine.calls()[0].path == L"C:\\data\\a.txt");
  CHECK(machine.calls()[0].target == L"b.txt");
  CHECK(machine.calls()[1].operation == "Version");
  CHECK(machine.calls()[1].path.empty());
}

TEST_CASE("a read-only file refuses deletion, replacement and profile writes") {
  Simulation machine;
  machine.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  machine.PutFile(L"b.ini", "");
  machine.SetReadOnly(L"a.ini");
  Platform& platform = machine.platform();
  CHECK(platform.files.Remove(L"a.ini").code() == system_code::kAccessDenied);
  CHECK(platform.files.Replace(L"b.ini", L"a.ini").code() == system_code::kAccessDenied);
  CHECK(platform.files.Copy(L"b.ini", L"a.ini").code() == system_code::kAccessDenied);
  CHECK(platform.files.Open(L"a.ini", FileAccess::kWrite, FileShare::kReadWrite).code() ==
        system_code::kAccessDenied);
  CHECK(platform.profile_files.WriteEntry(L"S", L"k", L"w", L".\\a.ini") == 0);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=v\r\n");
  CHECK(platform.files.ClearReadOnly(L"a.ini").ok());
  CHECK(platform.profile_files.WriteEntry(L"S", L"k", L"w", L".\\a.ini") != 0);
}

TEST_CASE("a file that another process holds is refused until it is released") {
  Simulation machine;
  machine.PutFile(L"a.ini", "[S]\r\nk=v\r\n");
  auto held = machine.HoldOpen(L"a.ini", FileShare::kNone);
  Platform& platform = machine.platform();
  CHECK(platform.files.Open(L"a.ini", FileAccess::kRead, FileShare::kRead).code() ==
        system_code::kSharingViolation);
  CHECK(platform.profile_files.ReadEntry(L"S", L"k", L"none", 100, L".\\a.ini") == L"none");
  CHECK(platform.profile_files.WriteEntry(L"S", L"k", L"w", L".\\a.ini") == 0);
  CHECK_THROWS_AS(static_cast<void>(machine.HoldOpen(L"a.ini")), std::invalid_argument);
  held.Release();
  CHECK(platform.profile_files.ReadEntry(L"S", L"k", L"none", 100, L".\\a.ini") == L"v");
}

TEST_CASE("message boxes get the scripted answers in order and are recorded") {
  Simulation machine;
  machine.Answer(MessageAnswer::kNo);
  machine.Answer(MessageAnswer::kYes);
  Dialogs& dialogs = machine.platform().dialogs;
  CHECK(dialogs.AskYesNoCancel(L"one", L"first") == MessageAnswer::kNo);
  CHECK(dialogs.AskYesNoCancel(L"two", L"second") == MessageAnswer::kYes);
  CHECK_FALSE(dialogs.AskYesNoCancel(L"three", L"third"));
  REQUIRE(machine.shown_boxes().size() == 2);
  CHECK(machine.shown_boxes()[1].title == L"two");
  CHECK(machine.shown_boxes()[1].text == L"second");
}

TEST_CASE("the same seed makes the same identifiers, and given ones come first") {
  Simulation one(7);
  Simulation other(7);
  Guid given;
  given.data1 = 0x12345678;
  one.AddGuid(given);
  CHECK(one.platform().guid_source.Create()->data1 == 0x12345678);
  CHECK(one.platform().guid_source.Create()->data4 == other.platform().guid_source.Create()->data4);
  one.SetGuidSourceFailing(true);
  CHECK_FALSE(one.platform().guid_source.Create());
}

TEST_CASE("pauses are recorded and take no time") {
  Simulation machine;
  CHECK(machine.platform().clock.Pause(1000000, true) == 0);
  REQUIRE(machine.pauses().size() == 1);
  CHECK(machine.pauses()[0].milliseconds == 1000000);
  CHECK(machine.pauses()[0].alertable);
}

TEST_CASE("time passes with pauses only, and others act meanwhile") {
  Simulation machine;
  Clock& clock = machine.platform().clock;
  const std::uint64_t start = clock.Milliseconds();
  int acted = 0;
  machine.SetDuringPause([&] { ++acted; });
  CHECK(clock.Pause(40, false) == 0);
  CHECK(clock.Pause(2, false) == 0);
  CHECK(clock.Milliseconds() - start == 42);
  CHECK(acted == 2);
  machine.FailNext("Pause", 1117);
  CHECK(clock.Pause(5, false) == 1117);
  CHECK(clock.Milliseconds() - start == 42);
  CHECK(acted == 2);
}

TEST_CASE("the day is the one that the machine was given and time and day are no calls") {
  Simulation machine;
  Clock& clock = machine.platform().clock;
  CHECK(clock.Today() == tdefault::MakeDate(2001, 3, 7));
  machine.SetToday(*tdefault::MakeDate(2026, 11, 21));
  CHECK(clock.Today() == tdefault::MakeDate(2026, 11, 21));
  constexpr std::int32_t kAfternoon = 13 * 3'600'000;
  machine.SetNow({*tdefault::MakeDate(2026, 1, 2), kAfternoon});
  CHECK(clock.Today() == tdefault::MakeDate(2026, 1, 2));
  CHECK(clock.Now().milliseconds == kAfternoon);
  static_cast<void>(clock.Milliseconds());
  CHECK(machine.call_count() == 0);
}

TEST_CASE("text goes through the code page that the machine was given") {
  Simulation machine(1, 1250);
  Platform& platform = machine.platform();
  CHECK(platform.session.AnsiCodePage() == 1250);
  CHECK(platform.profile_files.WriteEntry(L"S", L"k", L"\u0142 \u00E9 \u0416", L".\\a.ini") != 0);
  CHECK(machine.Contents(L"a.ini") == "[S]\r\nk=\xB3 \xE9 ?\r\n");
  CHECK(platform.profile_files.ReadEntry(L"S", L"k", L"", 100, L".\\a.ini") == L"\u0142 \u00E9 ?");
}

TEST_CASE("a started program is recorded, and acts while it is waited for") {
  Simulation machine;
  machine.PutFile(L"C:\\Kits\\run.exe", "a program");
  machine.SetProgramExitCode(7);
  std::vector<std::wstring> acted;
  machine.SetDuringProgram(
      [&](const simulation::StartedProgram& program) { acted.push_back(program.command_line); });
  const auto process = machine.platform().processes.Start(L"c:\\kits\\run.exe", L"run now");
  REQUIRE(process.ok());
  CHECK(machine.open_handles() == 1);
  CHECK(acted.empty());
  CHECK(process.value()->ExitCode().value() == 259);
  CHECK(process.value()->Wait().ok());
  CHECK(process.value()->Wait().ok());
  CHECK(acted == std::vector<std::wstring>{L"run now"});
  CHECK(process.value()->ExitCode().value() == 7);
  REQUIRE(machine.started_programs().size() == 1);
  CHECK(machine.started_programs()[0].application == L"c:\\kits\\run.exe");
}

TEST_CASE("a start, a wait and an exit code can be told to fail, and then have no effect") {
  Simulation machine;
  machine.PutFile(L"run.exe", "a program");
  bool acted = false;
  machine.SetDuringProgram([&](const simulation::StartedProgram&) { acted = true; });
  Processes& processes = machine.platform().processes;
  machine.FailNext("Start", system_code::kAccessDenied);
  CHECK(processes.Start(L"run.exe", L"run").code() == 5);
  CHECK(machine.started_programs().empty());
  const auto process = processes.Start(L"run.exe", L"run");
  REQUIRE(process.ok());
  machine.FailNext("Wait", 6);
  CHECK(process.value()->Wait().code() == 6);
  CHECK_FALSE(acted);
  machine.FailNext("ExitCode", 6);
  CHECK(process.value()->ExitCode().code() == 6);
}

TEST_CASE("the host's own code acts when its messages are handled, unless that call fails") {
  Simulation machine;
  int acted = 0;
  machine.SetDuringMessages([&] { ++acted; });
  machine.platform().dialogs.ProcessPendingMessages();
  machine.FailNext("ProcessPendingMessages", 5);
  machine.platform().dialogs.ProcessPendingMessages();
  CHECK(acted == 1);
  CHECK(machine.call_count() == 2);
}

TEST_CASE("the openings of registry keys are recorded with access and class, refused ones too") {
  Simulation machine;
  Registry& registry = machine.platform().registry;
  static_cast<void>(registry.OpenKey(registry_root::kCurrentUser, L"A\\B", 0x20019));
  machine.FailNext("CreateKey", system_code::kAccessDenied);
  CHECK(registry.CreateKey(registry_root::kLocalMachine, L"C", L"4", 0x4001F).code() == 5);
  CHECK_FALSE(machine.registry().HasKey(registry_root::kLocalMachine, L"C"));
  const auto& openings = machine.registry().openings();
  REQUIRE(openings.size() == 2);
  CHECK(openings[0].root == registry_root::kCurrentUser);
  CHECK(openings[0].path == L"A\\B");
  CHECK(openings[0].access == 0x20019);
  CHECK_FALSE(openings[0].class_text);
  CHECK(openings[1].access == 0x4001F);
  CHECK(openings[1].class_text == L"4");
}

TEST_CASE("every call of an open registry key can be told to fail, and then has no effect") {
  Simulation machine;
  constexpr std::uint32_t kUser = registry_root::kCurrentUser;
  machine.registry().PutText(kUser, L"Key", L"Value", L"text");
  machine.registry().PutKey(kUser, L"Key\\Below");
  const auto opened = machine.platform().registry.OpenKey(kUser, L"Key", 0x4001F);
  REQUIRE(opened.ok());
  CHECK(machine.open_handles() == 1);
  RegistryKey& key = *opened.value();
  for (const char* operation : {"QueryNumber", "QueryText", "SetNumber", "SetText", "RemoveValue",
                                "RemoveKey", "KeyAt", "ValueAt"})
    machine.FailNext(operation, 1450);
  CHECK(key.QueryNumber(L"Value").code() == 1450);
  CHECK(key.QueryText(L"Value", 255).code() == 1450);
  CHECK(key.SetNumber(L"Value", 1).code() == 1450);
  CHECK(key.SetText(L"Value", L"other").code() == 1450);
  CHECK(key.RemoveValue(L"Value").code() == 1450);
  CHECK(key.RemoveKey(L"Below").code() == 1450);
  CHECK(key.KeyAt(0).code() == 1450);
  CHECK(key.ValueAt(0, 255).code() == 1450);
  CHECK(machine.registry().DataOf(kUser, L"Key", L"Value") == std::string("text\0", 5));
  CHECK(machine.registry().TypeOf(kUser, L"Key", L"Value") == registry_type::kText);
  CHECK(machine.registry().HasKey(kUser, L"Key\\Below"));
}
