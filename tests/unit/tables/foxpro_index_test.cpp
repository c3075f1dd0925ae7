// Structural indexes: what FoxPro wrote agrees with what is made from the rows, and stays so
// through changes.
#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

#include "index_shelf.h"
#include "table_shelf.h"
#include "tables/foxpro/index_node.h"
#include "tables/foxpro/tag_directory.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::foxpro;
using namespace tdefault::tables::testing;
using tests::TableSpec;
using tests::TagSpec;

namespace {

const std::filesystem::path kTables = TDEFAULT_SOURCE "/tests/fixtures/vfp-tables";

std::string Contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  REQUIRE(file);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct RealTable {
  const char* name;
  std::vector<std::pair<const char*, std::uint64_t>> tags;  // with their numbers of keys
};

const std::vector<RealTable>& RealTables() {
  static const std::vector<RealTable> tables = {{"calls", {{"CALL_ID", 16}, {"CONTACT_ID", 16}}},
                                                {"contacts", {{"CONTACT_ID", 5}, {"TYPE_ID", 5}}},
                                                {"setup", {{"KEY_NAME", 3}}},
                                                {"types", {{"TYPE_ID", 2}}}};
  return tables;
}

// A copy without the path of the database container, so that it is a free table.
std::unique_ptr<IndexShelf> OpenCopy(const char* name) {
  std::string table = Contents(kTables / (std::string(name) + ".dbf"));
  const std::size_t header_length =
      static_cast<unsigned char>(table[8]) | static_cast<unsigned char>(table[9]) << 8U;
  table.replace(header_length - 263, 263, std::string(263, '\0'));
  return std::make_unique<IndexShelf>(table, Contents(kTables / (std::string(name) + ".CDX")));
}

TableSpec NameTable(std::vector<TagSpec> tags) {
  return {.columns = {{.name = "NAME", .type = 'C', .length = 10},
                      {.name = "NUMBER", .type = 'N', .length = 6}},
          .tags = std::move(tags)};
}

}  // namespace

TEST_CASE("every key of the tags that FoxPro wrote is the one made from the row") {
  for (const RealTable& real : RealTables()) {
    CAPTURE(real.name);
    const auto shelf = OpenCopy(real.name);
    const IndexReport report = shelf->Verify();
    CHECK(shelf->Findings() == "");
    REQUIRE(report.tags.size() == real.tags.size());
    for (std::size_t i = 0; i < real.tags.size(); ++i) {
      CHECK(report.tags[i].name ==
            std::wstring(real.tags[i].first,
                         real.tags[i].first + std::string_view(real.tags[i].first).size()));
      CHECK(report.tags[i].key_count == real.tags[i].second);
    }
  }
}

TEST_CASE("the leaves that FoxPro wrote are encoded again byte by byte") {
  int leaves = 0;
  for (const RealTable& real : RealTables()) {
    CAPTURE(real.name);
    const std::string file = Contents(kTables / (std::string(real.name) + ".CDX"));
    IndexPage header{};
    std::copy_n(file.begin(), kIndexPageSize, header.begin());
    const auto check = [&](std::uint32_t root, const TreeShape& shape) {
      IndexPage page{};
      std::copy_n(file.begin() + root, kIndexPageSize, page.begin());
      IndexNode node;
      REQUIRE(DecodeNode(page, shape, node).empty());
      IndexPage encoded = EncodeNode(node, shape);
      // Between entries and keys stands what was there before.
      const std::size_t gap = leaf_page::kEntries + node.size() * node.packing.entry_size;
      std::copy_n(page.begin() + static_cast<std::ptrdiff_t>(gap), FreeBytes(page, shape),
                  encoded.begin() + static_cast<std::ptrdiff_t>(gap));
      CHECK(encoded == page);
      ++leaves;
    };
    const auto shelf = OpenCopy(real.name);
    check(0x400, DirectoryShape());
    const TableIdentity table{L"T", L"T.dbf"};
    const IndexIdentity index{table, L"T.cdx"};
    IndexPages pages(shelf->index_file(), index);
    pages.Refresh();
    const TreeShape directory = DirectoryShape();
    for (const TagPlace& place :
         ReadTagPlaces(pages, index, directory, shelf->layout().code_page)) {
      const IndexTag tag = ReadTag(pages, index, place, shelf->layout().code_page);
      check(tag.root, {tag.name, tag.key_length, tag.name == L"KEY_NAME" ? ' ' : '\0'});
    }
  }
  CHECK(leaves == 10);
}

TEST_CASE("rows appended, changed and changed back in FoxPro's tables keep every tag right") {
  for (const RealTable& real : RealTables()) {
    CAPTURE(real.name);
    const auto shelf = OpenCopy(real.name);
    const std::uint32_t count = shelf->count();
    std::mt19937 random(7);
    // The first column is the key of a candidate tag.
    const auto first = static_cast<std::size_t>(shelf->layout().columns[0].column.length);
    const auto new_row = [&] {
      std::string row = shelf->Row(1 + random() % count).substr(1);
      for (std::size_t byte = 0; byte < first; ++byte)
        row[byte] = static_cast<char>(first == 4 ? random() : 'A' + random() % 26);
      return row;
    };
    for (int i = 0; i < 300; ++i) {
      if (i % 3 == 0)
        shelf->Change(1 + random() % shelf->count(), new_row());
      else
        shelf->Append(new_row());
    }
    for (std::uint32_t number = 1; number <= shelf->count(); ++number) {
      const std::string row = shelf->Row(number).substr(1);
      shelf->Change(number, new_row());
      shelf->Change(number, row);
    }
    CHECK(shelf->Findings() == "");
  }
}

TEST_CASE("a new key stands in its tag and the counter goes up by one for each change") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  const std::string before = shelf.IndexBytes();
  shelf.Append("ANNA");
  shelf.Append("BERTA");
  CHECK(shelf.Findings() == "");
  CHECK(shelf.Verify().tags[0].key_count == 2);
  const std::string after = shelf.IndexBytes();
  CHECK(after.substr(8, 4) == std::string("\0\0\0\2", 4));
  CHECK(after.substr(480, 4) == std::string(4, '\0'));
  CHECK(after.size() == before.size());
}

TEST_CASE(
    "thousands of keys in any order grow a tree of three levels and shrink it to an empty root") {
  IndexShelf shelf(
      NameTable({{.name = "LONG", .expression = "PADR(name,100)", .key_length = 100}}));
  std::vector<std::string> names;
  std::mt19937 random(3);
  for (int i = 0; i < 700; ++i) {
    std::string name;
    for (int letter = 0; letter < 10; ++letter)
      name.push_back(static_cast<char>('A' + random() % 26));
    names.push_back(name);
  }
  for (const std::string& name : names) shelf.Append(name + "     1");
  CHECK(shelf.Findings() == "");
}
