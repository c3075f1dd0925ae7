// How statements that change rows go about it: what they write, when, and what they leave alone.
#include <doctest/doctest.h>

#include <cstdint>
#include <string>

#include "base/error.h"
#include "sql/memory_tables.h"
#include "tables/sql/query.h"

using namespace tdefault;
using namespace tdefault::tests;

namespace {

// Rows 1 to 10 of Id, Amount N(4,1) (100 times Id), Name.
MemoryTable Numbered() {
  MemoryTable table;
  table.columns = {MakeColumn(L"Id", 'I'), MakeColumn(L"Amount", 'N', 6, 1),
                   MakeColumn(L"Name", 'C', 4)};
  for (std::int32_t id = 1; id <= 10; ++id)
    table.rows.push_back({Value(id), Value(id * 100.0), Value(std::wstring(L"n"))});
  return table;
}

struct OneTable {
  MemoryTables tables;
  MemoryTable& table = tables.Add(L"T", Numbered());

  std::int64_t Run(const std::wstring& statement) {
    return tables::sql::Execute(statement, tables).affected;
  }

  Error ErrorOf(const std::wstring& statement) {
    try {
      static_cast<void>(Run(statement));
    } catch (const Error& error) {
      return error;
    }
    return {0, L"", L"no error"};
  }

  [[nodiscard]] double Amount(std::size_t record) const {
    return std::get<double>(table.rows[record - 1][1]);
  }
};

}  // namespace

TEST_CASE_FIXTURE(OneTable, "a value that does not fit is found before the first row is written") {
  const Error error = ErrorOf(L"UPDATE T SET Amount = Amount * 10.5 WHERE Id > 1");
  CHECK(error.number() == error_number::kValueDoesNotFit);
  CHECK(table.writes == 0);
  CHECK(ErrorOf(L"UPDATE T SET Amount = 100000 WHERE Id = 99").number() ==
        error_number::kValueDoesNotFit);
}

TEST_CASE_FIXTURE(OneTable, "an error in the expression of one row leaves all rows as they were") {
  CHECK(ErrorOf(L"UPDATE T SET Amount = 1 / (Id - 7)").description() ==
        L"Statement error at character 25: Cannot divide by 0.");
  CHECK(table.writes == 0);
}

TEST_CASE_FIXTURE(OneTable,
                  "a row in use ends the statement and the error counts what was changed") {
  table.locked_by_others = {4};
  const Error error = ErrorOf(L"UPDATE T SET Amount = 0");
  CHECK(error.number() == error_number::kInUseByAnother);
  CHECK(error.description() == L"Record 4 is in use. 3 rows were changed before.");
  CHECK(Amount(3) == 0);
  CHECK(Amount(4) == 400);
  CHECK(Amount(5) == 500);
  table.locked_by_others = {2};
  CHECK(ErrorOf(L"DELETE FROM T").description() ==
        L"Record 2 is in use. 1 row was changed before.");
  table.locked_by_others = {3};
  CHECK(ErrorOf(L"DELETE FROM T WHERE Id = 3").description() ==
        L"Record 3 is in use. 0 rows were changed before.");
}

TEST_CASE_FIXTURE(OneTable, "a row that somebody deletes in between is skipped and not counted") {
  table.before_lock = [](MemoryTable& changed, std::uint32_t record) {
    if (record == 5) changed.deleted.insert(5);
  };
  CHECK(Run(L"UPDATE T SET Amount = 1") == 9);
  CHECK(Amount(5) == 500);
  CHECK(Amount(6) == 1);
}

TEST_CASE_FIXTURE(OneTable, "a row that somebody changes in between is judged anew") {
  table.before_lock = [](MemoryTable& changed, std::uint32_t record) {
    if (record == 5) changed.rows[4][0] = Value(std::int32_t{50});
    if (record == 6) changed.rows[5][0] = Value(std::int32_t{-6});
  };
  CHECK(Run(L"UPDATE T SET Amount = Id + 0.5 WHERE Id > 3") == 6);
  CHECK(Amount(4) == 4.5);
  CHECK(Amount(5) == 50.5);
  CHECK(Amount(6) == 600);
}

TEST_CASE_FIXTURE(OneTable, "rows that stand side by side are changed as one run") {
  CHECK(Run(L"UPDATE T SET Name = 'x', Amount = 1 WHERE Id < 4 OR Id = 6 OR Id > 8") == 6);
  CHECK(table.runs ==
        std::vector<MemoryTable::Run>{{1, 3, {2, 1}}, {6, 1, {2, 1}}, {9, 2, {2, 1}}});
  table.runs.clear();
  CHECK(Run(L"DELETE FROM T WHERE Id > 4") == 6);
  CHECK(Run(L"DELETE FROM T WHERE Id > 3") == 1);
  CHECK(table.runs == std::vector<MemoryTable::Run>{{5, 6, {}}, {4, 1, {}}});
}

TEST_CASE_FIXTURE(OneTable, "what somebody changes in other columns stays beside the new values") {
  table.before_lock = [](MemoryTable& changed, std::uint32_t record) {
    changed.rows[record - 1][2] = Value(std::wstring(L"new"));
  };
  CHECK(Run(L"UPDATE T SET Amount = 1 WHERE Id = 3") == 1);
  CHECK(std::get<std::wstring>(table.rows[2][2]) == L"new");
  CHECK(Amount(3) == 1);
}

TEST_CASE_FIXTURE(OneTable, "rows are found once though the change makes further rows match") {
  CHECK(Run(L"UPDATE T SET Id = Id + 1 WHERE Id = 1 OR EXISTS (SELECT 1 FROM T b WHERE b.Id = "
            L"T.Id - 5)") == 6);
  CHECK(
      Run(L"DELETE FROM T WHERE Id = (SELECT Id FROM T b WHERE b.Amount = 100) AND Amount > 100") ==
      1);
  CHECK(table.deleted.contains(2));
}

TEST_CASE_FIXTURE(OneTable, "a statement for a table that does not exist is the finder's error") {
  CHECK(ErrorOf(L"DELETE FROM Missing").number() == error_number::kNoSuchTable);
  CHECK(ErrorOf(L"INSERT INTO Missing VALUES (1)").number() == error_number::kNoSuchTable);
  CHECK(ErrorOf(L"UPDATE Missing SET a = 1").number() == error_number::kNoSuchTable);
}

TEST_CASE_FIXTURE(OneTable, "a query that should give rows does not carry out changes") {
  CHECK_THROWS_WITH_AS(
      static_cast<void>(tables::sql::ExecuteQuery(L" DELETE FROM T", tables)),
      doctest::Contains("Statement error at character 2: expected SELECT; a statement that"),
      Error);
  CHECK(table.writes == 0);
}

TEST_CASE_FIXTURE(OneTable, "a new row may hold a text of megabytes in one literal or in many") {
  table.columns.push_back(MakeColumn(L"Note", 'M'));
  for (auto& row : table.rows) row.push_back(Value(std::wstring()));
  table.reads.assign(4, 0);
  const std::wstring line(500, L'x');
  std::wstring text = L"'" + line;
  for (int i = 0; i < 2000; ++i) text += L"' + CHR(13) + CHR(10) + 'it''s " + line;
  CHECK(Run(L"INSERT INTO T (Id, Note) VALUES (11, " + text + L"')") == 1);
  CHECK(std::get<std::wstring>(table.rows[10][3]).size() == 500 + 2000 * (2 + 5 + 500));
  CHECK(Run(L"UPDATE T SET Note = '" + std::wstring(4000000, L'y') + L"' WHERE Id = 11") == 1);
  CHECK(std::get<std::wstring>(table.rows[10][3]).size() == 4000000);
}
