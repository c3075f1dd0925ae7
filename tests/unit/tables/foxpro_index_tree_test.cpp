// The pages and trees of indexes: packing, splitting, shrinking, damage.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <set>

#include "base/text.h"
#include "index_shelf.h"
#include "table_shelf.h"
#include "tables/foxpro/index_tree.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::foxpro;
using namespace tdefault::tables::testing;

namespace {

constexpr std::uint32_t kRoot = 0xA00;  // of the only tag

// A tree in a file of its own, whose tag no expression is known of, so that only its pages count.
class Tree {
 public:
  explicit Tree(std::size_t key_length)
      : shelf_({.columns = {{.name = "NAME", .type = 'C', .length = 1}},
                .tags = {{.name = "KEYS",
                          .expression = "UNKNOWN(name)",
                          .key_length = static_cast<std::uint16_t>(key_length)}}}),
        pages_(shelf_.index_file(), index_),
        shape_{L"KEYS", key_length, ' '},
        tree_(pages_, index_, shape_, kRoot) {
    shelf_.WriteRow(1, "A");
    shelf_.PutTableByte(7, 0xFF);  // so many records that every number is one
    pages_.Refresh();
  }

  [[nodiscard]] IndexTree& tree() { return tree_; }
  [[nodiscard]] IndexPages& pages() { return pages_; }
  [[nodiscard]] IndexShelf& shelf() { return shelf_; }

  void Write() {
    pages_.Write();
    pages_.Refresh();
  }

  // Of the pages on disk, without the sentence that the keys were not compared.
  [[nodiscard]] std::vector<std::wstring> Findings() {
    const IndexReport report = shelf_.Verify();
    std::vector<std::wstring> findings = report.findings;
    findings.insert(findings.end(), report.tags[0].findings.begin(), report.tags[0].findings.end());
    return findings;
  }

  [[nodiscard]] std::size_t levels() {
    std::size_t count = 1;
    for (const IndexNode* node = &pages_.Fetch(kRoot, shape_); !node->leaf; ++count)
      node = &pages_.Fetch(node->children.front(), shape_);
    return count;
  }

  [[nodiscard]] std::vector<std::pair<std::string, std::uint32_t>> Entries() {
    std::vector<std::pair<std::string, std::uint32_t>> entries;
    tree_.WalkAll([&](std::string_view key, std::uint32_t record) {
      entries.emplace_back(key, record);
      return true;
    });
    return entries;
  }

 private:
  IndexShelf shelf_;
  const TableIdentity table_{L"T", L"C:\\Data\\T.dbf"};
  const IndexIdentity index_{table_, L"C:\\Data\\T.cdx"};
  IndexPages pages_;
  const TreeShape shape_;
  IndexTree tree_;
};

// No end of the key is padding, so that a page holds few.
std::string Key(std::size_t number, std::size_t length) {
  std::string key = std::to_string(1'000'000 + number);
  key.resize(length, 'x');
  return key;
}

IndexNode Leaf(const std::vector<std::pair<std::string, std::uint32_t>>& entries,
               const TreeShape& shape) {
  IndexNode node;
  node.root = true;
  for (const auto& [key, record] : entries) InsertEntry(node, shape, node.size(), key, record);
  return node;
}

std::string Part(const IndexPage& page, std::size_t offset, std::size_t length) {
  return {page.begin() + static_cast<std::ptrdiff_t>(offset),
          page.begin() + static_cast<std::ptrdiff_t>(offset + length)};
}

}  // namespace

TEST_CASE("a leaf keeps of each key what the one before does not share and padding does not fill") {
  const TreeShape shape{L"T", 10, ' '};
  const IndexPage page = EncodeNode(
      Leaf({{"ADAM      ", 3}, {"ADAM      ", 7}, {"ADAMS     ", 2}, {"EVE       ", 1}}, shape),
      shape);
  // Root and leaf, 4 keys, no siblings.
  CHECK(Part(page, 0, 12) == std::string("\3\0\4\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 12));
  // 512 - 24 - 4 * 3 - 8 bytes are free; 16 bits of record number, 4 and 4.
  CHECK(Part(page, 12, 12) == std::string("\xD4\1\xFF\xFF\0\0\x0F\x0F\x10\4\4\3", 12));
  // Record, then 6 of padding and 0 shared, 6 and 4, 5 and 4, 7 and 0.
  CHECK(Part(page, 24, 12) == std::string("\3\0\x60\7\0\x64\2\0\x54\1\0\x70", 12));
  CHECK(Part(page, 504, 8) == "EVESADAM");
  IndexNode node;
  CHECK(DecodeNode(page, shape, node).empty());
  CHECK(node.keys == "ADAM      ADAM      ADAMS     EVE       ");
  CHECK(node.records == std::vector<std::uint32_t>{3, 7, 2, 1});
}

TEST_CASE("entries take three bytes, and more where record numbers or long keys need them") {
  struct Case {
    std::size_t key_length;
    std::uint32_t record;
    LeafPacking packing;
  };
  const std::vector<Case> cases = {
      {10, 0xFFFF, {16, 4, 4, 3}},   {10, 0x10000, {24, 4, 4, 4}},    {16, 0x3FFF, {14, 5, 5, 3}},
      {16, 0x4000, {22, 5, 5, 4}},   {240, 0xFF, {8, 8, 8, 3}},       {240, 0x100, {16, 8, 8, 4}},
      {240, 0x10000, {24, 8, 8, 5}}, {240, 0x1000000, {32, 8, 8, 6}}, {1, 0x3FFFFF, {22, 1, 1, 3}},
      {1, 0x400000, {30, 1, 1, 4}},  {1, 0xFFFFFFFF, {32, 1, 1, 5}},
  };
  for (const Case& expected : cases) {
    CAPTURE(expected.key_length);
    CAPTURE(expected.record);
    CHECK(PackingFor({}, expected.key_length, expected.record) == expected.packing);
    const TreeShape shape{L"T", expected.key_length, ' '};
    const std::string key(expected.key_length, 'X');
    IndexNode node;
    CHECK(
        DecodeNode(EncodeNode(Leaf({{key, 1}, {key, expected.record}}, shape), shape), shape, node)
            .empty());
    CHECK(node.records.back() == expected.record);
    CHECK(node.keys == key + key);
  }
}

TEST_CASE("a leaf that is packed narrower keeps its packing until a record number does not fit") {
  const LeafPacking narrow{10, 3, 3, 2};
  CHECK(PackingFor(narrow, 4, 1023) == narrow);
  CHECK(PackingFor(narrow, 4, 1024) == LeafPacking{18, 3, 3, 3});
}

TEST_CASE(
    "keys in any order and in ascending order grow trees of three and more levels that stay "
    "right") {
  // Set for a longer run by hand.
  const char* const wanted = std::getenv("TDEFAULT_INDEX_KEYS");
  const std::size_t count = wanted == nullptr ? 1200 : std::strtoul(wanted, nullptr, 10);
  for (const bool ascending : {true, false}) {
    for (const std::size_t length : {std::size_t{100}, std::size_t{20}}) {
      CAPTURE(ascending);
      CAPTURE(length);
      std::vector<std::size_t> numbers(count);
      for (std::size_t i = 0; i < count; ++i) numbers[i] = i;
      if (!ascending) std::shuffle(numbers.begin(), numbers.end(), std::mt19937(5));
      Tree tree(length);
      for (const std::size_t number : numbers)
        CHECK(tree.tree().Insert(Key(number, length), static_cast<std::uint32_t>(number + 1)));
      CHECK(tree.levels() >= 3);
      tree.Write();
      CHECK(tree.Findings().empty());
      const auto entries = tree.Entries();
      REQUIRE(entries.size() == count);
      for (std::size_t i = 0; i < count; ++i) {
        REQUIRE(entries[i].first == Key(i, length));
        REQUIRE(entries[i].second == i + 1);
      }
      // Pages that ascending keys leave behind are full.
      if (ascending && length == 20) CHECK(tree.shelf().IndexBytes().size() < count * 20 + 8192);
    }
  }
}

TEST_CASE(
    "a tree whose keys are all deleted is an empty leaf at its old root and grows again in the "
    "freed pages") {
  constexpr std::size_t kCount = 150;
  Tree tree(100);
  std::size_t grown = 0;
  for (int round = 0; round < 3; ++round) {
    std::vector<std::uint32_t> records(kCount);
    for (std::uint32_t i = 0; i < kCount; ++i) records[i] = i;
    for (const std::uint32_t record : records)
      CHECK(tree.tree().Insert(Key(record, 100), record + 1));
    tree.Write();
    CHECK(tree.levels() >= 3);
    CHECK(tree.Findings().empty());
    if (round == 0) grown = tree.shelf().IndexBytes().size();
    CHECK(tree.shelf().IndexBytes().size() == grown);
    if (round == 1) std::reverse(records.begin(), records.end());
    if (round == 2) std::shuffle(records.begin(), records.end(), std::mt19937(1));
    for (std::size_t i = 0; i < kCount; ++i) {
      CHECK(tree.tree().Erase(Key(records[i], 100), records[i] + 1));
      if (i % 50 != 0) continue;
      tree.Write();
      CHECK(tree.Findings().empty());
    }
    tree.Write();
    CHECK(tree.Findings().empty());
    CHECK(tree.levels() == 1);
    CHECK(tree.Entries().empty());
    const std::string root = tree.shelf().IndexBytes().substr(kRoot, 12);
    CHECK(root == std::string("\3\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 12));
  }
}

TEST_CASE("the longest keys, two to a page, in any order make no tree deeper than its keys need") {
  constexpr std::size_t kLength = 240;
  constexpr std::size_t kCount = 600;
  const std::vector<std::pair<const char*, std::function<std::size_t(std::size_t)>>> orders = {
      {"ascending before others", [](std::size_t i) { return i < 8 ? kCount + i : i; }},
      {"descending behind others", [](std::size_t i) { return i < 8 ? i : kCount - i + 8; }},
      {"ascending before the last", [](std::size_t i) { return i == 0 ? kCount : i; }},
      {"descending behind the first", [](std::size_t i) { return i == 0 ? 0 : kCount - i; }},
      {"inwards", [](std::size_t i) { return i % 2 == 0 ? i / 2 : kCount - i / 2; }},
      {"outwards", [](std::size_t i) { return i % 2 == 0 ? kCount + i / 2 : kCount - 1 - i / 2; }}};
  for (const auto& [name, number] : orders) {
    CAPTURE(name);
    Tree tree(kLength);
    for (std::size_t i = 0; i < kCount; ++i) {
      const auto record = static_cast<std::uint32_t>(number(i) + 1);
      REQUIRE(tree.tree().Insert(Key(number(i), kLength), record));
    }
    tree.Write();
    CHECK(tree.Findings().empty());
    CHECK(tree.Entries().size() == kCount);
    CHECK(tree.levels() <= 18);
  }
}

TEST_CASE("random insertions and deletions leave what a plain set holds") {
  std::mt19937 random(11);
  for (const std::size_t length :
       {std::size_t{1}, std::size_t{4}, std::size_t{37}, std::size_t{240}}) {
    CAPTURE(length);
    Tree tree(length);
    std::set<std::pair<std::string, std::uint32_t>> model;
    for (int step = 0; step < 2500; ++step) {
      // Few different keys, so that many are equal; record numbers of all widths.
      std::string key(length, ' ');
      for (std::size_t i = 0; i < std::min<std::size_t>(length, 2); ++i)
        key[random() % 3 == 0 ? length - 1 - i : i] = static_cast<char>(' ' + random() % 12);
      const std::uint32_t record = 1 + random() % (random() % 4 == 0 ? 0x7FFFFFFFU : 300U);
      const bool insert = step % 1000 < 600 ? random() % 4 != 0 : random() % 4 == 0;
      if (insert) {
        CHECK(tree.tree().Insert(key, record) == model.emplace(key, record).second);
      } else if (!model.empty()) {
        auto entry = model.lower_bound({key, record});
        if (entry == model.end()) entry = model.begin();
        const auto [erased, number] = *entry;
        CHECK(tree.tree().Erase(erased, number));
        CHECK_FALSE(tree.tree().Erase(erased, number));
        model.erase(entry);
      }
      if (step % 250 != 0) continue;
      tree.Write();
      CHECK(tree.Findings().empty());
      const auto entries = tree.Entries();
      CHECK(std::equal(entries.begin(), entries.end(), model.begin(), model.end()));
    }
  }
}

TEST_CASE("every damaged byte of a tree is survived, and an error names the tag") {
  Tree tree(100);
  for (std::uint32_t i = 0; i < 24; ++i) tree.tree().Insert(Key(i, 100), i + 1);
  tree.Write();
  const std::string whole = tree.shelf().IndexBytes();
  std::mt19937 random(2);
  int errors = 0;
  int found = 0;
  for (std::size_t offset = kRoot; offset < whole.size(); offset += 1 + random() % 4) {
    // The numbers at the beginning of a page matter most.
    if (offset % kIndexPageSize >= 64 && random() % 16 != 0) continue;
    const auto old = static_cast<std::uint8_t>(whole[offset]);
    tree.shelf().PutIndexByte(offset, static_cast<std::uint8_t>(old ^ (1U << random() % 8U)));
    if (!tree.Findings().empty()) ++found;
    tree.shelf().PutIndexByte(8, static_cast<std::uint8_t>(random()));  // what is cached is dropped
    try {
      tree.pages().Refresh();
      (void)tree.Entries();
      for (std::uint32_t i = 0; i < 24; i += 7) (void)tree.tree().Erase(Key(i, 100), i + 1);
      for (std::uint32_t i = 0; i < 24; i += 5) (void)tree.tree().Insert(Key(i + 100, 100), i + 1);
    } catch (const Error& error) {
      CHECK(error.number() == error_number::kTableDamaged);
      CHECK(Contains(error, L"tag KEYS"));
      CHECK(Contains(error, L"C:\\Data\\T.cdx"));
      CHECK(Contains(error, L"REINDEX"));
      ++errors;
    }
    tree.shelf().PutIndexByte(offset, old);
  }
  CHECK(errors > 10);
  CHECK(found > errors);
}

TEST_CASE("the verifier tells in a sentence what is wrong with a tree") {
  Tree tree(100);
  for (std::uint32_t i = 0; i < 60; ++i) tree.tree().Insert(Key(i, 100), i + 1);
  tree.Write();
  const std::string whole = tree.shelf().IndexBytes();
  const auto damaged = [&](std::size_t offset, std::uint8_t byte) {
    tree.shelf().PutIndexByte(offset, byte);
    REQUIRE(offset < whole.size());
    std::wstring text;
    for (const std::wstring& finding : tree.Findings()) text += finding + L'\n';
    tree.shelf().PutIndexByte(offset, static_cast<std::uint8_t>(whole[offset]));
    return text;
  };
  const auto says = [&](std::size_t offset, std::uint8_t byte, std::wstring_view text) {
    const std::wstring found = damaged(offset, byte);
    return found.find(text) != std::wstring::npos;
  };
  REQUIRE(damaged(0, static_cast<std::uint8_t>(whole[0])).empty());
  // The first leaf is on the page behind the root.
  constexpr std::size_t kLeaf = kRoot + kIndexPageSize;
  CHECK(says(kRoot, 0, L"is marked wrongly as the first"));
  CHECK(says(kRoot, 64, L"is no page of an index"));
  CHECK(says(kRoot + 2, 200, L"counts 200 keys, too many"));
  CHECK(says(kRoot + 2, 0, L"has no keys"));
  CHECK(says(kRoot + 8, 0, L"names one to its right"));
  CHECK(says(kRoot + 12, 'X', L"ends with another key than the page above it says"));
  CHECK(says(kRoot + 12 + 100, 9, L"ends with another key than the page above it says"));
  CHECK(says(kRoot + 12 + 106, 0xFF, L"it refers to a page at"));
  CHECK(says(kLeaf + 12, 1, L"counts its free bytes wrongly"));
  CHECK(says(kLeaf + 14, 1, L"packs its entries in no way that exists"));
  // The second key's first byte that the first one does not share.
  CHECK(says(kLeaf + 512 - 100 - 94, '!', L"out of order"));
  CHECK(says(kLeaf + 8, 1, L"does not name the one to its right"));
  CHECK(says(4, 4, L"the list of free pages is damaged"));
  CHECK(says(0x400 + 24, 1, L"its header cannot stand at"));
}
