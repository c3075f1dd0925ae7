#include "tovocfg/diagnosis.h"

#include <algorithm>
#include <array>

#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

struct HealthWords {
  const char* shown;
  const char* name;  // in JSON
  Colour colour;
};

constexpr std::array<HealthWords, 4> kHealth = {{
    {"ok", "ok", Colour::kGood},
    {"warning", "warning", Colour::kCaution},
    {"problem", "problem", Colour::kBad},
    {"not checked", "notChecked", Colour::kCaution},
}};

const HealthWords& WordsOf(Health health) { return kHealth.at(static_cast<std::size_t>(health)); }

struct TopicWords {
  const char* shown;
  const char* name;  // in JSON
};

constexpr std::array<TopicWords, 10> kTopics = {{
    {"Program", "program"},
    {"Library", "library"},
    {"Local INI file", "localIni"},
    {"Data folder", "dataFolder"},
    {"Global INI file", "globalIni"},
    {"Write access", "writeAccess"},
    {"Leftovers", "leftovers"},
    {"Tables", "tables"},
    {"Table access", "tableAccess"},
    {"Options", "options"},
}};

const TopicWords& WordsOf(Topic topic) { return kTopics.at(static_cast<std::size_t>(topic)); }

constexpr std::size_t kHealthWidth = 13;

std::size_t Count(const std::vector<Diagnosis>& diagnoses, Health health) {
  return static_cast<std::size_t>(
      std::count_if(diagnoses.begin(), diagnoses.end(),
                    [health](const Diagnosis& each) { return each.health == health; }));
}

std::string Summary(const std::vector<Diagnosis>& diagnoses) {
  const auto counted = [&](Health health, const std::string& noun, const std::string& nouns) {
    const std::size_t count = Count(diagnoses, health);
    return count == 0 ? "" : ", " + std::to_string(count) + " " + (count == 1 ? noun : nouns);
  };
  return std::to_string(Count(diagnoses, Health::kOk)) + " ok" +
         counted(Health::kWarning, "warning", "warnings") +
         counted(Health::kProblem, "problem", "problems") +
         counted(Health::kNotChecked, "not checked", "not checked") + ". Nothing was changed.\n";
}

}  // namespace

std::vector<Diagnosis> Ordered(std::vector<Diagnosis> diagnoses) {
  std::stable_sort(
      diagnoses.begin(), diagnoses.end(),
      [](const Diagnosis& left, const Diagnosis& right) { return left.topic < right.topic; });
  return diagnoses;
}

int ExitCodeOf(const std::vector<Diagnosis>& diagnoses) {
  if (Count(diagnoses, Health::kProblem) != 0) return 1;
  return Count(diagnoses, Health::kNotChecked) != 0 ? 2 : 0;
}

std::string FormatDiagnoses(const std::vector<Diagnosis>& diagnoses, const Palette& palette) {
  const std::string margin = std::string(kHealthWidth, ' ') + "  ";
  std::string out;
  for (const Diagnosis& each : diagnoses) {
    const HealthWords& words = WordsOf(each.health);
    const std::string padding(kHealthWidth - CountCharacters(words.shown), ' ');
    out.append(palette.Paint(words.colour, words.shown)).append(padding);
    out.append(WordsOf(each.topic).shown).append(": ").append(each.text).append("\n");
    for (const std::string& line : Lines(each.advice)) out.append(margin).append(line).append("\n");
    for (const Step& step : each.steps) {
      out.append(margin).append(step.purpose).append(":\n");
      out.append(margin).append("  ").append(step.command).append("\n");
    }
  }
  return out + "\n" + Summary(diagnoses);
}

std::string DiagnosesToJson(const std::vector<Diagnosis>& diagnoses) {
  Json findings = Json::array();
  for (const Diagnosis& each : diagnoses) {
    Json steps = Json::array();
    for (const Step& step : each.steps)
      steps.push_back({{"purpose", step.purpose}, {"command", step.command}});
    findings.push_back({{"health", WordsOf(each.health).name},
                        {"topic", WordsOf(each.topic).name},
                        {"text", each.text},
                        {"advice", each.advice},
                        {"steps", steps}});
  }
  Json document = JsonDocument("doctor");
  document["ok"] = Count(diagnoses, Health::kOk);
  document["warnings"] = Count(diagnoses, Health::kWarning);
  document["problems"] = Count(diagnoses, Health::kProblem);
  document["notChecked"] = Count(diagnoses, Health::kNotChecked);
  document["findings"] = findings;
  return Written(document);
}

}  // namespace tovocfg
