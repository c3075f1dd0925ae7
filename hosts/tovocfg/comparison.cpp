#include "tovocfg/comparison.h"

#include <algorithm>

#include "tovocfg/json_text.h"
#include "tovocfg/text.h"
#include "tovocfg/value_meaning.h"

namespace tovocfg {

namespace {

// A wider value pushes its line's other columns to the right, so that none is cut.
constexpr std::size_t kWidestShown = 50;

std::optional<std::string> WholeValueOf(const Setting& setting) {
  return setting.font.empty() ? setting.value : std::optional(setting.font);
}

// What a value of the option is called; empty when it is none of its choices.
std::string DescriptionOf(const Option* option, const std::optional<std::string>& value) {
  const Choice* const choice = option == nullptr || !value ? nullptr : FindChoice(*option, *value);
  return choice == nullptr ? std::string() : Trimmed(choice->description);
}

bool SameSides(const Option& option, const Side& here, const Side& there) {
  if (!here.value || !there.value) return here.value == there.value;
  return SameMeaning(option.type, *here.value, *there.value);
}

std::string ShownSide(const Side& side) {
  if (!side.has_option) return "(no such option)";
  if (!side.value) return "(not set)";
  const std::string value = Quoted(*side.value);
  return side.description.empty() ? value : value + " (" + side.description + ")";
}

std::string ShownKey(const Difference& difference) {
  return difference.key_there.empty() ? difference.key
                                      : difference.key + " (there " + difference.key_there + ")";
}

std::string ComparedLine(const std::string& key, const std::string& here, const std::string& there,
                         const std::string& file, const std::vector<std::size_t>& widths) {
  return "  " + Padded(key, widths[0]) + "  " + Padded(here, widths[1]) + "  " +
         Padded(there, widths[2]) + "  " + file + "\n";
}

Json JsonOfFacts(const SideFacts& facts) {
  Json json = {{"kind", facts.kind}};
  if (facts.kind == "defaults") return json;
  if (!facts.file.empty()) json["file"] = facts.file;
  if (!facts.exported.empty()) json["exported"] = facts.exported;
  json["dataFolder"] = facts.data_folder;
  if (facts.kind == "catalogue") json["localIni"] = facts.local_ini;
  json["site"] = facts.site;
  return json;
}

std::string ShownFacts(const SideFacts& facts) {
  if (facts.kind == "defaults") return "the defaults of the definitions";
  const std::string site = " (site " + std::to_string(facts.site) + ")";
  if (facts.kind == "export") {
    // One that was written by hand may not say when and where it was made.
    return (facts.file == kStandardInput ? "export on standard input" : "export " + facts.file) +
           (facts.exported.empty() ? "" : " of " + facts.exported) +
           (facts.data_folder.empty() ? "" : " from " + facts.data_folder + site);
  }
  return facts.data_folder + site + ", " +
         (facts.local_ini.empty() ? "no local INI file" : facts.local_ini);
}

}  // namespace

std::vector<Setting> DefaultsOf(const std::vector<const Option*>& options) {
  std::vector<Setting> defaults;
  defaults.reserve(options.size());
  for (const Option* option : options) {
    Setting setting = SettingOf(*option);
    setting.value = option->default_value;
    setting.font.clear();
    defaults.push_back(std::move(setting));
  }
  return defaults;
}

Comparison Compare(const std::vector<const Option*>& here, const std::vector<Setting>& there) {
  std::vector<Option> options;
  options.reserve(here.size());
  for (const Option* option : here) options.push_back(*option);
  std::vector<const Setting*> partners(options.size(), nullptr);
  Comparison comparison;
  std::vector<Difference> only_there;
  for (const Setting& setting : there) {
    const Option* const found = FindSetting(options, setting).option;
    const auto at = static_cast<std::size_t>(found == nullptr ? 0 : found - options.data());
    if (found != nullptr && partners[at] == nullptr) {
      partners[at] = &setting;
      continue;
    }
    only_there.push_back({setting.section, setting.key, "", setting.local_ini, setting.type, Side{},
                          Side{true, WholeValueOf(setting), setting.description}});
  }
  for (std::size_t at = 0; at < options.size(); ++at) {
    const Option& option = options[at];
    const Setting own = SettingOf(option);
    Difference difference = {option.section,
                             option.key,
                             "",
                             option.local_ini,
                             own.type,
                             Side{true, WholeValueOf(own), own.description},
                             Side{}};
    if (const Setting* const partner = partners[at]) {
      const std::optional<std::string> value = WholeValueOf(*partner);
      difference.there = {true, value, DescriptionOf(&option, value)};
      if (!SameText(partner->key, option.key)) difference.key_there = partner->key;
      if (SameSides(option, difference.here, difference.there)) continue;
    }
    comparison.differences.push_back(std::move(difference));
  }
  comparison.compared = options.size() + only_there.size();
  for (Difference& difference : only_there) comparison.differences.push_back(std::move(difference));
  return comparison;
}

std::string FormatComparison(const Comparison& comparison, const SideFacts& here,
                             const SideFacts& there) {
  std::string out = "Here:  " + ShownFacts(here) + "\nThere: " + ShownFacts(there) + "\n\n";
  const std::string compared =
      std::to_string(comparison.compared) + (comparison.compared == 1 ? " option" : " options");
  if (comparison.differences.empty()) return out + "No differences: " + compared + " compared.\n";
  std::vector<std::size_t> widths = {3, 4, 5};  // of the titles
  std::vector<std::string> sections;
  const auto widen = [](std::size_t& width, const std::string& text) {
    width = std::max(width, std::min(CountCharacters(text), kWidestShown));
  };
  for (const Difference& difference : comparison.differences) {
    widen(widths[0], ShownKey(difference));
    widen(widths[1], ShownSide(difference.here));
    widen(widths[2], ShownSide(difference.there));
    const auto is_section = [&](const std::string& one) {
      return SameText(one, difference.section);
    };
    if (std::none_of(sections.begin(), sections.end(), is_section))
      sections.push_back(difference.section);
  }
  out += ComparedLine("Key", "Here", "There", "File", widths);
  for (const std::string& section : sections) {
    out += "[" + section + "]\n";
    for (const Difference& difference : comparison.differences)
      if (SameText(difference.section, section))
        out += ComparedLine(ShownKey(difference), ShownSide(difference.here),
                            ShownSide(difference.there), difference.local_ini ? "local" : "global",
                            widths);
  }
  return out + "\n" + std::to_string(comparison.differences.size()) + " of " + compared +
         (comparison.differences.size() == 1 ? " differs.\n" : " differ.\n");
}

std::string ComparisonToJson(const Comparison& comparison, const SideFacts& here,
                             const SideFacts& there) {
  Json list = Json::array();
  for (const Difference& difference : comparison.differences) {
    Json json = {{"section", difference.section}, {"key", difference.key}};
    if (!difference.key_there.empty()) json["keyThere"] = difference.key_there;
    json["file"] = difference.local_ini ? "local" : "global";
    json["type"] = difference.type;
    json["difference"] = !difference.there.has_option  ? "onlyHere"
                         : !difference.here.has_option ? "onlyThere"
                                                       : "value";
    for (const bool is_here : {true, false}) {
      const Side& side = is_here ? difference.here : difference.there;
      if (!side.has_option) continue;
      json[is_here ? "here" : "there"] = side.value ? Json(*side.value) : Json(nullptr);
    }
    list.push_back(std::move(json));
  }
  Json document = JsonDocument("diff");
  document["here"] = JsonOfFacts(here);
  document["there"] = JsonOfFacts(there);
  document["compared"] = comparison.compared;
  document["differences"] = std::move(list);
  return Written(document);
}

}  // namespace tovocfg
