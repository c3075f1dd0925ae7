#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/error.h"
#include "unit/catalogue/shop.h"
#include "unit/forwarding_files.h"

using namespace tdefault;
using testing::Definition;
using testing::kGlobalIni;
using testing::kGlobalOld;
using testing::kLocalIni;
using testing::kLocalOld;
using testing::NumberOf;
using testing::Shop;

namespace {

constexpr const char* kLocalBefore =
    "; workstation\r\n[Defaults]\r\nDataPath=C:\\SHOP\r\n\r\n[Companyname]\r\nLocation=3\r\n[S]\r\n"
    "local=old\r\n";
constexpr const char* kGlobalBefore = "; shop\r\n[S]\r\nglobal=old\r\nthird=old\r\nlast=old\r\n";

void PutInis(Shop& shop) {
  shop.machine.PutFile(kLocalIni, kLocalBefore);
  shop.machine.PutFile(kGlobalIni, kGlobalBefore);
}

// A local option, then three global ones.
void LoadFour(Shop& shop) {
  PutInis(shop);
  shop.Define({L"LOCAL", true, L"S", 0, L"local"});
  shop.Define({L"GLOBAL", false, L"S", 0, L"global"});
  shop.Define({L"THIRD", false, L"S", 0, L"third"});
  shop.Define({L"LAST", false, L"S", 0, L"last"});
  REQUIRE(shop.options.Initialize());
}

void LoadOne(Shop& shop, Definition definition) {
  PutInis(shop);
  shop.Define(definition);
  REQUIRE(shop.options.Initialize());
}

bool HasTemporaryFile(const Shop& shop) {
  const auto files = shop.machine.AllFiles();
  return std::any_of(files.begin(), files.end(), [](const std::wstring& path) {
    return path.find(L".tmp") != std::wstring::npos;
  });
}

// Files of a system that makes temporary files in the root folder for an empty folder name.
class RootedFiles final : public tests::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;

  platform::SystemResult<std::wstring> CreateUnique(const std::wstring& folder,
                                                    const std::wstring& prefix) override {
    return ForwardingFiles::CreateUnique(folder.empty() ? L"\\" : folder, prefix);
  }
};

// Profile files whose every write has the catalogue loaded again, as a host's handler might.
class ReloadingProfileFiles final : public platform::ProfileFiles {
 public:
  explicit ReloadingProfileFiles(platform::ProfileFiles& profile_files)
      : profile_files_(profile_files) {}

  void Reload(catalogue::Options& options) { options_ = &options; }
  int reloads() const { return reloads_; }

  std::wstring ReadEntry(const std::wstring& section, const std::wstring& key,
                         const std::wstring& fallback, std::uint32_t capacity,
                         const std::wstring& file) override {
    return profile_files_.ReadEntry(section, key, fallback, capacity, file);
  }
  std::wstring ReadSection(const std::wstring& section, std::uint32_t capacity,
                           const std::wstring& file) override {
    return profile_files_.ReadSection(section, capacity, file);
  }
  std::int32_t WriteEntry(const std::wstring& section, const std::optional<std::wstring>& key,
                          const std::optional<std::wstring>& value,
                          const std::wstring& file) override {
    const std::int32_t written = profile_files_.WriteEntry(section, key, value, file);
    options_->Refresh();
    ++reloads_;
    return written;
  }

 private:
  platform::ProfileFiles& profile_files_;
  catalogue::Options* options_ = nullptr;
  int reloads_ = 0;
};

// The number of the Nth call of the operation from now on. A second shop that does the same tells.
std::size_t NumberOfNth(const Shop& shop, const std::string& operation, std::size_t nth) {
  Shop twin;
  LoadFour(twin);
  const std::size_t before = twin.machine.call_count();
  twin.options.Save();
  for (std::size_t i = before; i < twin.machine.call_count(); ++i)
    if (twin.machine.calls()[i].operation == operation && --nth == 0)
      return shop.machine.call_count() + (i - before) + 1;
  FAIL("no such call");
  return 0;
}

void FailNth(Shop& shop, const std::string& operation, std::size_t nth, std::uint32_t code) {
  shop.machine.FailCall(NumberOfNth(shop, operation, nth), code);
}

void CheckUntouched(const Shop& shop) {
  CHECK(shop.local() == kLocalBefore);
  CHECK(shop.global() == kGlobalBefore);
  CHECK_FALSE(HasTemporaryFile(shop));
  CHECK(shop.machine.open_handles() == 0);
}

}  // namespace

TEST_CASE("a save writes every option into its file and tells Modified") {
  Shop shop;
  LoadFour(shop);
  shop.SetNew(L"LOCAL", L"new");
  shop.SetNew(L"LAST", L"newer");
  CHECK(shop.options.Save());
  CHECK(shop.local() ==
        "; workstation\r\n[Defaults]\r\nDataPath=C:\\SHOP\r\n\r\n[Companyname]\r\nLocation=3\r\n[S]"
        "\r\nlocal=new\r\n");
  CHECK(shop.global() == "; shop\r\n[S]\r\nglobal=old\r\nthird=old\r\nlast=newer\r\n");
  CHECK(shop.host.modified == 1);
  CHECK(shop.host.errors.empty());
  CHECK_FALSE(HasTemporaryFile(shop));
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("after a save the previous files stand beside the new ones, in place of older ones") {
  Shop shop;
  LoadFour(shop);
  shop.machine.PutFile(kLocalOld, "older");
  shop.machine.PutFile(kGlobalOld, "older");
  shop.SetNew(L"LOCAL", L"new");
  CHECK(shop.options.Save());
  CHECK(shop.machine.Contents(kLocalOld) == kLocalBefore);
  CHECK(shop.machine.Contents(kGlobalOld) == kGlobalBefore);
}

TEST_CASE("after a save the catalogue is loaded again, with what the files now hold") {
  Shop shop;
  LoadFour(shop);
  const auto held = shop.options.Item(std::wstring(L"LOCAL"));
  const auto reports = shop.options.ReportTypes();
  held->SetNewValue(L"new");
  CHECK(shop.options.Save());
  CHECK(shop.ValueOf(L"LOCAL") == L"new");
  CHECK(shop.options.Item(std::wstring(L"LOCAL")) != held);
  CHECK(held->CurrentValue() == L"old");
  CHECK(shop.options.ReportTypes() != reports);
}

TEST_CASE("Modified is told before the catalogue is loaded again") {
  struct Watcher final : catalogue::OptionsEvents {
    explicit Watcher(Shop& watched) : shop(watched) {}
    void Modified() override { value = shop.ValueOf(L"LOCAL"); }
    void Status(const std::wstring& /*text*/) override {}
    void DLLError(std::int32_t /*number*/, const std::wstring& /*description*/) override {}
    Shop& shop;
    std::wstring value;
  };
  Shop shop;
  LoadFour(shop);
  Watcher watcher(shop);
  shop.options.ListenTo(&watcher);
  shop.SetNew(L"LOCAL", L"new");
  CHECK(shop.options.Save());
  CHECK(watcher.value == L"old");
}

TEST_CASE("a catalogue without a listener saves and fails as well") {
  Shop shop;
  LoadFour(shop);
  shop.options.ListenTo(nullptr);
  CHECK(shop.options.Save());
  shop.machine.RemoveFile(kGlobalIni);
  CHECK_FALSE(shop.options.Save());
}

TEST_CASE("untouched options are written back, cut to 80 characters and absent ones as Not found") {
  Shop shop;
  shop.machine.PutFile(kGlobalIni, "[S]\r\nlong=" + std::string(100, 'x') + "\r\n");
  shop.Define({L"A", false, L"S", 0, L"long"});
  shop.Define({L"B", false, L"S", 0, L"absent"});
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Save());
  CHECK(shop.global() == "[S]\r\nlong=" + std::string(80, 'x') + "\r\nabsent=Not found\r\n");
}

TEST_CASE("an option of any other type is written plainly") {
  for (const std::int32_t type : {0, 1, 2, 4, 5, 8, 9, -1, 77}) {
    CAPTURE(type);
    Shop shop;
    LoadOne(shop, {L"A", false, L"S", type, L"ReportDevice"});
    shop.SetNew(L"A", L"a|b|c|d|e|f|g");
    CHECK(shop.options.Save());
    CHECK(shop.global().find("ReportDevice=a|b|c|d|e|f|g\r\n") != std::string::npos);
  }
}

TEST_CASE("the key deddtldsply is written as any other") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 0, L"DedDtlDsply"});
  shop.SetNew(L"A", L"1");
  CHECK(shop.options.Save());
  CHECK(shop.global().find("DedDtlDsply=1\r\n") != std::string::npos);
}

TEST_CASE("a report font is spread over its keys and not written under its own") {
  Shop shop;
  LoadOne(shop, {L"A", true, L"S", 7, L"Font"});
  shop.SetNew(L"A", L"Arial|10|0|0|0|-1|255");
  CHECK(shop.options.Save());
  CHECK(shop.local().find("[Windows]\r\nReportFont=Arial\r\nReportFontSize=10\r\n") !=
        std::string::npos);
  CHECK(shop.local().find("\r\nFont=") == std::string::npos);
}

TEST_CASE("a report font that was never set does not fail a save") {
  Shop shop;
  LoadOne(shop, {L"A", true, L"S", 7, L"Font"});
  CHECK(shop.ValueOf(L"A") == L"Not found");
  CHECK(shop.options.Save());
  CHECK(shop.local() == kLocalBefore);
}

TEST_CASE("an invoice style is spread over its three keys") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 6, L"Style"});
  shop.SetNew(L"A", L"inv2");
  CHECK(shop.options.Save());
  CHECK(shop.global() == std::string(kGlobalBefore) +
                             "[InvoiceControl]\r\nInvoiceStyle=INV2\r\nDedInvoiceStyle=INV2D\r\n"
                             "FaxReport=INV2\r\n");
}

TEST_CASE("a choice option is written under its key") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 3, L"Color"});
  shop.SetNew(L"A", L"red");
  CHECK(shop.options.Save());
  CHECK(shop.global().find("Color=red\r\n") != std::string::npos);
}

TEST_CASE("without a local INI file only the global options are saved") {
  Shop shop;
  PutInis(shop);
  shop.options.SetDataPath(L"C:\\SHOP");
  shop.machine.RemoveFile(kLocalIni);
  shop.Define({L"LOCAL", true, L"S", 0, L"local"});
  shop.Define({L"GLOBAL", false, L"S", 0, L"global"});
  REQUIRE(shop.options.Initialize());
  shop.SetNew(L"LOCAL", L"new");
  shop.SetNew(L"GLOBAL", L"new");
  CHECK(shop.options.Save());
  CHECK(shop.global().find("global=new\r\n") != std::string::npos);
  CHECK(shop.machine.Contents(kGlobalOld) == kGlobalBefore);
  CHECK_FALSE(shop.machine.Exists(kLocalIni));
  CHECK_FALSE(shop.machine.Exists(kLocalOld));
  CHECK_FALSE(HasTemporaryFile(shop));
  CHECK(shop.host.modified == 1);
}

TEST_CASE("when the third write fails the later ones are not made and the first two are undone") {
  Shop shop;
  LoadFour(shop);
  for (const wchar_t* id : {L"LOCAL", L"GLOBAL", L"THIRD", L"LAST"}) shop.SetNew(id, L"new");
  FailNth(shop, "WriteEntry", 3, platform::system_code::kDiskFull);
  CHECK_FALSE(shop.options.Save());
  CHECK(shop.CallsOf("WriteEntry") == 3);
  CheckUntouched(shop);
  CHECK(shop.host.modified == 0);
  CHECK(shop.host.errors.empty());
  CHECK_FALSE(shop.machine.Exists(kLocalOld));
  CHECK(shop.options.Item(std::wstring(L"LAST"))->NewValue() == L"new");
}

TEST_CASE("a failed save puts the local file back first, then the global one") {
  Shop shop;
  LoadFour(shop);
  for (const wchar_t* id : {L"LOCAL", L"GLOBAL", L"THIRD", L"LAST"}) shop.SetNew(id, L"new");
  FailNth(shop, "WriteEntry", 3, platform::system_code::kDiskFull);
  CHECK_FALSE(shop.options.Save());
  std::vector<std::wstring> moves;
  for (const auto& call : shop.machine.calls())
    if (call.operation == "Replace") moves.push_back(call.path + L" " + call.target);
  CHECK(moves == std::vector<std::wstring>{L"C:\\Windows\\tov0001.tmp C:\\Windows\\TOVO.INI",
                                           L"C:\\SHOP\\tov0002.tmp C:\\SHOP\\TOVOGBL.INI"});
}

TEST_CASE("a failed save leaves older previous versions alone") {
  Shop shop;
  LoadFour(shop);
  shop.machine.PutFile(kLocalOld, "older");
  FailNth(shop, "WriteEntry", 1, platform::system_code::kDiskFull);
  CHECK_FALSE(shop.options.Save());
  CHECK(shop.machine.Contents(kLocalOld) == "older");
}

TEST_CASE("a kit choice in another section is only written") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 3, L"KITCHOICE"});
  shop.SetNew(L"A", L"2");
  CHECK(shop.options.Save());
  CHECK(shop.global().find("KITCHOICE=2\r\n") != std::string::npos);
}

TEST_CASE("a kit choice of another type or a longer key is only written") {
  Shop shop;
  PutInis(shop);
  shop.Define({L"A", false, L"OPTIONS", 0, L"KITCHOICE"});
  shop.Define({L"B", false, L"OPTIONS", 3, L"KITCHOICE2"});
  REQUIRE(shop.options.Initialize());
  shop.SetNew(L"A", L"1");
  shop.SetNew(L"B", L"1");
  CHECK(shop.options.Save());
}

TEST_CASE("a kit choice that differs in letter case only updates no kits") {
  Shop shop;
  PutInis(shop);
  shop.machine.PutFile(kGlobalIni, "[OPTIONS]\r\nKITCHOICE=abc\r\n");
  shop.Define({L"A", false, L"OPTIONS", 3, L"KITCHOICE"});
  REQUIRE(shop.options.Initialize());
  shop.SetNew(L"A", L"ABC");
  CHECK(shop.options.Save());
  CHECK(shop.global() == "[OPTIONS]\r\nKITCHOICE=ABC\r\n");
}

TEST_CASE("the kit update is reached although the write before it failed") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"OPTIONS", 3, L"KITCHOICE"});
  shop.SetNew(L"A", L"2");
  shop.machine.FailNext("WriteEntry", platform::system_code::kDiskFull);
  CHECK_FALSE(shop.options.Save());
  // It clears the status at its end.
  CHECK(shop.host.statuses == std::vector<std::wstring>{L""});
  CHECK(shop.host.errors.empty());
  CheckUntouched(shop);
}

TEST_CASE("changing the numbering option in any section looks at the site's counters") {
  for (const bool has_table : {true, false}) {
    Shop shop;
    LoadOne(shop, {L"A", false, L"Anything", 3, L"MakeWOandInvoiceSameNumber"});
    const std::wstring query = L"SELECT * FROM Numbers WHERE Location = 3";
    if (has_table) shop.tables.store.results[query].columns = {L"NAME", L"NUMBER"};
    shop.SetNew(L"A", L"True");
    CHECK(shop.options.Save() == has_table);
    CHECK(std::count(shop.tables.store.log.begin(), shop.tables.store.log.end(),
                     L"recordset.open 1 2 " + query) == 1);
    CHECK(shop.host.errors.empty());
    CHECK(shop.host.modified == (has_table ? 1 : 0));
    if (!has_table) CheckUntouched(shop);
  }
}

TEST_CASE("a numbering option that is no Boolean is a type mismatch that names it") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 3, L"MAKEWOANDINVOICESAMENUMBER"});
  shop.SetNew(L"A", L"perhaps");
  CHECK_FALSE(shop.options.Save());
  REQUIRE(shop.host.errors.size() == 1);
  CHECK(shop.host.errors[0].number == 13);
  CHECK(
      shop.host.errors[0].description ==
      L"Options:SaveChanges, Type mismatch: option MAKEWOANDINVOICESAMENUMBER of section S is set "
      L"to 'perhaps', which is neither True nor False");
  CheckUntouched(shop);
}

TEST_CASE("an untouched numbering option adjusts nothing") {
  Shop shop;
  LoadOne(shop, {L"A", false, L"S", 3, L"MAKEWOANDINVOICESAMENUMBER"});
  CHECK(shop.options.Save());
}

TEST_CASE("a missing global INI file fails the save with error 53 and says what to do") {
  Shop shop;
  LoadFour(shop);
  shop.machine.RemoveFile(kGlobalIni);
  shop.SetNew(L"LOCAL", L"new");
  CHECK_FALSE(shop.options.Save());
  REQUIRE(shop.host.errors.size() == 1);
  CHECK(shop.host.errors[0].number == 53);
  CHECK(
      shop.host.errors[0].description ==
      L"MakeTempCopy:SaveChanges, The file 'C:\\SHOP\\TOVOGBL.INI' could not be copied to "
      L"'C:\\SHOP\\tov0002.tmp': The system cannot find the file specified. A file that cannot be "
      L"backed up is not written, so nothing was saved. If its folder is the right one, create an "
      L"empty file of that name and save again.");
  CHECK(shop.CallsOf("WriteEntry") == 0);
  CHECK(shop.local() == kLocalBefore);
  CHECK_FALSE(shop.machine.Exists(kGlobalIni));
  CHECK_FALSE(HasTemporaryFile(shop));
}

TEST_CASE("a folder that takes no temporary file fails the save before the first write") {
  Shop shop;
  LoadFour(shop);
  shop.machine.FailNext("CreateUnique", platform::system_code::kAccessDenied);
  CHECK_FALSE(shop.options.Save());
  REQUIRE(shop.host.errors.size() == 1);
  CHECK(shop.host.errors[0].number == 75);
  CHECK(shop.host.errors[0].description.find(L"in the folder 'C:\\Windows'") != std::wstring::npos);
  CHECK(shop.CallsOf("WriteEntry") == 0);
  CheckUntouched(shop);
}

TEST_CASE("a read-only INI file fails the save and stays as it is") {
  Shop shop;
  LoadFour(shop);
  shop.machine.SetReadOnly(kGlobalIni);
  shop.SetNew(L"LOCAL", L"new");
  shop.SetNew(L"GLOBAL", L"new");
  CHECK_FALSE(shop.options.Save());
  CHECK(shop.host.errors.empty());
  CHECK(shop.machine.IsReadOnly(kGlobalIni));
  CheckUntouched(shop);
}

TEST_CASE("an INI file that another program keeps from being written fails the save and stays") {
  Shop shop;
  LoadFour(shop);
  shop.SetNew(L"LOCAL", L"new");
  {
    const auto held = shop.machine.HoldOpen(kGlobalIni, platform::FileShare::kRead);
    CHECK_FALSE(shop.options.Save());
  }
  CHECK(shop.host.errors.empty());
  CheckUntouched(shop);
}

TEST_CASE("a changed file that another program keeps from being replaced is told with its backup") {
  Shop shop;
  PutInis(shop);
  shop.Define({L"A", false, L"S", 0, L"global"});
  // Its side effect raises an error.
  shop.Define({L"B", false, L"S", 3, L"MAKEWOANDINVOICESAMENUMBER"});
  REQUIRE(shop.options.Initialize());
  shop.SetNew(L"A", L"new");
  shop.SetNew(L"B", L"perhaps");
  {
    const auto held = shop.machine.HoldOpen(kGlobalIni, platform::FileShare::kReadWrite);
    CHECK_FALSE(shop.options.Save());
  }
  CHECK(shop.local() == kLocalBefore);
  REQUIRE(shop.host.errors.size() == 1);
  CHECK(shop.host.errors[0].number == error_number::kTypeMismatch);
  const std::wstring& text = shop.host.errors[0].description;
  CHECK(text.find(
            L"The file 'C:\\SHOP\\TOVOGBL.INI' could not be put back as it was before the save. "
            L"Its content from before is in 'C:\\SHOP\\tov") != std::wstring::npos);
  const std::size_t start = text.find(L"C:\\SHOP\\tov");
  const std::wstring backup = text.substr(start, text.find(L'\'', start) - start);
  CHECK(shop.machine.Contents(backup) == kGlobalBefore);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a previous version that cannot be replaced fails the save and puts both files back") {
  for (const std::wstring& old : {kLocalOld, kGlobalOld}) {
    CAPTURE(old);
    Shop shop;
    LoadFour(shop);
    shop.machine.PutFile(kLocalOld, "older");
    shop.machine.PutFile(kGlobalOld, "older");
    for (const wchar_t* id : {L"LOCAL", L"GLOBAL"}) shop.SetNew(id, L"new");
    {
      const auto held = shop.machine.HoldOpen(old);
      CHECK_FALSE(shop.options.Save());
    }
    CheckUntouched(shop);
    // The local file's previous version is settled first, and stays renewed when the global one's
    // fails: it then holds what the local file holds.
    CHECK(shop.machine.Contents(kLocalOld) == (old == kLocalOld ? "older" : kLocalBefore));
    CHECK(shop.machine.Contents(kGlobalOld) == "older");
    REQUIRE(shop.host.errors.size() == 1);
    CHECK(shop.host.errors[0].number == 70);
    CHECK(shop.host.errors[0].description.find(L"could not be kept as '" + old + L"'") !=
          std::wstring::npos);
    CHECK(shop.host.modified == 0);
  }
}

TEST_CASE("a move that is refused for a moment is made at the second attempt") {
  for (const std::size_t nth : {1, 2}) {
    Shop shop;
    LoadFour(shop);
    FailNth(shop, "Replace", nth, platform::system_code::kSharingViolation);
    CHECK(shop.options.Save());
    CHECK(shop.CallsOf("Replace") == 3);
    CHECK(shop.CallsOf("CreateUnique") == 2);
    CHECK(shop.machine.pauses().size() == 1);
    CHECK(shop.machine.Contents(kGlobalOld) == kGlobalBefore);
    CHECK_FALSE(HasTemporaryFile(shop));
  }
}

TEST_CASE("a backup that cannot be moved at all is copied") {
  Shop shop;
  LoadFour(shop);
  const std::size_t move = NumberOfNth(shop, "Replace", 1);
  shop.machine.FailCall(move, platform::system_code::kSharingViolation);
  // The next attempt comes behind a pause and the target's read-only mark.
  shop.machine.FailCall(move + 3, platform::system_code::kSharingViolation);
  CHECK(shop.options.Save());
  CHECK(shop.machine.calls()[move + 2].operation == "Replace");
  CHECK(shop.CallsOf("CreateUnique") == 3);
  CHECK(shop.machine.Contents(kLocalOld) == kLocalBefore);
  CHECK(shop.machine.Contents(kGlobalOld) == kGlobalBefore);
  CHECK_FALSE(HasTemporaryFile(shop));
}

TEST_CASE("a read-only previous version is replaced") {
  Shop shop;
  LoadFour(shop);
  shop.machine.PutFile(kGlobalOld, "older");
  shop.machine.SetReadOnly(kGlobalOld);
  CHECK(shop.options.Save());
  CHECK(shop.machine.Contents(kGlobalOld) == kGlobalBefore);
}

TEST_CASE("a file path too short to name its previous version is an overflow and is put back") {
  Shop shop;
  shop.machine.PutFile(kGlobalIni, kGlobalBefore);
  shop.machine.PutFile(L"C:\\x", "[S]\r\nlocal=old\r\n");
  shop.Define({L"LOCAL", true, L"S", 0, L"local"});
  RootedFiles files(shop.machine.platform().files);
  platform::Platform& machine = shop.machine.platform();
  platform::Platform rooted{
      machine.profile_files, files,           machine.session,  machine.clock,
      machine.guid_source,   machine.dialogs, machine.registry, machine.processes,
      machine.drives};
  catalogue::Options options(rooted, shop.tables, shop.location);
  options.ListenTo(&shop.host);
  options.SetDataPath(L"C:\\SHOP");
  options.SetINIFile(L"\\x");
  options.Item(1)->SetNewValue(L"new");
  CHECK_FALSE(options.Save());
  REQUIRE(shop.host.errors.size() == 1);
  CHECK(shop.host.errors[0].number == 6);
  CHECK(shop.host.errors[0].description ==
        L"Options:SaveChanges, Overflow: the path '\\x' is too short to name its previous version");
  CHECK(shop.machine.Contents(L"C:\\x") == "[S]\r\nlocal=old\r\n");
  CHECK(shop.global() == kGlobalBefore);
  CHECK_FALSE(HasTemporaryFile(shop));
}

TEST_CASE(
    "an INI file that its previous version would overwrite is refused before the first write") {
  for (const wchar_t* path : {L"C:\\X\\SHOP.OLD", L"C:\\X\\shop.old", L"C:\\X\\threshOld"}) {
    CAPTURE(path);
    Shop shop;
    shop.machine.PutFile(kGlobalIni, kGlobalBefore);
    shop.machine.PutFile(path, kLocalBefore);
    shop.Define({L"LOCAL", true, L"S", 0, L"local"});
    shop.Define({L"GLOBAL", false, L"S", 0, L"global"});
    shop.options.SetDataPath(L"C:\\SHOP");
    shop.options.SetINIFile(path);
    for (const wchar_t* id : {L"LOCAL", L"GLOBAL"}) shop.SetNew(id, L"new");
    CHECK_FALSE(shop.options.Save());
    REQUIRE(shop.host.errors.size() == 1);
    CHECK(shop.host.errors[0].number == 75);
    CHECK(shop.host.errors[0].description ==
          L"Options:SaveChanges, The file '" + std::wstring(path) +
              L"' cannot be saved, because its previous version would get the same name, so "
              L"nothing was saved. Use an INI file whose name does not end in \"old\".");
    CHECK(shop.CallsOf("WriteEntry") == 0);
    CHECK(shop.host.modified == 0);
    CHECK(shop.machine.Contents(path) == kLocalBefore);
    CHECK(shop.global() == kGlobalBefore);
    CHECK_FALSE(HasTemporaryFile(shop));
  }
}

TEST_CASE("a catalogue that is loaded again in the middle of its save writes what it began with") {
  Shop shop;
  LoadFour(shop);
  ReloadingProfileFiles profile_files(shop.machine.platform().profile_files);
  platform::Platform& machine = shop.machine.platform();
  platform::Platform reloading{profile_files,    machine.files,       machine.session,
                               machine.clock,    machine.guid_source, machine.dialogs,
                               machine.registry, machine.processes,   machine.drives};
  catalogue::Options options(reloading, shop.tables, shop.location);
  REQUIRE(options.Initialize());
  for (std::int32_t i = 1; i <= 4; ++i) options.Item(i)->SetNewValue(L"new");
  profile_files.Reload(options);
  CHECK(options.Save());
  CHECK(profile_files.reloads() == 4);
  CHECK(shop.local().find("local=new") != std::string::npos);
  CHECK(shop.global() == "; shop\r\n[S]\r\nglobal=new\r\nthird=new\r\nlast=new\r\n");
}

TEST_CASE("a save before start-up changes nothing and tells why") {
  Shop shop;
  shop.machine.RemoveFile(kLocalIni);
  CHECK_FALSE(shop.options.Save());
  CHECK(shop.host.errors.size() == 1);
  CHECK_FALSE(HasTemporaryFile(shop));
}

TEST_CASE("a save that succeeded raises what loading again raises") {
  Shop shop;
  LoadFour(shop);
  shop.SetNew(L"LOCAL", L"new");
  shop.tables.Fail("connection.open", Error(error_number::kTableDamaged, L"Engine", L"why"));
  CHECK(NumberOf([&] { return shop.options.Save(); }) == error_number::kTableDamaged);
  CHECK(shop.host.modified == 1);
  CHECK(shop.local().find("local=new") != std::string::npos);
  CHECK(shop.machine.Contents(kLocalOld) == kLocalBefore);
}

TEST_CASE("the steps of a save come in their order") {
  Shop shop;
  LoadFour(shop);
  const std::size_t before = shop.machine.call_count();
  CHECK(shop.options.Save());
  std::vector<std::wstring> steps;
  for (std::size_t i = before; i < shop.machine.call_count(); ++i) {
    const auto& call = shop.machine.calls()[i];
    if (call.operation == "ReadEntry" || call.operation == "Locate") continue;
    steps.push_back(FromUtf8(call.operation) + L" " + call.path +
                    (call.target.empty() ? L"" : L" " + call.target));
  }
  const std::vector<std::wstring> expected = {
      L"CreateUnique C:\\Windows",
      L"Copy C:\\Windows\\TOVO.INI C:\\Windows\\tov0001.tmp",
      L"ClearReadOnly C:\\Windows\\tov0001.tmp",
      L"CreateUnique C:\\SHOP",
      L"Copy C:\\SHOP\\TOVOGBL.INI C:\\SHOP\\tov0002.tmp",
      L"ClearReadOnly C:\\SHOP\\tov0002.tmp",
      L"WriteEntry C:\\Windows\\TOVO.INI",
      L"WriteEntry C:\\SHOP\\TOVOGBL.INI",
      L"WriteEntry C:\\SHOP\\TOVOGBL.INI",
      L"WriteEntry C:\\SHOP\\TOVOGBL.INI",
      L"Replace C:\\Windows\\tov0001.tmp C:\\Windows\\TOVO.old",
      L"Replace C:\\SHOP\\tov0002.tmp C:\\SHOP\\TOVOGBL.old"};
  CHECK(steps == expected);
}
