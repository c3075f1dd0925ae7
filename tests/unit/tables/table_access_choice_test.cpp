// Which table access a connection gets.
#include "tables/table_access_choice.h"

#include <doctest/doctest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "table_bytes.h"
#include "table_shelf.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

// What a connection of the provider is asked for.
struct ProviderLog {
  bool registered = true;
  int questions = 0;
  int connections = 0;
  std::vector<std::wstring> opened;  // by recordsets
  std::optional<CursorLocation> recordset_location;
};

class ProviderConnection final : public Connection {
 public:
  void set_connection_string(const std::wstring& /*text*/) override {}
  void set_cursor_location(CursorLocation /*location*/) override {}
  void set_mode(ConnectMode /*mode*/) override {}
  void Open() override { state_ = ObjectState::kOpen; }
  void Close() override { state_ = ObjectState::kClosed; }
  [[nodiscard]] ObjectState state() const override { return state_; }
  std::unique_ptr<Recordset> Execute(const std::wstring& /*statement*/) override { return nullptr; }
  [[nodiscard]] std::int32_t records_affected() const override { return 7; }

 private:
  ObjectState state_ = ObjectState::kClosed;
};

class ProviderColumn final : public Field {
 public:
  [[nodiscard]] const std::wstring& name() const override { return name_; }
  [[nodiscard]] std::int32_t defined_size() const override { return 3; }
  [[nodiscard]] std::int32_t actual_size() const override { return 3; }
  [[nodiscard]] Value value() const override { return std::wstring(L"ado"); }
  [[nodiscard]] Bytes bytes() const override { return {}; }
  void set_value(const Value& /*value*/) override {}

 private:
  std::wstring name_ = L"X";
};

// Says with each answer that it was asked: no other recordset answers so.
class ProviderRecordset final : public Recordset {
 public:
  explicit ProviderRecordset(ProviderLog& log) : log_(log) {}

  void set_cursor_location(CursorLocation location) override { log_.recordset_location = location; }
  void Open(const std::wstring& source, Connection& connection, CursorType type,
            LockType lock) override {
    CHECK(dynamic_cast<ProviderConnection*>(&connection) != nullptr);
    CHECK(type == CursorType::kKeyset);
    CHECK(lock == LockType::kPessimistic);
    log_.opened.push_back(source);
    state_ = ObjectState::kOpen;
  }
  void Close() override { state_ = ObjectState::kClosed; }
  void Cancel() override { throw Error(1, L"Cancel", L""); }
  [[nodiscard]] ObjectState state() const override { return state_; }
  [[nodiscard]] std::int32_t status() const override { return 2; }
  [[nodiscard]] bool bof() const override { return true; }
  [[nodiscard]] bool eof() const override { return false; }
  [[nodiscard]] std::int32_t record_count() const override { return 42; }
  void MoveFirst() override { throw Error(1, L"MoveFirst", L""); }
  void MoveLast() override { throw Error(1, L"MoveLast", L""); }
  void MoveNext() override { throw Error(1, L"MoveNext", L""); }
  void MovePrevious() override { throw Error(1, L"MovePrevious", L""); }
  void set_filter(const std::wstring& criteria) override { throw Error(1, L"Filter", criteria); }
  void Find(const std::wstring& criteria) override { throw Error(1, L"Find", criteria); }
  void Update() override { throw Error(1, L"Update", L""); }
  void CancelUpdate() override { throw Error(1, L"CancelUpdate", L""); }
  [[nodiscard]] std::int32_t field_count() const override { return 1; }
  [[nodiscard]] Field& field(std::int32_t /*position*/) override { return column_; }
  [[nodiscard]] Field& field(const std::wstring& /*name*/) override { return column_; }

 private:
  ProviderLog& log_;
  ObjectState state_ = ObjectState::kClosed;
  ProviderColumn column_;
};

class ProviderTables final : public TableAccess {
 public:
  explicit ProviderTables(ProviderLog& log) : log_(log) {}
  std::unique_ptr<Connection> MakeConnection() override {
    ++log_.connections;
    return std::make_unique<ProviderConnection>();
  }
  std::unique_ptr<Recordset> MakeRecordset() override {
    return std::make_unique<ProviderRecordset>(log_);
  }

 private:
  ProviderLog& log_;
};

class ChoosingShelf {
 public:
  explicit ChoosingShelf(ProviderLog* log = nullptr) {
    ProviderAccess provider;
    if (log != nullptr) {
      provider.access = std::make_unique<ProviderTables>(*log);
      provider.is_registered = [log] {
        ++log->questions;
        return log->registered;
      };
    }
    access_ = MakeTableAccess(shelf_.machine().platform(), std::move(provider));
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

TEST_CASE("a build without the provider refuses it when the connection opens, saying what to do") {
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

TEST_CASE("without a wish the provider serves every connection while it is registered") {
  ProviderLog log;
  ChoosingShelf shelf(&log);
  CHECK(shelf.Connect(std::nullopt)->records_affected() == 7);
  log.registered = false;
  const auto embedded = shelf.Connect(std::nullopt);
  embedded->Open();
  CHECK(embedded->Execute(L"SELECT * FROM T")->record_count() == 1);
  log.registered = true;
  CHECK(shelf.Connect(std::nullopt)->records_affected() == 7);
  CHECK(log.questions == 3);
  CHECK(log.connections == 2);
}

TEST_CASE("a wish decides without asking whether the provider is registered") {
  ProviderLog log;
  ChoosingShelf shelf(&log);
  log.registered = false;
  CHECK(shelf.Connect(L"Provider")->records_affected() == 7);
  log.registered = true;
  const auto embedded = shelf.Connect(L"Embedded");
  embedded->Open();
  CHECK(embedded->Execute(L"SELECT * FROM T")->record_count() == 1);
  CHECK(ErrorOf([&] { shelf.Connect(L"ado")->Open(); }).number() == error_number::kTableDamaged);
  CHECK(log.questions == 0);
  CHECK(log.connections == 1);
}

TEST_CASE("a recordset opens on a connection of either kind, one after the other") {
  ProviderLog log;
  ChoosingShelf shelf(&log);
  const auto provider = shelf.Connect(L"provider");
  const auto embedded = shelf.Connect(L"embedded");
  const auto refused = shelf.Connect(L"none");
  const auto recordset = shelf.access().MakeRecordset();
  CHECK(recordset->state() == ObjectState::kClosed);
  recordset->set_cursor_location(CursorLocation::kServer);
  const auto open = [&recordset](Connection& connection) {
    recordset->Open(L"SELECT * FROM T", connection, CursorType::kKeyset, LockType::kPessimistic);
  };
  CHECK(ErrorOf([&] { open(*provider); }).number() == error_number::kObjectClosed);
  CHECK(ErrorOf([&] { open(*refused); }).number() == error_number::kObjectClosed);
  provider->Open();
  embedded->Open();
  open(*embedded);
  CHECK(recordset->field(0).value() == Value(std::wstring(L"a")));
  CHECK(ErrorOf([&] { open(*provider); }).number() == error_number::kObjectOpen);
  recordset->Close();
  open(*provider);
  CHECK(log.opened == std::vector<std::wstring>{L"SELECT * FROM T"});
  CHECK(log.recordset_location == CursorLocation::kServer);
  CHECK(recordset->field(0).value() == Value(std::wstring(L"ado")));
  CHECK(recordset->field(L"X").defined_size() == 3);
  CHECK(recordset->field_count() == 1);
  CHECK(recordset->record_count() == 42);
  CHECK(recordset->status() == 2);
  CHECK(recordset->bof());
  CHECK_FALSE(recordset->eof());
  const auto source = [](const auto& call) { return ErrorOf(call).source(); };
  CHECK(source([&] { recordset->MoveFirst(); }) == L"MoveFirst");
  CHECK(source([&] { recordset->MoveLast(); }) == L"MoveLast");
  CHECK(source([&] { recordset->MoveNext(); }) == L"MoveNext");
  CHECK(source([&] { recordset->MovePrevious(); }) == L"MovePrevious");
  CHECK(ErrorOf([&] { recordset->set_filter(L"f"); }).description() == L"f");
  CHECK(ErrorOf([&] { recordset->Find(L"g"); }).description() == L"g");
  CHECK(source([&] { recordset->Update(); }) == L"Update");
  CHECK(source([&] { recordset->CancelUpdate(); }) == L"CancelUpdate");
  CHECK(source([&] { recordset->Cancel(); }) == L"Cancel");
  recordset->Close();
  open(*embedded);
  CHECK(recordset->field_count() == 1);
  CHECK(recordset->field(0).value() == Value(std::wstring(L"a")));
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
