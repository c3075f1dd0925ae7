#include "tovocfg/table_check.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "base/text.h"
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

std::string Result(const CheckedTable& checked) {
  std::string result;
  const auto add = [&result](std::uint64_t count, const std::string& text) {
    if (count != 0) result += (result.empty() ? "" : ", ") + text;
  };
  add(checked.problems, Counted(checked.problems, "problem"));
  add(checked.unchecked, checked.has_header ? "not all checked" : "not checked");
  if (result.empty()) result = "ok";
  add(checked.warnings, Counted(checked.warnings, "warning"));
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

// The tables to check; empty, after telling why, when there are none.
std::vector<foxpro::TableIdentity> Chosen(tdefault::platform::Files& files,
                                          const std::wstring& folder, std::string table,
                                          std::ostream& problems) {
  std::vector<foxpro::TableIdentity> tables = foxpro::FindTables(files, folder);
  if (tables.empty()) {
    problems << "tovocfg: there are no tables in " << ToUtf8(folder) << "\n";
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
  problems << "tovocfg: there is no table " << table << " in " << ToUtf8(folder)
           << "; the tables there are " << names << "\n";
  return {};
}

struct Totals {
  std::size_t tables = 0;
  std::size_t with_problems = 0;
  std::size_t not_checked = 0;
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

}  // namespace

std::string FormatCheckedTable(const CheckedTable& checked, std::size_t name_width) {
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
  text += "  " + Result(checked) + "\n";
  for (const foxpro::Finding& finding : checked.findings)
    text += std::string("  ") + Word(finding.kind) + ToUtf8(finding.text) + "\n";
  if (checked.untold() != 0) text += "  and " + std::to_string(checked.untold()) + " more\n";
  return text;
}

CheckOutcome CheckTables(tdefault::platform::Platform& platform, const std::wstring& folder,
                         const std::string& table, std::ostream& out, std::ostream& problems) {
  std::vector<foxpro::TableIdentity> tables;
  try {
    tables = Chosen(platform.files, folder, table, problems);
  } catch (const tdefault::Error& error) {
    problems << "tovocfg: " << ToUtf8(error.description()) << "\n";
  }
  if (tables.empty()) return CheckOutcome::kNotChecked;
  std::size_t name_width = std::string_view(kTableTitle).size();
  for (const foxpro::TableIdentity& identity : tables)
    name_width = std::max(name_width, CountCharacters(ToUtf8(identity.name)));
  const foxpro::CheckSettings settings{.ansi_code_page = platform.session.AnsiCodePage()};
  Totals totals;
  out << "Data folder " << ToUtf8(folder) << "\n" << TitleLine(name_width);
  for (const foxpro::TableIdentity& identity : tables) {
    const CheckedTable checked =
        foxpro::CheckTable(platform.files, platform.clock, identity, settings);
    out << FormatCheckedTable(checked, name_width) << std::flush;
    ++totals.tables;
    if (checked.problems != 0) ++totals.with_problems;
    if (checked.unchecked != 0) ++totals.not_checked;
  }
  out << Summary(totals);
  return OutcomeOf(totals);
}

}  // namespace tovocfg
