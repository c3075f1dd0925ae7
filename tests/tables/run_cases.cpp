// Runs scripts through the table access that the environment chooses: natively on a simulated
// machine, on Windows in a folder of its own under the current one. run_table_cases FILE...
#include <memory>
#include <string>

#include "tables/access_store.h"
#include "tables/table_access_choice.h"

#ifdef _WIN32
#include <filesystem>
#include <fstream>

#include "platform/win32/win32_platform.h"
#else
#include "platform/simulation/simulation.h"
#endif

namespace {

using namespace tdefault;
using namespace tdefault::tests;

#ifdef _WIN32

class Machine final : public CaseFolder {
 public:
  Machine() : folder_(std::filesystem::current_path() / L"table_cases") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }

  [[nodiscard]] std::wstring path() const override { return folder_.wstring(); }
  void Put(const std::wstring& name, const std::string& bytes) override {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
  }
  void Remove(const std::wstring& name) override { std::filesystem::remove(folder_ / name); }
  platform::Platform& platform() { return win32_.platform(); }

 private:
  std::filesystem::path folder_;
  platform::win32::Win32Platform win32_;
};

#else

class Machine final : public CaseFolder {
 public:
  Machine() { simulation_.AddFolder(path()); }

  [[nodiscard]] std::wstring path() const override { return L"C:\\Data"; }
  void Put(const std::wstring& name, const std::string& bytes) override {
    simulation_.PutFile(path() + L"\\" + name, bytes);
  }
  void Remove(const std::wstring& name) override {
    if (simulation_.Exists(path() + L"\\" + name)) simulation_.RemoveFile(path() + L"\\" + name);
  }
  platform::Platform& platform() { return simulation_.platform(); }

 private:
  platform::simulation::Simulation simulation_;
};

#endif

}  // namespace

int main(int argument_count, char** arguments) {
  Machine machine;
  const auto access = tables::MakeTableAccess(machine.platform());
  return RunScriptFiles(argument_count - 1, arguments + 1, *access, machine);
}
