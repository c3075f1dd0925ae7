#include "tovocfg/report_commands.h"

#include <iostream>
#include <string>
#include <vector>

#include "tovocfg/json_text.h"
#include "tovocfg/layout.h"
#include "tovocfg/session.h"

namespace tovocfg {

namespace {

std::string Codes(const std::vector<Layout>& layouts) {
  std::string codes;
  for (const Layout& layout : layouts) codes += (codes.empty() ? "" : ", ") + layout.code;
  return codes;
}

std::string Shown(const Layout* layout) {
  return layout == nullptr ? "(none)" : layout->code + " (" + layout->name + ")";
}

Json JsonOf(const Layout* layout) {
  if (layout == nullptr) return nullptr;
  return {{"code", layout->code}, {"name", layout->name}};
}

}  // namespace

ExitCode ListReports(const Request& request) {
  const Session session(request);
  const std::vector<Layout> layouts = session.library().Layouts();
  std::cout << (request.json ? LayoutsToJson(layouts) : FormatLayouts(layouts));
  return ExitCode::kOk;
}

ExitCode UseReport(const Request& request) {
  const Session session(request);
  const std::vector<Layout> before = session.library().Layouts();
  const Layout* const chosen = FindLayout(before, request.layout);
  if (chosen == nullptr)
    throw Stop{ExitCode::kOptionNotFound,
               "there is no report layout " + request.layout + "; use one of " + Codes(before)};
  const std::string& file = session.where().local_ini;
  if (file.empty())
    throw Stop{ExitCode::kFolderNotFound,
               "the choice belongs to the local file, but there is no TOVO.INI on the search path; "
               "name one with --ini"};
  session.library().UseLayout(chosen->code, !request.hide_prices, file);
  // The library does not tell whether the choice could be written.
  session.library().RefreshLayouts();
  const std::vector<Layout> after = session.library().Layouts();
  const Layout* const in_use = LayoutInUse(after);
  if (in_use == nullptr || in_use->code != chosen->code)
    throw Stop{ExitCode::kLibraryError, "the choice could not be written to " + file +
                                            "; see whether you may write to it and whether "
                                            "another program has it open"};
  if (request.json) {
    Json document = JsonDocument(NameOf(request.command));
    document["before"] = JsonOf(LayoutInUse(before));
    document["now"] = JsonOf(in_use);
    document["prices"] = !request.hide_prices;
    document["path"] = file;
    std::cout << Written(document);
    return ExitCode::kOk;
  }
  std::cout << "Report layout: " << Shown(LayoutInUse(before)) << " -> " << Shown(in_use)
            << (request.hide_prices ? ", without prices" : ", with prices") << "\n"
            << "Written to " << file << "\n";
  return ExitCode::kOk;
}

}  // namespace tovocfg
