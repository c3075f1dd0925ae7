// Several processes change one table at the same time; afterwards every change that was
// acknowledged has to be there, once:
//   table_stress [SECONDS [PROCESSES [SEED]]]        default 3 seconds, 2 processes
// A worker is the same program, called as: table_stress --worker FOLDER NUMBER SECONDS SEED
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "base/text.h"
#include "platform/win32/win32_platform.h"
#include "stress_rows.h"
#include "stress_verdict.h"
#include "stress_worker.h"
#include "tables/table_access_choice.h"

namespace {

namespace fs = std::filesystem;
using tdefault::ToUtf8;
using tdefault::tests::WorkReport;

fs::path ReportPath(const fs::path& folder, int worker) {
  return folder / ("report" + std::to_string(worker) + ".txt");
}

std::string ReadAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

// A folder of its own, removed at the end.
class TableFolder {
 public:
  TableFolder()
      : path_(fs::temp_directory_path() /
              ("tdefault stress " + std::to_string(GetCurrentProcessId()))) {
    fs::create_directories(path_);
    const tdefault::tests::BuiltTable files = tdefault::tests::EmptyStressTable();
    WriteAll(path_ / "STRESS.dbf", files.table);
    WriteAll(path_ / "STRESS.fpt", files.memo);
    WriteAll(path_ / "STRESS.cdx", files.index);
  }
  ~TableFolder() {
    std::error_code ignored;
    if (!kept_) fs::remove_all(path_, ignored);
  }
  TableFolder(const TableFolder&) = delete;
  TableFolder& operator=(const TableFolder&) = delete;

  [[nodiscard]] const fs::path& path() const { return path_; }
  void Keep() { kept_ = true; }

 private:
  fs::path path_;
  bool kept_ = false;
};

HANDLE StartWorker(const fs::path& folder, int worker, int seconds, int seed) {
  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
  std::wstring command = L"\"" + program + L"\" --worker \"" + folder.wstring() + L"\" " +
                         std::to_wstring(worker) + L" " + std::to_wstring(seconds) + L" " +
                         std::to_wstring(seed);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    throw std::runtime_error("a worker could not be started");
  }
  CloseHandle(process.hThread);
  return process.hProcess;
}

void InsertSharedRows(tdefault::platform::Platform& platform, const fs::path& folder) {
  const auto access = tdefault::tables::MakeTableAccess(platform);
  const auto connection = tdefault::tests::Connect(*access, folder.wstring());
  for (int number = 0; number < tdefault::tests::kSharedRows; ++number) {
    static_cast<void>(connection->Execute(
        tdefault::tests::InsertStatement(tdefault::tests::SharedId(number), 0)));
  }
  connection->Close();
}

int Coordinate(int seconds, int processes, int seed) {
  tdefault::platform::win32::Win32Platform adapter;
  TableFolder folder;
  InsertSharedRows(adapter.platform(), folder.path());
  std::vector<HANDLE> workers;
  for (int worker = 0; worker < processes; ++worker)
    workers.push_back(StartWorker(folder.path(), worker, seconds, seed + worker));
  const auto patience = static_cast<DWORD>(seconds * 1000 + 240000);
  for (const HANDLE worker : workers) {
    // One that hangs is ended: its report is then missing.
    if (WaitForSingleObject(worker, patience) != WAIT_OBJECT_0) TerminateProcess(worker, 1);
    CloseHandle(worker);
  }
  std::vector<WorkReport> reports;
  for (int worker = 0; worker < processes; ++worker)
    reports.push_back(tdefault::tests::FromLines(ReadAll(ReportPath(folder.path(), worker))));
  const auto verdict = tdefault::tests::Judge(adapter.platform(), folder.path().wstring(), reports);
  std::cout << "seed " << seed << ", " << seconds << " seconds, " << ToUtf8(verdict.summary)
            << '\n';
  for (const std::wstring& wrong : verdict.wrong) std::cout << "WRONG: " << ToUtf8(wrong) << '\n';
  if (!verdict.wrong.empty()) {
    folder.Keep();
    std::cout << "the table is kept in " << folder.path().string() << '\n';
    return 1;
  }
  std::cout << "every acknowledged change is there once\n";
  return 0;
}

int WorkAsTold(char** arguments) {
  tdefault::platform::win32::Win32Platform adapter;
  const tdefault::tests::WorkOrder order{
      .folder = fs::path(arguments[0]).wstring(),
      .worker = std::stoi(arguments[1]),
      .seconds = static_cast<std::uint32_t>(std::stoi(arguments[2])),
      .seed = static_cast<std::uint64_t>(std::stoi(arguments[3]))};
  const WorkReport report = tdefault::tests::Work(adapter.platform(), order);
  WriteAll(ReportPath(arguments[0], order.worker), tdefault::tests::ToLines(report));
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    if (count == 6 && std::string(arguments[1]) == "--worker") return WorkAsTold(arguments + 2);
    const int seconds = count > 1 ? std::stoi(arguments[1]) : 3;
    const int processes = count > 2 ? std::stoi(arguments[2]) : 2;
    return Coordinate(seconds, processes, count > 3 ? std::stoi(arguments[3]) : 1);
  } catch (const std::exception& error) {
    std::cerr << "table_stress: " << error.what() << '\n';
    return 2;
  }
}
