// A save of the sample shop on the embedded engine, with the platform calls of it failing, those of
// loading the catalogue again included.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"
#include "integration/sample_shop.h"

using namespace tdefault;
using platform::simulation::RecordedCall;
using testing::ErrorOf;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;
using testing::SampleShop;

namespace {

const std::wstring kLocalOld = L"C:\\Windows\\TOVO.old";
const std::wstring kGlobalOld = kShopFolder + L"\\TOVOGBL.old";

class CountingHost final : public catalogue::OptionsEvents {
 public:
  // The number of calls that the machine has had when Modified is raised.
  explicit CountingHost(const SampleShop& shop) : shop_(shop) {}

  void Modified() override {
    ++modified;
    calls_before_modified = shop_.machine.call_count();
  }
  void Status(const std::wstring& /*program_status*/) override {}
  void DLLError(std::int32_t /*number*/, const std::wstring& /*description*/) override { ++errors; }

  int modified = 0;
  int errors = 0;
  std::size_t calls_before_modified = 0;

 private:
  const SampleShop& shop_;
};

// A started shop with one option changed in each file.
struct ChangedShop {
  ChangedShop() {
    // Most of a save is writing values, which are not what this is about: short files do.
    shop.machine.PutFile(kShopLocalIni, kLocal);
    shop.machine.PutFile(kShopGlobalIni, kGlobal);
    REQUIRE(shop.options.Initialize());
    shop.options.ListenTo(&host);
    shop.Find(L"Defaults", L"WorkstationName")->SetNewValue(L"BACK OFFICE");
    shop.Find(L"Backup", L"Generations")->SetNewValue(L"9");
    first_call = shop.machine.call_count() + 1;
  }

  void Save() {
    error = ErrorOf([&] { return saved = shop.options.Save(); });
  }

  [[nodiscard]] std::string Content(const std::wstring& path) const {
    return shop.machine.Contents(path).value_or("(missing)");
  }

  static constexpr const char* kLocal =
      "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\nWorkstationName=FRONT\r\n[Companyname]\r\nLocation="
      "3"
      "\r\n";
  static constexpr const char* kGlobal = "[Backup]\r\nGenerations=7\r\n";

  SampleShop shop;
  CountingHost host{shop};
  std::size_t first_call = 0;  // of the save
  bool saved = false;
  std::optional<Error> error;
};

// A save that nothing disturbs.
struct GoodSave {
  GoodSave() {
    ChangedShop good;
    good.Save();
    REQUIRE(good.saved);
    REQUIRE(good.host.modified == 1);
    local = good.Content(kShopLocalIni);
    global = good.Content(kShopGlobalIni);
    calls = good.shop.machine.calls();
    first_call = good.first_call;
    first_of_loading = good.host.calls_before_modified + 1;
  }

  std::string local;
  std::string global;
  std::vector<RecordedCall> calls;
  std::size_t first_call = 0;
  std::size_t first_of_loading = 0;
};

bool IsFileCall(const RecordedCall& call) {
  return call.operation == "Open" || call.operation == "Size" || call.operation == "ReadAt";
}

bool IsOpening(const RecordedCall& call) {
  return call.operation == "Open" || call.operation == "Enumerate";
}

// What the engine reports for a call that failed with the code.
std::int32_t NumberOf(const RecordedCall& call, std::uint32_t code) {
  if (code == platform::system_code::kAccessDenied) return error_number::kNoPermission;
  // A folder cannot be in use by another.
  return IsFileCall(call) ? error_number::kInUseByAnother : error_number::kTableDamaged;
}

// The business types do without their table: an error of theirs is not raised.
bool MustBeRaised(const RecordedCall& call) {
  return IsFileCall(call) && ToLower(call.path).find(L"options.dbf") == std::wstring::npos;
}

void CheckSaved(const ChangedShop& run, const GoodSave& good) {
  CHECK(run.Content(kShopLocalIni) == good.local);
  CHECK(run.Content(kShopGlobalIni) == good.global);
  CHECK(run.Content(kLocalOld) == ChangedShop::kLocal);
  CHECK(run.Content(kGlobalOld) == ChangedShop::kGlobal);
  CHECK(run.host.modified == 1);
  CHECK(run.host.errors == 0);
}

bool HasTemporaryFile(const ChangedShop& run) {
  const auto files = run.shop.machine.AllFiles();
  return std::any_of(files.begin(), files.end(), [](const std::wstring& path) {
    return path.find(L".tmp") != std::wstring::npos;
  });
}

}  // namespace

TEST_CASE("loading again after a save reads tables, and its failing calls can be told apart") {
  const GoodSave good;
  std::set<std::string> operations;
  std::set<std::wstring> files;
  for (std::size_t call = good.first_of_loading; call <= good.calls.size(); ++call) {
    operations.insert(good.calls[call - 1].operation);
    const std::wstring& path = good.calls[call - 1].path;
    if (IsFileCall(good.calls[call - 1])) files.insert(ToLower(path.substr(path.rfind(L'\\') + 1)));
  }
  for (const char* operation : {"Open", "Size", "ReadAt", "ReadEntry"})
    CHECK(operations.count(operation) == 1);
  CHECK(files == std::set<std::wstring>{L"defaults.dbf", L"defaults.fpt", L"options.dbf",
                                        L"reports.dbf", L"reports.fpt"});
}

TEST_CASE("a call of loading again that fails leaves the save done and is raised by it") {
  const GoodSave good;
  // The last listing of the data folder is that for the reports' connection.
  std::size_t first_of_reports = good.calls.size();
  while (good.calls[first_of_reports - 1].operation != "Enumerate") --first_of_reports;
  std::size_t raised = 0;
  for (std::size_t call = good.first_of_loading; call <= good.calls.size(); ++call) {
    const RecordedCall& failing = good.calls[call - 1];
    // A value that cannot be read is "Not found"; a few of those will do.
    if (failing.operation == "ReadEntry" && call % 40 != 0) continue;
    for (const std::uint32_t code :
         {platform::system_code::kAccessDenied, platform::system_code::kSharingViolation}) {
      // Where the engine opens, the code decides what it says; elsewhere one will do.
      if (!IsOpening(failing) && code != platform::system_code::kSharingViolation) continue;
      CAPTURE(call);
      CAPTURE(code);
      CAPTURE(failing.operation);
      CAPTURE(failing.path);
      ChangedShop run;
      run.shop.machine.FailCall(call, code);
      run.Save();
      CheckSaved(run, good);
      CHECK_FALSE(HasTemporaryFile(run));
      CHECK(run.shop.machine.open_handles() == 0);
      if (IsFileCall(failing)) CHECK(run.error.has_value() == MustBeRaised(failing));
      if (run.error) {
        ++raised;
        // The reports are loaded behind the options.
        const std::wstring source =
            call < first_of_reports ? L"InitOptCollection" : L"Reports:Class_Initialize";
        CHECK(run.error->source() == source);
        CHECK(run.error->number() == NumberOf(failing, code));
      } else {
        CHECK(run.saved);
      }
      run.shop.options.Refresh();
      CHECK(run.shop.options.Count() == 164);
      CHECK(run.shop.Find(L"Backup", L"Generations")->CurrentValue() == L"9");
      CHECK(run.shop.machine.open_handles() == 0);
    }
  }
  CHECK(raised > 10);
}

TEST_CASE("a failing call of a save on real tables leaves both files as before or saved") {
  const GoodSave good;
  for (std::size_t call = good.first_call; call < good.first_of_loading; ++call) {
    const RecordedCall& failing = good.calls[call - 1];
    if (failing.operation == "WriteEntry" && call % 40 != 0) continue;
    CAPTURE(call);
    CAPTURE(failing.operation);
    ChangedShop run;
    run.shop.machine.TearWrites();
    run.shop.machine.FailCall(call, platform::system_code::kDiskFull);
    run.Save();
    CHECK_FALSE(run.error);
    CHECK_FALSE(HasTemporaryFile(run));
    CHECK(run.shop.machine.open_handles() == 0);
    if (run.saved) {
      // Without the local file's path, which one of these calls finds, only the other is saved.
      if (failing.operation == "Locate") continue;
      CheckSaved(run, good);
      continue;
    }
    CHECK(run.host.modified == 0);
    CHECK(run.Content(kShopLocalIni) == ChangedShop::kLocal);
    CHECK(run.Content(kShopGlobalIni) == ChangedShop::kGlobal);
  }
}
