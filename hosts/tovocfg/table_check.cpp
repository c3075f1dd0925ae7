#include "tovocfg/table_check.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "tovocfg/json_text.h"
#include "tovocfg/text.h"

namespace tovocfg {

namespace {

namespace foxpro = tdefault::tables::foxpro;
using foxpro::CheckedTable;
using tdefault::ToUtf8;

struct CountColumn {
  const char* title;
  std::size_t width;
};
constexpr std::array kCountColumns = {CountColumn{"Records", 10}, CountColumn{"Deleted", 9},
                                      CountColumn{"Memo values", 13}, CountColumn{"Tags", 6},
                                      CountColumn{"Keys", 10}};
constexpr const char* kTableTitle = "Table";

std::string AlignedRight(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string Counted(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Result(const CheckedTable& checked, const Palette& palette) {
  std::string result;
  const auto add = [&](std::uint64_t count, Colour colour, const std::string& text) {
    if (count != 0) result += (result.empty() ? "" : ", ") + palette.Paint(colour, text);
  };
  add(checked.problems, Colour::kBad, Counted(checked.problems, "problem"));
  add(checked.unchecked, Colour::kCaution, checked.has_header ? "not all checked" : "not checked");
  if (result.empty()) result = palette.Paint(Colour::kGood, "ok");
  add(checked.warnings, Colour::kCaution, Counted(checked.warnings, "warning"));
  return result;
}

const char* Word(foxpro::FindingKind kind) {
  switch (kind) {
    case foxpro::FindingKind::kProblem:
      return "problem: ";
    case foxpro::FindingKind::kWarning:
      return "warning: ";
    case foxpro::FindingKind::kUnchecked:
      break;
  }
  return "not checked: ";
}

std::string TitleLine(std::size_t name_width) {
  std::string line = Padded(kTableTitle, name_width);
  for (const CountColumn& column : kCountColumns) line += AlignedRight(column.title, column.width);
  return line + "  Result\n";
}

// The tables to check; empty when there are none: `problem` tells why then.
std::vector<foxpro::TableIdentity> Chosen(tdefault::platform::Files& files,
                                          const std::wstring& folder, std::string table,
                                          std::string& problem) {
  std::vector<foxpro::TableIdentity> tables;
  try {
    tables = foxpro::FindTables(files, folder);
  } catch (const tdefault::Error& error) {
    problem = ToUtf8(error.description());
    return tables;
  }
  if (tables.empty()) {
    problem = "there are no tables in " + ToUtf8(folder);
    return tables;
  }
  if (table.empty()) return tables;
  constexpr std::string_view kEnding = ".dbf";
  if (table.size() > kEnding.size() &&
      SameText(std::string_view(table).substr(table.size() - kEnding.size()), kEnding))
    table.resize(table.size() - kEnding.size());
  const auto found = std::find_if(tables.begin(), tables.end(), [&table](const auto& candidate) {
    return SameText(ToUtf8(candidate.name), table);
  });
  if (found != tables.end()) return {*found};
  std::string names;
  for (const auto& candidate : tables)
    names += (names.empty() ? "" : ", ") + ToUtf8(candidate.name);
  problem =
      "there is no table " + table + " in " + ToUtf8(folder) + "; the tables there are " + names;
  return {};
}

struct Totals {
  std::size_t tables = 0;
  std::size_t with_problems = 0;
  std::size_t not_checked = 0;

  void Add(const CheckedTable& checked) {
    ++tables;
    if (checked.problems != 0) ++with_problems;
    if (checked.unchecked != 0) ++not_checked;
  }
};

std::string Summary(const Totals& totals) {
  std::string text = Counted(totals.tables, "table") + " checked: ";
  if (totals.with_problems == 0 && totals.not_checked == 0) return text + "no problems.\n";
  if (totals.with_problems != 0) text += std::to_string(totals.with_problems) + " with problems";
  if (totals.not_checked != 0) {
    text += (totals.with_problems != 0 ? ", " : "") + std::to_string(totals.not_checked) +
            " could not be checked completely";
  }
  return text + ". Nothing was changed.\n";
}

CheckOutcome OutcomeOf(const Totals& totals) {
  if (totals.with_problems != 0) return CheckOutcome::kProblems;
  return totals.not_checked != 0 ? CheckOutcome::kNotChecked : CheckOutcome::kWhole;
}

CheckedTable CheckOne(tdefault::platform::Platform& platform,
                      const foxpro::TableIdentity& identity) {
  const foxpro::CheckSettings settings{.ansi_code_page = platform.session.AnsiCodePage()};
  return foxpro::CheckTable(platform.files, platform.clock, identity, settings);
}

const char* NameOf(foxpro::FindingKind kind) {
  switch (kind) {
    case foxpro::FindingKind::kProblem:
      return "problem";
    case foxpro::FindingKind::kWarning:
      return "warning";
    case foxpro::FindingKind::kUnchecked:
      break;
  }
  return "notChecked";
}

// Counts that are not known are null.
Json JsonOf(const CheckedTable& checked) {
  const auto known = [](bool is_known, std::uint64_t count) {
    return is_known ? Json(count) : Json(nullptr);
  };
  Json tags = nullptr;
  if (checked.tags) {
    tags = Json::array();
    for (const foxpro::CheckedTag& tag : *checked.tags)
      tags.push_back({{"name", ToUtf8(tag.name)}, {"keys", tag.keys}});
  }
  Json findings = Json::array();
  for (const foxpro::Finding& finding : checked.findings)
    findings.push_back({{"kind", NameOf(finding.kind)}, {"text", ToUtf8(finding.text)}});
  return {{"name", ToUtf8(checked.table.name)},
          {"records", known(checked.has_header, checked.records)},
          {"deleted", known(checked.has_header, checked.deleted)},
          {"memoValues", known(checked.memo_values.has_value(), checked.memo_values.value_or(0))},
          {"tags", tags},
          {"problems", checked.problems},
          {"warnings", checked.warnings},
          {"notChecked", checked.unchecked},
          {"findings", findings}};
}

}  // namespace

std::string FormatCheckedTable(const CheckedTable& checked, std::size_t name_width,
                               const Palette& palette) {
  using Count = std::optional<std::uint64_t>;
  Count tags;
  Count keys;
  if (checked.tags) {
    tags = checked.tags->size();
    keys = 0;
    for (const foxpro::CheckedTag& tag : *checked.tags) *keys += tag.keys;
  }
  const auto shown = [&checked](bool present, const Count& count) {
    if (!checked.has_header || (present && !count)) return std::string("?");
    return present ? std::to_string(*count) : std::string("-");
  };
  const std::array<std::string, kCountColumns.size()> counts = {
      shown(true, checked.records), shown(true, checked.deleted),
      shown(checked.has_memo, checked.memo_values), shown(checked.has_index, tags),
      shown(checked.has_index, keys)};
  std::string text = Padded(ToUtf8(checked.table.name), name_width);
  for (std::size_t i = 0; i < counts.size(); ++i)
    text += AlignedRight(counts[i], kCountColumns[i].width);
  text += "  " + Result(checked, palette) + "\n";
  for (const foxpro::Finding& finding : checked.findings)
    text += std::string("  ") + Word(finding.kind) + ToUtf8(finding.text) + "\n";
  if (checked.untold() != 0) text += "  and " + std::to_string(checked.untold()) + " more\n";
  return text;
}

CheckOutcome CheckTables(tdefault::platform::Platform& platform, const std::wstring& folder,
                         const std::string& table, std::ostream& out, std::string& problem,
                         const Palette& palette) {
  const std::vector<foxpro::TableIdentity> tables = Chosen(platform.files, folder, table, problem);
  if (tables.empty()) return CheckOutcome::kNotChecked;
  std::size_t name_width = std::string_view(kTableTitle).size();
  for (const foxpro::TableIdentity& identity : tables)
    name_width = std::max(name_width, CountCharacters(ToUtf8(identity.name)));
  Totals totals;
  out << "Data folder " << ToUtf8(folder) << "\n" << TitleLine(name_width);
  for (const foxpro::TableIdentity& identity : tables) {
    const CheckedTable checked = CheckOne(platform, identity);
    out << FormatCheckedTable(checked, name_width, palette) << std::flush;
    totals.Add(checked);
  }
  out << Summary(totals);
  return OutcomeOf(totals);
}

CheckOutcome CheckTablesToJson(tdefault::platform::Platform& platform, const std::wstring& folder,
                               const std::string& table, std::ostream& out, std::string& problem) {
  const std::vector<foxpro::TableIdentity> tables = Chosen(platform.files, folder, table, problem);
  if (tables.empty()) return CheckOutcome::kNotChecked;
  Totals totals;
  Json list = Json::array();
  for (const foxpro::TableIdentity& identity : tables) {
    const CheckedTable checked = CheckOne(platform, identity);
    list.push_back(JsonOf(checked));
    totals.Add(checked);
  }
  Json document = JsonDocument("check");
  document["dataFolder"] = ToUtf8(folder);
  document["withProblems"] = totals.with_problems;
  document["notChecked"] = totals.not_checked;
  document["tables"] = list;
  out << Written(document);
  return OutcomeOf(totals);
}

}  // namespace tovocfg
