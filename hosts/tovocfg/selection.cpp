#include "tovocfg/selection.h"

#include <functional>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

std::vector<std::string> Sections(const std::vector<Option>& options) {
  std::vector<std::string> sections;
  for (const Option& option : options) {
    bool known = false;
    for (const std::string& section : sections) known = known || SameText(section, option.section);
    if (!known) sections.push_back(option.section);
  }
  return sections;
}

// Empty when there is no such section.
std::string KeysOf(const std::vector<Option>& options, const std::string& section) {
  std::string keys;
  for (const Option& option : options)
    if (SameText(option.section, section)) keys += (keys.empty() ? "" : ", ") + option.key;
  return keys;
}

// Why no option of the scope has the key.
std::string NoSuchKey(const std::vector<Option>& options, const std::string& section,
                      const std::string& key) {
  const std::string keys = KeysOf(options, section);
  if (keys.empty()) return NoSuchSection(options, section);
  for (const Option& option : options)
    if (SameText(option.section, section) && SameText(option.key, key))
      return Title(option) + " is an option of the " + FileWord(option) + " file; leave out --" +
             (option.local_ini ? "global" : "local");
  return "section " + section + " has no option " + key + "; it has: " + keys;
}

// The only option of the section and scope for which `matches` holds; without a problem when there
// is none.
Selection FindOnly(const std::vector<Option>& options, const std::string& section, Scope scope,
                   const std::function<bool(const Option&)>& matches) {
  Selection selection;
  for (const Option& option : options) {
    if (!SameText(option.section, section) || !InScope(option.local_ini, scope) || !matches(option))
      continue;
    if (selection.option != nullptr) {
      selection.problem = "several options are called " + Title(option) +
                          "; choose with --local or --global, or get one by its ID";
      selection.option = nullptr;
      selection.ambiguous = true;
      return selection;
    }
    selection.option = &option;
  }
  return selection;
}

}  // namespace

bool InScope(bool local_ini, Scope scope) {
  return scope == Scope::kBoth || local_ini == (scope == Scope::kLocal);
}

Selection FindByKey(const std::vector<Option>& options, const std::string& section,
                    const std::string& key, long location, Scope scope) {
  const std::string wanted = Trimmed(section);
  const std::string whole_key = Trimmed(key);
  const std::string site_key = whole_key + std::to_string(location);
  Selection found = FindOnly(options, wanted, scope,
                             [&](const Option& option) { return SameText(option.key, whole_key); });
  if (found.option != nullptr || found.ambiguous) return found;
  found = FindOnly(options, wanted, scope, [&](const Option& option) {
    return option.type == KeyType::kPrinter && SameText(option.key, site_key);
  });
  if (found.option == nullptr && !found.ambiguous)
    found.problem = NoSuchKey(options, wanted, whole_key);
  return found;
}

Selection FindById(const std::vector<Option>& options, const std::string& id) {
  std::string wanted = Trimmed(id);
  if (wanted.size() > 2 && wanted.front() == '{' && wanted.back() == '}')
    wanted = wanted.substr(1, wanted.size() - 2);
  Selection selection;
  for (const Option& option : options)
    if (SameText(option.id, wanted)) selection.option = &option;
  if (selection.option != nullptr) return selection;
  const std::string keys = KeysOf(options, wanted);
  selection.problem = keys.empty() ? "there is no option with the ID " + wanted
                                   : wanted + " is a section; name one of its options too: " + keys;
  return selection;
}

std::vector<const Option*> OptionsOf(const std::vector<Option>& options, const std::string& section,
                                     Scope scope) {
  std::vector<const Option*> chosen;
  for (const std::string& each : Sections(options)) {
    if (!section.empty() && !SameText(each, Trimmed(section))) continue;
    for (const Option& option : options)
      if (SameText(option.section, each) && InScope(option.local_ini, scope))
        chosen.push_back(&option);
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
