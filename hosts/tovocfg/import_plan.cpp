#include "tovocfg/import_plan.h"

#include <algorithm>

#include "tovocfg/text.h"

namespace tovocfg {

namespace {

// A choice may be named by its description, which is not what is stored; every other accepted value
// is stored as it was written.
std::string StoredAs(const Option& option, const std::string& wanted, const CheckedValue& checked) {
  if (option.type == KeyType::kBoolean) return wanted;
  const bool chosen = option.type == KeyType::kChoice || option.type == KeyType::kInsurance;
  return chosen && FindChoice(option, wanted) != nullptr ? wanted : checked.value;
}

// Why the same place cannot be set again.
std::string TwiceProblem(const Setting& setting, const std::vector<Setting>& before) {
  for (const Setting& other : before)
    if (other.local_ini == setting.local_ini && SameText(other.section, setting.section) &&
        SameText(other.key, setting.key) && other.value != setting.value)
      return "it stands in the file twice, with different values; keep one of them";
  return {};
}

class Planner {
 public:
  Planner(const std::vector<Option>& options, const ImportRules& rules,
          const Surroundings& surroundings)
      : options_(options), rules_(rules), surroundings_(surroundings) {}

  void Add(const Setting& setting) {
    if (!InScope(setting.local_ini, rules_.scope)) return;
    if (!rules_.section.empty() && !SameText(setting.section, Trimmed(rules_.section))) return;
    ++plan_.in_scope;
    const Selection found = FindSetting(options_, setting);
    if (found.option == nullptr) {
      AddUnknown(setting, found);
      return;
    }
    const std::string problem = ProblemWith(setting, *found.option);
    seen_.push_back(setting);
    used_.push_back(found.option);
    if (problem.empty())
      AddKnown(setting, *found.option);
    else
      Refuse(setting, problem);
  }

  [[nodiscard]] ImportPlan Plan() && {
    if (any_unknown_)
      plan_.refusals += "Options that do not exist here can be left out with --skip-unknown.\n";
    return std::move(plan_);
  }

 private:
  void Refuse(const Setting& setting, const std::string& why) {
    plan_.refusals.append(Title(setting)).append(": ").append(why).append("\n");
  }

  const Option* OptionOfId(const std::string& id) const {
    return id.empty() ? nullptr : FindById(options_, id).option;
  }

  void AddUnknown(const Setting& setting, const Selection& found) {
    if (found.ambiguous) {
      Refuse(setting, found.problem);
      return;
    }
    if (rules_.skip_unknown) {
      plan_.skipped.push_back(setting);
      return;
    }
    any_unknown_ = true;
    const Option* const renamed = OptionOfId(setting.id);
    Refuse(setting, renamed == nullptr ? "there is no such option here"
                                       : "there is no such option here; its ID belongs to " +
                                             Title(SettingOf(*renamed)));
  }

  std::string ProblemWith(const Setting& setting, const Option& option) const {
    if (std::find(used_.begin(), used_.end(), &option) != used_.end())
      return "it stands in the file twice; keep one of them";
    const Option* const named = OptionOfId(setting.id);
    if (named != nullptr && named != &option)
      return "its ID belongs to " + Title(SettingOf(*named)) +
             " here; correct its section and key, or take its ID out of the file";
    return TwiceProblem(setting, seen_);
  }

  void AddKnown(const Setting& setting, const Option& option) {
    if (!setting.id.empty() && !SameText(setting.id, option.id)) ++plan_.other_ids;
    if (!setting.value) {
      if (IsSet(option)) plan_.kept.push_back(&option);
      return;
    }
    const bool only_name = setting.font.empty() && setting.value->find('|') == std::string::npos;
    const std::string& wanted = setting.font.empty() ? *setting.value : setting.font;
    const std::string& here = only_name ? option.current_value : WholeValue(option);
    if (IsSet(option) && wanted == here) return;
    const CheckedValue checked = CheckValue(option, wanted, surroundings_);
    if (!checked.accepted()) {
      plan_.refusals += RefusalLines(option, checked);
      return;
    }
    plan_.changes.push_back({&option, StoredAs(option, wanted, checked)});
    if (!setting.key_without_site.empty() && !SameText(setting.key, option.key)) ++plan_.other_site;
  }

  const std::vector<Option>& options_;
  const ImportRules& rules_;
  const Surroundings& surroundings_;
  ImportPlan plan_;
  std::vector<Setting> seen_;
  std::vector<const Option*> used_;
  bool any_unknown_ = false;
};

std::string OptionCount(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " option" : " options");
}

}  // namespace

ImportPlan PlanImport(const ExchangeFile& file, const std::vector<Option>& options,
                      const ImportRules& rules, const Surroundings& surroundings) {
  Planner planner(options, rules, surroundings);
  for (const Setting& setting : file.options) planner.Add(setting);
  return std::move(planner).Plan();
}

std::string FormatImportNotes(const ImportPlan& plan, long site_of_file, long site_here) {
  std::string notes;
  for (const Setting& setting : plan.skipped)
    notes += "Skipped, no such option here: " + Title(setting) + "\n";
  for (const Option* option : plan.kept)
    notes +=
        Title(*option) + ": " + Quoted(WholeValue(*option)) + " stays; the file has no value\n";
  if (plan.other_ids > 0)
    notes += OptionCount(plan.other_ids) +
             " with another ID than in the file, found by section and key\n";
  if (plan.other_site > 0)
    notes += OptionCount(plan.other_site) + " of site " + std::to_string(site_of_file) +
             ", taken for site " + std::to_string(site_here) + "\n";
  return notes;
}

}  // namespace tovocfg
