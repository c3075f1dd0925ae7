#include "tovocfg/import_command.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "tovocfg/exchange_reading.h"
#include "tovocfg/import_plan.h"
#include "tovocfg/saving.h"
#include "tovocfg/session.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

constexpr const char* kNothingSaved = "Nothing was saved.";

// What the file names of the options that the request is about.
std::string MeantOptions(const Request& request) {
  return (request.local_only    ? "local option"
          : request.global_only ? "global option"
                                : "option") +
         (request.section.empty() ? std::string() : " of section " + request.section);
}

void RefuseIfAny(const ImportPlan& plan, const Session& session, const std::string& file) {
  if (!plan.refusals.empty()) {
    throw Stop{ExitCode::kValueRefused,
               plan.refusals + "Correct these values, or take the options out of " + file +
                   ": what it does not name stays as it is.\n" + kNothingSaved};
  }
  const bool any_local = std::any_of(plan.changes.begin(), plan.changes.end(),
                                     [](const Change& c) { return c.option->local_ini; });
  // The library leaves out the options of a file that it does not find.
  if (any_local && session.where().local_ini.empty()) {
    throw Stop{ExitCode::kFolderNotFound,
               file +
                   " names local options, but there is no TOVO.INI on the search path; name one "
                   "with --ini, or import with --global\n" +
                   kNothingSaved};
  }
}

NamedOption NameOf(const Setting& setting) {
  return {setting.section, setting.key, setting.local_ini ? "local" : "global"};
}

// Of the files that there are: an option of a file that cannot be read looks as if it were not set.
void RequireFilesInUse(const Session& session, const Request& request) {
  const Scope scope = ScopeOf(request);
  std::vector<const Option*> options;
  for (const Option& option : session.options())
    if (InScope(option.local_ini, scope) &&
        !(option.local_ini && session.where().local_ini.empty()))
      options.push_back(&option);
  RequireIniFiles(session.where(), options);
}

}  // namespace

ExitCode Import(const Request& request) {
  const std::string name = ExchangeName(request.file);
  const ExchangeFile file = ReadExchangeFrom(request.file, std::string("\n") + kNothingSaved);
  Session session(request);
  RequireFilesInUse(session, request);
  const ImportRules rules = {request.section, ScopeOf(request), request.skip_unknown};
  const ImportPlan plan = PlanImport(file, session.options(), rules, SurroundingsOf(session));
  if (plan.in_scope == 0 && (!rules.section.empty() || rules.scope != Scope::kBoth))
    throw Stop{ExitCode::kOptionNotFound,
               name + " names no " + MeantOptions(request) + "\n" + kNothingSaved};
  RefuseIfAny(plan, session, name);
  Saving saving;
  saving.is_import = true;
  for (const Setting& setting : plan.skipped) saving.skipped.push_back(NameOf(setting));
  for (const Option* option : plan.kept) saving.kept.push_back(NameOf(SettingOf(*option)));
  if (!request.json) std::cout << FormatImportNotes(plan, file.site, session.where().location);
  return SaveOrTell(session, request, plan.changes, saving,
                    plan.in_scope == 0
                        ? "The file names no option; nothing was saved.\n"
                        : "Every option has the value of the file already; nothing was saved.\n");
}

}  // namespace tovocfg
