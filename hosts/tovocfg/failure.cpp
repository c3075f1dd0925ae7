#include "tovocfg/failure.h"

#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

constexpr const char* kProgram = "tovocfg";

// What the program says itself has neither number nor hint: its texts say what to do.
Json OwnWords(const std::string& text) {
  std::string description;
  for (const std::string& line : Lines(text))
    description += (description.empty() ? "" : "\n") + line;
  return {{"number", nullptr}, {"source", kProgram}, {"description", description}, {"hint", ""}};
}

Json JsonOf(const ErrorReport& error) {
  return {{"number", std::stol(ErrorNumber(error.number))},
          {"source", error.source},
          {"description", error.description},
          {"hint", HintFor(error)}};
}

}  // namespace

std::string FormatStop(const Stop& stop, const Palette& palette) {
  std::string out;
  for (const std::string& line : Lines(stop.text))
    out += palette.Paint(Colour::kBad, kProgram + std::string(":")) + " " + line + "\n";
  for (const ErrorReport& error : stop.errors) out += FormatError(error, palette);
  for (const std::string& line : Lines(stop.consequence)) out += "  " + line + "\n";
  return out;
}

std::string StopToJson(const Stop& stop, const std::string& command) {
  std::vector<Json> all;
  for (const ErrorReport& error : stop.errors) all.push_back(JsonOf(error));
  for (const std::string& text : {stop.text, stop.consequence})
    if (!text.empty()) all.push_back(OwnWords(text));
  if (all.empty()) all.push_back(OwnWords({}));
  Json document = JsonDocument(command);
  if (command.empty()) document["command"] = nullptr;
  document["exitCode"] = static_cast<int>(stop.exit_code);
  document.update(all.front());
  document["more"] = Json::array();
  for (std::size_t next = 1; next < all.size(); ++next) document["more"].push_back(all[next]);
  return Written(document);
}

}  // namespace tovocfg
