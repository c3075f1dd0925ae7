#include "tovocfg/diff_command.h"

#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tovocfg/comparison.h"
#include "tovocfg/exchange_reading.h"
#include "tovocfg/session.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

// The other side of a comparison.
struct There {
  SideFacts facts;
  std::vector<Setting> settings;
};

SideFacts SideOf(const Whereabouts& where) {
  return {"catalogue", "", "", where.data_folder, where.local_ini, where.location};
}

bool IsMeant(const Setting& setting, const std::string& section, Scope scope) {
  return InScope(setting.local_ini, scope) &&
         (section.empty() || SameText(setting.section, Trimmed(section)));
}

// Options that the export was restricted from naming are no difference.
void Restrict(std::vector<const Option*>& here, const ExchangeFile& file) {
  std::erase_if(here, [&file](const Option* option) {
    return !IsMeant(SettingOf(*option), file.only_section, file.only_file);
  });
}

There InExport(const Request& request, std::vector<const Option*>& here) {
  const ExchangeFile file = ReadExchangeFrom(request.file);
  There there;
  there.facts = {"export",
                 request.file == kStandardInput ? request.file : ExchangeName(request.file),
                 file.exported,
                 file.data_folder,
                 "",
                 file.site};
  for (const Setting& setting : file.options)
    if (IsMeant(setting, request.section, ScopeOf(request))) there.settings.push_back(setting);
  Restrict(here, file);
  return there;
}

// The session's texts name the options that locate the catalogue here.
std::string NamingOther(std::string text) {
  for (const std::string name : {"--data", "--ini"}) {
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
      text.replace(at, name.size(), "--with-" + name.substr(2));
  }
  return text;
}

There InOtherCatalogue(const Request& request, const Session& here) {
  Request other = request;
  other.data_folder = request.with_data;
  if (!request.with_ini.empty()) other.ini_file = request.with_ini;
  // Both sessions are on one thread, which has one data path for all its Options objects. The
  // options of the session here are read already.
  here.library().SetDataPath("");
  There there;
  try {
    const Session session(other);
    const std::vector<const Option*> chosen =
        OptionsOf(session.options(), request.section, ScopeOf(request));
    RequireIniFiles(session.where(), chosen);
    there.facts = SideOf(session.where());
    for (const Option* option : chosen) there.settings.push_back(SettingOf(*option));
  } catch (const Stop& stop) {
    throw Stop{stop.exit_code, NamingOther(stop.text)};
  }
  return there;
}

There OtherSide(const Request& request, const Session& session, std::vector<const Option*>& here) {
  if (!request.file.empty()) return InExport(request, here);
  if (!request.with_data.empty() || !request.with_ini.empty())
    return InOtherCatalogue(request, session);
  return {{"defaults", "", "", "", "", 0}, DefaultsOf(here)};
}

}  // namespace

ExitCode Diff(const Request& request) {
  const Session session(request);
  std::vector<const Option*> here = OptionsOf(session.options(), request.section, ScopeOf(request));
  RequireIniFiles(session.where(), here);
  const There there = OtherSide(request, session, here);
  if (here.empty() && there.settings.empty() && !request.section.empty())
    throw Stop{ExitCode::kOptionNotFound, NoSuchSection(session.options(), request.section)};
  const Comparison comparison = Compare(here, there.settings);
  const SideFacts here_facts = SideOf(session.where());
  std::cout << (request.json ? ComparisonToJson(comparison, here_facts, there.facts)
                             : FormatComparison(comparison, here_facts, there.facts));
  return comparison.differences.empty() ? ExitCode::kOk : ExitCode::kDifferent;
}

}  // namespace tovocfg
