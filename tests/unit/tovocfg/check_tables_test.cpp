// The command check over a data folder.
#include <doctest/doctest.h>

#include <sstream>

#include "platform/simulation/simulation.h"
#include "tables/table_builder.h"
#include "tovocfg/table_check.h"

using namespace tovocfg;
using tdefault::platform::simulation::Simulation;

namespace {

constexpr wchar_t kFolder[] = L"C:\\Shop";

struct Played {
  CheckOutcome outcome;
  std::string out;
  std::string problem;
};

Played Check(Simulation& machine, const std::string& table = {}) {
  std::ostringstream out;
  std::string problem;
  const CheckOutcome outcome = CheckTables(machine.platform(), kFolder, table, out, problem);
  return {outcome, out.str(), problem};
}

void Put(Simulation& machine, const std::wstring& name) {
  const auto files = tdefault::tests::BuildTable({.columns = {{.name = "X", .length = 4}}});
  machine.PutFile(std::wstring(kFolder) + L"\\" + name, files.table);
}

}  // namespace

TEST_CASE("a folder of whole tables is a line each and outcome 0") {
  Simulation machine;
  Put(machine, L"need.dbf");
  Put(machine, L"Defaults.dbf");
  const Played played = Check(machine);
  CHECK(played.outcome == CheckOutcome::kWhole);
  CHECK(played.problem.empty());
  CHECK(played.out ==
        "Data folder C:\\Shop\n"
        "Table      Records  Deleted  Memo values  Tags      Keys  Result\n"
        "Defaults         0        0            -     -         -  ok\n"
        "need             0        0            -     -         -  ok\n"
        "2 tables checked: no problems.\n");
}

TEST_CASE("one damaged table is outcome 1, and counts that are not known are question marks") {
  Simulation machine;
  Put(machine, L"need.dbf");
  machine.PutFile(L"C:\\Shop\\broken.dbf", "x");
  const Played played = Check(machine);
  CHECK(played.outcome == CheckOutcome::kProblems);
  CHECK(played.out.find("broken         ?        ?            ?     ?         ?  1 problem\n"
                        "  problem: Table broken, file C:\\Shop\\broken.dbf: ") !=
        std::string::npos);
  CHECK(played.out.find("2 tables checked: 1 with problems. Nothing was changed.\n") !=
        std::string::npos);
}

TEST_CASE("a table that could not be read is outcome 2 where the others are whole, else 1") {
  Simulation machine;
  Put(machine, L"need.dbf");
  const auto held = machine.HoldOpen(L"C:\\Shop\\need.dbf");
  CHECK(Check(machine).outcome == CheckOutcome::kNotChecked);
  CHECK(Check(machine).out.find("not checked: Table need") != std::string::npos);
  machine.PutFile(L"C:\\Shop\\broken.dbf", "x");
  CHECK(Check(machine).outcome == CheckOutcome::kProblems);
}

TEST_CASE("one table is found by its name in any letter case, with or without ending") {
  Simulation machine;
  Put(machine, L"need.dbf");
  Put(machine, L"Numbers.dbf");
  for (const char* name : {"need", "NEED", "Need.DBF"}) {
    const Played played = Check(machine, name);
    CHECK(played.outcome == CheckOutcome::kWhole);
    CHECK(played.out.find("1 table checked") != std::string::npos);
    CHECK(played.out.find("Numbers") == std::string::npos);
  }
}

TEST_CASE("an unknown table is outcome 2 and names the tables there are") {
  Simulation machine;
  Put(machine, L"need.dbf");
  Put(machine, L"Numbers.dbf");
  const Played played = Check(machine, "customers");
  CHECK(played.outcome == CheckOutcome::kNotChecked);
  CHECK(played.out.empty());
  CHECK(played.problem ==
        "there is no table customers in C:\\Shop; the tables there are need, Numbers");
}

TEST_CASE("a folder without tables, and one that is not there, are outcome 2") {
  Simulation machine;
  CHECK(Check(machine).outcome == CheckOutcome::kNotChecked);
  CHECK(Check(machine).problem.find("C:\\Shop") != std::string::npos);
  machine.AddFolder(kFolder);
  CHECK(Check(machine).outcome == CheckOutcome::kNotChecked);
  CHECK(Check(machine).problem == "there are no tables in C:\\Shop");
}
