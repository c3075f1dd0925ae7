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

namespace {

std::string Hexadecimal(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    text.push_back(kDigits[static_cast<unsigned char>(byte) >> 4U]);
    text.push_back(kDigits[static_cast<unsigned char>(byte) & 15U]);
  }
  return text;
}

// The key of a row in the only tag: its bytes as digits, "none" for a row that is left out.
std::string KeyOf(IndexShelf& shelf, std::string_view row, char mark = ' ') {
  std::string bytes(1, mark);
  bytes += row;
  bytes.resize(shelf.layout().record_length, ' ');
  const auto* const record = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const RowKeys keys = shelf.index().KeysOf(record, 1);
  return keys[0] ? Hexadecimal(*keys[0]) : "none";
}

struct KeyCase {
  tests::ColumnSpec column;
  TagSpec tag;
  std::string stored;
  std::string key;
};

Error RefusalOf(const TagSpec& tag) {
  IndexShelf shelf(NameTable({tag}));
  return ErrorOf([&] { (void)shelf.index(); });
}

}  // namespace

TEST_CASE("every kind of key is the bytes that sort as its values do") {
  const tests::ColumnSpec text{.name = "F", .type = 'C', .length = 4};
  const tests::ColumnSpec number{.name = "F", .type = 'N', .length = 8, .decimals = 2};
  const tests::ColumnSpec floating{.name = "F", .type = 'F', .length = 8, .decimals = 1};
  const tests::ColumnSpec doubled{.name = "F", .type = 'B'};
  const tests::ColumnSpec integer{.name = "F", .type = 'I'};
  const tests::ColumnSpec currency{.name = "F", .type = 'Y'};
  const tests::ColumnSpec date{.name = "F", .type = 'D'};
  const tests::ColumnSpec time{.name = "F", .type = 'T'};
  const tests::ColumnSpec logical{.name = "F", .type = 'L'};
  const auto tag = [](const char* expression, std::uint16_t length) {
    return TagSpec{.name = "K", .expression = expression, .key_length = length};
  };
  TagSpec general = tag("f", 8);
  general.general = true;
  TagSpec descending = tag("f", 8);
  descending.descending = true;
  const std::vector<KeyCase> cases = {
      {text, tag("f", 4), "aB", "61422020"},
      {text, tag("UPPER(f)", 4), "a\xE4z ", "41C45A20"},
      {text, tag("ALLTRIM(f)", 4), " ab ", "61622020"},
      {text, general, "aB", "6061000000000000"},
      // The letters' heads, then a tail for each of A, E and A: none, acute, diaeresis.
      {text, general, "a\xE9\xC4", "6066600001040000"},
      {text, general, "\xDFz", "76767E0000000000"},
      {number, tag("f", 8), "    1.00", "BFF0000000000000"},
      {number, tag("f", 8), "   -1.00", "400FFFFFFFFFFFFF"},
      {number, tag("f", 8), "    0.00", "8000000000000000"},
      {number, tag("f", 8), "        ", "8000000000000000"},
      {number, tag("f", 8), "   -0.00", "8000000000000000"},
      {number, tag("-f", 8), "    1.00", "400FFFFFFFFFFFFF"},
      {number, tag("STR(f,8,2)", 8), "    1.25", "20202020312E3235"},
      {number, descending, "    2.00", "C000000000000000"},
      {floating, tag("f", 8), "     1.5", "BFF8000000000000"},
      {doubled, tag("f", 8), std::string("\0\0\0\0\0\0\xF8\xBF", 8), "4007FFFFFFFFFFFF"},
      {integer, tag("f", 4), std::string("\1\0\0\0", 4), "80000001"},
      {integer, tag("f", 4), std::string("\xFE\xFF\xFF\xFF", 4), "7FFFFFFE"},
      {integer, tag("f+1", 8), std::string("\1\0\0\0", 4), "C000000000000000"},
      {integer, tag("BINTOC(f)", 4), std::string("\1\0\0\0", 4), "80000001"},
      {integer, tag("BINTOC(f,2)", 2), std::string("\xFE\xFF\xFF\xFF", 4), "7FFE"},
      {currency, tag("f", 8), std::string("\x10\x27\0\0\0\0\0\0", 8), "8000000000002710"},
      {currency, tag("f", 8), std::string("\xF0\xD8\xFF\xFF\xFF\xFF\xFF\xFF", 8),
       "7FFFFFFFFFFFD8F0"},
      {date, tag("f", 8), "20010307", "C142B50400000000"},
      {date, tag("f", 8), "        ", "8000000000000000"},
      {date, tag("DTOS(f)", 8), "20010307", "3230303130333037"},
      {date, tag("DTOS(f)", 8), "", "2020202020202020"},
      // Day 2451976 at 12:00:00.
      {time, tag("f", 8), std::string("\x08\x6A\x25\0\x00\x2E\x93\x02", 8), "C142B50440000000"},
      {time, tag("f", 8), std::string(8, '\0'), "8000000000000000"},
      {logical, tag("f", 1), "T", "54"},
      {logical, tag("f", 1), "F", "46"},
      {logical, tag("f", 1), " ", "46"},
      {logical, tag("IIF(f,\"1\",\"2\")", 1), "T", "31"},
      {text, tag("f=\"ABCD\"", 1), "ABCD", "54"},
      {text, tag("EMPTY(f).OR.f==\"X\"", 1), "X", "54"},
      {text, tag("VAL(f)", 8), "2", "C000000000000000"},
      {text, tag("PADR(SUBSTR(f,2,1)+LEFT(f,1),3)", 3), "ab", "626120"},
  };
  for (const KeyCase& wanted : cases) {
    CAPTURE(wanted.tag.expression);
    CAPTURE(wanted.stored);
    IndexShelf shelf(TableSpec{.columns = {wanted.column}, .tags = {wanted.tag}});
    CHECK(KeyOf(shelf, wanted.stored) == wanted.key);
    shelf.Append(wanted.stored);
    shelf.Append(wanted.stored);
    CHECK(shelf.Findings() == "");
  }
}

TEST_CASE("a nullable key begins with a byte that is zero, as all others, for a null") {
  const auto key = [](char type, std::uint8_t width, std::uint16_t length, std::string stored) {
    IndexShelf shelf(TableSpec{
        .columns = {{.name = "F", .type = type, .length = width, .nullable = true}},
        .tags = {{.name = "K", .expression = "f", .key_length = length, .nullable = true}}});
    const std::string found = KeyOf(shelf, stored);
    shelf.Append(stored);
    CHECK(shelf.Findings() == "");
    return found;
  };
  CHECK(key('C', 3, 4, std::string("ab \0", 4)) == "80616220");
  CHECK(key('C', 3, 4, std::string("   \1", 4)) == "00000000");
  CHECK(key('I', 4, 5, std::string("\1\0\0\0\0", 5)) == "8080000001");
  CHECK(key('I', 4, 5, std::string("\0\0\0\0\1", 5)) == "0000000000");
  // The first flag says that the last byte is the length, the second one that the value is null.
  CHECK(key('V', 4, 5, std::string("ab\0\2\1", 5)) == "8061622020");
  CHECK(key('V', 4, 5, std::string("abcd\0", 5)) == "8061626364");
  CHECK(key('V', 4, 5, std::string("\0\0\0\0\3", 5)) == "0000000000");
}

TEST_CASE("a varchar's key is its text padded with blanks") {
  IndexShelf shelf(TableSpec{.version = 0x32,
                             .columns = {{.name = "F", .type = 'V', .length = 4}},
                             .tags = {{.name = "K", .expression = "f", .key_length = 4}}});
  CHECK(KeyOf(shelf, std::string("ab\0\2\1", 5)) == "61622020");
  CHECK(KeyOf(shelf, std::string("\0\0\0\0\1", 5)) == "20202020");
}

TEST_CASE("a tag with FOR has the rows of which its condition is true, deleted ones too") {
  IndexShelf shelf(NameTable({{.name = "BIG",
                               .expression = "name",
                               .condition = "number>10.AND..NOT.EMPTY(name)",
                               .key_length = 10}}));
  shelf.Append("A             20");
  shelf.Append("B             10");
  shelf.Append("C             30", '*');
  shelf.Append("D               ");
  CHECK(shelf.Findings() == "");
  CHECK(shelf.Verify().tags[0].key_count == 2);
  shelf.Change(2, "B             11");
  shelf.Change(1, "A              1");
  shelf.Change(3, "C             31", '*');
  CHECK(shelf.Findings() == "");
  CHECK(shelf.Verify().tags[0].key_count == 2);
  CHECK(KeyOf(shelf, "D             10") == "none");
}

TEST_CASE("a condition on the deletion mark takes rows out that are deleted and puts them back") {
  IndexShelf shelf(NameTable(
      {{.name = "LIVE", .expression = "name", .condition = ".NOT.DELETED()", .key_length = 10}}));
  shelf.Append("A             20");
  CHECK(shelf.Verify().tags[0].key_count == 1);
  CHECK(shelf.index().UsesDeletionMark());
  shelf.Change(1, "A             20", '*');
  CHECK(shelf.Verify().tags[0].key_count == 0);
  shelf.Change(1, "A             20");
  CHECK(shelf.Verify().tags[0].key_count == 1);
  CHECK(shelf.Findings() == "");
}

TEST_CASE("a tag tells which columns its key and its condition read") {
  IndexShelf shelf(NameTable(
      {{.name = "K", .expression = "name", .condition = "LEFT(name,1)<>\"X\"", .key_length = 10}}));
  CHECK(shelf.index().Uses(0));
  CHECK_FALSE(shelf.index().Uses(1));
  CHECK_FALSE(shelf.index().UsesDeletionMark());
}

TEST_CASE("a second row with the key of another is refused in a candidate tag, deleted or not") {
  IndexShelf shelf(NameTable(
      {{.name = "NAME", .expression = "UPPER(name)", .key_length = 10, .candidate = true}}));
  shelf.Append("Anna");
  shelf.Append("Berta", '*');
  for (const char* name : {"ANNA", "berta"}) {
    const Error error = ErrorOf([&] { shelf.Append(name); });
    CHECK(error.number() == error_number::kIntegrityViolation);
    CHECK(Contains(error, L"tag NAME"));
    CHECK(Contains(error, L"Table T, file C:\\Data\\T.cdx"));
  }
  CHECK(Contains(ErrorOf([&] { shelf.Append("berta"); }), L"record 2"));
  CHECK(ErrorOf([&] { shelf.Change(1, "BERTA"); }).number() == error_number::kIntegrityViolation);
  shelf.Change(1, "anna");
  shelf.Change(1, "ANNA");
  CHECK(shelf.count() == 2);
  CHECK(shelf.Findings() == "");
}

TEST_CASE("a UNIQUE tag keeps the first row of a key, and a hidden one does not come back") {
  IndexShelf shelf(
      NameTable({{.name = "NAME", .expression = "name", .key_length = 10, .unique = true}}));
  shelf.Append("ANNA");
  shelf.Append("ANNA");
  shelf.Append("BERTA");
  CHECK(shelf.Verify().tags[0].key_count == 2);
  CHECK(shelf.Findings() == "");
  shelf.Change(1, "CLARA");
  CHECK(shelf.Verify().tags[0].key_count == 2);  // nothing of ANNA is left
  shelf.Change(2, "DORA");
  CHECK(shelf.Verify().tags[0].key_count == 3);
  shelf.Change(3, "DORA");
  CHECK(shelf.Verify().tags[0].key_count == 2);
  CHECK(shelf.Findings() == "");
}

TEST_CASE("a change whose old key the tag lacks is refused while nothing has been written") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10},
                              {.name = "NUMBER", .expression = "number", .key_length = 8}}));
  shelf.Append("ANNA           1");
  shelf.WriteRow(1, "BERTA          1");
  const std::string index = shelf.IndexBytes();
  const Error error = ErrorOf([&] { shelf.Change(1, "CLARA          1"); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"the index does not agree with the rows, tag NAME"));
  CHECK(Contains(error, L"record 1"));
  CHECK(Contains(error, L"rebuild the index with REINDEX in FoxPro"));
  CHECK(shelf.IndexBytes() == index);
  CHECK(shelf.Row(1) == " BERTA          1");
  shelf.Change(1, "BERTA          2");  // touches the other tag only
  CHECK(shelf.Findings() == "NAME: its key of record 1 is not the key of the row\n");
}

TEST_CASE("a key is refused when the tag has it for that record already") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  const std::string row = " ANNA            ";
  const RowKeys keys = shelf.index().KeysOf(reinterpret_cast<const std::uint8_t*>(row.data()), 1);
  CHECK(Contains(ErrorOf([&] { shelf.index().Replace(nullptr, keys, 1); }), L"tag NAME"));
}

TEST_CASE("a new row is refused unwritten when a tag has its key already") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  shelf.Append("BERTA          7");
  shelf.PutTableByte(4, 1);  // one row is counted
  const std::string index = shelf.IndexBytes();
  CHECK(Contains(ErrorOf([&] { shelf.Append("BERTA          8"); }),
                 L"tag NAME: it has a key of record 2 that the row did not have"));
  CHECK(shelf.count() == 1);
  CHECK(shelf.Row(2) == " BERTA          7");
  CHECK(shelf.IndexBytes() == index);
}

TEST_CASE("what another program changed is seen, whether the file grew or only the counter did") {
  IndexShelf shelf(
      NameTable({{.name = "NAME", .expression = "name", .key_length = 10, .candidate = true}}));
  shelf.Append("ANNA");
  const auto other = shelf.OpenIndex();
  for (int i = 0; i < 200; ++i) {
    const std::string name = "N" + std::to_string(1000 + i * 7 % 1000);
    const std::string row = " " + name + "                ";
    const auto number = static_cast<std::uint32_t>(2 * i + 2);
    other->Refresh();
    const RowKeys keys = other->KeysOf(reinterpret_cast<const std::uint8_t*>(row.data()), number);
    other->CheckUnique(keys, number);
    other->Begin(number);
    shelf.WriteRow(number, row.substr(1, 16));
    other->Replace(nullptr, keys, number);
    other->Finish();
    shelf.Append("M" + name.substr(1));
  }
  CHECK(shelf.Findings() == "");
  CHECK(shelf.Verify().tags[0].key_count == 401);
}

TEST_CASE("the mark of a change that was broken off goes away when index and rows agree") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  shelf.index().Refresh();
  shelf.index().Begin(2);
  CHECK(shelf.IndexBytes().substr(480, 4) == std::string("\2\0\0\0", 4));
  CHECK(shelf.Verify().unfinished_record == 2);
  // Another process comes before the row was written.
  const auto other = shelf.OpenIndex();
  other->Refresh();
  CHECK(shelf.IndexBytes().substr(480, 4) == std::string(4, '\0'));
  shelf.Append("BERTA");
  CHECK(shelf.Findings() == "");
}

TEST_CASE("a change that was broken off between row and key makes the table refuse changes") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  shelf.index().Refresh();
  shelf.index().Begin(2);
  shelf.WriteRow(2, "BERTA");
  const auto other = shelf.OpenIndex();
  for (int attempt = 0; attempt < 2; ++attempt) {
    const Error error = ErrorOf([&] { other->Refresh(); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error,
                   L"tag NAME: a change of record 2 was broken off; it lacks the key of record 2"));
    CHECK(Contains(error, L"REINDEX"));
  }
  CHECK(shelf.IndexBytes().substr(480, 4) == std::string("\2\0\0\0", 4));
}

TEST_CASE("a change that was broken off before the key of a UNIQUE tag is found") {
  IndexShelf shelf(
      NameTable({{.name = "NAME", .expression = "name", .key_length = 10, .unique = true}}));
  shelf.Append("ANNA");
  shelf.index().Refresh();
  shelf.index().Begin(2);
  shelf.WriteRow(2, "BERTA");
  CHECK(shelf.Findings() == "NAME: it lacks the key of record 2\n");
  CHECK(Contains(ErrorOf([&] { shelf.OpenIndex()->Refresh(); }),
                 L"tag NAME: a change of record 2 was broken off; it lacks the key of record 2"));
  // A row that another one hides lacks nothing.
  shelf.WriteRow(2, "ANNA");
  shelf.OpenIndex()->Refresh();
  shelf.Append("CLARA");
  CHECK(shelf.Findings() == "");
}

TEST_CASE("pages that a change wrote before it was broken off are read anew by who knew them") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  const auto other = shelf.OpenIndex();
  other->Refresh();
  const std::string row = " BERTA           ";
  const RowKeys keys = other->KeysOf(reinterpret_cast<const std::uint8_t*>(row.data()), 2);
  other->Begin(2);
  shelf.WriteRow(2, row.substr(1));
  other->Replace(nullptr, keys, 2);
  // The process ends when all is written but the header, which is the last.
  shelf.machine().FailCall(shelf.machine().call_count() + 2, 112);
  CHECK_THROWS_AS(other->Finish(), Error);
  CHECK(shelf.Verify().unfinished_record == 2);
  shelf.OpenIndex()->Refresh();
  CHECK(shelf.Verify().unfinished_record == 0);
  shelf.Append("CLARA");
  CHECK(shelf.Findings() == "");
}

// Changes the row with the write of that number failing, and takes the change back. False when it
// has fewer writes.
bool FailAndTakeBack(IndexShelf& shelf, std::uint32_t number, const std::string& row,
                     std::size_t write) {
  const std::string old = shelf.Row(number);
  StructuralIndex& index = shelf.index();
  const auto keys = [&](const std::string& of) {
    return index.KeysOf(reinterpret_cast<const std::uint8_t*>(of.data()), number);
  };
  index.Refresh();
  const RowKeys before = keys(old);
  const RowKeys after = keys(row);
  index.Begin(number);
  shelf.WriteRow(number, row.substr(1));
  index.Replace(&before, after, number);
  shelf.machine().FailCall(shelf.machine().call_count() + write, 112);
  try {
    index.Finish();
    return false;
  } catch (const Error&) {
    shelf.WriteRow(number, old.substr(1));
    index.TakeBack();
  }
  return true;
}

TEST_CASE("a change that fails at any page, new and freed ones too, is taken back from all") {
  const TableSpec spec =
      NameTable({{.name = "LONG", .expression = "PADR(name,240,\"x\")", .key_length = 240},
                 {.name = "NAME", .expression = "name", .key_length = 10}});
  std::size_t most = 0;
  for (const char* const moved : {"Z", "A", "N55"}) {
    for (std::size_t write = 1;; ++write) {
      CAPTURE(moved);
      CAPTURE(write);
      IndexShelf shelf(spec);
      for (int i = 10; i < 80; i += 10) shelf.Append("N" + std::to_string(i));
      shelf.machine().TearWrites();
      std::string row = std::string(" ") + moved;
      row.resize(17, ' ');
      if (!FailAndTakeBack(shelf, 1, row, write)) break;
      most = std::max(most, write);
      CHECK(shelf.Verify().unfinished_record == 0);
      CHECK(shelf.Findings() == "");
      shelf.Change(1, row.substr(1));
      CHECK(shelf.Findings() == "");
    }
  }
  CHECK(most > 6);
}

TEST_CASE(
    "a disk that is full from any write of a change on leaves an index that is whole or says so") {
  const TableSpec spec =
      NameTable({{.name = "A", .expression = "name", .key_length = 10},
                 {.name = "LONG", .expression = "PADR(name,90,\"x\")", .key_length = 90}});
  bool failed = true;
  std::size_t refused = 0;
  for (std::size_t call = 1; failed; ++call) {
    CAPTURE(call);
    REQUIRE(call < 60);
    IndexShelf shelf(spec);
    for (int i = 0; i < 5; ++i) shelf.Append("N" + std::to_string(i));
    shelf.machine().TearWrites();
    shelf.machine().FailFrom(shelf.machine().call_count() + call, 112);
    failed = false;
    try {
      shelf.Append("NEW");
    } catch (const std::exception&) {
      failed = true;
    }
    IndexShelf next(shelf.machine().Contents(L"C:\\Data\\T.dbf").value(), shelf.IndexBytes());
    if (next.Findings().empty()) {
      next.index().Refresh();
      next.Append("MORE");
      CHECK(next.Findings() == "");
    } else {
      CHECK(Contains(ErrorOf([&] { next.index().Refresh(); }), L"was broken off"));
      ++refused;
    }
  }
  CHECK(refused >= 3);
}

TEST_CASE("a tag that cannot be kept is refused by name before anything is written") {
  const auto refused = [](const TagSpec& tag, std::wstring_view reason) {
    const Error error = RefusalOf(tag);
    CAPTURE(error.what());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"tag T1"));
    CHECK(Contains(error, L"can be read but not changed"));
    CHECK(Contains(error, reason));
  };
  const auto tag = [](const char* expression, const char* condition = "") {
    return TagSpec{
        .name = "T1", .expression = expression, .condition = condition, .key_length = 10};
  };
  refused(tag("SOUNDEX(name)"), L"there is no function \"SOUNDEX\"");
  refused(tag("name+"), L"cannot be evaluated");
  refused(tag("nowhere"), L"there is no column \"nowhere\"");
  refused(tag("name+number"), L"cannot be evaluated");
  refused(tag("name", "LEFT(name,1)"), L"is no condition");
  refused(tag("name", "number=\"1\""), L"cannot be evaluated");
  refused(tag("number"), L"its keys are 10 bytes long where number makes 8 bytes");
  refused(tag("(SELECT name FROM t)"), L"an index has no subselects");
}

TEST_CASE("binary tags, foreign collating sequences and memo keys are refused with their reason") {
  TableSpec spec{.columns = {{.name = "NAME", .type = 'C', .length = 10},
                             {.name = "TEXT", .type = 'M'},
                             {.name = "PRICE", .type = 'Y'}},
                 .tags = {{.name = "K", .expression = "name", .key_length = 10}}};
  const tests::BuiltTable files = tests::BuildTable(spec);
  const auto opened = [&](const std::string& index) {
    IndexShelf shelf(files.table, index);
    return ErrorOf([&] { (void)shelf.index(); });
  };
  std::string index = files.index;
  index[0x600 + 15] = 5;
  CHECK(Contains(opened(index), L"tag K cannot be kept: it is a binary (bitmap) tag"));
  index = files.index;
  index[0x600 + 15] = 2;
  index.replace(0x600 + 494, 6, "PINYIN");
  CHECK(Contains(opened(index), L"its collating sequence PINYIN for code page 1252 is not known"));
  index = files.index;
  index[0x600 + 14] = 0x40;
  CHECK(Contains(opened(index), L"old form that is not compact"));
  index = files.index;
  index[0x600 + 12] = 0;
  CHECK(Contains(opened(index), L"its keys would be 0 bytes long"));
  index = files.index;
  index[0x600 + 511] = 9;
  CHECK(Contains(opened(index), L"its expressions lie outside of its header"));
  CHECK(Contains(opened(files.index.substr(0, 0x600)), L"tag K: the file ends before byte 2560"));
  CHECK(Contains(opened(files.index.substr(0, 100)), L"the file ends before byte 512"));
  CHECK(Contains(opened(std::string(2048, 'x')), L"the file does not begin as an index file"));
  spec.tags = {{.name = "K", .expression = "LEFT(text,5)", .key_length = 5}};
  IndexShelf memo(spec);
  CHECK(Contains(ErrorOf([&] { (void)memo.index(); }), L"it reads the memo column TEXT"));
  spec.tags = {{.name = "K", .expression = "price*2", .key_length = 8}};
  IndexShelf price(spec);
  CHECK(Contains(ErrorOf([&] { (void)price.index(); }),
                 L"its key computes with the currency column PRICE"));
}

TEST_CASE("a row of which SET EXACT decides whether a condition holds is refused") {
  IndexShelf shelf(NameTable(
      {{.name = "OPEN", .expression = "name", .condition = "name=\"OPEN\"", .key_length = 10}}));
  shelf.Append("OPEN");
  shelf.Append("CLOSED");
  const Error error = ErrorOf([&] { shelf.Append("OPENED"); });
  CHECK(Contains(error, L"tag OPEN"));
  CHECK(Contains(error, L"depends on SET EXACT"));
  CHECK(shelf.count() == 2);
  CHECK(shelf.Findings() == "");
}

TEST_CASE("a datetime's key that differs in its last bits is found and replaced") {
  IndexShelf shelf(TableSpec{.columns = {{.name = "F", .type = 'T'}},
                             .tags = {{.name = "K", .expression = "f", .key_length = 8}}});
  shelf.Append(std::string("\x08\x6A\x25\0\x00\x2E\x93\x02", 8));
  const std::string table = shelf.machine().Contents(L"C:\\Data\\T.dbf").value();
  std::string index = shelf.IndexBytes();
  // The key with its last bit set, and so without padding: 3 bytes more, no trail in the entry.
  index.replace(0xA00 + 504, 8, std::string("\xC1\x42\xB5\x04\x40\0\0\1", 8));
  index.replace(0xA00 + 24, 3, std::string("\1\0\0", 3));
  index[0xA00 + 12] = static_cast<char>(static_cast<unsigned char>(index[0xA00 + 12]) - 3);
  IndexShelf other(table, index);
  CHECK(other.Findings() == "");
  other.Change(1, std::string(8, '\0'));
  CHECK(other.Findings() == "");
  CHECK(other.Verify().tags[0].key_count == 1);
}

TEST_CASE("what a row costs does not grow with the number of rows that have its time") {
  IndexShelf shelf(TableSpec{.columns = {{.name = "F", .type = 'T'}},
                             .tags = {{.name = "K", .expression = "f", .key_length = 8}}});
  const std::string moment("\x08\x6A\x25\0\x00\x2E\x93\x02", 8);
  for (int i = 0; i < 2000; ++i) shelf.Append(moment);
  const auto other = shelf.OpenIndex();
  other->Refresh();
  const std::string row = " " + moment;
  const RowKeys keys = other->KeysOf(reinterpret_cast<const std::uint8_t*>(row.data()), 2001);
  const std::size_t calls = shelf.machine().call_count();
  other->CheckPresent(RowKeys(1), keys, 2001);
  CHECK(shelf.machine().call_count() - calls < 8);  // of 13 leaves and more
  CHECK(shelf.Findings() == "");
}

TEST_CASE("the verifier names each key that is missing, surplus or wrong") {
  IndexShelf shelf(NameTable(
      {{.name = "NAME", .expression = "name", .key_length = 10},
       {.name = "SOME", .expression = "name", .condition = "number>0", .key_length = 10}}));
  shelf.Append("ANNA           1");
  shelf.Append("BERTA          1");
  shelf.WriteRow(1, "CLARA          0");
  shelf.WriteRow(3, "DORA           0");
  shelf.WriteRow(4, "EMMA           5");
  CHECK(shelf.Findings() ==
        "NAME: its key of record 1 is not the key of the row\n"
        "NAME: it lacks the key of record 3\n"
        "NAME: it lacks the key of record 4\n"
        "SOME: it has a key of record 1, which should have none\n"
        "SOME: it lacks the key of record 4\n");
  shelf.PutTableByte(4, 1);
  CHECK(shelf.Findings().find("it has a key of record 2, but the table has 1 records") !=
        std::string::npos);
}

TEST_CASE("of many findings of one tag the first are told and the others counted") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  for (std::uint32_t number = 1; number <= 25; ++number) shelf.WriteRow(number, "ANNA");
  const std::vector<std::wstring> findings = shelf.Verify().tags[0].findings;
  REQUIRE(findings.size() == 11);
  CHECK(findings[9] == L"it lacks the key of record 10");
  CHECK(findings[10] == L"there are 15 more like these");
}

namespace {

// The index with one text of a tag replaced by another one of the same length.
std::string WithText(std::string index, std::string_view text, std::string_view other) {
  REQUIRE(text.size() == other.size());
  const std::size_t place = index.find(text);
  REQUIRE(place != std::string::npos);
  return index.replace(place, text.size(), other);
}

// A tag of the rows that are open, with the rows 1 to 4. Record 2 has a key in it, record 3 has
// none, and of both SET EXACT decides.
std::unique_ptr<IndexShelf> ShelfOfOpen(bool unique = false) {
  IndexShelf shelf(NameTable({{.name = "OPEN",
                               .expression = "name",
                               .condition = "name=\"OPEN!\"",
                               .key_length = 10,
                               .unique = unique}}));
  shelf.Append("ANNA");
  shelf.Append("OPEN!");
  shelf.WriteRow(3, "OPENED");
  shelf.WriteRow(4, "BERTA");
  return std::make_unique<IndexShelf>(
      shelf.machine().Contents(L"C:\\Data\\T.dbf").value(),
      WithText(shelf.IndexBytes(), "name=\"OPEN!\"", "name=\"OPEN\" "));
}

}  // namespace

TEST_CASE("of a row of which SET EXACT decides a key may be there or not, and that is told") {
  const auto shelf = ShelfOfOpen();
  CHECK(shelf->Findings() == "");
  const TagReport tag = shelf->Verify().tags[0];
  CHECK(tag.untold_rows == 2);
  CHECK(tag.untold_reason.find(L"record 2: ") == 0);
  CHECK(tag.untold_reason.find(L"\"OPEN! ") != std::wstring::npos);
  CHECK(tag.untold_reason.find(L"depends on SET EXACT") != std::wstring::npos);
  CHECK(tag.not_compared.empty());
}

TEST_CASE(
    "a row whose key cannot be told hides no key of another one, nor a second one of its own") {
  auto shelf = ShelfOfOpen();
  shelf->WriteRow(1, "OPEN");
  shelf->WriteRow(5, "OPEN");
  CHECK(shelf->Findings() ==
        "OPEN: it lacks the key of record 1\n"
        "OPEN: it lacks the key of record 5\n");
  CHECK(shelf->Verify().tags[0].untold_rows == 2);
  shelf = ShelfOfOpen();
  shelf->Append("OPEN");
  shelf->WriteRow(5, "CLOSED");
  CHECK(shelf->Findings() == "OPEN: it has a key of record 5, which should have none\n");
  shelf = ShelfOfOpen();
  shelf->Append("OPEN");
  // The entry of record 5 becomes one of record 2.
  shelf->PutIndexByte(0xA00 + 24, 2);
  CHECK(shelf->Findings() ==
        "OPEN: it has two keys of record 2\n"
        "OPEN: it lacks the key of record 5\n");
}

TEST_CASE(
    "a row whose bytes are no value is a finding of the tag that reads it, not a row untold") {
  IndexShelf shelf(TableSpec{.columns = {{.name = "DAY", .type = 'D'}},
                             .tags = {{.name = "K", .expression = "day", .key_length = 8}}});
  shelf.Append("20260101");
  shelf.WriteRow(1, "20269901");
  CHECK(shelf.Findings().find("K: the key of record 1 cannot be told: Table T") == 0);
  CHECK(shelf.Verify().tags[0].untold_rows == 0);
}

TEST_CASE("a change that was broken off is over when every key that can be told is right") {
  for (const bool unique : {false, true}) {
    for (const std::uint32_t unfinished : {1U, 2U, 3U}) {
      CAPTURE(unique);
      CAPTURE(unfinished);
      const auto shelf = ShelfOfOpen(unique);
      shelf->PutIndexByte(480, static_cast<std::uint8_t>(unfinished));
      shelf->index().Refresh();
      CHECK(shelf->Verify().unfinished_record == 0);
      shelf->Change(4, "OPEN");
      CHECK(shelf->Findings() == "");
    }
  }
  const auto behind = ShelfOfOpen();
  behind->PutIndexByte(480, 1);
  behind->WriteRow(1, "OPEN");
  CHECK(Contains(ErrorOf([&] { behind->index().Refresh(); }), L"it lacks the key of record 1"));
}

namespace {

// The shelf's table as one of a database container.
std::string OwnedTable(IndexShelf& shelf) {
  std::string table = shelf.machine().Contents(kTable).value();
  table[shelf.layout().header_length - 263] = 'x';
  return table;
}

// A table of a container, or a free one, with two columns of which the long names begin alike. The
// tag's keys are those of the second column; by its first characters its name is the first one.
std::unique_ptr<IndexShelf> ShelfOfLongName(bool owned, char first_type = 'I',
                                            const TagSpec& options = {}) {
  TagSpec tag = options;
  tag.name = "TYPE";
  tag.expression = "contact_t2     ";
  tag.key_length = 4;
  IndexShelf shelf(TableSpec{.columns = {{.name = "CONTACT_TY", .type = first_type, .length = 4},
                                         {.name = "CONTACT_T2", .type = 'I'}},
                             .tags = {tag}});
  for (const char type : {'\1', '\2', '\3'})
    shelf.Append(std::string("\7\0\0\0", 4) + std::string{'\0', type, '\0', '\0'});
  return std::make_unique<IndexShelf>(
      owned ? OwnedTable(shelf) : shelf.machine().Contents(kTable).value(),
      WithText(shelf.IndexBytes(), "contact_t2     ", "contact_type_id"));
}

}  // namespace

TEST_CASE("a long name of a container's table is that of any column whose name begins alike") {
  for (const char type : {'I', 'C'}) {
    CAPTURE(type);
    const TagReport tag = ShelfOfLongName(true, type)->Verify().tags[0];
    CHECK(tag.findings.empty());
    CHECK(tag.not_compared.empty());
    CHECK(tag.key_count == 3);
  }
  CHECK(ShelfOfLongName(true, 'I', {.unique = true})->Findings() == "");
  CHECK(ShelfOfLongName(false)->Findings().find("its key of record 1 is not the key of the row") !=
        std::string::npos);
}

TEST_CASE("a long name in a condition of a container's table is looked for in the same way") {
  TableSpec spec = NameTable(
      {{.name = "K", .expression = "name", .condition = "number_of_calls>0", .key_length = 10}});
  spec.columns[1].name = "NUMBER_OF_";
  spec.columns.push_back({.name = "NUMBER_OF2", .type = 'N', .length = 1});
  IndexShelf shelf(spec);
  shelf.Append("ANNA           10");
  IndexShelf owned(OwnedTable(shelf), shelf.IndexBytes());
  owned.WriteRow(1, "ANNA           01");
  CHECK(owned.Findings() == "");
  owned.WriteRow(1, "ANNA           00");
  CHECK(owned.Findings() == "K: it has a key of record 1, which should have none\n");
}

TEST_CASE("a long name that only one column can have is compared as a short one") {
  for (const char* const other : {"NUMBER_OF", "NUMBER_OF3", "NUMBER_XX2"}) {
    CAPTURE(other);
    TableSpec spec = NameTable({{.name = "K", .expression = "number_of_calls", .key_length = 8}});
    spec.columns[1].name = "NUMBER_OF_";
    const bool may_be_meant = std::string(other) == "NUMBER_OF3";
    spec.columns.push_back({.name = other, .type = 'N', .length = 1});
    IndexShelf shelf(spec);
    shelf.Append("ANNA           11");
    IndexShelf owned(OwnedTable(shelf), shelf.IndexBytes());
    owned.WriteRow(1, "ANNA           31");
    CHECK(owned.Verify().tags[0].findings.empty() == may_be_meant);
  }
}

TEST_CASE("what is wrong under every column that a long name may mean is a finding") {
  // A byte of the page that names its neighbour.
  const auto damaged = ShelfOfLongName(true);
  damaged->PutIndexByte(0xA00 + 8, 7);
  CHECK_FALSE(damaged->Verify().tags[0].findings.empty());
  // Every row has one key in a tag without condition.
  const auto missing = ShelfOfLongName(true);
  missing->WriteRow(4, std::string(8, '\1'));
  CHECK(missing->Verify().tags[0].findings ==
        std::vector<std::wstring>{L"it lacks the key of record 4"});
  const auto surplus = ShelfOfLongName(true);
  surplus->PutTableByte(4, 2);
  CHECK(surplus->Verify().tags[0].findings.size() == 1);
}

TEST_CASE("a short name in a table of a container is compared as in a free table") {
  IndexShelf shelf(NameTable({{.name = "NAME", .expression = "name", .key_length = 10}}));
  shelf.Append("ANNA");
  IndexShelf owned(OwnedTable(shelf), shelf.IndexBytes());
  CHECK(owned.Findings() == "");
  owned.WriteRow(1, "BERTA");
  CHECK(owned.Findings() == "NAME: its key of record 1 is not the key of the row\n");
}
