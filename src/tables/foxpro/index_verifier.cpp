#include "tables/foxpro/index_verifier.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/index_pages.h"
#include "tables/foxpro/key_expression.h"
#include "tables/foxpro/tag_directory.h"

namespace tdefault::tables::foxpro {
namespace {

constexpr std::size_t kMostFindings = 10;  // of one tag
constexpr std::size_t kLongestName = field_descriptor::kNameSize - 1;
constexpr std::size_t kRowStretch = 256 * std::size_t{1024};
constexpr std::size_t kKeyMemory = 32 * std::size_t{1024} * 1024;

using EntryVisitor = std::function<void(std::string_view key, std::uint32_t record)>;

// The sentences about one tag; the first ones are kept, the others counted.
class Findings {
 public:
  void Add(std::wstring sentence) {
    if (sentences_.size() < kMostFindings) sentences_.push_back(std::move(sentence));
    ++count_;
  }

  [[nodiscard]] bool none() const { return count_ == 0; }
  [[nodiscard]] std::size_t count() const { return count_; }

  [[nodiscard]] std::vector<std::wstring> Take() {
    if (count_ > sentences_.size())
      sentences_.push_back(L"there are " + std::to_wstring(count_ - sentences_.size()) +
                           L" more like these");
    return std::move(sentences_);
  }

 private:
  std::vector<std::wstring> sentences_;
  std::uint64_t count_ = 0;
};

// Which pages of the file have been met, each of which may be met once.
class PageUse {
 public:
  explicit PageUse(std::uint64_t file_size)
      : used_((file_size + kIndexPageSize - 1) / kIndexPageSize) {}

  // The page in words where it cannot stand there or was met before; empty when all is well.
  [[nodiscard]] std::wstring Meet(std::uint64_t offset) {
    if (offset % kIndexPageSize != 0 || offset / kIndexPageSize >= used_.size())
      return L"it refers to a page at " + std::to_wstring(offset) + L", where the file has none";
    const std::size_t page = offset / kIndexPageSize;
    if (used_[page]) return L"the page at " + std::to_wstring(offset) + L" is used twice";
    used_[page] = true;
    return {};
  }

 private:
  std::vector<bool> used_;
};

// Goes through all pages of one tree.
class TreeVerifier {
 public:
  TreeVerifier(IndexPages& pages, const TreeShape& shape, PageUse& use, Findings& findings,
               const EntryVisitor& visit)
      : pages_(pages), shape_(shape), use_(use), findings_(findings), visit_(visit) {}

  void Run(std::uint32_t root) {
    Verify(root, 0, nullptr);
    for (const Sibling& last : last_)
      if (last.right != kNoIndexPage)
        Found(last.offset, L"names one to its right, where there is none");
  }

 private:
  struct Highest {
    std::string_view key;
    std::uint32_t record;
  };
  // The page met last on one level.
  struct Sibling {
    std::uint32_t offset;
    std::uint32_t right;
  };

  void Found(std::uint32_t offset, const std::wstring& what) {
    findings_.Add(L"the page at " + std::to_wstring(offset) + L" " + what);
  }

  void Verify(std::uint32_t offset, std::size_t level, const Highest* parent_entry) {
    if (std::wstring problem = use_.Meet(offset); !problem.empty())
      return findings_.Add(std::move(problem));
    if (level > kDeepestTree) return Found(offset, L"lies too deep in the tree");
    IndexPage page;
    try {
      pages_.ReadBytes(offset, page, shape_.name);
    } catch (const Error& error) {
      return findings_.Add(error.description());
    }
    IndexNode node;
    if (const std::wstring problem = DecodeNode(page, shape_, node); !problem.empty())
      return Found(offset, problem);
    VerifyPlace(offset, level, node);
    VerifyHighest(offset, node, parent_entry);
    if (node.leaf)
      VerifyLeaf(offset, level, page, node);
    else
      VerifyChildren(level, node);
  }

  void VerifyPlace(std::uint32_t offset, std::size_t level, const IndexNode& node) {
    if (node.root != (level == 0))
      Found(offset, L"is marked wrongly as the first or not the first");
    std::uint32_t left = kNoIndexPage;
    if (level == last_.size()) {
      last_.push_back({offset, node.right});
    } else {
      if (last_[level].right != offset)
        Found(last_[level].offset, L"does not name the one to its right");
      left = last_[level].offset;
      last_[level] = {offset, node.right};
    }
    if (node.left != left) Found(offset, L"does not name the one to its left");
  }

  void VerifyHighest(std::uint32_t offset, const IndexNode& node, const Highest* parent_entry) {
    if (parent_entry == nullptr) return;
    if (node.size() == 0) return Found(offset, L"has no keys");
    const std::size_t last = node.size() - 1;
    if (KeyAt(node, shape_, last) != parent_entry->key ||
        node.records[last] != parent_entry->record)
      Found(offset, L"ends with another key than the page above it says");
  }

  void VerifyLeaf(std::uint32_t offset, std::size_t level, const IndexPage& page,
                  const IndexNode& node) {
    if (leaf_level_.value_or(level) != level) Found(offset, L"lies on another level than others");
    leaf_level_ = level;
    if (node.size() != 0 && FreeBytes(page, shape_) != LittleEndian16(page, leaf_page::kFree))
      Found(offset, L"counts its free bytes wrongly");
    for (std::size_t i = 0; i < node.size(); ++i) {
      const std::string_view key = KeyAt(node, shape_, i);
      const std::uint32_t record = node.records[i];
      if (!key_.empty() && CompareEntries(key_, record_, key, record) >= 0)
        Found(offset, L"has the key of record " + std::to_wstring(record) + L" out of order");
      key_ = key;
      record_ = record;
      visit_(key, record);
    }
  }

  void VerifyChildren(std::size_t level, const IndexNode& node) {
    for (std::size_t i = 0; i < node.size(); ++i) {
      const Highest highest{KeyAt(node, shape_, i), node.records[i]};
      Verify(node.children[i], level + 1, &highest);
    }
  }

  IndexPages& pages_;
  const TreeShape& shape_;
  PageUse& use_;
  Findings& findings_;
  const EntryVisitor& visit_;
  std::vector<Sibling> last_;  // by level
  std::optional<std::size_t> leaf_level_;
  std::string key_;  // the last one met
  std::uint32_t record_ = 0;
};

// Reads the rows of the table in stretches.
class RowReader {
 public:
  RowReader(platform::File& file, const TableLayout& layout, const TableIdentity& table)
      : file_(file), layout_(layout), table_(table) {
    std::array<std::uint8_t, table_header::kSize> header{};
    Read(0, header);
    count_ = LittleEndian32(header, table_header::kRecordCount);
  }

  [[nodiscard]] std::uint32_t count() const { return count_; }

  // REQUIRES: 1 <= record_number <= count().
  const std::uint8_t* Row(std::uint32_t record_number) {
    if (record_number < first_ || record_number >= first_ + held_) Fetch(record_number);
    return bytes_.data() + static_cast<std::size_t>(record_number - first_) * layout_.record_length;
  }

 private:
  void Fetch(std::uint32_t record_number) {
    const auto fitting =
        static_cast<std::uint32_t>(std::max<std::size_t>(1, kRowStretch / layout_.record_length));
    const std::uint32_t number = std::min(fitting, count_ - record_number + 1);
    bytes_.resize(static_cast<std::size_t>(number) * layout_.record_length);
    Read(layout_.header_length +
             static_cast<std::uint64_t>(record_number - 1) * layout_.record_length,
         bytes_);
    first_ = record_number;
    held_ = number;
  }

  void Read(std::uint64_t offset, std::span<std::uint8_t> target) {
    const auto read = file_.ReadAt(offset, target);
    if (!read.ok()) throw FileFailure(table_, table_.path, L"read", read.code());
    if (read.value() < target.size())
      throw DamagedFile(table_, table_.path, L"it ends before its last record");
  }

  platform::File& file_;
  const TableLayout& layout_;
  const TableIdentity& table_;
  std::uint32_t count_ = 0;
  std::vector<std::uint8_t> bytes_;
  std::uint32_t first_ = 0;
  std::uint32_t held_ = 0;
};

// The keys that the tag should hold, of a run of rows, ticked off as they are met in the index.
class ExpectedKeys {
 public:
  // The report takes the rows whose keys nobody can tell.
  ExpectedKeys(const IndexTag& tag, const TagKeys& keys, RowReader& rows, Findings& findings,
               TagReport& report)
      : tag_(tag), keys_(keys), rows_(rows), findings_(findings), report_(report) {}

  // Takes rows from `first` on; gives the number of the row behind the last one.
  std::uint32_t Take(std::uint32_t first) {
    const auto most = static_cast<std::uint32_t>(kKeyMemory / (tag_.key_length + 1));
    const std::uint32_t count = std::min(most, rows_.count() - first + 1);
    first_ = first;
    bytes_.assign(std::size_t{count} * tag_.key_length, '\0');
    states_.assign(count, State::kNone);
    for (std::uint32_t i = 0; i < count; ++i) TakeRow(i);
    return first + count;
  }

  void Meet(std::string_view key, std::uint32_t record) {
    if (record < first_ || record - first_ >= states_.size()) return;
    const std::uint32_t i = record - first_;
    switch (states_[i]) {
      case State::kNone:
        findings_.Add(L"it has a key of record " + std::to_wstring(record) +
                      L", which should have none");
        return;
      case State::kMet:
        findings_.Add(L"it has two keys of record " + std::to_wstring(record));
        return;
      case State::kUnknown:
        states_[i] = State::kMet;
        return;
      case State::kExpected:
        break;
    }
    states_[i] = State::kMet;
    const auto expected =
        std::string_view(bytes_).substr(std::size_t{i} * tag_.key_length, tag_.key_length);
    if (!keys_.SameKeys(expected, key))
      findings_.Add(L"its key of record " + std::to_wstring(record) +
                    L" is not the key of the row");
  }

  // A UNIQUE tag hides rows.
  void ReportMissing() {
    if (tag_.unique) return;
    for (std::uint32_t i = 0; i < states_.size(); ++i)
      if (states_[i] == State::kExpected) findings_.Add(L"it lacks the key of " + Record(i));
  }

 private:
  enum class State : std::uint8_t { kNone, kExpected, kMet, kUnknown };

  [[nodiscard]] std::wstring Record(std::uint32_t i) const {
    return L"record " + std::to_wstring(std::uint64_t{first_} + i);
  }

  void TakeRow(std::uint32_t i) {
    const std::uint8_t* const row = rows_.Row(first_ + i);
    try {
      const std::optional<std::string> key = keys_.Evaluate(row, first_ + i);
      if (!key) return;
      states_[i] = State::kExpected;
      std::copy(key->begin(), key->end(),
                bytes_.begin() + static_cast<std::ptrdiff_t>(std::size_t{i} * tag_.key_length));
    } catch (const Error& error) {
      const bool untold = error.number() == error_number::kStatementError;
      if (!untold && error.number() != error_number::kTableDamaged) throw;
      states_[i] = State::kUnknown;
      if (!untold)
        findings_.Add(L"the key of " + Record(i) + L" cannot be told: " + error.description());
      else if (report_.untold_rows++ == 0)
        report_.untold_reason = Record(i) + L": " + error.description();
    }
  }

  const IndexTag& tag_;
  const TagKeys& keys_;
  RowReader& rows_;
  Findings& findings_;
  TagReport& report_;
  std::uint32_t first_ = 1;
  std::string bytes_;
  std::vector<State> states_;
};

bool IsNameCharacter(wchar_t character) {
  return character == L'_' || (character >= L'0' && character <= L'9') ||
         (character >= L'A' && character <= L'Z') || (character >= L'a' && character <= L'z') ||
         character >= 0x80;
}

// The names in the text that are longer than a table keeps.
std::vector<std::wstring> LongNames(std::wstring_view text) {
  std::vector<std::wstring> names;
  while (!text.empty()) {
    const auto end = std::find_if_not(text.begin(), text.end(), IsNameCharacter);
    const auto length = static_cast<std::size_t>(end - text.begin());
    if (length > kLongestName) names.emplace_back(text.substr(0, length));
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return names;
}

// Whether the column may be that of the long name though the name's first characters are another's.
bool MayMean(std::wstring_view name, std::wstring_view column) {
  const std::size_t stem = column.find_last_not_of(L"0123456789") + 1;
  return column.size() == kLongestName && stem != kLongestName &&
         EqualIgnoringCase(column.substr(0, stem), name.substr(0, stem)) &&
         !EqualIgnoringCase(column, name.substr(0, kLongestName));
}

void ReplaceName(std::wstring& text, std::wstring_view name, std::wstring_view column) {
  std::wstring replaced;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i;
    while (end < text.size() && IsNameCharacter(text[end])) ++end;
    const std::wstring_view word =
        std::wstring_view(text).substr(i, std::max<std::size_t>(end - i, 1));
    replaced += word == name ? column : word;
    i += word.size();
  }
  text = std::move(replaced);
}

class Verifier {
 public:
  Verifier(platform::File& index_file, const std::wstring& path, platform::File& table_file,
           const TableLayout& layout, const TableIdentity& table, const RecordDecoder& decoder)
      : index_{table, path},
        layout_(layout),
        decoder_(decoder),
        rows_(table_file, layout, table),
        pages_(index_file, index_) {}

  IndexReport Run() {
    IndexReport report;
    std::vector<TagPlace> places;
    try {
      pages_.Refresh();
      unfinished_record_ = LittleEndian32(pages_.header(), tag_header::kUnfinishedRecord);
      report.unfinished_record = unfinished_record_;
      places = ReadTagPlaces(pages_, index_, directory_, layout_.code_page);
    } catch (const Error& error) {
      report.findings.push_back(error.description());
      return report;
    }
    PageUse use(pages_.size());
    Findings findings;
    MeetHeader(0, use, findings);
    const EntryVisitor ignore = [](std::string_view, std::uint32_t) {};
    TreeVerifier(pages_, directory_, use, findings, ignore)
        .Run(LittleEndian32(pages_.header(), tag_header::kRoot));
    for (const TagPlace& place : places) report.tags.push_back(VerifyTag(place, use));
    VerifyFreeList(use, findings);
    report.findings = findings.Take();
    return report;
  }

 private:
  static void MeetHeader(std::uint32_t offset, PageUse& use, Findings& findings) {
    for (const std::uint64_t page : {std::uint64_t{0}, std::uint64_t{kIndexPageSize}})
      if (std::wstring problem = use.Meet(offset + page); !problem.empty())
        findings.Add(std::move(problem));
  }

  void VerifyFreeList(PageUse& use, Findings& findings) {
    std::uint32_t offset = LittleEndian32(pages_.header(), tag_header::kFreeList);
    while (offset != 0 && offset != kNoIndexPage) {
      if (const std::wstring problem = use.Meet(offset); !problem.empty())
        return findings.Add(L"the list of free pages is damaged: " + problem);
      std::array<std::uint8_t, 4> next{};
      pages_.ReadBytes(offset, next, {});
      offset = LittleEndian32(next, 0);
    }
  }

  TagReport VerifyTag(const TagPlace& place, PageUse& use) {
    TagReport report;
    report.name = place.name;
    Findings findings;
    try {
      MeetHeader(place.header_offset, use, findings);
      const IndexTag tag = ReadTag(pages_, index_, place, layout_.code_page);
      if (tag.signature == tag_signature::kBitmap)
        report.not_compared = L"it is a binary (bitmap) tag";
      else if (layout_.has_backlink)
        VerifyReadings(tag, use, findings, report);
      else
        VerifyTree(tag, use, findings, report);
    } catch (const Error& error) {
      if (error.number() != error_number::kTableDamaged) throw;
      findings.Add(error.description());
    }
    report.findings = findings.Take();
    return report;
  }

  void VerifyTree(const IndexTag& tag, PageUse& use, Findings& findings, TagReport& report) {
    std::unique_ptr<TagKeys> keys;
    try {
      keys = std::make_unique<TagKeys>(tag, index_, layout_, decoder_);
    } catch (const Error& error) {
      report.not_compared = error.description();
    }
    const TreeShape shape{tag.name, tag.key_length,
                          keys ? keys->padding() : GuessPadding(tag, use)};
    const std::optional<std::string> unfinished =
        keys && tag.unique ? UnfinishedKey(*keys) : std::nullopt;
    bool met = !unfinished;
    std::string previous;
    std::uint32_t previous_record = 0;
    const EntryVisitor count = [&](std::string_view key, std::uint32_t record) {
      if ((tag.candidate || tag.unique) && previous == key)
        findings.Add(L"the records " + std::to_wstring(previous_record) + L" and " +
                     std::to_wstring(record) + L" have one key in it, which it should not allow");
      if (record == 0 || record > rows_.count())
        findings.Add(L"it has a key of record " + std::to_wstring(record) +
                     L", but the table has " + std::to_wstring(rows_.count()) + L" records");
      met = met || keys->SameKeys(*unfinished, key);
      previous = key;
      previous_record = record;
      ++report.key_count;
    };
    TreeVerifier(pages_, shape, use, findings, count).Run(tag.root);
    if (!met && findings.none())
      findings.Add(L"it lacks the key of record " + std::to_wstring(unfinished_record_));
    if (!keys || !findings.none()) return;
    ExpectedKeys expected(tag, *keys, rows_, findings, report);
    CompareRows(shape, tag.root, expected);
  }

  // Tables of a database container have columns whose long names are kept in full only there; of
  // those that begin alike the table has the first characters and a number. A tag may mean any of
  // them: it is judged by the one with which it agrees best.
  void VerifyReadings(const IndexTag& tag, PageUse& use, Findings& findings, TagReport& report) {
    const PageUse before = use;
    VerifyTree(tag, use, findings, report);
    if (findings.none() && report.not_compared.empty()) return;
    for (const IndexTag& other : OtherReadings(tag)) {
      PageUse other_use = before;
      Findings other_findings;
      TagReport other_report;
      other_report.name = report.name;
      VerifyTree(other, other_use, other_findings, other_report);
      if (!other_report.not_compared.empty()) continue;
      if (report.not_compared.empty() && other_findings.count() >= findings.count()) continue;
      use = other_use;
      findings = other_findings;
      report = other_report;
    }
  }

  // The tag with other columns in place of a long name.
  [[nodiscard]] std::vector<IndexTag> OtherReadings(const IndexTag& tag) const {
    std::vector<IndexTag> readings;
    for (const std::wstring& name : LongNames(tag.expression + L" " + tag.condition)) {
      for (const StoredColumn& stored : layout_.columns) {
        if (!MayMean(name, stored.column.name)) continue;
        IndexTag& reading = readings.emplace_back(tag);
        ReplaceName(reading.expression, name, stored.column.name);
        ReplaceName(reading.condition, name, stored.column.name);
      }
    }
    return readings;
  }

  // A UNIQUE tag does not have every row, so that its keys alone do not tell of a change that was
  // broken off; but a change leaves the key of its row there, of this row or another one.
  std::optional<std::string> UnfinishedKey(const TagKeys& keys) {
    if (unfinished_record_ == 0 || unfinished_record_ > rows_.count()) return std::nullopt;
    try {
      return keys.KeyOf(rows_.Row(unfinished_record_), unfinished_record_);
    } catch (const Error& error) {
      if (error.number() != error_number::kTableDamaged) throw;
      return std::nullopt;  // The comparison of all rows tells.
    }
  }

  // What the pages leave out where the expression does not tell: what makes the tree look right.
  char GuessPadding(const IndexTag& tag, PageUse use) {
    const TreeShape shape{tag.name, tag.key_length, ' '};
    const EntryVisitor ignore = [](std::string_view, std::uint32_t) {};
    Findings findings;
    TreeVerifier(pages_, shape, use, findings, ignore).Run(tag.root);
    return findings.none() ? ' ' : '\0';
  }

  // The tree is whole, so it can be gone through again for every run of rows.
  void CompareRows(const TreeShape& shape, std::uint32_t root, ExpectedKeys& expected) {
    const EntryVisitor meet = [&](std::string_view key, std::uint32_t record) {
      expected.Meet(key, record);
    };
    for (std::uint32_t next = 1; next <= rows_.count();) {
      next = expected.Take(next);
      PageUse use(pages_.size());
      Findings known;
      TreeVerifier(pages_, shape, use, known, meet).Run(root);
      expected.ReportMissing();
    }
  }

  IndexIdentity index_;
  const TableLayout& layout_;
  const RecordDecoder& decoder_;
  RowReader rows_;
  const TreeShape directory_ = DirectoryShape();
  IndexPages pages_;
  std::uint32_t unfinished_record_ = 0;
};

}  // namespace

IndexReport VerifyIndex(platform::File& index_file, const std::wstring& path,
                        platform::File& table_file, const TableLayout& layout,
                        const TableIdentity& table, const RecordDecoder& decoder) {
  return Verifier(index_file, path, table_file, layout, table, decoder).Run();
}

}  // namespace tdefault::tables::foxpro
