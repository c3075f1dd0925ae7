// The reading of statements: length, nesting and damage. What statements mean is in tests/sql.
#include <doctest/doctest.h>

#include <string>

#include "base/error.h"
#include "sql/memory_tables.h"
#include "tables/sql/parser.h"
#include "tables/sql/query.h"

using namespace tdefault;
using namespace tdefault::tests;
using tables::sql::ExecuteQuery;

namespace {

MemoryTables OneRow() {
  MemoryTables tables;
  MemoryTable table;
  table.columns = {MakeColumn(L"Id", 'I'), MakeColumn(L"Name", 'C', 4)};
  table.rows = {{Value(std::int32_t{1}), Value(std::wstring(L"a"))}};
  tables.Add(L"T", std::move(table));
  return tables;
}

// The error's description, empty when the statement runs.
std::wstring ErrorOf(const std::wstring& statement) {
  MemoryTables tables = OneRow();
  try {
    const auto rows = tdefault::tables::sql::Execute(statement, tables).rows;
    while (rows && rows->Next()) static_cast<void>(rows->Read(0));
  } catch (const Error& error) {
    const bool statement_error =
        error.number() == error_number::kStatementError && error.source() == L"Statement";
    const bool table_error = error.number() == error_number::kNoSuchTable;
    CHECK((statement_error || table_error));
    return error.description();
  }
  return {};
}

Value FirstValue(const std::wstring& statement) {
  MemoryTables tables = OneRow();
  const auto rows = ExecuteQuery(statement, tables);
  REQUIRE(rows->Next());
  return rows->Read(0);
}

std::wstring Repeat(const std::wstring& text, std::size_t count) {
  std::wstring result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::wstring TooDeepAt(std::size_t position) {
  return L"Statement error at character " + std::to_wstring(position) +
         L": the statement is nested more than 100 levels deep.";
}

}  // namespace

TEST_CASE("an empty statement is refused") {
  CHECK(ErrorOf(L"") ==
        L"Statement error at character 1: the statement is empty; expected SELECT, INSERT, UPDATE "
        L"or DELETE.");
  CHECK(ErrorOf(L" \t\r\n ") ==
        L"Statement error at character 1: the statement is empty; expected SELECT, INSERT, UPDATE "
        L"or DELETE.");
}

TEST_CASE("a table that does not exist is the finder's error") {
  MemoryTables tables = OneRow();
  try {
    static_cast<void>(ExecuteQuery(L"SELECT * FROM Missing", tables));
    FAIL("no error");
  } catch (const Error& error) {
    CHECK(error.number() == error_number::kNoSuchTable);
  }
}

TEST_CASE("a statement and its literals may have any length") {
  const std::size_t many = 20000;
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE Id = 2" + Repeat(L" OR Id = 1", many)).empty());
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE Id = 1" + Repeat(L" AND Id = 1", many)).empty());
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE Id IN (0" + Repeat(L", 1", many) + L")").empty());
  CHECK(ErrorOf(L"SELECT Id" + Repeat(L", Name", many) + L" FROM T").empty());
  CHECK(FirstValue(L"SELECT 0" + Repeat(L" + 1", many) + L" FROM T") == Value(20000.0));
  CHECK(FirstValue(L"SELECT 1" + Repeat(L" * 1", many) + L" FROM T") == Value(1.0));
  const Value joined = FirstValue(L"SELECT ''" + Repeat(L" + 'ab'", many) + L" FROM T");
  CHECK(std::get<std::wstring>(joined).size() == 2 * many);
  const std::wstring literal = Repeat(L"0123456789", 100000);
  CHECK(FirstValue(L"SELECT '" + literal + L"' FROM T") == Value(literal));
}

TEST_CASE("signs and negations in a row are no nesting") {
  CHECK(FirstValue(L"SELECT " + Repeat(L"- ", 100001) + L"Id FROM T") == Value(-1.0));
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE " + Repeat(L"NOT ", 100000) + L"Id = 1").empty());
}

TEST_CASE("a hundred levels of nesting are taken, one more is refused at its place") {
  const std::wstring begin = L"SELECT ";
  CHECK(FirstValue(begin + Repeat(L"(", 99) + L"Id" + Repeat(L")", 99) + L" FROM T") ==
        Value(std::int32_t{1}));
  CHECK(ErrorOf(begin + Repeat(L"(", 100) + L"Id" + Repeat(L")", 100) + L" FROM T") ==
        TooDeepAt(begin.size() + 101));
  CHECK(ErrorOf(begin + Repeat(L"UPPER(", 99) + L"Name" + Repeat(L")", 99) + L" FROM T").empty());
  CHECK(ErrorOf(begin + Repeat(L"UPPER(", 100) + L"Name" + Repeat(L")", 100) + L" FROM T") ==
        TooDeepAt(begin.size() + 601));
}

TEST_CASE("the deepest nesting of everything that nests runs") {
  const std::wstring operands = Repeat(L"(NOT Id = 5 OR Id = 1 AND 1 + 2 * -IIF(Id = 1 AND ", 49) +
                                L"Id = 1" + Repeat(L", 1, 2) < 9)", 49);
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE " + operands).empty());
  const std::wstring subselects =
      Repeat(L"EXISTS (SELECT 1 FROM T WHERE ", 49) + L"Id = 1" + Repeat(L")", 49);
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE " + subselects).empty());
  const std::wstring scalars =
      Repeat(L"1 = (SELECT Id FROM T WHERE ", 49) + L"Id = 1" + Repeat(L")", 49);
  CHECK(ErrorOf(L"SELECT Id FROM T WHERE " + scalars).empty());
}

TEST_CASE("endless nesting of any kind is an error, whether it is closed or not") {
  const std::size_t endless = 20000;
  for (const std::wstring opening :
       {L"(", L"UPPER(", L"NOT (", L"-(", L"Id IN (", L"EXISTS (SELECT 1 FROM T WHERE ",
        L"Id = (SELECT Id FROM T WHERE ", L"IIF(", L"1 + (", L"Id BETWEEN ("}) {
    const std::wstring text = ErrorOf(L"SELECT Id FROM T WHERE " + Repeat(opening, endless));
    CHECK(text.find(L"nested more than 100 levels deep") != std::wstring::npos);
  }
}

TEST_CASE("every beginning of a statement runs or is an error at a place in it") {
  const std::wstring query =
      L"SELECT DISTINCT b.Id AS x, UPPER(Name) + 'it''s', [c] FROM T AS b WHERE NOT b.Id = -1.5E0 "
      L"AND Name LIKE 'a%' ESCAPE '!' OR Id IN (1, 2) .AND. Id BETWEEN 0 AND {^2001-03-07} - "
      L"{03-06-2001} AND EXISTS (SELECT 1 FROM T WHERE T.Id = b.Id) AND Name IS NOT NULL ORDER BY "
      L"1 "
      L"DESC, x ASC";
  for (const std::wstring& statement :
       {query, std::wstring(L"INSERT INTO T (Id, Name) VALUES (1 + 2, 'a' + CHR(13) + 'it''s')"),
        std::wstring(L"UPDATE T SET Id = -121, T.Name = UPPER('x') WHERE Id = 1 OR NOT EXIST "
                     L"(SELECT 1 FROM T AS b WHERE T.Id = b.Id)"),
        std::wstring(L"DELETE FROM T WHERE Name LIKE 'a%' AND Id = 1")}) {
    for (std::size_t length = 0; length <= statement.size(); ++length) {
      const std::wstring text = ErrorOf(statement.substr(0, length));
      if (text.empty()) continue;
      const std::wstring prefix = L"Statement error at character ";
      REQUIRE(text.starts_with(prefix));
      CHECK(std::stoul(text.substr(prefix.size())) <= length + 1);
    }
    CHECK(ErrorOf(statement).empty());
  }
}

TEST_CASE("any character in any place of a statement runs or is an error") {
  for (const std::wstring& statement :
       {std::wstring(L"SELECT Id, UPPER(Name) FROM T WHERE Id = 1 AND Name = 'a'"),
        std::wstring(L"UPDATE T SET Id = 1, Name = 'a' WHERE Id = 1"),
        std::wstring(L"INSERT INTO T (Id, Name) VALUES (1, 'a')")}) {
    for (std::size_t at = 0; at < statement.size(); ++at) {
      for (const wchar_t character :
           std::wstring(L"\0'\"[]{}().,*+-/=<>#!%&;a1 \x00E9\xFFFF", 29)) {
        std::wstring damaged = statement;
        damaged[at] = character;
        static_cast<void>(ErrorOf(damaged));
      }
    }
  }
}
