// Which table access a connection gets.
#include "tables/table_access_choice.h"

#include <doctest/doctest.h>

#include "table_bytes.h"
#include "table_shelf.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

class ChoosingShelf {
 public:
  ChoosingShelf() : access_(MakeTableAccess(shelf_.machine().platform())) {
    TableBytes table(0x30, 0);
    table.Column("X", 'C', 1).Row({"a"});
    shelf_.Put(table.Bytes());
  }

  std::unique_ptr<Connection> Connect(const std::optional<std::wstring>& variable) {
    shelf_.machine().SetVariable(L"TDEFAULT_TABLES", variable);
    auto connection = access_->MakeConnection();
    connection->set_connection_string(L"Data Source=C:\\Data");
    connection->set_cursor_location(CursorLocation::kClient);
    connection->set_mode(ConnectMode::kRead);
    return connection;
  }

  // Opens a connection with that lock wait in the environment.
  Error OpenWithLockWait(const std::wstring& wait) {
    shelf_.machine().SetVariable(L"TDEFAULT_LOCK_WAIT", wait);
    const auto connection = Connect(std::nullopt);
    return ErrorOf([&] { connection->Open(); });
  }

  TableAccess& access() { return *access_; }

 private:
  TableShelf shelf_;
  std::unique_ptr<TableAccess> access_;
};

}  // namespace

TEST_CASE("without a wish the embedded engine serves the tables, and so does it by name") {
  ChoosingShelf shelf;
  for (const auto& variable :
       {std::optional<std::wstring>(), std::optional<std::wstring>(L"embedded"),
        std::optional<std::wstring>(L"EMBEDDED")}) {
    const auto connection = shelf.Connect(variable);
    connection->Open();
    CHECK(connection->Execute(L"SELECT * FROM T")->record_count() == 1);
    const auto recordset = shelf.access().MakeRecordset();
    recordset->Open(L"SELECT * FROM T", *connection, CursorType::kForwardOnly, LockType::kReadOnly);
    CHECK(recordset->field(0).value() == Value(std::wstring(L"a")));
  }
}

TEST_CASE("the provider is refused when the connection opens, saying what to do") {
  ChoosingShelf shelf;
  for (const wchar_t* variable : {L"provider", L"Provider"}) {
    const auto connection = shelf.Connect(std::wstring(variable));
    const Error error = ErrorOf([&] { connection->Open(); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"TDEFAULT_TABLES"));
    CHECK(Contains(error, L"embedded engine only"));
    CHECK(Contains(error, L"Remove the variable"));
    CHECK(connection->state() == ObjectState::kClosed);
    CHECK(ErrorOf([&] { static_cast<void>(connection->Execute(L"SELECT * FROM T")); }).number() ==
          error_number::kObjectClosed);
    CHECK(ErrorOf([&] {
            shelf.access().MakeRecordset()->Open(L"SELECT * FROM T", *connection,
                                                 CursorType::kForwardOnly, LockType::kReadOnly);
          }).number() == error_number::kObjectClosed);
    CHECK(ErrorOf([&] { connection->Close(); }).number() == error_number::kObjectClosed);
  }
}

TEST_CASE("any other wish is refused, naming it and what is allowed") {
  ChoosingShelf shelf;
  for (const wchar_t* variable : {L"", L"ado", L"embedded "}) {
    const auto connection = shelf.Connect(std::wstring(variable));
    const Error error = ErrorOf([&] { connection->Open(); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"TDEFAULT_TABLES is \"" + std::wstring(variable) + L"\""));
    CHECK(Contains(error, L"\"embedded\" or \"provider\""));
  }
}

TEST_CASE("the choice is made anew for every connection") {
  ChoosingShelf shelf;
  CHECK(ErrorOf([&] { shelf.Connect(L"provider")->Open(); }).number() != 0);
  CHECK(ErrorOf([&] { shelf.Connect(std::nullopt)->Open(); }).number() == 0);
}

TEST_CASE("the wait for locks is a whole number of milliseconds up to ten minutes") {
  ChoosingShelf shelf;
  for (const wchar_t* wait : {L"0", L"1", L"5000", L"0005000", L"600000"}) {
    CAPTURE(wait);
    CHECK(shelf.OpenWithLockWait(wait).number() == 0);
  }
}

TEST_CASE("any other wait for locks is refused when the connection opens, naming it") {
  ChoosingShelf shelf;
  for (const std::wstring wait : {L"", L"soon", L"-1", L"+5", L" 5", L"5 ", L"5.0", L"0x10",
                                  L"600001", L"4294967301", L"99999999999999999999999"}) {
    const Error error = shelf.OpenWithLockWait(wait);
    INFO(error.what());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"TDEFAULT_LOCK_WAIT is \"" + wait + L"\""));
    CHECK(Contains(error, L"whole number from 0 to 600000"));
    CHECK(Contains(error, L"Correct or remove it"));
  }
}
