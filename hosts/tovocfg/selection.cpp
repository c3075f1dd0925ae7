#include "tovocfg/selection.h"

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

bool InScope(const Option& option, Scope scope) {
  return scope == Scope::kBoth || option.local_ini == (scope == Scope::kLocal);
}

std::vector<std::string> Sections(const std::vector<Option>& options) {
  std::vector<std::string> sections;
  for (const Option& option : options) {
    bool known = false;
    for (const std::string& section : sections) known = known || SameText(section, option.section);
    if (!known) sections.push_back(option.section);
  }
  return sections;
}

std::string NoSuchKey(const std::vector<Option>& options, const std::string& section,
                      const std::string& key) {
  std::string keys;
  for (const Option& option : options)
    if (SameText(option.section, section)) keys += (keys.empty() ? "" : ", ") + option.key;
  if (keys.empty()) return NoSuchSection(options, section);
  return "section " + section + " has no option " + key + "; it has: " + keys;
}

}  // namespace

Selection FindByKey(const std::vector<Option>& options, const std::string& section,
                    const std::string& key, long location, Scope scope) {
  const std::string wanted = Trimmed(section);
  const std::string with_site = key + std::to_string(location);
  Selection selection;
  for (const Option& option : options) {
    if (!SameText(option.section, wanted) || !InScope(option, scope)) continue;
    const bool per_site = option.type == KeyType::kPrinter && SameText(option.key, with_site);
    if (!SameText(option.key, Trimmed(key)) && !per_site) continue;
    if (selection.option != nullptr) {
      selection.option = nullptr;
      selection.ambiguous = true;
      selection.problem = "several options are called " + wanted + " / " + Trimmed(key) +
                          "; choose with --local or --global, or get one by its ID";
      return selection;
    }
    selection.option = &option;
  }
  if (selection.option == nullptr) selection.problem = NoSuchKey(options, wanted, Trimmed(key));
  return selection;
}

Selection FindById(const std::vector<Option>& options, const std::string& id) {
  std::string wanted = Trimmed(id);
  if (wanted.size() > 2 && wanted.front() == '{' && wanted.back() == '}')
    wanted = wanted.substr(1, wanted.size() - 2);
  Selection selection;
  for (const Option& option : options)
    if (SameText(option.id, wanted)) selection.option = &option;
  if (selection.option == nullptr) selection.problem = "there is no option with the ID " + wanted;
  return selection;
}

std::vector<const Option*> OptionsOf(const std::vector<Option>& options, const std::string& section,
                                     Scope scope) {
  std::vector<const Option*> chosen;
  for (const std::string& each : Sections(options)) {
    if (!section.empty() && !SameText(each, Trimmed(section))) continue;
    for (const Option& option : options)
      if (SameText(option.section, each) && InScope(option, scope)) chosen.push_back(&option);
  }
  return chosen;
}

std::string NoSuchSection(const std::vector<Option>& options, const std::string& section) {
  for (const Option& option : options)
    if (SameText(option.section, Trimmed(section)))
      return "section " + option.section + " has options of the " + FileWord(option) + " file only";
  std::string list;
  for (const std::string& each : Sections(options)) list += (list.empty() ? "" : ", ") + each;
  return "there is no section " + section + "; sections: " + list;
}

}  // namespace tovocfg
