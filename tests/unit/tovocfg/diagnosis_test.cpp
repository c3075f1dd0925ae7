#include "tovocfg/diagnosis.h"

#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

namespace tovocfg {

namespace {

std::vector<Diagnosis> Found() {
  return {{Health::kOk, Topic::kProgram, "tovocfg 1.0.0", {}, {}},
          {Health::kWarning, Topic::kGlobalIni, "odd", "Look.", {}},
          {Health::kProblem, Topic::kLocalIni, "gone", "Restore it.", {{"to restore", "copy a b"}}},
          {Health::kNotChecked, Topic::kTables, "held", {}, {}}};
}

}  // namespace

TEST_CASE("each finding is a line with what to do below it, then they are counted") {
  CHECK(FormatDiagnoses(Found(), Palette()) ==
        "ok           Program: tovocfg 1.0.0\n"
        "warning      Global INI file: odd\n"
        "               Look.\n"
        "problem      Local INI file: gone\n"
        "               Restore it.\n"
        "               to restore:\n"
        "                 copy a b\n"
        "not checked  Tables: held\n"
        "\n"
        "1 ok, 1 warning, 1 problem, 1 not checked. Nothing was changed.\n");
}

TEST_CASE("colours leave the columns in place") {
  const std::string text = FormatDiagnoses(Found(), Palette(true));
  CHECK(text.starts_with("\x1b[32mok\x1b[0m           Program: "));
  CHECK(text.find("\n\x1b[31mproblem\x1b[0m      Local INI file: gone\n") != std::string::npos);
}

TEST_CASE("problems end with 1, what was not checked with 2, warnings with 0") {
  std::vector<Diagnosis> found = Found();
  CHECK(ExitCodeOf(found) == 1);
  found.erase(found.begin() + 2);
  CHECK(ExitCodeOf(found) == 2);
  found.pop_back();
  CHECK(ExitCodeOf(found) == 0);
}

TEST_CASE("findings in JSON have health, topic, text, advice and steps") {
  const auto json = nlohmann::json::parse(DiagnosesToJson(Found()));
  CHECK(json["format"] == 1);
  CHECK(json["command"] == "doctor");
  CHECK(json["ok"] == 1);
  CHECK(json["warnings"] == 1);
  CHECK(json["problems"] == 1);
  CHECK(json["notChecked"] == 1);
  REQUIRE(json["findings"].size() == 4);
  const auto& problem = json["findings"][2];
  CHECK(problem["health"] == "problem");
  CHECK(problem["topic"] == "localIni");
  CHECK(problem["text"] == "gone");
  CHECK(problem["advice"] == "Restore it.");
  CHECK(problem["steps"][0]["purpose"] == "to restore");
  CHECK(problem["steps"][0]["command"] == "copy a b");
  CHECK(json["findings"][3]["health"] == "notChecked");
}

}  // namespace tovocfg
