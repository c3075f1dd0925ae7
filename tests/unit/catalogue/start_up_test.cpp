#include <doctest/doctest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "unit/catalogue/shop.h"

using namespace tdefault;
using testing::ErrorOf;
using testing::kLocalIni;
using testing::NumberOf;
using testing::Shop;

TEST_CASE("a new catalogue is empty and asks nothing of the machine") {
  Shop shop;
  CHECK(shop.options.Count() == 0);
  CHECK(shop.options.ReportTypes() == nullptr);
  CHECK(shop.machine.call_count() == 0);
  CHECK(shop.tables.store.log.empty());
}

TEST_CASE("start-up checks folder and table, loads the options and then the reports") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  CHECK(shop.options.Initialize());
  CHECK(shop.options.Count() == 1);
  REQUIRE(shop.options.ReportTypes() != nullptr);
  std::vector<std::wstring> statements;
  for (const std::wstring& line : shop.tables.store.log)
    if (line.find(L"SELECT") != std::wstring::npos) statements.push_back(line);
  CHECK(statements == std::vector<std::wstring>{L"connection.execute SELECT * FROM DEFAULTS",
                                                L"recordset.open 0 1 SELECT * FROM REPORTS"});
  CHECK(shop.tables.nothing_open());
  CHECK(shop.machine.open_handles() == 0);
  CHECK(shop.machine.shown_boxes().empty());
}

TEST_CASE("start-up changes no file") {
  Shop shop;
  const std::string local = shop.local();
  const std::string global = shop.global();
  const auto files = shop.machine.AllFiles();
  CHECK(shop.options.Initialize());
  CHECK(shop.local() == local);
  CHECK(shop.global() == global);
  CHECK(shop.machine.AllFiles() == files);
  CHECK(shop.machine.Contents(L"C:\\SHOP\\DEFAULTS.DBF") == "table");
}

TEST_CASE("a missing data folder is told in a message box and is no error, whatever the answer") {
  for (const auto answer :
       {std::optional(platform::MessageAnswer::kYes), std::optional(platform::MessageAnswer::kNo),
        std::optional(platform::MessageAnswer::kCancel),
        std::optional<platform::MessageAnswer>()}) {
    Shop shop;
    shop.machine.SetHost(L"Editor", L"Shop Editor");
    shop.options.SetDataPath(L"C:\\GONE");
    if (answer) shop.machine.Answer(*answer);
    CHECK_FALSE(shop.options.Initialize());
    CHECK(shop.options.DataPath() == L"C:\\GONE");
    CHECK(shop.tables.store.log.empty());
    CHECK(shop.options.ReportTypes() == nullptr);
    // The box of this call has Yes, No and Cancel and the question icon; the user is asked once.
    CHECK(std::count_if(shop.machine.calls().begin(), shop.machine.calls().end(),
                        [](const auto& call) { return call.operation == "AskYesNoCancel"; }) == 1);
    CHECK(shop.machine.calls().back().operation == "AskYesNoCancel");
    if (!answer) continue;
    REQUIRE(shop.machine.shown_boxes().size() == 1);
    CHECK(shop.machine.shown_boxes()[0].title == L"Tovo Data Path Not Found");
    CHECK(
        shop.machine.shown_boxes()[0].text ==
        L"The data path, 'C:\\GONE' was not found.\r\n\r\nDo you want Shop Editor to seach for the "
        L"path?");
  }
}

namespace {

// The dialog of a user who chooses a folder.
class ChosenFolder final : public search::DataFolderSearch {
 public:
  std::wstring Show() override {
    ++shown;
    if (failure) throw *failure;
    return L"C:\\FOUND";
  }

  int shown = 0;
  std::optional<Error> failure;
};

}  // namespace

TEST_CASE("the user may look for a missing data folder, and start-up fails whatever is chosen") {
  for (const auto answer : {platform::MessageAnswer::kYes, platform::MessageAnswer::kNo,
                            platform::MessageAnswer::kCancel}) {
    Shop shop;
    ChosenFolder search;
    shop.options.SearchWith(&search);
    shop.options.SetDataPath(L"C:\\GONE");
    shop.machine.Answer(answer);
    CHECK_FALSE(shop.options.Initialize());
    CHECK(search.shown == (answer == platform::MessageAnswer::kYes ? 1 : 0));
    CHECK(shop.options.DataPath() == L"C:\\GONE");
    CHECK(shop.options.ReportTypes() == nullptr);
    CHECK(shop.tables.store.log.empty());
  }
}

TEST_CASE("the dialog is not shown where the question cannot be, nor for a folder that exists") {
  Shop shop;
  ChosenFolder search;
  shop.options.SearchWith(&search);
  CHECK(shop.options.Initialize());
  shop.options.SetDataPath(L"C:\\GONE");
  CHECK_FALSE(shop.options.Initialize());
  CHECK(search.shown == 0);
}

TEST_CASE("an error of the search reaches the caller of start-up") {
  Shop shop;
  ChosenFolder search;
  search.failure = Error(7, L"Files:FindFile", L"Out of memory");
  shop.options.SearchWith(&search);
  shop.options.SetDataPath(L"C:\\GONE");
  shop.machine.Answer(platform::MessageAnswer::kYes);
  try {
    shop.options.Initialize();
    FAIL("no error");
  } catch (const Error& error) {
    CHECK(error.number() == 7);
    CHECK(error.source() == L"Files:FindFile");
  }
}

TEST_CASE("an empty data path is a missing data folder") {
  Shop shop;
  shop.machine.RemoveFile(kLocalIni);
  shop.machine.Answer(platform::MessageAnswer::kNo);
  CHECK_FALSE(shop.options.Initialize());
  REQUIRE(shop.machine.shown_boxes().size() == 1);
  CHECK(shop.machine.shown_boxes()[0].text.substr(0, 38) ==
        L"The data path, '' was not found.\r\n\r\nDo");
}

TEST_CASE("after a missing data folder a corrected path starts up") {
  Shop shop;
  shop.options.SetDataPath(L"C:\\GONE");
  shop.machine.Answer(platform::MessageAnswer::kNo);
  CHECK_FALSE(shop.options.Initialize());
  shop.options.SetDataPath(L"C:\\SHOP");
  CHECK(shop.options.Initialize());
}

TEST_CASE("a missing definition table is error 53 with the path in display case") {
  Shop shop;
  shop.machine.SetHost(L"EDITOR", L"Shop Editor");
  shop.machine.RemoveFile(L"C:\\SHOP\\DEFAULTS.DBF");
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == 53);
  CHECK(error->source() == L"EDITOR:Class_Initialize");
  CHECK(error->description() == L"the table, 'C:\\Shop\\Defaults.dbf' was not found.");
  CHECK(shop.tables.store.log.empty());
}

TEST_CASE("a read-only definition table is refused with the path as it is") {
  Shop shop;
  shop.machine.SetReadOnly(L"C:\\SHOP\\DEFAULTS.DBF");
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == -2147221501);
  CHECK(error->source() == L"TDefault:Initialize");
  CHECK(
      error->description() ==
      L"The file C:\\SHOP\\DEFAULTS.dbf can not bo opened for write access. Make sure this file is "
      L"not read only and is located on a drive you have write access to");
  CHECK(shop.options.Count() == 0);
}

TEST_CASE("a table that another process holds without sharing counts as present") {
  Shop shop;
  const auto held = shop.machine.HoldOpen(L"C:\\SHOP\\DEFAULTS.DBF", platform::FileShare::kNone);
  CHECK(NumberOf([&] { return shop.options.Initialize(); }) == -2147221501);
}

TEST_CASE("the write test leaves the apostrophes of the data path out") {
  Shop shop;
  shop.machine.PutFile(L"C:\\O'NEIL\\DEFAULTS.DBF", "table");
  shop.options.SetDataPath(L"C:\\O'NEIL");
  // C:\ONEIL does not exist, so the table cannot be opened there.
  CHECK(NumberOf([&] { return shop.options.Initialize(); }) == -2147221501);
  shop.machine.PutFile(L"C:\\ONEIL\\DEFAULTS.DBF", "other");
  CHECK(shop.options.Initialize());
}

TEST_CASE("an error of the loader reaches the host unchanged") {
  Shop shop;
  shop.tables.Fail("connection.open", Error(error_number::kTableDamaged, L"Engine", L"why"));
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == error_number::kTableDamaged);
  CHECK(error->source() == L"InitOptCollection");
  CHECK(error->description() == L"InitOptCollection routine, line 2; why");
}

TEST_CASE("an error of the reports reaches the host unchanged, with the options loaded") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  shop.tables.Fail("recordset.open ", Error(error_number::kNoSuchTable, L"Engine", L"why"));
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->source() == L"Reports:Class_Initialize");
  CHECK(error->description() == L"Reports initialization, 'InitRepCollection' failed.");
  CHECK(shop.options.Count() == 1);
  CHECK(shop.options.ReportTypes() == nullptr);
}

TEST_CASE("the data path of a catalogue is set, read and cleared") {
  Shop shop;
  shop.options.SetDataPath(L"C:\\DATA\\");
  CHECK(shop.options.DataPath() == L"C:\\DATA");
  shop.options.SetDataPath(L"  C:\\DATA ");
  CHECK(shop.options.DataPath() == L"C:\\DATA");
  shop.options.SetDataPath(L"");
  CHECK(shop.options.DataPath() == L"C:\\SHOP");
  CHECK(shop.tables.store.log.empty());
}

TEST_CASE("two catalogues of one thread share their overrides") {
  Shop shop;
  catalogue::Options other(shop.machine.platform(), shop.tables, shop.location);
  shop.options.SetDataPath(L"C:\\DATA");
  CHECK(other.DataPath() == L"C:\\DATA");
  shop.machine.PutFile(L"C:\\Work\\OTHER.INI", "");
  other.SetINIFile(L"OTHER.INI");
  CHECK(shop.options.INIFile() == L"C:\\Work\\OTHER.INI");
}

TEST_CASE("the global INI file is in the data folder whether it exists or not") {
  Shop shop;
  shop.options.SetDataPath(L"C:\\DATA");
  CHECK(shop.options.GlobalIni() == L"C:\\DATA\\TOVOGBL.INI");
}

TEST_CASE("the local INI file is where the system's search finds it, or empty") {
  Shop shop;
  CHECK(shop.options.INIFile() == kLocalIni);
  shop.machine.RemoveFile(kLocalIni);
  CHECK(shop.options.INIFile().empty());
}

TEST_CASE("a local INI name that is not in the current folder is error 53 and changes nothing") {
  Shop shop;
  shop.machine.SetHost(L"EDITOR", L"Shop Editor");
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  // The system's file search would find it.
  shop.machine.PutFile(L"C:\\Windows\\OTHER.INI", "");
  shop.tables.store.log.clear();
  const auto error = ErrorOf([&] { shop.options.SetINIFile(L"OTHER.INI"); });
  REQUIRE(error);
  CHECK(error->number() == 53);
  CHECK(error->source() == L"EDITOR:SetINIFile");
  CHECK(error->description() == L"File not found");
  CHECK(shop.options.INIFile() == kLocalIni);
  CHECK(shop.tables.store.log.empty());
  CHECK(shop.options.Count() == 1);
}

TEST_CASE("a folder is no INI file") {
  Shop shop;
  shop.machine.AddFolder(L"C:\\Work\\FOLDER.INI");
  CHECK(NumberOf([&] { shop.options.SetINIFile(L"FOLDER.INI"); }) == 53);
  CHECK(shop.location.local_ini_name.empty());
}

TEST_CASE("a local INI name in the current folder is taken as it is and loads again") {
  Shop shop;
  shop.machine.PutFile(L"C:\\Work\\OTHER.INI", "[S]\r\nk=other\r\n");
  shop.Define({L"A", true, L"S", 0, L"k"});
  shop.options.SetDataPath(L"C:\\SHOP");
  shop.options.SetINIFile(L"OTHER.INI");
  CHECK(shop.location.local_ini_name == L"OTHER.INI");
  CHECK(shop.options.Count() == 1);
  CHECK(shop.ValueOf(L"A") == L"other");
  CHECK(shop.options.ReportTypes() == nullptr);
  CHECK(shop.machine.open_handles() == 0);
  shop.options.SetINIFile(L"");
  CHECK(shop.options.INIFile() == kLocalIni);
  CHECK(shop.ValueOf(L"A") == L"Not found");
}

TEST_CASE("a local INI file can be named by its path") {
  Shop shop;
  shop.machine.PutFile(L"D:\\X\\OTHER.INI", "[Defaults]\r\nDataPath=C:\\SHOP\r\n");
  shop.options.SetINIFile(L"D:\\X\\OTHER.INI");
  CHECK(shop.options.INIFile() == L"D:\\X\\OTHER.INI");
}

TEST_CASE("an error of the loader after a new INI name reaches the host, and the name stays") {
  Shop shop;
  shop.machine.PutFile(L"C:\\Work\\OTHER.INI", "");
  shop.tables.Fail("connection.open", Error(error_number::kTableDamaged, L"Engine", L"why"));
  CHECK(NumberOf([&] { shop.options.SetINIFile(L"OTHER.INI"); }) == error_number::kTableDamaged);
  CHECK(shop.location.local_ini_name == L"OTHER.INI");
}

TEST_CASE("the location is the number in the local INI file, halves rounded to even") {
  struct Row {
    const char* stored;
    std::int32_t location;
  };
  for (const Row& row : {Row{"12.5", 12}, Row{"13.5", 14}, Row{"7", 7}, Row{"word", 0}, Row{"", 0},
                         Row{"-2.5", -2}, Row{"1,234", 1234}}) {
    CAPTURE(row.stored);
    Shop shop;
    shop.machine.PutFile(kLocalIni,
                         std::string("[Companyname]\r\nLocation=") + row.stored + "\r\n");
    CHECK(shop.options.Location() == row.location);
  }
}

TEST_CASE("the location is 0 without its key or without a local INI file") {
  Shop shop;
  shop.machine.PutFile(kLocalIni, "");
  CHECK(shop.options.Location() == 0);
  shop.machine.RemoveFile(kLocalIni);
  CHECK(shop.options.Location() == 0);
}

TEST_CASE("a location too large for 32 bits is an overflow") {
  Shop shop;
  shop.machine.PutFile(kLocalIni, "[Companyname]\r\nLocation=99999999999\r\n");
  CHECK(NumberOf([&] { return shop.options.Location(); }) == 6);
}

TEST_CASE("the location is read from the file the search finds, not from the Windows folder") {
  Shop shop;
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", "[Companyname]\r\nLocation=8\r\n");
  CHECK(shop.options.INIFile() == L"C:\\Work\\TOVO.INI");
  CHECK(shop.options.Location() == 8);
}

TEST_CASE("refreshing loads the options again and renews the reports") {
  Shop shop;
  shop.Define({L"A", false, L"S", 0, L"k"});
  REQUIRE(shop.options.Initialize());
  const auto option = shop.options.Item(1);
  const auto reports = shop.options.ReportTypes();
  shop.Define({L"B", false, L"S", 0, L"l"});
  shop.options.Refresh();
  CHECK(shop.options.Count() == 2);
  CHECK(shop.options.Item(1) != option);
  CHECK(option->ID() == L"A");
  CHECK(shop.options.ReportTypes() != reports);
  CHECK(shop.options.ReportTypes() != nullptr);
}

TEST_CASE("refreshing raises what loading raises and keeps the reports it had") {
  Shop shop;
  REQUIRE(shop.options.Initialize());
  const auto reports = shop.options.ReportTypes();
  shop.tables.Fail("connection.execute ", Error(error_number::kInUseByAnother, L"Engine", L"why"));
  CHECK(NumberOf([&] { shop.options.Refresh(); }) == error_number::kInUseByAnother);
  CHECK(shop.options.ReportTypes() == reports);
}

TEST_CASE("the same reports are given at every call") {
  Shop shop;
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.ReportTypes() == shop.options.ReportTypes());
}
