#include "platform/simulation/simulation.h"

#include <cassert>
#include <stdexcept>
#include <utility>

#include "platform/simulation/path_rules.h"
#include "platform/simulation/simulated_drives.h"
#include "platform/simulation/simulated_files.h"
#include "platform/simulation/simulated_processes.h"
#include "platform/simulation/simulated_profile_files.h"
#include "platform/simulation/simulated_registry.h"
#include "platform/simulation/simulated_session.h"

namespace tdefault::platform::simulation {
namespace {

CodePage RequireCodePage(std::uint32_t number) {
  const std::optional<CodePage> page = CodePage::Find(number);
  if (!page) throw std::invalid_argument("no code page " + std::to_string(number));
  return *page;
}

void AddFilesBelow(const Disk& disk, const std::wstring& folder, std::vector<std::wstring>& files) {
  for (const std::shared_ptr<Node>& child : disk.List(folder)) {
    const std::wstring path = JoinPath(folder, child->name);
    if (child->is_folder) {
      AddFilesBelow(disk, path, files);
    } else {
      files.push_back(path);
    }
  }
}

}  // namespace

HeldFile::HeldFile(std::shared_ptr<Node> node, Holder holder)
    : open_(std::make_unique<OpenNode>(std::move(node), holder)) {}

void HeldFile::Lock(std::uint64_t offset, std::uint64_t length) {
  if (!open_->Lock(offset, length).ok()) throw std::invalid_argument("the bytes are locked");
}

void HeldFile::Unlock(std::uint64_t offset, std::uint64_t length) {
  if (!open_->Unlock(offset, length).ok()) throw std::invalid_argument("the bytes are not locked");
}

struct Simulation::Ports {
  explicit Ports(World& world)
      : profile_files(world),
        files(world),
        session(world),
        clock(world),
        guid_source(world),
        dialogs(world),
        registry(world),
        processes(world),
        drives(world),
        platform{profile_files, files,    session,   clock, guid_source,
                 dialogs,       registry, processes, drives} {}

  SimulatedProfileFiles profile_files;
  SimulatedFiles files;
  SimulatedSession session;
  SimulatedClock clock;
  SimulatedGuidSource guid_source;
  SimulatedDialogs dialogs;
  SimulatedRegistry registry;
  SimulatedProcesses processes;
  SimulatedDrives drives;
  Platform platform;
};

Simulation::Simulation(std::uint64_t seed, std::uint32_t ansi_code_page)
    : world_(RequireCodePage(ansi_code_page), seed), ports_(std::make_unique<Ports>(world_)) {
  for (const std::wstring& folder :
       {world_.system_folder, world_.program_folder, world_.current_folder,
        std::wstring(L"C:\\Users\\Terry\\Temp")}) {
    AddFolder(folder);
  }
  world_.environment[L"TMP"] = L"C:\\Users\\Terry\\Temp";
  world_.environment[L"TEMP"] = L"C:\\Users\\Terry\\Temp";
  world_.environment[L"PATH"] = L"C:\\Windows\\System32;C:\\Windows";
  world_.system_messages = {
      {2, L"The system cannot find the file specified.\r\n"},
      {3, L"The system cannot find the path specified.\r\n"},
      {5, L"Access is denied.\r\n"},
      {32, L"The process cannot access the file because it is being used by another process.\r\n"},
      {112, L"There is not enough space on the disk.\r\n"},
      {267, L"The directory name is invalid.\r\n"}};
}

Simulation::~Simulation() = default;

Platform& Simulation::platform() noexcept { return ports_->platform; }

std::wstring Simulation::FullPath(const std::wstring& path) const {
  SystemResult<std::wstring> full = world_.Resolve(path);
  if (!full.ok()) throw std::invalid_argument("not a path: " + ToUtf8(path));
  return std::move(full).value();
}

std::shared_ptr<Node> Simulation::FileAt(const std::wstring& path) const {
  std::shared_ptr<Node> node = world_.disk.Find(FullPath(path));
  if (!node || node->is_folder) throw std::invalid_argument("no file: " + ToUtf8(path));
  return node;
}

void Simulation::PutFile(const std::wstring& path, std::string_view bytes) {
  world_.disk.PutFile(FullPath(path), bytes);
}

void Simulation::AddFolder(const std::wstring& path) { world_.disk.MakeFolder(FullPath(path)); }

void Simulation::RemoveFile(const std::wstring& path) {
  static_cast<void>(FileAt(path));
  world_.disk.Erase(FullPath(path));
}

std::optional<std::string> Simulation::Contents(const std::wstring& path) const {
  const std::shared_ptr<Node> node = world_.disk.Find(FullPath(path));
  if (!node || node->is_folder) return std::nullopt;
  return node->bytes;
}

bool Simulation::Exists(const std::wstring& path) const {
  return world_.disk.Find(FullPath(path)) != nullptr;
}

std::vector<std::wstring> Simulation::ListFolder(const std::wstring& path) const {
  std::vector<std::wstring> names;
  for (const std::shared_ptr<Node>& child : world_.disk.List(FullPath(path))) {
    names.push_back(child->name);
  }
  return names;
}

std::vector<std::wstring> Simulation::AllFiles() const {
  std::vector<std::wstring> files;
  for (const std::wstring& root : world_.disk.Roots()) AddFilesBelow(world_.disk, root, files);
  return files;
}

void Simulation::SetReadOnly(const std::wstring& path, bool read_only) {
  FileAt(path)->read_only = read_only;
}

bool Simulation::IsReadOnly(const std::wstring& path) const { return FileAt(path)->read_only; }

HeldFile Simulation::HoldOpen(const std::wstring& path, FileShare share, FileAccess access) {
  const Holder holder{access, share};
  if (!FileAt(path)->Admits(holder)) {
    throw std::invalid_argument("another holder forbids opening " + ToUtf8(path));
  }
  return HeldFile(FileAt(path), holder);
}

void Simulation::SetCurrentFolder(const std::wstring& path) {
  AddFolder(path);
  world_.current_folder = FullPath(path);
}

void Simulation::SetProgramFolder(const std::wstring& path) {
  AddFolder(path);
  world_.program_folder = FullPath(path);
}

const std::wstring& Simulation::windows_folder() const noexcept { return world_.windows_folder; }

const std::wstring& Simulation::system_folder() const noexcept { return world_.system_folder; }

void Simulation::SetVariable(const std::wstring& name, const std::optional<std::wstring>& value) {
  if (value) {
    world_.environment[name] = *value;
  } else {
    world_.environment.erase(name);
  }
}

void Simulation::SetDisplayName(const std::optional<std::wstring>& name) {
  world_.display_name = name;
}

void Simulation::SetLogOnName(const std::optional<std::wstring>& name) {
  world_.log_on_name = name;
}

void Simulation::SetVersion(const std::optional<WindowsVersion>& version) {
  world_.version = version;
}

void Simulation::SetSystemMessage(std::uint32_t code, const std::optional<std::wstring>& message) {
  if (message) {
    world_.system_messages[code] = *message;
  } else {
    world_.system_messages.erase(code);
  }
}

void Simulation::SetHost(const std::wstring& executable_name, const std::wstring& title) {
  world_.host_executable_name = executable_name;
  world_.host_title = title;
}

void Simulation::SetDrive(const std::wstring& root, DriveKind kind) {
  if (root.size() != 3 || !root.ends_with(L":\\")) {
    throw std::invalid_argument("not the root of a drive: " + ToUtf8(root));
  }
  world_.drive_kinds[root] = kind;
}

void Simulation::AddConnection(const std::wstring& local_name, const std::wstring& remote_name) {
  world_.connections.push_back({local_name, remote_name});
}

void Simulation::Answer(MessageAnswer answer) { world_.answers.push_back(answer); }

const std::vector<ShownBox>& Simulation::shown_boxes() const noexcept { return world_.shown_boxes; }

void Simulation::SetDuringPause(std::function<void()> action) {
  world_.during_pause = std::move(action);
}

void Simulation::SetDuringMessages(std::function<void()> action) {
  world_.during_messages = std::move(action);
}

void Simulation::SetDuringProgram(std::function<void(const StartedProgram&)> action) {
  world_.during_program = std::move(action);
}

void Simulation::SetProgramExitCode(std::uint32_t code) { world_.program_exit_code = code; }

const std::vector<StartedProgram>& Simulation::started_programs() const noexcept {
  return world_.started_programs;
}

RegistryStore& Simulation::registry() noexcept { return world_.registry; }

void Simulation::SetToday(Date today) { world_.now.date = today; }

void Simulation::SetNow(DateTime now) { world_.now = now; }

const std::vector<RecordedPause>& Simulation::pauses() const noexcept { return world_.pauses; }

void Simulation::AddGuid(const Guid& guid) { world_.next_guids.push_back(guid); }

void Simulation::SetGuidSourceFailing(bool failing) { world_.guid_source_fails = failing; }

void Simulation::FailCall(std::size_t number, std::uint32_t code) {
  world_.calls.FailCall(number, code);
}

void Simulation::FailFrom(std::size_t number, std::uint32_t code) {
  world_.calls.FailFrom(number, code);
}

void Simulation::FailNext(const std::string& operation, std::uint32_t code) {
  world_.calls.FailNext(operation, code);
}

void Simulation::EndProcessAt(std::size_t number) { world_.calls.EndProcessAt(number); }

void Simulation::TearWrites() { world_.writes_tear = true; }

void Simulation::Restart() {
  assert(world_.open_handles == 0);
  world_.calls.Reset();
  world_.writes_tear = false;
  world_.answers.clear();
  world_.shown_boxes.clear();
  world_.pauses.clear();
  world_.during_pause = nullptr;
  world_.during_messages = nullptr;
  world_.during_program = nullptr;
  world_.started_programs.clear();
  world_.registry.ForgetOpenings();
}

std::size_t Simulation::call_count() const noexcept { return world_.calls.calls().size(); }

const std::vector<RecordedCall>& Simulation::calls() const noexcept { return world_.calls.calls(); }

std::size_t Simulation::open_handles() const noexcept { return world_.open_handles; }

}  // namespace tdefault::platform::simulation
