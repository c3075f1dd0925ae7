// What the doctor says about the content of INI files and about what interrupted saves leave.
#include "tovocfg/ini_check.h"

#include <doctest/doctest.h>

#include "catalogue/ini_backup.h"
#include "unit/tovocfg/doctor_shop.h"

using namespace tovocfg;
using namespace tovocfg::testing;
using tdefault::catalogue::IniBackup;
using tdefault::platform::FileShare;

namespace {

const std::wstring kCopy = L"C:\\Shop\\tov1A.tmp";
constexpr char kGoBack[] = "copy /y \"C:\\Shop\\tov1A.tmp\" \"C:\\Shop\\TOVOGBL.INI\"";
constexpr char kDeleteCopy[] = "del \"C:\\Shop\\tov1A.tmp\"";

// What is found about INI files alone.
std::vector<Diagnosis> IniFindings(Shop& shop) {
  Examination examination = shop.Begin();
  const Located located = ExamineLocations(examination);
  static_cast<void>(ExamineIniFiles(examination, located));
  return examination.diagnoses();
}

std::size_t CountOf(const std::vector<Diagnosis>& found, Health health) {
  return static_cast<std::size_t>(std::count_if(
      found.begin(), found.end(), [&](const Diagnosis& each) { return each.health == health; }));
}

}  // namespace

TEST_CASE("encodings that hide values are told") {
  using namespace std::string_view_literals;
  Shop shop;
  shop.data_folder = L"C:\\Shop";
  shop.machine.PutFile(kGlobal, "\xEF\xBB\xBF[Tax]\r\nRate1=5\r\n");
  CHECK(Find(IniFindings(shop), Health::kProblem, "section on its first line is not found"));
  shop.machine.PutFile(kGlobal, "\xEF\xBB\xBF; x\r\n[Tax]\r\nRate1=5\r\n");
  CHECK(Find(IniFindings(shop), Health::kWarning, "begins with the mark of UTF-8"));
  shop.machine.PutFile(kGlobal, "[Tax]\r\nName1=\xC3\xA9\r\n");
  CHECK(Find(IniFindings(shop), Health::kWarning, "seems to be UTF-8"));
  shop.machine.PutFile(kGlobal, "\xFF\xFE[\0T\0]\0\n\0a\0=\0b\0\n\0"sv);
  CHECK(Find(IniFindings(shop), Health::kWarning, "is UTF-16"));
  shop.machine.PutFile(kGlobal, "\xFE\xFF\0[\0T\0]\0\n"sv);
  CHECK(Find(IniFindings(shop), Health::kProblem, "does not read"));
}

TEST_CASE("values that are never found are told with their lines") {
  Shop shop;
  shop.machine.PutFile(kGlobal,
                       "lost=1\r\n[Tax]\r\nRate1=5\r\nrate1=6\r\n[Other]\r\nx=1\r\n"
                       "[TAX]\r\nRate2=7\r\n[Open\r\n");
  const auto found = IniFindings(shop);
  CHECK(Find(found, Health::kWarning, "TAX / Rate2 is in a section whose name stands above"));
  CHECK(Find(found, Health::kWarning,
             "Tax / rate1 stands there a second time; only the first one counts "
             "(C:\\Shop\\TOVOGBL.INI, line 4)"));
  CHECK(Find(found, Health::kWarning, "lost stands in front of the first section"));
  CHECK(Find(found, Health::kWarning, "no closing bracket"));
  CHECK(CountOf(found, Health::kProblem) == 0);
}

TEST_CASE("only values of options count as too long, where the options are known") {
  Shop shop;
  const std::string long_value(81, 'x');
  shop.machine.PutFile(kGlobal, "[Tax]\r\nRate1=" + long_value + "\r\nOther=" + long_value +
                                    "\r\nJust=" + std::string(80, 'x') + "\r\n");
  Examination examination = shop.Begin();
  const IniFile file{Topic::kGlobalIni, kGlobal};
  const IniText text = TakeApart(examination.Read(kGlobal).bytes, shop.machine.platform().session);
  Option rate;
  rate.section = "TAX";
  rate.key = "RATE1";
  ExamineValueLengths(examination, file, text, std::vector<Option>{rate});
  REQUIRE(examination.diagnoses().size() == 1);
  CHECK(Find(examination.diagnoses(), Health::kWarning, "Tax / Rate1 has 81 characters"));
  ExamineValueLengths(examination, file, text, std::nullopt);
  CHECK(examination.diagnoses().size() == 3);
}

TEST_CASE("an empty file is restored, and an empty global file of a new shop only noted") {
  Shop shop;
  shop.machine.PutFile(kGlobal, "");
  CHECK(Find(IniFindings(shop), Health::kWarning, "C:\\Shop\\TOVOGBL.INI is empty"));
  shop.machine.PutFile(L"C:\\Shop\\TOVOGBL.old", kGlobalText);
  CHECK(HasStep(Find(IniFindings(shop), Health::kProblem, "C:\\Shop\\TOVOGBL.INI is empty"),
                "copy /y \"C:\\Shop\\TOVOGBL.old\" \"C:\\Shop\\TOVOGBL.INI\""));
  shop.data_folder = L"C:\\Shop";
  shop.machine.PutFile(kLocal, "");
  CHECK(Find(IniFindings(shop), Health::kProblem, "C:\\Desk\\TOVO.INI is empty"));
}

TEST_CASE("a file with zero bytes, or without the end of its previous version, is damaged") {
  Shop shop;
  shop.machine.PutFile(kGlobal, std::string("[Tax]\r\nRate1=5\r\n") + std::string(20, '\0'));
  CHECK(Find(IniFindings(shop), Health::kProblem, "holds zero bytes"));
  shop.machine.PutFile(L"C:\\Shop\\TOVOGBL.old", kGlobalText);
  shop.machine.PutFile(kGlobal, "[Tax]\r\nRate1=5.000\r\nNam");
  CHECK(HasStep(Find(IniFindings(shop), Health::kProblem,
                     "seems cut short: it ends in the middle of a line, and the last 1 keys"),
                "copy /y \"C:\\Shop\\TOVOGBL.old\" \"C:\\Shop\\TOVOGBL.INI\""));
  // A key that somebody took out.
  shop.machine.PutFile(kGlobal, "[Tax]\r\nRate1=5.000\r\n");
  CHECK(CountOf(IniFindings(shop), Health::kProblem) == 0);
}

TEST_CASE("what a temporary copy is tells whether it is needed") {
  Shop shop;
  struct Case {
    std::string copy;
    Health health;
    const char* text;
    const char* step;
  };
  shop.machine.PutFile(L"C:\\Shop\\TOVOGBL.old", "[Tax]\r\nRate1=4.000\r\n");
  for (const Case& each :
       {Case{"", Health::kWarning, "is empty: a save was interrupted before", kDeleteCopy},
        {"[Tax]\r\nRate", Health::kWarning, "is an incomplete copy of TOVOGBL.INI", kDeleteCopy},
        {kGlobalText, Health::kWarning, "is a copy of TOVOGBL.INI as it is", kDeleteCopy},
        {"[Tax]\r\nRate1=4.000\r\n", Health::kWarning, "is a copy of the previous version",
         kDeleteCopy},
        {"; c\r\n[Tax]\r\nRate1=5.000\r\nName1=TPS\r\n", Health::kWarning,
         "has the keys and values of TOVOGBL.INI", kDeleteCopy},
        {"[Tax]\r\nRate1=6.000\r\nName1=TPS\r\n", Health::kProblem,
         "holds what TOVOGBL.INI held before a save that was interrupted", kGoBack},
        {"[Mine]\r\na=1\r\n", Health::kWarning, "is none of an INI file", nullptr}}) {
    CAPTURE(each.text);
    shop.machine.PutFile(kCopy, each.copy);
    const auto found = IniFindings(shop);
    const Diagnosis* leftover = Find(found, each.health, each.text);
    REQUIRE(leftover != nullptr);
    if (each.step != nullptr) CHECK(HasStep(leftover, each.step));
    CHECK(CountOf(found, Health::kProblem) == (each.health == Health::kProblem ? 1 : 0));
  }
}

TEST_CASE("a copy from before a later save is outdated, and putting it back is told to lose that") {
  Shop shop;
  const std::wstring previous = L"C:\\Shop\\TOVOGBL.old";
  shop.machine.PutFile(previous, "[Tax]\r\nRate1=4.000\r\n");
  shop.machine.PutFile(kCopy, "[Tax]\r\nRate1=6.000\r\nName1=TPS\r\nName2=TVQ\r\n");
  shop.change_times = {{kCopy, 100}, {previous, 101}, {kGlobal, 102}};
  const auto found = IniFindings(shop);
  const Diagnosis* const outdated =
      Find(found, Health::kWarning, "has been saved again since, as the newer TOVOGBL.old shows");
  REQUIRE(outdated != nullptr);
  CHECK(outdated->advice.find("would also take back what was changed since") != std::string::npos);
  CHECK(HasStep(outdated, kDeleteCopy));
  CHECK(CountOf(found, Health::kProblem) == 0);
  // The previous version is of before the interrupted save.
  shop.change_times[previous] = 99;
  CHECK(Find(IniFindings(shop), Health::kProblem, "may have some of the save's values"));
}

TEST_CASE("a missing file is restored from the previous version before an outdated copy") {
  Shop shop;
  const std::wstring previous = L"C:\\Shop\\TOVOGBL.old";
  shop.machine.PutFile(previous, "[Tax]\r\nRate1=4.000\r\n");
  shop.machine.PutFile(kCopy, kGlobalText);
  shop.machine.RemoveFile(kGlobal);
  for (const bool is_outdated : {true, false}) {
    CAPTURE(is_outdated);
    shop.change_times = {{kCopy, is_outdated ? 100 : 102}, {previous, 101}};
    const auto found = IniFindings(shop);
    const Diagnosis* const missing = Find(found, Health::kProblem, "there is no file");
    REQUIRE(missing != nullptr);
    REQUIRE(missing->steps.size() == 2);
    CHECK((missing->steps.back().command == kGoBack) == is_outdated);
  }
}

TEST_CASE("a copy that the system has diverted programs to is told") {
  Shop shop;
  shop.diverted_folder = L"C:\\Users\\A\\VirtualStore";
  CHECK(CountOf(IniFindings(shop), Health::kWarning) == 0);
  shop.machine.PutFile(L"C:\\Users\\A\\VirtualStore\\Desk\\TOVO.INI", kLocalText);
  const auto found = IniFindings(shop);
  CHECK(HasStep(Find(found, Health::kWarning, "read and write it instead of C:\\Desk\\TOVO.INI"),
                "del \"C:\\Users\\A\\VirtualStore\\Desk\\TOVO.INI\""));
  CHECK(CountOf(found, Health::kWarning) == 1);
}

TEST_CASE("a copy that somebody holds may belong to a save that is running") {
  Shop shop;
  shop.machine.PutFile(kCopy, kGlobalText);
  const auto held = shop.machine.HoldOpen(kCopy, FileShare::kNone);
  CHECK(Find(IniFindings(shop), Health::kNotChecked, "it may belong to a save that is running"));
}

TEST_CASE("a missing file is restored from the copy of the save that lost it") {
  Shop shop;
  shop.machine.PutFile(kCopy, kGlobalText);
  shop.machine.RemoveFile(kGlobal);
  const auto found = IniFindings(shop);
  CHECK(HasStep(Find(found, Health::kProblem, "there is no file C:\\Shop\\TOVOGBL.INI"), kGoBack));
  CHECK(HasStep(Find(found, Health::kProblem, "which is missing"), kDeleteCopy));
}

TEST_CASE("wherever a save ends, the doctor sees a torn file and names what it held before") {
  const std::string saved = "[Tax]\r\nRate1=7\r\nName1=GST\r\n";
  std::size_t torn = 0;
  std::size_t left_behind = 0;
  bool completed = false;
  for (std::size_t call = 1; !completed; ++call) {
    CAPTURE(call);
    Shop shop;
    shop.machine.TearWrites();
    shop.machine.EndProcessAt(call);
    try {
      IniBackup backup(shop.machine.platform(), kGlobal);
      backup.Make();
      backup.MarkChanged();
      for (const auto& [key, value] : {std::pair{L"Rate1", L"7"}, {L"Name1", L"GST"}})
        static_cast<void>(
            shop.machine.platform().profile_files.WriteEntry(L"Tax", key, value, kGlobal));
      backup.KeepAsPrevious();
      completed = true;
    } catch (const tdefault::platform::simulation::ProcessEnded&) {
    }
    shop.machine.Restart();
    const auto found = IniFindings(shop);
    const std::string now = shop.machine.Contents(kGlobal).value_or("");
    const bool whole = now == kGlobalText || now == saved;
    std::wstring copy;
    for (const std::wstring& name : shop.machine.ListFolder(L"C:\\Shop"))
      if (name.starts_with(L"tov")) copy = L"C:\\Shop\\" + name;
    if (!copy.empty()) {
      ++left_behind;
      CHECK(std::any_of(found.begin(), found.end(), [&](const Diagnosis& each) {
        return HasStep(&each, "del " + Quoted(copy));
      }));
    }
    if (whole && copy.empty()) CHECK(CountOf(found, Health::kProblem) == 0);
    if (now == kGlobalText) CHECK(CountOf(found, Health::kProblem) == 0);
    if (whole) continue;
    ++torn;
    REQUIRE_FALSE(copy.empty());
    CHECK(shop.machine.Contents(copy) == kGlobalText);
    CHECK(std::any_of(found.begin(), found.end(), [&](const Diagnosis& each) {
      return each.health == Health::kProblem &&
             HasStep(&each, "copy /y " + Quoted(copy) + " " + Quoted(kGlobal));
    }));
  }
  CHECK(torn > 0);
  CHECK(left_behind > torn);
}
