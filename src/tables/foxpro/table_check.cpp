#include "tables/foxpro/table_check.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/check_findings.h"
#include "tables/foxpro/index_verifier.h"
#include "tables/foxpro/memo_check.h"
#include "tables/foxpro/memo_file.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/table_files.h"
#include "tables/foxpro/table_format.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kReadSize = 256 * std::size_t{1024};
// A table that others change while it is checked.
constexpr int kMostAttempts = 4;
constexpr std::uint32_t kPauseBetweenAttempts = 250;

using platform::FileAccess;
using platform::FileShare;

std::unique_ptr<platform::File> OpenForReading(platform::Files& files, const TableIdentity& table,
                                               const std::wstring& path) {
  auto file = files.Open(path, FileAccess::kRead, FileShare::kReadWrite);
  if (!file.ok()) throw FileFailure(table, path, L"opened", file.code());
  return std::move(file).value();
}

bool IsThere(platform::Files& files, const std::wstring& path) {
  const auto file = files.Open(path, FileAccess::kRead, FileShare::kReadWrite);
  return file.ok() || (file.code() != platform::system_code::kFileNotFound &&
                       file.code() != platform::system_code::kPathNotFound);
}

// What every change of a table changes, as far as a few bytes tell.
std::string Fingerprint(platform::Files& files, const TableIdentity& table) {
  std::string print;
  for (const std::wstring& path : {table.path, CompanionPath(table, file_ending::kMemo),
                                   CompanionPath(table, file_ending::kIndex)}) {
    const auto file = files.Open(path, FileAccess::kRead, FileShare::kReadWrite);
    if (!file.ok()) continue;
    std::array<std::uint8_t, table_header::kSize> bytes{};
    const auto read = file.value()->ReadAt(0, bytes);
    const auto size = file.value()->Size();
    print.append(bytes.begin(), bytes.end());
    if (read.ok() && size.ok()) print += std::to_string(size.value());
  }
  return print;
}

// Checks one table once.
class TableChecker {
 public:
  TableChecker(platform::Files& files, platform::Clock& clock, const TableIdentity& table,
               const CheckSettings& settings)
      : files_(files),
        clock_(clock),
        settings_(settings),
        findings_(checked_, settings.findings_per_area) {
    checked_.table = table;
  }

  CheckedTable Check() {
    if (!OpenTable()) return std::move(checked_);
    CheckHeader();
    OpenMemo();
    CheckPart(Area::kRows, [this] { CheckRows(); });
    if (memo_) {
      CheckPart(Area::kMemo, [this] {
        memo_->CheckWhole([this](const auto& sink) { ForEachReference(sink); });
      });
      checked_.memo_values = memo_->values();
    }
    CheckPart(Area::kIndex, [this] { CheckIndex(); });
    return std::move(checked_);
  }

 private:
  using Area = foxpro::CheckArea;
  using Record = const std::uint8_t*;

  // Runs a part of the check; what it throws is a finding.
  template <class Part>
  bool CheckPart(Area area, const Part& part) {
    try {
      part();
      return true;
    } catch (const Error& error) {
      findings_.Thrown(area, error);
      return false;
    }
  }

  bool OpenTable() {
    return CheckPart(Area::kTable, [this] {
      file_ = OpenForReading(files_, checked_.table, checked_.table.path);
      layout_ = ReadTableLayout(*file_, checked_.table, settings_.ansi_code_page);
      AwaitRecords(*file_, checked_.table, *layout_, LockPatience{clock_});
      decoder_.emplace(*layout_, checked_.table, nullptr);
      checked_.has_header = true;
      checked_.records = layout_->record_count;
    });
  }

  void Warn(Area area, const std::wstring& text) {
    findings_.Warning(area, FileSubject(checked_.table, checked_.table.path) + text);
  }

  void CheckHeader() {
    CheckPart(Area::kTable, [this] { CheckBytesBehindRecords(); });
  }

  // A file may be longer than it needs to be: nothing is lost by that, but it may be what a change
  // that was broken off left, or rows that a wrong count hides.
  void CheckBytesBehindRecords() {
    const auto size = file_->Size();
    if (!size.ok()) throw FileFailure(checked_.table, checked_.table.path, L"read", size.code());
    const std::uint64_t end =
        layout_->header_length + std::uint64_t{layout_->record_count} * layout_->record_length;
    const std::uint64_t more = size.value() - std::min(size.value(), end);
    if (more == 0) return;
    std::array<std::uint8_t, 1> mark{};
    const auto read = file_->ReadAt(end, mark);
    if (!read.ok()) throw FileFailure(checked_.table, checked_.table.path, L"read", read.code());
    if (mark[0] == record_mark::kEnd && more == 1) return;
    const bool row = mark[0] == record_mark::kLive || mark[0] == record_mark::kDeleted;
    if (row && more >= layout_->record_length) {
      Warn(Area::kTable,
           L"behind its last counted record stands what looks like " +
               std::to_wstring(more / layout_->record_length) +
               L" more. An insertion that was broken off leaves one that does not count; if rows "
               L"are missing, restore the file from a backup or have its count repaired.");
      return;
    }
    Warn(Area::kTable,
         std::to_wstring(more) +
             L" bytes behind its last record are unused. Nothing is lost; copying the "
             L"table to a new one with FoxPro would leave them out.");
  }

  void OpenMemo() {
    if (!layout_->has_memo_columns) return;
    checked_.has_memo = true;
    if (layout_->version == table_version::kDbase3Memo) {
      Warn(Area::kMemo,
           L"its memo values stand in a memo file of dBASE (.dbt), which is not read and not "
           L"checked. Copy the table to a new table with FoxPro and use that one.");
      return;
    }
    const std::wstring path = CompanionPath(checked_.table, file_ending::kMemo);
    CheckPart(Area::kMemo, [&] {
      if (!IsThere(files_, path)) {
        throw RefusedFile(checked_.table, checked_.table.path,
                          L"its memo file " + path +
                              L", which holds the values of its memo columns, does not exist",
                          L"Restore that file from the same backup as the table.");
      }
      memo_ = std::make_unique<MemoCheck>(OpenForReading(files_, checked_.table, path), path,
                                          checked_.table, findings_);
    });
  }

  // Reads the records in stretches, so that memory stays bounded.
  void ForEachRecord(const std::function<void(Record, std::uint32_t)>& sink) {
    const std::size_t length = layout_->record_length;
    const std::size_t fitting = std::max<std::size_t>(1, kReadSize / length);
    std::vector<std::uint8_t> buffer;
    for (std::uint32_t first = 1; first <= layout_->record_count;) {
      const std::size_t count =
          std::min<std::size_t>(fitting, layout_->record_count - first + std::size_t{1});
      buffer.resize(count * length);
      const std::uint64_t offset =
          layout_->header_length + static_cast<std::uint64_t>(first - 1) * length;
      const auto read = file_->ReadAt(offset, buffer);
      if (!read.ok()) throw FileFailure(checked_.table, checked_.table.path, L"read", read.code());
      if (read.value() < buffer.size()) {
        throw DamagedFile(checked_.table, checked_.table.path,
                          L"it became shorter while it was read");
      }
      for (std::size_t i = 0; i < count; ++i)
        sink(buffer.data() + i * length, first + static_cast<std::uint32_t>(i));
      if (count > std::numeric_limits<std::uint32_t>::max() - first) return;
      first += static_cast<std::uint32_t>(count);
    }
  }

  void CheckRows() {
    ForEachRecord([this](Record record, std::uint32_t number) { CheckRecord(record, number); });
  }

  void CheckRecord(Record record, std::uint32_t number) {
    if (*record == record_mark::kDeleted) {
      ++checked_.deleted;
    } else if (*record != record_mark::kLive) {
      findings_.Problem(Area::kRows,
                        FileSubject(checked_.table, checked_.table.path) + L"record " +
                            std::to_wstring(number) + L" starts with the byte " +
                            std::to_wstring(*record) +
                            L" where a mark for a live or a deleted row belongs, so the rows from "
                            L"here on may be shifted. Restore the file from a backup.");
      return;
    }
    for (std::size_t column = 0; column < layout_->columns.size(); ++column)
      CheckPart(Area::kRows, [&] { CheckValue(record, number, column); });
  }

  void CheckValue(Record record, std::uint32_t number, std::size_t column) {
    const StoredColumn& stored = layout_->columns[column];
    if (!IsMemoType(stored.column.type)) {
      static_cast<void>(decoder_->Decode(column, record, number));
      return;
    }
    const std::uint32_t block = decoder_->MemoBlock(column, record, number);
    if (block != 0 && memo_) memo_->CheckValue({block, number, stored.column.name});
  }

  // The memo pointers of all records that can be read; the others were told of before.
  void ForEachReference(const std::function<void(const MemoReference&)>& sink) {
    ForEachRecord([&](Record record, std::uint32_t number) {
      if (*record != record_mark::kLive && *record != record_mark::kDeleted) return;
      for (std::size_t column = 0; column < layout_->columns.size(); ++column) {
        const StoredColumn& stored = layout_->columns[column];
        if (!IsMemoType(stored.column.type)) continue;
        const std::uint32_t block = ReadableBlock(column, record, number);
        if (block != 0) sink({block, number, stored.column.name});
      }
    });
  }

  std::uint32_t ReadableBlock(std::size_t column, Record record, std::uint32_t number) {
    try {
      return decoder_->MemoBlock(column, record, number);
    } catch (const Error&) {
      return 0;
    }
  }

  void CheckIndex() {
    const std::wstring path = CompanionPath(checked_.table, file_ending::kIndex);
    const bool there = IsThere(files_, path);
    if (!layout_->has_structural_index) {
      if (!there) return;
      Warn(Area::kIndex, L"beside it stands the index file " + path +
                             L", and its header does not say that this belongs to it: changes of "
                             L"the table leave that file as it is. Delete the file, or index the "
                             L"table anew with FoxPro.");
      return;
    }
    checked_.has_index = true;
    if (!there) {
      throw RefusedFile(checked_.table, checked_.table.path,
                        L"its index file " + path + L" does not exist, so the table is not changed",
                        L"Restore that file from the same backup as the table, or index the table "
                        L"anew with FoxPro.");
    }
    const auto file = OpenForReading(files_, checked_.table, path);
    // A key may be made of a memo value.
    const std::wstring memo_path = CompanionPath(checked_.table, file_ending::kMemo);
    std::unique_ptr<MemoFile> memo;
    if (memo_) {
      memo = std::make_unique<MemoFile>(OpenForReading(files_, checked_.table, memo_path),
                                        memo_path, checked_.table);
    }
    const RecordDecoder decoder(*layout_, checked_.table, memo.get());
    TellIndex(path, VerifyIndex(*file, path, *file_, *layout_, checked_.table, decoder));
  }

  void TellIndex(const std::wstring& path, const IndexReport& report) {
    const std::wstring subject = FileSubject(checked_.table, path);
    const auto tell = [&](const std::wstring& tag, const std::wstring& what) {
      // What was thrown names table and file itself.
      if (what.starts_with(L"Table ")) return findings_.Problem(Area::kIndex, what);
      findings_.Problem(Area::kIndex, subject + tag + what + IndexRemedy());
    };
    const std::uint64_t problems = checked_.problems;
    if (report.findings.empty() || !report.tags.empty()) checked_.tags.emplace();
    for (const std::wstring& finding : report.findings) tell(L"", finding);
    for (const TagReport& tag : report.tags) {
      checked_.tags->push_back({tag.name, tag.key_count});
      const std::wstring place = L"tag " + tag.name + L": ";
      for (const std::wstring& finding : tag.findings) tell(place, finding);
    }
    if (report.unfinished_record != 0) {
      const std::wstring broken =
          L"a change of record " + std::to_wstring(report.unfinished_record) + L" was broken off";
      if (checked_.problems != problems) {
        tell(L"", broken + L" and has left the index behind the rows");
      } else {
        const bool all = std::all_of(
            report.tags.begin(), report.tags.end(),
            [](const TagReport& tag) { return tag.not_compared.empty() && tag.untold_rows == 0; });
        findings_.Warning(Area::kIndex, subject + broken + L", but all keys " +
                                            (all ? L"" : L"that could be compared ") +
                                            L"agree with the rows. The next change of the table "
                                            L"clears this mark.");
      }
    }
    for (const TagReport& tag : report.tags) TellUnchecked(subject + L"tag " + tag.name, tag);
  }

  void TellUnchecked(const std::wstring& place, const TagReport& tag) {
    if (!tag.not_compared.empty()) {
      findings_.Unchecked(Area::kIndex,
                          place +
                              L": its keys could not be compared with the rows, only its tree "
                              L"was checked: " +
                              tag.not_compared);
    }
    if (tag.untold_rows != 0) {
      findings_.Unchecked(
          Area::kIndex,
          place + L": of " + std::to_wstring(tag.untold_rows) +
              (tag.untold_rows == 1 ? L" row" : L" rows") +
              L" nobody can tell which key it should hold, so these were not compared; " +
              tag.untold_reason);
    }
  }

  [[nodiscard]] std::wstring IndexRemedy() const {
    return L". Rebuild the index with FoxPro: USE " + checked_.table.name +
           L" EXCLUSIVE, then REINDEX.";
  }

  platform::Files& files_;
  platform::Clock& clock_;
  const CheckSettings& settings_;
  CheckedTable checked_;
  CheckFindings findings_;
  std::unique_ptr<platform::File> file_;
  std::optional<TableLayout> layout_;
  std::optional<RecordDecoder> decoder_;
  std::unique_ptr<MemoCheck> memo_;
};

}  // namespace

CheckedTable CheckTable(platform::Files& files, platform::Clock& clock, const TableIdentity& table,
                        const CheckSettings& settings) {
  for (int attempt = 1;; ++attempt) {
    const std::string before = Fingerprint(files, table);
    CheckedTable checked = TableChecker(files, clock, table, settings).Check();
    if (checked.problems == 0 || before == Fingerprint(files, table)) return checked;
    if (attempt == kMostAttempts) {
      CheckFindings(checked, 1)
          .Warning(CheckArea::kTable,
                   FileSubject(table, table.path) +
                       L"the table was changed by others while it was checked, so what is told of "
                       L"it here may not be so. Check it again when nobody works with it.");
      return checked;
    }
    static_cast<void>(clock.Pause(kPauseBetweenAttempts, false));
  }
}

std::vector<TableIdentity> FindTables(platform::Files& files, const std::wstring& folder) {
  const auto entries = files.Enumerate(folder + L"\\*");
  std::vector<TableIdentity> tables;
  namespace system_code = platform::system_code;
  if (!entries.ok()) {
    if (entries.code() == system_code::kFileNotFound) return tables;
    const bool denied = entries.code() == system_code::kAccessDenied;
    throw Error(denied ? error_number::kNoPermission : error_number::kTableDamaged, kTablesSource,
                L"The data folder " + folder +
                    (denied ? L" may not be listed. Ask for the right to read it."
                            : L" does not exist or cannot be reached (system error " +
                                  std::to_wstring(entries.code()) +
                                  L"). Check its path, the drive and the network connection."));
  }
  while (const auto entry = entries.value()->Next()) {
    const std::wstring& name = entry->name;
    if (entry->is_folder || name.size() <= file_ending::kTable.size()) continue;
    const std::size_t stem = name.size() - file_ending::kTable.size();
    if (!EqualIgnoringCase(std::wstring_view(name).substr(stem), file_ending::kTable)) continue;
    TableIdentity table{name.substr(0, stem), folder};
    table.path.append(L"\\").append(name);
    tables.push_back(std::move(table));
  }
  std::sort(tables.begin(), tables.end(),
            [](const TableIdentity& left, const TableIdentity& right) {
              return CompareIgnoringCase(left.name, right.name) < 0;
            });
  return tables;
}

}  // namespace tdefault::tables::foxpro
