// What the doctor finds, and how it is told.
#pragma once

#include <string>
#include <vector>

#include "tovocfg/colour.h"

namespace tovocfg {

enum class Health { kOk, kWarning, kProblem, kNotChecked };

// What a diagnosis is about, in the order of telling.
enum class Topic {
  kProgram,
  kLibrary,
  kLocalIni,
  kDataFolder,
  kGlobalIni,
  kWriteAccess,
  kLeftovers,
  kTables,
  kTableAccess,
  kOptions,
};

// A command for the administrator to choose, and what it is good for.
struct Step {
  std::string purpose;
  std::string command;
};

struct Diagnosis {
  Health health = Health::kOk;
  Topic topic = Topic::kProgram;
  std::string text;
  std::string advice;  // what to do; empty where nothing is to be done
  std::vector<Step> steps;
};

// In the order of their topics, those of one topic as they came.
[[nodiscard]] std::vector<Diagnosis> Ordered(std::vector<Diagnosis> diagnoses);

// As of check: 0 all well (warnings included), 1 problems, 2 something could not be looked at and
// there are no problems.
[[nodiscard]] int ExitCodeOf(const std::vector<Diagnosis>& diagnoses);

// A line for each, what to do below it, and a line with counts at the end.
[[nodiscard]] std::string FormatDiagnoses(const std::vector<Diagnosis>& diagnoses,
                                          const Palette& palette);

// Ends in a line break.
[[nodiscard]] std::string DiagnosesToJson(const std::vector<Diagnosis>& diagnoses);

}  // namespace tovocfg
