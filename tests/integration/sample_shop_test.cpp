// The catalogue on the embedded engine, with the sample shop's real tables and INI files.
#include "integration/sample_shop.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"

using namespace tdefault;
using records::KEY_TYPE;
using testing::ErrorOf;
using testing::kShopFolder;
using testing::kShopGlobalIni;
using testing::kShopLocalIni;
using testing::SampleBytes;
using testing::SampleShop;

namespace {

// What the engine reports for a call that failed with the code.
std::int32_t NumberOfFailure(const platform::simulation::RecordedCall& call, std::uint32_t code) {
  if (code == platform::system_code::kAccessDenied) return error_number::kNoPermission;
  // Listing the data folder fails for other reasons than a program that holds it.
  return call.operation == "Enumerate" ? error_number::kTableDamaged
                                       : error_number::kInUseByAnother;
}

std::vector<std::wstring> BusinessTypes(const SampleShop& shop) {
  for (const auto& option : shop.options.elements()) {
    if (option->OptionType() != KEY_TYPE::INSURANCE_VALUE) continue;
    std::vector<std::wstring> types;
    for (const auto& choice : option->Choices()->elements())
      types.push_back(choice->Item() + L" " + choice->Description());
    return types;
  }
  return {L"no option of that type"};
}

// Each of start-up's errors has its source, number and text, and the text names what the failed
// call was about.
void CheckStartUpError(const Error& error, const platform::simulation::RecordedCall& failed,
                       std::uint32_t code) {
  const std::wstring description = ToLower(error.description());
  CAPTURE(description);
  const auto starts = [&](const std::wstring& text) { return description.find(text) == 0; };
  // Without the data path that an entry holds, the table is looked for in the root folder.
  const bool has_data_path = failed.operation != "ReadEntry";
  if (error.source() == L"Host:Class_Initialize") {
    CHECK(error.number() == error_number::kFileNotFound);
    CHECK(starts(has_data_path ? L"the table, 'c:\\shop\\data\\defaults.dbf' was not found."
                               : L"the table, '\\defaults.dbf' was not found."));
  } else if (error.source() == L"TDefault:Initialize") {
    CHECK(failed.operation == "Open");
    CHECK(error.number() == error_number::kTableNotWritable);
    CHECK(starts(L"the file c:\\shop\\data\\defaults.dbf can not bo opened"));
  } else if (error.source() == L"Reports:Class_Initialize") {
    if (has_data_path) CHECK(error.number() == NumberOfFailure(failed, code));
    CHECK(starts(L"reports initialization, 'initrepcollection' failed."));
  } else {
    CHECK(error.source() == L"InitOptCollection");
    CHECK(starts(L"initoptcollection routine, line "));
    if (!has_data_path) return;
    CHECK(error.number() == NumberOfFailure(failed, code));
    const std::wstring name = failed.operation == "Enumerate"
                                  ? L"; the data folder c:\\shop\\data "
                                  : L"; table defaults, file c:\\shop\\data\\defaults.";
    CHECK(description.find(name) != std::wstring::npos);
  }
}

// The workstation's INI file with another location number.
std::string LocalIniAt(const std::string& location) {
  std::string text = SampleBytes("workstation/TOVO.INI");
  const std::size_t start = text.find("\nLocation=") + 10;
  return text.replace(start, text.find('\r', start) - start, location);
}

// The table with every text and memo column marked as binary (FoxPro's NOCPTRANS).
std::string WithTextMarkedBinary(const std::string& name) {
  std::string table = SampleBytes(name);
  constexpr std::size_t kDescriptor = 32;
  constexpr std::size_t kTypeByte = 11;
  constexpr std::size_t kFlagsByte = 18;
  for (std::size_t at = kDescriptor; table[at] != '\r'; at += kDescriptor)
    if (table[at + kTypeByte] == 'C' || table[at + kTypeByte] == 'M') table[at + kFlagsByte] = 4;
  return table;
}

// All that an option was loaded with.
std::vector<std::wstring> Texts(const records::INIOption& option) {
  std::vector<std::wstring> texts = {
      option.ID(),      option.Section(), option.Key(),          option.Linkedfield(),
      option.Default(), option.Comment(), option.CurrentValue(), option.AdditionalProc()};
  if (option.Choices() == nullptr) return texts;
  for (const auto& choice : option.Choices()->elements())
    texts.push_back(choice->Item() + L"=" + choice->Description());
  return texts;
}

}  // namespace

TEST_CASE("the sample shop starts up with every option that is not deleted") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  CHECK(shop.options.Count() == 164);
  std::set<KEY_TYPE> types;
  std::size_t not_found = 0;
  for (const auto& option : shop.options.elements()) {
    types.insert(option->OptionType());
    if (option->CurrentValue() == L"Not found") ++not_found;
    CHECK(option->NewValue() == option->CurrentValue());
    CHECK(option->ID().size() == 36);
  }
  CHECK(types.size() == 9);
  CHECK(not_found == 8);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("every option of the sample shop has the value that its INI file holds") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  auto& profile_files = shop.machine.platform().profile_files;
  for (const auto& option : shop.options.elements()) {
    const std::wstring stored =
        profile_files.ReadEntry(option->Section(), option->Key(), L"Not found", 2555,
                                option->LocalINI() ? kShopLocalIni : kShopGlobalIni);
    CHECK(option->CurrentValue() == std::wstring(TrimBlanks(stored.substr(0, 80))));
  }
}

TEST_CASE("the sample shop's memo texts become choices and comments") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  const auto option = shop.Find(L"Defaults", L"DataPath");
  REQUIRE(option);
  CHECK(option->Comment() ==
        L"Folder of the shop's data.\r\nEvery workstation of a site must name the same folder.");
  CHECK(option->CurrentValue() == L"C:\\SHOP\\DATA");
  const auto kit = shop.Find(L"OPTIONS", L"KITCHOICE");
  REQUIRE(kit);
  CHECK(kit->OptionType() == KEY_TYPE::CHOICE_VALUE);
  CHECK(kit->Choices()->Count() >= 4);
  CHECK(kit->Choices()->Item(1)->Item() == L"0");
}

TEST_CASE("a site's printers and business types are its own, without deleted entries") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  CHECK(shop.Find(L"Printers", L"Invoice3"));
  CHECK(shop.Find(L"Printers", L"ReportDevice"));
  CHECK(BusinessTypes(shop) == std::vector<std::wstring>{L"30 Retail", L"31 Dealer", L"32 Fleet",
                                                         L"33 Body shop", L"34 Insurance company",
                                                         L"35 Employee",
                                                         L"36 \x00C9"
                                                         L"cole / garderie"});
  shop.machine.PutFile(kShopLocalIni, LocalIniAt("5"));
  shop.options.Refresh();
  CHECK(shop.Find(L"Printers", L"Invoice5"));
  CHECK_FALSE(shop.Find(L"Printers", L"Invoice3"));
  CHECK(BusinessTypes(shop) == std::vector<std::wstring>{L"130 Retail", L"131 Rental agency",
                                                         L"132 Airline", L"133 Insurance company",
                                                         L"134 Taxi owner"});
}

TEST_CASE("tables whose text is marked as binary load like all others") {
  SampleShop plain;
  REQUIRE(plain.options.Initialize());
  SampleShop marked;
  for (const char* name : {"defaults.dbf", "options.dbf", "reports.dbf", "need.dbf", "numbers.dbf"})
    marked.machine.PutFile(kShopFolder + L"\\" + FromUtf8(name),
                           WithTextMarkedBinary(std::string("data/") + name));
  REQUIRE(marked.options.Initialize());
  REQUIRE(marked.options.Count() == plain.options.Count());
  for (std::size_t i = 0; i < plain.options.elements().size(); ++i)
    CHECK(Texts(*marked.options.elements()[i]) == Texts(*plain.options.elements()[i]));
  CHECK(BusinessTypes(marked) == BusinessTypes(plain));
  REQUIRE(marked.options.ReportTypes()->Count() == plain.options.ReportTypes()->Count());
  for (std::size_t i = 0; i < plain.options.ReportTypes()->elements().size(); ++i) {
    const auto& layout = *marked.options.ReportTypes()->elements()[i];
    const auto& expected = *plain.options.ReportTypes()->elements()[i];
    CHECK(layout.Name() == expected.Name());
    CHECK(layout.Description() == expected.Description());
    CHECK(layout.Picture() == expected.Picture());
  }
}

TEST_CASE("a location without the header of business types has none") {
  SampleShop shop;
  for (const char* location : {"4", "35", "none"}) {
    shop.machine.PutFile(kShopLocalIni, LocalIniAt(location));
    REQUIRE(shop.options.Initialize());
    CHECK(BusinessTypes(shop).empty());
    CHECK(shop.machine.open_handles() == 0);
  }
}

TEST_CASE("the sample shop's layouts load with their pictures and the one in use") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  const auto reports = shop.options.ReportTypes();
  REQUIRE(reports->Count() == 4);
  CHECK(reports->Item(1)->Name() == L"Standard");
  CHECK(reports->Item(std::wstring(L"invstub"))->Name() == L"Tear-off stub");
  for (const auto& report : reports->elements()) {
    REQUIRE(report->Picture());
    CHECK(report->Picture()->size() == 5134);
    CHECK((*report->Picture())[0] == 'B');
    CHECK((*report->Picture())[1] == 'M');
    CHECK(report->CurrentReport() == (report->ReportName() == L"INV2"));
  }
}

TEST_CASE("a picture kept as text keeps its bytes in every code page and with either mark") {
  SampleShop sample;
  REQUIRE(sample.options.Initialize());
  for (const int mark : {0x01, 0x02, 0x03, 0xC8, 0xC9}) {
    for (const int flags : {0, 4}) {
      CAPTURE(mark);
      CAPTURE(flags);
      std::string table = SampleBytes("data/reports.dbf");
      table[29] = static_cast<char>(mark);
      REQUIRE(table.substr(96, 7) == "PICTURE");
      table[96 + 18] = static_cast<char>(flags);
      SampleShop shop;
      shop.machine.PutFile(kShopFolder + L"\\reports.dbf", table);
      REQUIRE(shop.options.Initialize());
      for (std::int32_t layout = 1; layout <= 4; ++layout)
        CHECK(shop.options.ReportTypes()->Item(layout)->Picture() ==
              sample.options.ReportTypes()->Item(layout)->Picture());
    }
  }
}

TEST_CASE("saving the sample shop changes what was changed and keeps the rest") {
  SampleShop shop;
  REQUIRE(shop.options.Initialize());
  const std::string local = *shop.machine.Contents(kShopLocalIni);
  const std::string global = *shop.machine.Contents(kShopGlobalIni);
  shop.Find(L"Defaults", L"WorkstationName")->SetNewValue(L"BACK OFFICE");
  CHECK(shop.options.Save());
  CHECK(shop.Find(L"Defaults", L"WorkstationName")->CurrentValue() == L"BACK OFFICE");
  CHECK(shop.machine.Contents(L"C:\\Windows\\TOVO.old") == local);
  CHECK(shop.machine.Contents(L"C:\\SHOP\\DATA\\TOVOGBL.old") == global);
  const std::string saved = *shop.machine.Contents(kShopLocalIni);
  CHECK(saved.find("; one printer of each kind per site: the key ends in the site's number\r\n") !=
        std::string::npos);
  CHECK(saved.find("Invoice5=\\\\AIRPORT1\\Front Laser\r\n") != std::string::npos);
  CHECK(shop.options.Count() == 164);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a shop without its layouts table fails to start up with the cause's number") {
  SampleShop shop;
  shop.machine.RemoveFile(kShopFolder + L"\\reports.dbf");
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == error_number::kNoSuchTable);
  CHECK(error->source() == L"Reports:Class_Initialize");
  CHECK(shop.options.Count() == 164);
}

TEST_CASE("a definition table in use by another is an error that names it") {
  SampleShop shop;
  const auto held = shop.machine.HoldOpen(kShopFolder + L"\\defaults.fpt");
  const auto error = ErrorOf([&] { return shop.options.Initialize(); });
  REQUIRE(error);
  CHECK(error->number() == error_number::kInUseByAnother);
  CHECK(error->source() == L"InitOptCollection");
  CHECK(ToLower(error->description())
            .find(L"file c:\\shop\\data\\defaults.fpt: the file is in use") != std::wstring::npos);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("start-up with one call failing is told or complete, and changes nothing") {
  // A failing read of one option's value only makes it "Not found"; a few of those will do.
  std::vector<std::size_t> calls;
  {
    SampleShop shop;
    REQUIRE(shop.options.Initialize());
    for (std::size_t i = 0; i < shop.machine.call_count(); ++i)
      if (shop.machine.calls()[i].operation != "ReadEntry" || i % 50 == 0 || i < 5)
        calls.push_back(i + 1);
  }
  const std::string local = SampleBytes("workstation/TOVO.INI");
  const std::string global = SampleBytes("data/TOVOGBL.INI");
  const std::string definitions = SampleBytes("data/defaults.dbf");
  std::set<std::wstring> sources;
  for (const std::size_t call : calls)
    for (const std::uint32_t code :
         {platform::system_code::kSharingViolation, platform::system_code::kAccessDenied}) {
      SampleShop shop;
      shop.machine.FailCall(call, code);
      bool started = false;
      const auto error = ErrorOf([&] { return started = shop.options.Initialize(); });
      CAPTURE(call);
      CAPTURE(code);
      const auto failed = shop.machine.calls()[call - 1];
      CAPTURE(failed.operation);
      if (error) {
        sources.insert(error->source());
        CheckStartUpError(*error, failed, code);
      }
      // A missing data folder is the one failure without an error; it asks the user.
      if (!started && !error) CHECK(shop.machine.calls().back().operation == "AskYesNoCancel");
      if (started) CHECK(shop.options.Count() == 164);
      CHECK(shop.machine.open_handles() == 0);
      CHECK(shop.machine.Contents(kShopLocalIni) == local);
      CHECK(shop.machine.Contents(kShopGlobalIni) == global);
      CHECK(shop.machine.Contents(kShopFolder + L"\\defaults.dbf") == definitions);
    }
  CHECK(sources == std::set<std::wstring>{L"Host:Class_Initialize", L"InitOptCollection",
                                          L"Reports:Class_Initialize", L"TDefault:Initialize"});
}
