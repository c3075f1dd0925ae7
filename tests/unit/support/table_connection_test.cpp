#include "support/table_connection.h"

#include <doctest/doctest.h>

#include <memory>
#include <string>
#include <vector>

#include "unit/fake_tables.h"
#include "unit/readable.h"

using namespace tdefault;
using testing::FakeResult;
using testing::FakeTables;

namespace {

struct Opened {
  explicit Opened(FakeTables& tables) {
    connection = tables.MakeConnection();
    connection->Open();
    recordset = connection->Execute(L"Q");
    tables.store.log.clear();
  }
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
};

FakeTables TablesWith(FakeResult result) {
  FakeTables tables;
  tables.store.results[L"Q"] = std::move(result);
  return tables;
}

using Log = std::vector<std::wstring>;

}  // namespace

TEST_CASE("the connection string names the data folder") {
  CHECK(support::ConnectionString(L"C:\\SHOP DATA") ==
        L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP DATA;Mode=ReadWrite|Share Deny "
        L"None;Collating Sequence=GENERAL;Deleted=TRUE;");
}

TEST_CASE("closing closes the recordset before the connection and releases both") {
  FakeTables tables = TablesWith({{L"A"}, {{1}}, {}, 0});
  Opened opened(tables);
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log == Log{L"recordset.close", L"connection.close"});
  CHECK(opened.connection == nullptr);
  CHECK(opened.recordset == nullptr);
  CHECK(tables.nothing_open());
}

TEST_CASE("closing cancels a row that is in the middle of something") {
  FakeTables tables = TablesWith({{L"A"}, {{1}}, {}, 8});
  Opened opened(tables);
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log == Log{L"recordset.cancel", L"recordset.close", L"connection.close"});
}

TEST_CASE("closing drops what was put into a row that is being edited") {
  FakeTables tables = TablesWith({{L"A"}, {{1}}, {}, 2});
  Opened opened(tables);
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log == Log{L"recordset.cancel", L"recordset.cancel_update", L"recordset.close",
                                L"connection.close"});
}

TEST_CASE("closing cancels nothing where there is no current row") {
  FakeTables tables = TablesWith({{L"A"}, {{1}}, {}, 8});
  Opened opened(tables);
  opened.recordset->MoveNext();
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log == Log{L"recordset.close", L"connection.close"});
}

TEST_CASE("closing leaves alone what is closed and takes what is missing") {
  FakeTables tables = TablesWith({{L"A"}, {}, {}, 0});
  Opened opened(tables);
  opened.recordset->Close();
  opened.connection->Close();
  tables.store.log.clear();
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log.empty());
  CHECK(tables.nothing_open());
  support::CloseRecordset(opened.connection, opened.recordset);
  CHECK(tables.store.log.empty());
}

TEST_CASE("closing after a failure releases both whatever closing throws") {
  FakeTables tables = TablesWith({{L"A"}, {{1}}, {}, 0});
  Opened opened(tables);
  tables.Fail("recordset.close", Error(error_number::kTableDamaged, L"", L"x"));
  support::CloseAfterFailure(opened.connection, opened.recordset);
  CHECK(tables.nothing_open());
}
