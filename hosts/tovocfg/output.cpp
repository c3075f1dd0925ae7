#include "tovocfg/output.h"

#include <algorithm>
#include <array>

#include "tovocfg/checks.h"
#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

constexpr std::size_t kColumns = 6;
using Row = std::array<std::string, kColumns>;

// Wider contents are shortened, so that a line fits a console of 120 characters.
constexpr std::array<std::size_t, kColumns> kWidest = {18, 26, 8, 36, 16, 6};

std::string ShownValue(const Option& option) {
  if (!IsSet(option)) return "(not set)";
  const Choice* choice = FindChoice(option, option.current_value);
  if (choice == nullptr || choice->description.empty()) return option.current_value;
  return option.current_value + " (" + choice->description + ")";
}

Row RowOf(const Option& option) {
  return {option.section,     option.key,           TypeWord(option.type),
          ShownValue(option), option.default_value, FileWord(option)};
}

std::string LineOf(const Row& row, const std::array<std::size_t, kColumns>& widths) {
  std::string line;
  for (std::size_t column = 0; column < kColumns; ++column)
    line += Padded(Shortened(row[column], widths[column]), widths[column] + 2);
  return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string Plural(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Labelled(const std::string& label, const std::string& text) {
  if (text.empty()) return {};
  std::string out;
  for (const std::string& line : Lines(text))
    out += "  " + Padded(out.empty() ? label : "", 10) + line + "\n";
  return out;
}

std::string ChoiceLines(const Option& option) {
  std::size_t width = 0;
  for (const Choice& choice : option.choices)
    width = std::max(width, CountCharacters(Trimmed(choice.item)));
  std::string out;
  for (const Choice& choice : option.choices) {
    const bool current = FindChoice(option, option.current_value) == &choice;
    std::string line = (current ? "* " : "  ") + Padded(Trimmed(choice.item), width + 2);
    line += Trimmed(choice.description);
    out += "  " + Padded(out.empty() ? "choices" : "", 10) +
           line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return out;
}

std::string PathOf(const Option& option, const Whereabouts& where) {
  return option.local_ini ? where.local_ini : where.global_ini;
}

Json JsonOf(const Option& option, const Whereabouts& where) {
  Json choices = Json::array();
  for (const Choice& choice : option.choices)
    choices.push_back({{"item", choice.item}, {"description", choice.description}});
  return {{"id", option.id},
          {"section", option.section},
          {"key", option.key},
          {"type", TypeName(option.type)},
          {"value", option.current_value},
          {"set", IsSet(option)},
          {"default", option.default_value},
          {"file", FileWord(option)},
          {"path", PathOf(option, where)},
          {"minimum", option.minimum},
          {"maximum", option.maximum},
          {"decimals", option.decimals},
          {"choices", choices},
          {"comment", option.comment},
          {"linkedField", option.linked_field},
          {"additionalProc", option.additional_proc},
          {"commented", option.commented}};
}

// Errors whose own text does not say what to do.
struct Hint {
  const char* number;  // as it is shown
  const char* text;
};

constexpr std::array<Hint, 5> kHints = {{
    {"53", "Check the data folder with 'tovocfg where'; name another with --data."},
    {"70", "Close the program that has the file open and try again."},
    {"457", "Two definitions have the same ID; delete one of the rows of defaults.dbf."},
    {"-2147221503", "Check defaults.dbf; restore it from a backup."},
    {"-2147221501", "Take off the write protection, or ask for access."},
}};

// " (0x80004005)"; empty for the short numbers of the automation run-time.
std::string Hexadecimal(std::int32_t number) {
  if (number >= 0 || ErrorNumber(number).front() != '-') return {};
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string digits = " (0x";
  for (int shift = 28; shift >= 0; shift -= 4)
    digits += kDigits[(static_cast<std::uint32_t>(number) >> shift) & 0xFU];
  return digits + ")";
}

}  // namespace

std::string FormatTable(const std::vector<const Option*>& options) {
  const Row head = {"Section", "Key", "Type", "Value", "Default", "File"};
  std::vector<Row> rows;
  std::array<std::size_t, kColumns> widths{};
  for (std::size_t column = 0; column < kColumns; ++column) widths[column] = head[column].size();
  std::size_t not_set = 0;
  for (const Option* option : options) {
    rows.push_back(RowOf(*option));
    not_set += IsSet(*option) ? 0 : 1;
    for (std::size_t column = 0; column < kColumns; ++column) {
      const std::size_t width = CountCharacters(rows.back()[column]);
      widths[column] = std::max(widths[column], std::min(width, kWidest[column]));
    }
  }
  Row rule;
  for (std::size_t column = 0; column < kColumns; ++column)
    rule[column].assign(widths[column], '-');
  std::string table = LineOf(head, widths) + LineOf(rule, widths);
  for (const Row& row : rows) table += LineOf(row, widths);
  table.append("\n").append(Plural(options.size(), "option"));
  if (not_set > 0) table.append(", ").append(std::to_string(not_set)).append(" not set");
  return table + "\n";
}

std::string FormatDetails(const Option& option, const Whereabouts& where) {
  std::string out = Title(option) + "\n";
  out += Labelled("value", ShownValue(option));
  out += Labelled("default", option.default_value);
  out += Labelled("type", TypeWord(option.type) + " (" + TypeName(option.type) + ")");
  if (option.choices.empty()) out += Labelled("allowed", AllowedValues(option));
  out += ChoiceLines(option);
  const std::string path = PathOf(option, where);
  out += Labelled("file", FileWord(option) + (path.empty() ? " (no file found)" : ", " + path));
  out += Labelled("linked", option.linked_field);
  out += Labelled("module", option.additional_proc);
  out += Labelled("comment", option.comment);
  return out + Labelled("id", option.id);
}

std::string FormatChange(const Change& change, const Palette& palette) {
  if (!change.IsChange()) return Title(*change.option) + ": " + change.new_value + " (unchanged)\n";
  const std::string old_value =
      IsSet(*change.option) ? Quoted(WholeValue(*change.option)) : "(not set)";
  return Title(*change.option) + ": " + old_value + " -> " +
         palette.Paint(Colour::kChanged, Quoted(change.new_value)) + "\n";
}

std::string FormatWhereabouts(const Whereabouts& where) {
  const auto line = [](const char* label, const std::string& text) {
    return Padded(label, 17) + text + "\n";
  };
  const std::string missing = "  (not found)";
  return line("Data folder", where.data_folder.empty()
                                 ? "(none named)"
                                 : where.data_folder + (where.data_folder_exists ? "" : missing)) +
         line("Local INI file",
              where.local_ini.empty() ? "(not found: no TOVO.INI)" : where.local_ini) +
         line("Global INI file",
              where.data_folder.empty()
                  ? "(none: it lies in the data folder)"
                  : where.global_ini + (where.global_ini_exists ? "" : missing)) +
         line("Location", std::to_string(where.location)) + line("Tables", where.tables) +
         line("Library", where.library_file + " " + where.library_version +
                             (where.library_registered ? " (registered)" : " (not registered)")) +
         line("Program", "tovocfg " + where.program_version);
}

std::string DescribeTables(const std::string& setting, bool provider_registered) {
  const bool wants_provider = SameText(setting, "provider");
  if (SameText(setting, "embedded") || (setting.empty() && !provider_registered))
    return "embedded engine";
  if (provider_registered && (setting.empty() || wants_provider)) return "provider VFPOLEDB.1";
  if (wants_provider)
    return "none: TDEFAULT_TABLES is " + setting +
           ", but VFPOLEDB.1 is not registered for this bitness; remove it or set it to embedded";
  return "none: TDEFAULT_TABLES is " + setting + "; remove it or set it to embedded";
}

std::string OptionsToJson(const std::vector<const Option*>& options, const Whereabouts& where) {
  Json document = JsonDocument("list");
  document["dataFolder"] = where.data_folder;
  document["options"] = Json::array();
  for (const Option* option : options) document["options"].push_back(JsonOf(*option, where));
  return Written(document);
}

std::string OptionToJson(const Option& option, const Whereabouts& where) {
  Json document = JsonDocument("get");
  document.update(JsonOf(option, where));
  return Written(document);
}

std::string WhereaboutsToJson(const Whereabouts& where) {
  Json document = JsonDocument("where");
  document["dataFolder"] = where.data_folder;
  document["dataFolderExists"] = where.data_folder_exists;
  document["localIni"] = where.local_ini;
  document["globalIni"] = where.global_ini;
  document["globalIniExists"] = where.global_ini_exists;
  document["location"] = where.location;
  document["tables"] = where.tables;
  document["libraryFile"] = where.library_file;
  document["libraryVersion"] = where.library_version;
  document["libraryRegistered"] = where.library_registered;
  document["programVersion"] = where.program_version;
  return Written(document);
}

namespace {

Json JsonOf(const std::vector<NamedOption>& options) {
  Json list = Json::array();
  for (const NamedOption& option : options)
    list.push_back({{"section", option.section}, {"key", option.key}, {"file", option.file}});
  return list;
}

}  // namespace

std::string SavingToJson(const std::vector<Change>& changes, const Whereabouts& where,
                         const Saving& saving) {
  Json document = JsonDocument(saving.is_import ? "import" : "set");
  document["dryRun"] = saving.dry_run;
  document["changes"] = Json::array();
  for (const Change& change : changes) {
    const Option& option = *change.option;
    document["changes"].push_back({{"id", option.id},
                                   {"section", option.section},
                                   {"key", option.key},
                                   {"file", FileWord(option)},
                                   {"path", PathOf(option, where)},
                                   {"from", WholeValue(option)},
                                   {"to", change.new_value},
                                   {"changed", change.IsChange()}});
  }
  document["saved"] = saving.saved;
  document["previousFiles"] = saving.previous_files;
  document["status"] = saving.status;
  document["shortened"] = JsonOf(saving.shortened);
  if (saving.is_import) {
    document["skipped"] = JsonOf(saving.skipped);
    document["kept"] = JsonOf(saving.kept);
  }
  return Written(document);
}

std::string ErrorNumber(std::int32_t number) {
  const auto bits = static_cast<std::uint32_t>(number);
  if (bits >> 16 == 0x800A) return std::to_string(bits & 0xFFFFU);
  return std::to_string(number);
}

std::string HintFor(const ErrorReport& error) {
  // A missing file that is none of the shop's.
  if (error.description.find("kit update program") != std::string::npos)
    return "Install it, or correct or delete the registry key HKEY_CURRENT_USER\\Software\\VB and "
           "VBA "
           "Program Settings\\Tovo\\Modules\\KitProgram.";
  const std::string shown = ErrorNumber(error.number);
  for (const Hint& hint : kHints)
    if (shown == hint.number) return hint.text;
  return {};
}

std::string FormatError(const ErrorReport& error, const Palette& palette) {
  std::string out = palette.Paint(Colour::kBad, "tovocfg:") + " error " +
                    ErrorNumber(error.number) + Hexadecimal(error.number);
  if (!error.source.empty()) out += " from " + error.source;
  out += "\n";
  for (const std::string& line : Lines(error.description)) out += "  " + Trimmed(line) + "\n";
  const std::string hint = HintFor(error);
  return hint.empty() ? out : out + "  Hint: " + hint + "\n";
}

}  // namespace tovocfg
