// A Windows machine in memory for tests: deterministic, with faults on demand. The machine has one
// process that the tested code runs in (its platform()) and, through HoldOpen, others that hold
// files open.
//
// The tested code sees only the platform; everything else here sets the machine up or looks at it,
// is no call of the process, and counts paths from the current folder as the process does. A
// set-up that cannot be (a path that names nothing, a file another holder forbids) throws
// std::invalid_argument.
//
// At the start there are the folders C:\Windows\System32, C:\Program Files\Host, C:\Work (the
// current folder) and C:\Users\Terry\Temp (TMP and TEMP), no files, Windows 10, the user "terry"
// with the display name "Terry Owner", and the host program "Host" with the title "Host Program".
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/date_time.h"
#include "platform/platform.h"
#include "platform/simulation/call_log.h"
#include "platform/simulation/registry_store.h"
#include "platform/simulation/world.h"

namespace tdefault::platform::simulation {

// A file kept open by another process until the token is released or destroyed.
class HeldFile {
 public:
  HeldFile(std::shared_ptr<Node> node, Holder holder);
  HeldFile(HeldFile&&) noexcept = default;
  HeldFile& operator=(HeldFile&&) noexcept = default;
  ~HeldFile() = default;

  void Release() noexcept { open_.reset(); }

  // Locks bytes for the other process. REQUIRES: nobody has locked any of them.
  void Lock(std::uint64_t offset, std::uint64_t length);
  void Unlock(std::uint64_t offset, std::uint64_t length);

 private:
  std::unique_ptr<OpenNode> open_;
};

class Simulation {
 public:
  // `seed` settles the identifiers, `ansi_code_page` is one of those that base/code_page.h carries.
  explicit Simulation(std::uint64_t seed = 1, std::uint32_t ansi_code_page = 1252);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

  [[nodiscard]] Platform& platform() noexcept;

  // --- Files and folders --------------------------------------------------------------------

  // Makes or overwrites a file, with its folders.
  void PutFile(const std::wstring& path, std::string_view bytes);
  void AddFolder(const std::wstring& path);
  void RemoveFile(const std::wstring& path);

  // The bytes of a file; absent when there is none.
  [[nodiscard]] std::optional<std::string> Contents(const std::wstring& path) const;
  // Whether a file or folder of that name exists.
  [[nodiscard]] bool Exists(const std::wstring& path) const;
  // The names in a folder in alphabetical order, without "." and "..".
  [[nodiscard]] std::vector<std::wstring> ListFolder(const std::wstring& path) const;
  // The full paths of all files of the machine in alphabetical order.
  [[nodiscard]] std::vector<std::wstring> AllFiles() const;

  void SetReadOnly(const std::wstring& path, bool read_only = true);
  [[nodiscard]] bool IsReadOnly(const std::wstring& path) const;

  // Opens a file as another process would.
  [[nodiscard]] HeldFile HoldOpen(const std::wstring& path, FileShare share = FileShare::kNone,
                                  FileAccess access = FileAccess::kRead);

  // --- The process and its machine ----------------------------------------------------------

  // The folders are made when they are missing.
  void SetCurrentFolder(const std::wstring& path);
  void SetProgramFolder(const std::wstring& path);
  [[nodiscard]] const std::wstring& windows_folder() const noexcept;
  [[nodiscard]] const std::wstring& system_folder() const noexcept;

  // Absent removes the variable. TMP and TEMP settle the folder for temporary files, PATH the
  // end of the search order.
  void SetVariable(const std::wstring& name, const std::optional<std::wstring>& value);

  // Absent: the system does not tell.
  void SetDisplayName(const std::optional<std::wstring>& name);
  void SetLogOnName(const std::optional<std::wstring>& name);
  void SetVersion(const std::optional<WindowsVersion>& version);
  void SetSystemMessage(std::uint32_t code, const std::optional<std::wstring>& message);
  void SetHost(const std::wstring& executable_name, const std::wstring& title);

  // A drive of that kind, with or without a disk in it; kNoRoot takes it away again. The drives of
  // folders that were made are fixed ones until they are given another kind. A root is a letter, a
  // colon and a backslash.
  void SetDrive(const std::wstring& root, DriveKind kind);
  // A network resource that is connected from now on, under a local name or (empty) without one.
  void AddConnection(const std::wstring& local_name, const std::wstring& remote_name);

  // --- Scripts and records ------------------------------------------------------------------

  // The answer to the next question that has none yet. A question without an answer is not shown:
  // the machine then counts as one without a desktop. A box that only tells something needs none.
  void Answer(MessageAnswer answer);
  [[nodiscard]] const std::vector<ShownBox>& shown_boxes() const noexcept;

  [[nodiscard]] const std::vector<RecordedPause>& pauses() const noexcept;
  // Called during every pause: what other processes do meanwhile. Absent: nothing.
  void SetDuringPause(std::function<void()> action);

  // Called each time the messages of the process's windows are handled: what its own code does
  // then. Absent: nothing.
  void SetDuringMessages(std::function<void()> action);

  // What a program that the process waits for does before it ends. Absent: nothing. A program is
  // any file of the disk; all of them answer the same code, 0 at the start.
  void SetDuringProgram(std::function<void(const StartedProgram&)> action);
  void SetProgramExitCode(std::uint32_t code);
  [[nodiscard]] const std::vector<StartedProgram>& started_programs() const noexcept;

  // Keys and values, and how the process opened them. Empty at the start.
  [[nodiscard]] RegistryStore& registry() noexcept;

  // The clock's day and time; 7 March 2001, 14:05:09 at the start. They stand still, and
  // milliseconds pass with pauses only.
  void SetToday(Date today);
  void SetNow(DateTime now);

  // The identifier made next, after those given before; then the generator goes on.
  void AddGuid(const Guid& guid);
  void SetGuidSourceFailing(bool failing);

  // --- Faults -------------------------------------------------------------------------------
  // Every operation of a port is a call, counted from 1, but for the clock's Milliseconds, Now and
  // Today and the session's SystemBytes and SystemText. A call told to fail has no effect and
  // reports the code, in the way its port has: ReadEntry gives the fallback, ReadSection no text,
  // WriteEntry 0, Next the end, an operation with an optional result its absence, HostTitle the
  // executable name, Pause the code, Unlock 158, Tell shows no box, Roots gives none, KindOf the
  // unknown kind, ProcessPendingMessages nothing at all. A failing Copy has written the first half
  // of its target. AnsiCodePage and HostExecutableName count, but cannot fail.

  // The call of that number fails, once; may be given for several numbers.
  void FailCall(std::size_t number, std::uint32_t code);
  // This call and every later one fails.
  void FailFrom(std::size_t number, std::uint32_t code);
  // The next call of that operation ("Replace" for example) fails, once.
  void FailNext(const std::string& operation, std::uint32_t code);
  // The process ends at that call, before it has an effect: it and every later one throws
  // ProcessEnded. Unlock, which destructors call, throws nothing: it has no effect, and the locks
  // of the process stay until its files close.
  void EndProcessAt(std::size_t number);
  // From now on a WriteEntry that is told to fail, or at which the process ends, has written the
  // first half of the file's new content, and a WriteAt the first half of its bytes, as the system
  // does when the disk is full. A write that the file's state refuses still has no effect.
  void TearWrites();

  // A new process on the same machine: no faults, no calls, no scripted answers; the records of
  // boxes, pauses,
  // programs and opened keys are empty. REQUIRES: open_handles() == 0.
  void Restart();

  [[nodiscard]] std::size_t call_count() const noexcept;
  [[nodiscard]] const std::vector<RecordedCall>& calls() const noexcept;
  // Files, enumerations (of folders and of connections), registry keys and processes that the
  // process has open.
  [[nodiscard]] std::size_t open_handles() const noexcept;

 private:
  struct Ports;

  [[nodiscard]] std::wstring FullPath(const std::wstring& path) const;
  [[nodiscard]] std::shared_ptr<Node> FileAt(const std::wstring& path) const;

  World world_;
  std::unique_ptr<Ports> ports_;
};

}  // namespace tdefault::platform::simulation
