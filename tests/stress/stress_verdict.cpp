#include "stress_verdict.h"

#include <map>
#include <set>

#include "base/error.h"
#include "stress_rows.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_access_choice.h"

namespace tdefault::tests {
namespace {

// A statement waits for one lock at a time, at most four of them and five seconds each; the rest is
// for a machine under load.
constexpr std::uint32_t kLongestStatement = 60000;

// What all workers together were told.
struct Expected {
  std::map<std::wstring, std::uint32_t> live;
  std::set<std::wstring> deleted;
  std::map<std::wstring, std::uint32_t> counts;
};

Expected Together(const std::vector<WorkReport>& reports) {
  Expected expected;
  for (int number = 0; number < kSharedRows; ++number) expected.counts[SharedId(number)] = 0;
  for (const WorkReport& report : reports) {
    expected.live.insert(report.live.begin(), report.live.end());
    expected.deleted.insert(report.deleted.begin(), report.deleted.end());
    for (const auto& [id, count] : report.counts) expected.counts[id] += count;
  }
  return expected;
}

// Every row of the table is one that is expected, once, and with a number of its own.
void JudgeRows(platform::Platform& platform, const std::wstring& folder, Expected expected,
               std::vector<std::wstring>& wrong) {
  const auto access = tables::MakeTableAccess(platform);
  const auto connection = Connect(*access, folder);
  const auto rows = connection->Execute(L"SELECT * FROM STRESS");
  std::set<std::uint32_t> numbers;
  for (; !rows->eof(); rows->MoveNext()) {
    const std::wstring id = TextOf(*rows, L"ID");
    if (!numbers.insert(NumberOf(*rows, L"SEQ")).second) wrong.push_back(id + L" repeats a number");
    const bool shared = expected.counts.count(id) != 0;
    auto& known = shared ? expected.counts : expected.live;
    const auto found = known.find(id);
    if (found == known.end()) {
      wrong.push_back(id + (expected.deleted.count(id) != 0 ? L" is back" : L" is one too many"));
      continue;
    }
    if (std::wstring what = WrongInRow(*rows, found->second, shared); !what.empty())
      wrong.push_back(what);
    known.erase(found);
  }
  for (const auto& [id, version] : expected.live) wrong.push_back(id + L" is lost");
  for (const auto& [id, count] : expected.counts) wrong.push_back(id + L" is lost");
}

// Memo values that were replaced often enough leave more space than the check passes over.
bool TellsOfUnusedSpace(const tables::foxpro::Finding& finding) {
  return finding.kind == tables::foxpro::FindingKind::kWarning &&
         finding.text.find(L"PACK MEMO") != std::wstring::npos;
}

std::wstring JudgeFiles(platform::Platform& platform, const std::wstring& folder,
                        std::vector<std::wstring>& wrong) {
  const auto check = tables::foxpro::CheckTable(
      platform.files, platform.clock, {.name = L"STRESS", .path = folder + L"\\STRESS.dbf"}, {});
  for (const auto& finding : check.findings)
    if (!TellsOfUnusedSpace(finding)) wrong.push_back(L"check: " + finding.text);
  std::wstring summary = std::to_wstring(check.records) + L" records, " +
                         std::to_wstring(check.deleted) + L" deleted, " +
                         std::to_wstring(check.memo_values.value_or(0)) + L" memo values; keys";
  const auto tags = check.tags.value_or(std::vector<tables::foxpro::CheckedTag>());
  for (const auto& tag : tags) {
    summary += L" " + tag.name + L" " + std::to_wstring(tag.keys);
    if (tag.name != L"OPEN" && tag.keys != check.records)
      wrong.push_back(L"tag " + tag.name + L" has " + std::to_wstring(tag.keys) + L" keys");
  }
  if (tags.size() != 6) wrong.push_back(L"not all tags were checked");
  return summary;
}

}  // namespace

Verdict Judge(platform::Platform& platform, const std::wstring& folder,
              const std::vector<WorkReport>& reports) {
  Verdict verdict;
  WorkReport sum;
  for (const WorkReport& report : reports) {
    sum.inserts += report.inserts;
    sum.updates += report.updates;
    sum.deletes += report.deletes;
    sum.reads += report.reads;
    sum.busy += report.busy;
    sum.longest_milliseconds = std::max(sum.longest_milliseconds, report.longest_milliseconds);
    verdict.wrong.insert(verdict.wrong.end(), report.failures.begin(), report.failures.end());
  }
  if (sum.longest_milliseconds > kLongestStatement)
    verdict.wrong.push_back(L"a statement waited too long");
  if (sum.inserts == 0 || sum.updates == 0) verdict.wrong.push_back(L"nothing was changed");
  try {
    JudgeRows(platform, folder, Together(reports), verdict.wrong);
  } catch (const Error& error) {
    verdict.wrong.push_back(L"reading all rows: " + error.description());
  }
  verdict.summary =
      std::to_wstring(reports.size()) + L" processes: " + std::to_wstring(sum.inserts) +
      L" rows inserted, " + std::to_wstring(sum.updates) + L" updated, " +
      std::to_wstring(sum.deletes) + L" deleted, " + std::to_wstring(sum.reads) + L" read, " +
      std::to_wstring(sum.busy) + L" statements told that it is in use, the longest " +
      std::to_wstring(sum.longest_milliseconds) + L" ms\n";
  verdict.summary += JudgeFiles(platform, folder, verdict.wrong);
  return verdict;
}

}  // namespace tdefault::tests
