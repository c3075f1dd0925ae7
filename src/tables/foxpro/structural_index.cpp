#include "tables/foxpro/structural_index.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/index_pages.h"
#include "tables/foxpro/index_tree.h"
#include "tables/foxpro/index_verifier.h"
#include "tables/foxpro/key_expression.h"
#include "tables/foxpro/tag_directory.h"

namespace tdefault::tables::foxpro {
namespace {

// A tag and the tools that keep it.
struct KeptTag {
  KeptTag(IndexTag header, const IndexIdentity& index, IndexPages& pages, const TableLayout& layout,
          const RecordDecoder& decoder)
      : tag(std::move(header)),
        keys(tag, index, layout, decoder),
        shape{tag.name, tag.key_length, keys.padding()},
        tree(pages, index, shape, tag.root) {}

  IndexTag tag;
  TagKeys keys;
  TreeShape shape;
  IndexTree tree;
};

}  // namespace

class StructuralIndex::Parts {
 public:
  Parts(platform::File& file, std::wstring path, platform::File& table_file,
        const TableLayout& layout, const TableIdentity& table, const RecordDecoder& decoder)
      : index_{table, std::move(path)},
        file_(file),
        table_file_(table_file),
        layout_(layout),
        decoder_(decoder),
        pages_(file, index_) {
    pages_.Refresh();
    for (const TagPlace& place : ReadTagPlaces(pages_, index_, directory_, layout.code_page)) {
      tags_.push_back(std::make_unique<KeptTag>(ReadTag(pages_, index_, place, layout.code_page),
                                                index_, pages_, layout, decoder));
    }
  }

  [[nodiscard]] RowKeys KeysOf(const std::uint8_t* record, std::uint32_t record_number) const {
    RowKeys keys;
    keys.reserve(tags_.size());
    for (const auto& kept : tags_) keys.push_back(kept->keys.KeyOf(record, record_number));
    return keys;
  }

  template <class Question>
  [[nodiscard]] bool AnyTag(const Question& question) const {
    return std::any_of(tags_.begin(), tags_.end(),
                       [&](const auto& kept) { return question(kept->keys); });
  }

  void Refresh() {
    pages_.Refresh();
    const std::uint32_t unfinished = LittleEndian32(pages_.header(), tag_header::kUnfinishedRecord);
    if (unfinished != 0) Recover(unfinished);
  }

  void CheckUnique(const RowKeys& keys, std::uint32_t record_number) {
    for (std::size_t i = 0; i < tags_.size(); ++i) {
      if (!tags_[i]->tag.candidate || !keys[i]) continue;
      const auto other = OtherWithKey(*tags_[i], *keys[i], record_number);
      if (!other) continue;
      throw Error(error_number::kIntegrityViolation, kTablesSource,
                  FileSubject(index_.table, index_.path) + L"record " + std::to_wstring(*other) +
                      L" already has the key of the row in the unique " +
                      DescribeTag(tags_[i]->tag.name) + L" (" + tags_[i]->tag.expression +
                      L"). Give the row another value.");
    }
  }

  void CheckPresent(const RowKeys& before, const RowKeys& after, std::uint32_t record_number) {
    for (std::size_t i = 0; i < tags_.size(); ++i) {
      KeptTag& kept = *tags_[i];
      if (before[i] == after[i]) continue;
      if (before[i] && !kept.tag.unique && !StoredKey(kept, *before[i], record_number))
        throw Lacks(kept, record_number);
      if (after[i] && StoredKey(kept, *after[i], record_number)) throw Surplus(kept, record_number);
    }
  }

  void Begin(std::uint32_t record_number) { pages_.WriteMark(record_number); }

  void Replace(const RowKeys* before, const RowKeys& after, std::uint32_t record_number) {
    for (std::size_t i = 0; i < tags_.size(); ++i) {
      const std::optional<std::string> old = before == nullptr ? std::nullopt : (*before)[i];
      if (old == after[i]) continue;
      if (old) Erase(*tags_[i], *old, record_number);
      if (after[i]) Insert(*tags_[i], *after[i], record_number);
    }
  }

  void Finish() { pages_.Write(); }

  void TakeBack() { pages_.TakeBack(); }

 private:
  // The record of another entry with that key.
  [[nodiscard]] static std::optional<std::uint32_t> OtherWithKey(KeptTag& kept,
                                                                 std::string_view key,
                                                                 std::uint32_t record_number) {
    std::optional<std::uint32_t> other;
    WalkSame(kept, key, [&](std::string_view, std::uint32_t record) {
      if (record == record_number) return true;
      other = record;
      return false;
    });
    return other;
  }

  // Visits the entries whose keys stand for the same value, until the visitor gives false.
  template <class Visit>
  static void WalkSame(KeptTag& kept, std::string_view key, const Visit& visit) {
    kept.tree.Walk(kept.keys.LowestSame(key), 0, [&](std::string_view entry, std::uint32_t record) {
      if (!kept.keys.SameKeys(entry, key)) return false;
      return visit(entry, record);
    });
  }

  // The entry of the row as the tag holds it.
  [[nodiscard]] static std::optional<std::string> StoredKey(KeptTag& kept, const std::string& key,
                                                            std::uint32_t record_number) {
    if (kept.tree.Contains(key, record_number)) return key;
    if (!kept.keys.inexact()) return std::nullopt;
    // Many rows may have the same time, but few keys stand for it: each is sought.
    constexpr std::uint32_t kBehindAll = 0xFFFFFFFF;
    std::string from = kept.keys.LowestSame(key);
    std::uint32_t from_record = 0;
    for (;;) {
      std::optional<std::string> met;
      kept.tree.Walk(from, from_record, [&met](std::string_view entry, std::uint32_t) {
        met = entry;
        return false;
      });
      if (!met || !kept.keys.SameKeys(*met, key)) return std::nullopt;
      if (kept.tree.Contains(*met, record_number)) return met;
      from = *std::move(met);
      from_record = kBehindAll;
    }
  }

  // A row that a UNIQUE tag hides behind another one with the same key has no entry.
  void Erase(KeptTag& kept, const std::string& key, std::uint32_t record_number) {
    const std::optional<std::string> stored = StoredKey(kept, key, record_number);
    if (stored)
      kept.tree.Erase(*stored, record_number);
    else if (!kept.tag.unique)
      throw Lacks(kept, record_number);
  }

  void Insert(KeptTag& kept, const std::string& key, std::uint32_t record_number) {
    if (kept.tag.unique && OtherWithKey(kept, key, record_number)) return;
    if (!kept.tree.Insert(key, record_number)) throw Surplus(kept, record_number);
  }

  [[nodiscard]] Error Lacks(const KeptTag& kept, std::uint32_t record_number) const {
    return TagBehindRows(index_, kept.tag.name,
                         L"it lacks the key of record " + std::to_wstring(record_number));
  }

  [[nodiscard]] Error Surplus(const KeptTag& kept, std::uint32_t record_number) const {
    return TagBehindRows(index_, kept.tag.name,
                         L"it has a key of record " + std::to_wstring(record_number) +
                             L" that the row did not have");
  }

  // A change of that record was broken off. What it left may be all of it or nothing.
  void Recover(std::uint32_t unfinished) {
    const IndexReport report =
        VerifyIndex(file_, index_.path, table_file_, layout_, index_.table, decoder_);
    const std::wstring broken_off =
        L"a change of record " + std::to_wstring(unfinished) + L" was broken off; ";
    if (!report.findings.empty())
      throw TagBehindRows(index_, {}, broken_off + report.findings.front());
    for (const TagReport& tag : report.tags)
      if (!tag.findings.empty())
        throw TagBehindRows(index_, tag.name, broken_off + tag.findings.front());
    pages_.ClearMark();
  }

  IndexIdentity index_;
  platform::File& file_;
  platform::File& table_file_;
  const TableLayout& layout_;
  const RecordDecoder& decoder_;
  const TreeShape directory_ = DirectoryShape();
  IndexPages pages_;
  std::vector<std::unique_ptr<KeptTag>> tags_;
};

StructuralIndex::StructuralIndex(platform::File& file, std::wstring path,
                                 platform::File& table_file, const TableLayout& layout,
                                 const TableIdentity& table, const RecordDecoder& decoder)
    : parts_(std::make_unique<Parts>(file, std::move(path), table_file, layout, table, decoder)) {}

StructuralIndex::~StructuralIndex() = default;

RowKeys StructuralIndex::KeysOf(const std::uint8_t* record, std::uint32_t record_number) const {
  return parts_->KeysOf(record, record_number);
}

bool StructuralIndex::Uses(std::size_t column) const {
  return parts_->AnyTag([column](const TagKeys& keys) { return keys.Uses(column); });
}

bool StructuralIndex::UsesDeletionMark() const {
  return parts_->AnyTag([](const TagKeys& keys) { return keys.UsesDeletionMark(); });
}

void StructuralIndex::Refresh() { parts_->Refresh(); }

void StructuralIndex::CheckUnique(const RowKeys& keys, std::uint32_t record_number) {
  parts_->CheckUnique(keys, record_number);
}

void StructuralIndex::CheckPresent(const RowKeys& before, const RowKeys& after,
                                   std::uint32_t record_number) {
  parts_->CheckPresent(before, after, record_number);
}

void StructuralIndex::Begin(std::uint32_t record_number) { parts_->Begin(record_number); }

void StructuralIndex::Replace(const RowKeys* before, const RowKeys& after,
                              std::uint32_t record_number) {
  parts_->Replace(before, after, record_number);
}

void StructuralIndex::Finish() { parts_->Finish(); }

void StructuralIndex::TakeBack() { parts_->TakeBack(); }

}  // namespace tdefault::tables::foxpro
