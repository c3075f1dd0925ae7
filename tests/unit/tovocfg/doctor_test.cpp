// The doctor on a simulated machine: where the shop's files are, what is in them, who may write.
#include "tovocfg/doctor.h"

#include <doctest/doctest.h>

#include "tables/table_builder.h"
#include "unit/tovocfg/doctor_shop.h"

using namespace tovocfg;
using namespace tovocfg::testing;
using tdefault::platform::FileAccess;
using tdefault::platform::FileShare;

namespace {

void PutTable(Shop& shop, const std::wstring& name) {
  const auto files = tdefault::tests::BuildTable({.columns = {{.name = "X", .length = 4}}});
  shop.machine.PutFile(L"C:\\Shop\\" + name, files.table);
}

Shop& WithTables(Shop& shop) {
  PutTable(shop, L"defaults.dbf");
  PutTable(shop, L"need.dbf");
  return shop;
}

}  // namespace

TEST_CASE("a shop in good health is told as such, and nothing of it is touched") {
  Shop shop;
  const auto files = WithTables(shop).machine.AllFiles();
  const auto found = shop.Examine();
  CHECK(FormatDiagnoses(found, Palette()) ==
        "ok           Local INI file: C:\\Desk\\TOVO.INI, named by --ini\n"
        "ok           Data folder: C:\\Shop, key DataPath of section [Defaults] in "
        "C:\\Desk\\TOVO.INI\n"
        "ok           Global INI file: C:\\Shop\\TOVOGBL.INI, in the data folder\n"
        "ok           Write access: TOVO.INI, TOVOGBL.INI, the folders of both and the tables can "
        "be written\n"
        "ok           Leftovers: no temporary copies of an interrupted save\n"
        "ok           Tables: 2 tables are whole: defaults, need\n"
        "ok           Table access: embedded engine; VFPOLEDB.1 is not registered for programs of "
        "this bitness\n"
        "\n7 ok. Nothing was changed.\n");
  CHECK(shop.machine.AllFiles() == files);
  CHECK(shop.machine.Contents(kLocal) == kLocalText);
  CHECK(shop.machine.open_handles() == 0);
}

TEST_CASE("a file found by the search is named with its folder and the copies it hides") {
  Shop shop;
  shop.ini_file.clear();
  shop.data_folder = L"C:\\Shop";
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", kLocalText);
  shop.machine.PutFile(L"C:\\Windows\\TOVO.INI", kLocalText);
  const auto found = WithTables(shop).Examine();
  CHECK(Find(found, Health::kOk,
             "C:\\Work\\TOVO.INI, found by the system's search (current folder)"));
  CHECK(Find(found, Health::kWarning,
             "another TOVO.INI is C:\\Windows\\TOVO.INI (Windows folder); "
             "C:\\Work\\TOVO.INI is used instead of it"));
  CHECK(ExitCodeOf(found) == 0);
}

TEST_CASE("the data folder of a bare name comes from the Windows folder") {
  Shop shop;
  shop.ini_file.clear();
  shop.machine.PutFile(L"C:\\Work\\TOVO.INI", kLocalText);
  const auto found = WithTables(shop).Examine();
  CHECK(Find(found, Health::kProblem,
             "reads the key DataPath from C:\\Windows\\TOVO.INI, which does not exist"));
  CHECK(Find(found, Health::kProblem, "none is named: key DataPath"));
  shop.machine.PutFile(L"C:\\Windows\\TOVO.INI", kLocalText);
  const auto later = shop.Examine();
  CHECK(Find(later, Health::kWarning, "reads the key DataPath from C:\\Windows\\TOVO.INI"));
  CHECK(ExitCodeOf(later) == 0);
}

TEST_CASE("without a local file the folders of the search are told, and what can be restored") {
  Shop shop;
  shop.ini_file.clear();
  shop.machine.PutFile(L"C:\\Tools\\TOVO.old", kLocalText);
  const auto found = shop.Examine();
  const Diagnosis* missing =
      Find(found, Health::kProblem, "there is no TOVO.INI on the search path");
  REQUIRE(missing != nullptr);
  CHECK(missing->advice.find("\n  C:\\Work (current folder)") != std::string::npos);
  CHECK(missing->advice.find("\n  C:\\Tools (PATH)") != std::string::npos);
  CHECK(missing->steps.size() == 1);
  CHECK(HasStep(missing, "copy /y \"C:\\Tools\\TOVO.old\" \"C:\\Tools\\TOVO.INI\""));
  shop.data_folder = L"C:\\Shop";
  CHECK(Find(WithTables(shop).Examine(), Health::kWarning, "there is no TOVO.INI"));
}

TEST_CASE("a data folder that is missing, a file or not named is a problem") {
  Shop shop;
  shop.data_folder = L"C:\\Elsewhere";
  CHECK(
      Find(shop.Examine(), Health::kProblem, "there is no folder C:\\Elsewhere (named by --data)"));
  shop.data_folder.clear();
  shop.machine.PutFile(kLocal, "[Defaults]\r\nDataPath=C:\\Desk\\TOVO.INI\r\n");
  CHECK(Find(shop.Examine(), Health::kProblem, "C:\\Desk\\TOVO.INI is a file, not a folder"));
  shop.machine.PutFile(kLocal, "[Defaults]\r\nDataPath=\r\n");
  CHECK(Find(shop.Examine(), Health::kProblem, "none is named"));
  shop.machine.AddFolder(L"C:\\Work\\Data");
  shop.machine.PutFile(kLocal, "[Defaults]\r\nDataPath=Data\r\n");
  CHECK(Find(shop.Examine(), Health::kWarning, "Data counts from each program's current folder"));
}

TEST_CASE("a missing INI file is restored from its previous version") {
  Shop shop;
  WithTables(shop);
  shop.machine.PutFile(L"C:\\Shop\\TOVOGBL.old", kGlobalText);
  shop.machine.RemoveFile(kGlobal);
  const auto found = shop.Examine();
  const Diagnosis* missing =
      Find(found, Health::kProblem, "there is no file C:\\Shop\\TOVOGBL.INI");
  CHECK(HasStep(missing, "copy /y \"C:\\Shop\\TOVOGBL.old\" \"C:\\Shop\\TOVOGBL.INI\""));
  shop.machine.RemoveFile(L"C:\\Shop\\TOVOGBL.old");
  const auto later = shop.Examine();
  CHECK(HasStep(Find(later, Health::kProblem, "there is no file C:\\Shop\\TOVOGBL.INI"),
                "type nul > \"C:\\Shop\\TOVOGBL.INI\""));
  shop.machine.RemoveFile(kLocal);
  CHECK(Find(shop.Examine(), Health::kProblem, "there is no file C:\\Desk\\TOVO.INI"));
}

TEST_CASE("previous versions are told with their date") {
  Shop shop;
  WithTables(shop).machine.PutFile(L"C:\\Desk\\TOVO.old", kLocalText);
  CHECK(Find(shop.Examine(), Health::kOk,
             "previous version C:\\Desk\\TOVO.old, last changed 2001-03-07 14:05"));
}

TEST_CASE("another global file beside the local one is never used") {
  Shop shop;
  WithTables(shop).machine.PutFile(L"C:\\Desk\\TOVOGBL.INI", kGlobalText);
  const auto found = shop.Examine();
  CHECK(Find(found, Health::kWarning,
             "another TOVOGBL.INI is C:\\Desk\\TOVOGBL.INI (beside the local INI file)"));
  CHECK(ExitCodeOf(found) == 0);
}

TEST_CASE("tables that are damaged, missing or held are told with the command that shows more") {
  Shop shop;
  const auto none = shop.Examine();
  CHECK(Find(none, Health::kProblem, "there is no C:\\Shop\\defaults.dbf"));
  WithTables(shop).machine.PutFile(L"C:\\Shop\\broken.dbf", "x");
  const auto found = shop.Examine();
  const Diagnosis* broken = Find(found, Health::kProblem, "Table broken");
  CHECK(HasStep(broken, "tovocfg check broken --data \"C:\\Shop\""));
  CHECK(ExitCodeOf(found) == 1);
  shop.machine.RemoveFile(L"C:\\Shop\\broken.dbf");
  const auto held = shop.machine.HoldOpen(L"C:\\Shop\\need.dbf", FileShare::kNone);
  const auto later = shop.Examine();
  CHECK(Find(later, Health::kNotChecked, "need"));
  CHECK(Find(later, Health::kWarning, "C:\\Shop\\need.dbf cannot be opened for writing: in use"));
  CHECK(ExitCodeOf(later) == 2);
}

TEST_CASE("the access to the tables is told with its reason") {
  Shop shop;
  shop.provider_registered = true;
  CHECK(Find(shop.Examine(), Health::kOk, "provider VFPOLEDB.1; VFPOLEDB.1 is registered"));
  shop.tables_setting = "embedded";
  CHECK(Find(shop.Examine(), Health::kOk,
             "embedded engine; the environment variable TDEFAULT_TABLES is embedded"));
  shop.provider_registered = false;
  shop.tables_setting = "provider";
  CHECK(Find(shop.Examine(), Health::kProblem, "none: TDEFAULT_TABLES is provider"));
}

TEST_CASE("files that cannot be written are problems where saving or starting needs them") {
  Shop shop;
  WithTables(shop);
  shop.machine.SetReadOnly(kLocal);
  shop.machine.SetReadOnly(L"C:\\Shop\\defaults.dbf");
  shop.machine.SetReadOnly(L"C:\\Shop\\need.dbf");
  const auto held = shop.machine.HoldOpen(kGlobal, FileShare::kRead, FileAccess::kReadWrite);
  const auto found = shop.Examine();
  CHECK(HasStep(Find(found, Health::kProblem, "C:\\Desk\\TOVO.INI is marked read-only; no save"),
                "attrib -r \"C:\\Desk\\TOVO.INI\""));
  CHECK(Find(found, Health::kProblem, "defaults.dbf is marked read-only; no program starts"));
  CHECK(Find(found, Health::kWarning, "need.dbf is marked read-only; what changes this table"));
  CHECK(Find(found, Health::kProblem,
             "C:\\Shop\\TOVOGBL.INI cannot be opened for writing: in use by another program"));
  CHECK(Find(found, Health::kOk, "can be written") == nullptr);
}

TEST_CASE("a folder where no file can be made lets no save succeed") {
  Shop shop;
  WithTables(shop).adding_files = 5;
  const auto found = shop.Examine();
  CHECK(Find(found, Health::kProblem, "no files can be made in C:\\Desk: access denied (code 5)"));
  CHECK(Find(found, Health::kProblem, "no files can be made in C:\\Shop"));
}

TEST_CASE("a file that nobody else may read is not checked, and its danger is told") {
  Shop shop;
  const auto held = WithTables(shop).machine.HoldOpen(kGlobal, FileShare::kNone);
  const auto found = shop.Examine();
  CHECK(
      Find(found, Health::kNotChecked, "C:\\Shop\\TOVOGBL.INI cannot be read: in use by another"));
}

TEST_CASE("the bitness of a program file stands behind its header") {
  Shop shop;
  std::string program(0x100, '\0');
  program[0x3C] = '\x80';
  program.replace(0x80, 6, "PE\0\0\x64\x86", 6);
  shop.machine.PutFile(L"C:\\Desk\\a.dll", program);
  program.replace(0x84, 2, "\x4C\x01");
  shop.machine.PutFile(L"C:\\Desk\\b.dll", program);
  shop.machine.PutFile(L"C:\\Desk\\c.dll", "MZ");
  const Examination examination = shop.Begin();
  CHECK(BitsOf(examination, L"C:\\Desk\\a.dll") == 64);
  CHECK(BitsOf(examination, L"C:\\Desk\\b.dll") == 32);
  CHECK_FALSE(BitsOf(examination, L"C:\\Desk\\c.dll").has_value());
  CHECK_FALSE(BitsOf(examination, L"C:\\Desk\\none.dll").has_value());
}
