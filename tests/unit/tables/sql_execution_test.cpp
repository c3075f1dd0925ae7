// How much a statement reads, and when.
#include <doctest/doctest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "sql/memory_tables.h"
#include "tables/sql/query.h"

using namespace tdefault;
using namespace tdefault::tests;
using tables::sql::ExecuteQuery;

namespace {

// Rows 1 to `count` of Id, Grp (Id modulo 10), Name.
MemoryTable Numbered(std::int32_t count) {
  MemoryTable table;
  table.columns = {MakeColumn(L"Id", 'I'), MakeColumn(L"Grp", 'I'), MakeColumn(L"Name", 'C', 8)};
  for (std::int32_t id = 1; id <= count; ++id)
    table.rows.push_back({Value(id), Value(id % 10), Value(L"n" + std::to_wstring(id))});
  return table;
}

struct TwoTables {
  MemoryTables tables;
  MemoryTable& big = tables.Add(L"Big", Numbered(1000));
  MemoryTable& other = tables.Add(L"Other", Numbered(1000));

  std::size_t Count(const std::wstring& statement) {
    const auto rows = ExecuteQuery(statement, tables);
    std::size_t count = 0;
    while (rows->Next()) ++count;
    return count;
  }
};

// A number that tells most rows apart.
std::size_t ReadNumber(const tables::sql::Rows& rows) {
  std::size_t number = 0;
  for (std::size_t i = 0; i < rows.columns().size(); ++i) {
    const Value value = rows.Read(i);
    number = number * 31 + value.index();
    if (const auto* whole = std::get_if<std::int32_t>(&value))
      number += static_cast<std::size_t>(*whole);
    if (const auto* text = std::get_if<std::wstring>(&value))
      number += static_cast<std::size_t>(text->front());
  }
  return number;
}

}  // namespace

TEST_CASE_FIXTURE(TwoTables, "a scan is one pass that reads only the columns that are asked for") {
  const auto rows = ExecuteQuery(L"SELECT Name FROM Big WHERE Id > 990", tables);
  std::size_t count = 0;
  while (rows->Next()) {
    CHECK(rows->Read(0) == Value(std::wstring(count == 9 ? L"n1000   " : L"n99") +
                                 (count == 9 ? L"" : std::to_wstring(count + 1) + L"    ")));
    ++count;
  }
  CHECK(count == 10);
  CHECK(big.scans == 1);
  CHECK(big.rows_visited == 1000);
  CHECK(big.reads[0] == 1000);
  CHECK(big.reads[1] == 0);
  CHECK(big.reads[2] == 10);
}

TEST_CASE_FIXTURE(TwoTables, "a statement without order gives its first row after reading one") {
  const auto rows = ExecuteQuery(L"SELECT * FROM Big", tables);
  CHECK(big.rows_visited == 0);
  REQUIRE(rows->Next());
  CHECK(big.rows_visited == 1);
  CHECK(big.reads[0] + big.reads[1] + big.reads[2] == 0);
}

TEST_CASE_FIXTURE(TwoTables, "with DISTINCT a row is given as soon as it is found") {
  const auto rows = ExecuteQuery(L"SELECT DISTINCT Grp FROM Big", tables);
  for (int i = 0; i < 10; ++i) REQUIRE(rows->Next());
  CHECK(big.rows_visited == 10);
  CHECK_FALSE(rows->Next());
  CHECK(big.rows_visited == 1000);
}

TEST_CASE_FIXTURE(TwoTables, "behind the last row there is none until the rows are rewound") {
  for (const std::wstring order : {L"", L" ORDER BY Id DESC"}) {
    const auto rows = ExecuteQuery(L"SELECT Id FROM Big WHERE Id < 3" + order, tables);
    for (int pass = 0; pass < 3; ++pass) {
      REQUIRE(rows->Next());
      const Value first = rows->Read(0);
      CHECK(first == Value(std::int32_t{order.empty() ? 1 : 2}));
      REQUIRE(rows->Next());
      CHECK(rows->Read(0) != first);
      CHECK_FALSE(rows->Next());
      CHECK_FALSE(rows->Next());
      rows->Rewind();
    }
  }
}

TEST_CASE_FIXTURE(TwoTables, "rewinding in the middle begins again") {
  const auto rows = ExecuteQuery(L"SELECT Id FROM Big", tables);
  REQUIRE(rows->Next());
  REQUIRE(rows->Next());
  rows->Rewind();
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{1}));
}

TEST_CASE_FIXTURE(TwoTables, "rewound rows see what the tables hold by then, subselects included") {
  const auto rows =
      ExecuteQuery(L"SELECT Id FROM Big WHERE Id = (SELECT Grp FROM Other WHERE Id = 5)", tables);
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{5}));
  other.rows[4][1] = Value(std::int32_t{7});
  rows->Rewind();
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{7}));
}

TEST_CASE_FIXTURE(TwoTables, "a table that is named several times is opened once") {
  CHECK(Count(L"SELECT Id FROM Big WHERE EXISTS (SELECT 1 FROM BIG b WHERE b.Id = Big.Id + 999)") ==
        1);
  CHECK(big.opened == 1);
}

TEST_CASE_FIXTURE(TwoTables, "a subselect that does not depend on the row is evaluated once") {
  CHECK(Count(L"SELECT Id FROM Big WHERE Grp = (SELECT Grp FROM Other WHERE Id = 5)") == 100);
  CHECK(other.scans == 1);
  CHECK(Count(L"SELECT Id FROM Big WHERE Grp IN (SELECT Grp FROM Other WHERE Id < 4)") == 300);
  CHECK(other.scans == 2);
  CHECK(Count(L"SELECT Id FROM Big WHERE EXISTS (SELECT 1 FROM Other WHERE Id = 3)") == 1000);
  CHECK(other.scans == 3);
  CHECK(other.rows_visited == 1000 + 1000 + 3);
}

TEST_CASE_FIXTURE(TwoTables, "EXISTS over equal columns reads the inner table once") {
  CHECK(Count(L"SELECT Id FROM Big WHERE NOT EXISTS (SELECT 1 FROM Other b WHERE Big.Grp = b.Grp "
              L"AND Big.Name = b.Name AND b.Id <= 400)") == 600);
  CHECK(other.scans == 1);
  CHECK(other.rows_visited == 1000);
}

TEST_CASE_FIXTURE(TwoTables,
                  "EXISTS with further conditions asks them of the rows with equal columns") {
  CHECK(Count(L"SELECT Id FROM Big WHERE Id < 0 OR NOT EXISTS (SELECT 1 FROM Other b WHERE "
              L"(Big.Id = b.Id AND b.Id <= 900) AND (b.Grp = 1 OR b.Grp < Big.Id - 500))") == 558);
  CHECK(other.scans == 1);
  CHECK(other.rows_visited == 1000);
  CHECK(other.seeks == 900);
}

TEST_CASE_FIXTURE(TwoTables,
                  "IN and a subselect as a value read the inner table once for equal columns") {
  CHECK(Count(L"SELECT Id FROM Big WHERE Id IN (SELECT Id FROM Other b WHERE b.Grp = Big.Grp)") ==
        1000);
  CHECK(other.rows_visited == 1000);
  CHECK(other.seeks == 1000);
  CHECK(
      Count(L"SELECT Id FROM Big WHERE Grp = (SELECT Grp FROM Other b WHERE b.Name = Big.Name)") ==
      1000);
  CHECK(other.rows_visited == 2000);
  CHECK(other.seeks == 2000);
  CHECK(Count(L"SELECT Id FROM Big WHERE Id NOT IN (SELECT Id FROM Other b WHERE b.Id = Big.Id AND "
              L"b.Grp > Big.Grp - 1 AND b.Id > 10)") == 10);
  CHECK(other.rows_visited == 3000);
  CHECK(other.seeks == 2990);
}

TEST_CASE_FIXTURE(TwoTables, "rewound rows look equal columns up in what the tables hold by then") {
  const auto rows = ExecuteQuery(
      L"SELECT Id FROM Big WHERE Id = 1 + (SELECT Grp FROM Other b WHERE b.Id = Big.Id)", tables);
  CHECK_FALSE(rows->Next());
  other.rows[4][1] = Value(std::int32_t{4});
  other.rows.push_back({Value(std::int32_t{2000}), Value(std::int32_t{1999}), Value(Null{})});
  big.rows.push_back({Value(std::int32_t{2000}), Value(std::int32_t{0}), Value(Null{})});
  rows->Rewind();
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{5}));
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{2000}));
  CHECK_FALSE(rows->Next());
}

TEST_CASE("looking equal columns up gives what going over all rows gives") {
  // "a = b" is looked up, "NOT a <> b" is not; they mean the same.
  std::mt19937 random(20010307);
  const auto pick = [&random](std::uint32_t count) { return random() % count; };
  // Currency in the last digits beyond what a double holds, which differs as currency only.
  const std::int64_t large = 9007199254740993 * 10;
  for (int round = 0; round < 40; ++round) {
    MemoryTables tables;
    for (const std::wstring name : {L"T", L"U"}) {
      MemoryTable table;
      table.columns = {MakeColumn(L"I", 'I'),    MakeColumn(L"N", 'N', 8, 1), MakeColumn(L"Y", 'Y'),
                       MakeColumn(L"C", 'C', 3), MakeColumn(L"V", 'V', 4),    MakeColumn(L"D", 'D'),
                       MakeColumn(L"S", 'T')};
      for (int row = 0; row < 12; ++row) {
        const auto number = static_cast<std::int32_t>(pick(3));
        const Date day{2451976 + static_cast<std::int32_t>(pick(2))};
        const std::array<std::wstring, 4> texts = {L"a", L"A ", L"\x00DF", L"ss"};
        std::vector<Value> values = {number,
                                     static_cast<double>(pick(3)) / 2,
                                     Currency{pick(2) == 0 ? large + number : number * 5000},
                                     texts.at(pick(4)),
                                     texts.at(pick(4)),
                                     day,
                                     DateTime{day, static_cast<std::int32_t>(pick(2))}};
        if (pick(6) == 0) values[pick(7)] = Null{};
        table.rows.push_back(std::move(values));
      }
      tables.Add(name, std::move(table));
    }
    const std::array<std::wstring, 7> sides = {L"I = T.N",          L"Y = T.Y", L"Y = T.N",
                                               L"T.C = u.V",        L"D = T.S", L"T.V = u.C",
                                               L"u.N * 2 = T.I + 0"};
    const std::wstring equal = sides.at(pick(7));
    std::wstring slow = L"NOT " + equal;
    slow.replace(slow.find(L'='), 1, L"<>");
    const std::array<std::wstring, 4> extras = {L"", L" AND u.I > 0", L" AND u.N >= T.N",
                                                L" AND (u.I = 1 OR u.C = T.C)"};
    const std::wstring extra = extras.at(pick(4));
    const std::array<std::wstring, 5> uses = {
        L"NOT EXISTS (SELECT 1 FROM U AS u WHERE ", L"I > 1 OR EXISTS (SELECT 1 FROM U AS u WHERE ",
        L"Y IN (SELECT Y FROM U AS u WHERE ", L"NOT N IN (SELECT Y FROM U AS u WHERE ",
        L"C <= (SELECT DISTINCT C FROM U AS u WHERE "};
    for (const std::wstring& use : uses) {
      const auto run = [&tables, &use, &extra](const std::wstring& condition) {
        std::wstring shown;
        try {
          const auto rows =
              ExecuteQuery(L"SELECT * FROM T WHERE " + use + condition + extra + L")", tables);
          while (rows->Next()) shown += std::to_wstring(ReadNumber(*rows)) + L" ";
        } catch (const Error& error) {
          shown += error.description().substr(error.description().find(L':'));
        }
        return shown;
      };
      INFO(ToUtf8(use + equal + extra));
      CHECK(ToUtf8(run(equal)) == ToUtf8(run(slow)));
    }
  }
}

TEST_CASE_FIXTURE(TwoTables, "EXISTS with another condition stops at the first row it finds") {
  CHECK(Count(L"SELECT Id FROM Big WHERE EXISTS (SELECT 1 FROM Other b WHERE b.Id >= Big.Id)") ==
        1000);
  CHECK(other.scans == 1000);
  CHECK(other.rows_visited == 1000 * 1001 / 2);
}

TEST_CASE_FIXTURE(TwoTables, "a subselect inside another is kept while its rows around stay") {
  CHECK(
      Count(L"SELECT Id FROM Big WHERE Id <= 10 AND EXISTS (SELECT 1 FROM Other b WHERE b.Grp + 0 "
            L">= 0 AND b.Id < (SELECT Id FROM Other c WHERE NOT c.Id <> Big.Id))") == 9);
  // For each of ten rows of Big: the innermost is evaluated once, though b has many rows.
  CHECK(other.scans == 20);
}

TEST_CASE_FIXTURE(TwoTables, "an error in a row is reported when the row is reached") {
  const auto rows = ExecuteQuery(L"SELECT Id FROM Big WHERE 1 / (Id - 3) < 5", tables);
  REQUIRE(rows->Next());
  REQUIRE(rows->Next());
  CHECK_THROWS_WITH_AS(rows->Next(),
                       doctest::Contains("Statement error at character 28: Cannot divide by 0."),
                       Error);
}

TEST_CASE_FIXTURE(TwoTables, "after an error in a subselect it is evaluated again") {
  const auto rows = ExecuteQuery(
      L"SELECT Id FROM Big WHERE Id = (SELECT Id FROM Other WHERE Grp = 1 AND Id < 20)", tables);
  CHECK_THROWS_AS(rows->Next(), Error);
  other.rows.resize(5);
  rows->Rewind();
  CHECK(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{1}));
}

TEST_CASE_FIXTURE(TwoTables, "sorting reads every row once") {
  const auto rows = ExecuteQuery(L"SELECT Id FROM Big ORDER BY Name DESC", tables);
  REQUIRE(rows->Next());
  CHECK(rows->Read(0) == Value(std::int32_t{999}));
  CHECK(big.rows_visited == 1000);
  CHECK(big.reads[2] == 1000);
}

TEST_CASE("comparing stored bytes gives what comparing decoded text gives") {
  std::mt19937 random(7);
  const CodePage page = CodePage::Find(1252).value();
  const auto text_of = [&random, &page](std::size_t most) {
    const std::string_view few = " aAbB\xDF\xE4\xC4\xC6\x83\t";
    std::string bytes;
    for (std::size_t length = random() % (most + 1); bytes.size() < length;)
      bytes.push_back(random() % 4 == 0 ? static_cast<char>(random() % 256)
                                        : few[random() % few.size()]);
    return page.Decode(bytes);
  };
  MemoryTables tables;
  MemoryTable& table = tables.Add(L"T", {});
  table.columns = {MakeColumn(L"C", 'C', 4), MakeColumn(L"I", 'I')};
  table.reads.assign(2, 0);
  for (std::int32_t row = 0; row < 150; ++row)
    table.rows.push_back({row % 20 == 0 ? Value(Null{}) : Value(text_of(4)), Value(row)});
  const std::array<std::wstring, 6> sources = {
      L"C", L"UPPER(C)", L"LOWER(C)", L"LEFT(C, 2)", L"UPPER(LEFT(C, 3))", L"LEFT(LOWER(C), 1.9)"};
  const std::array<std::wstring, 8> operators = {L"=", L"<>", L"<",  L"<=",
                                                 L">", L">=", L"==", L"#"};
  for (const auto sequence :
       {tables::foxpro::CollatingSequence::kMachine, tables::foxpro::CollatingSequence::kGeneral}) {
    tables.set_collation(sequence);
    for (int round = 0; round < 150; ++round) {
      std::wstring constant = text_of(5) + (round % 10 == 0 ? L"\x0416" : L"");
      std::erase_if(constant, [](wchar_t character) { return character == L'\''; });
      const std::wstring& source = sources.at(random() % sources.size());
      const std::wstring& symbol = operators.at(random() % operators.size());
      const bool mirrored = random() % 2 == 0;
      const std::wstring literal = L"'" + constant + L"'";
      const std::wstring statement = L"SELECT I FROM T WHERE " + (mirrored ? literal : source) +
                                     symbol + (mirrored ? source : literal);
      const auto found = [&](bool stored) {
        table.gives_stored_text = stored;
        std::string ids;
        for (const auto rows = ExecuteQuery(statement, tables); rows->Next();)
          ids += std::to_string(std::get<std::int32_t>(rows->Read(0))) + " ";
        return ids;
      };
      INFO(ToUtf8(statement));
      CHECK(found(true) == found(false));
    }
  }
  CHECK(table.stored_reads > 10000);
}
