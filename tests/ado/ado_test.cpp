// Access through ADO: what the adapter asks of ADO's objects, and that scripts give the same
// through it as at the engine behind the stand-in.
#include "ado/stand_in.h"
// After windows.h.
#include <doctest/doctest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "component/allocation_counter.h"
#include "platform/simulation/simulation.h"
#include "tables/access_store.h"
#include "tables/ado/ado_table_access.h"
#include "tables/foxpro/embedded_table_access.h"
#include "unit/readable.h"

using namespace tdefault;
using namespace tdefault::tests;
using namespace tdefault::tables;

namespace {

class Apartment {
 public:
  Apartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  ~Apartment() { CoUninitialize(); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
};

// A simulated data folder, served by the embedded engine behind the stand-in.
class AdoMachine final : public CaseFolder {
 public:
  AdoMachine() { simulation_.AddFolder(path()); }

  [[nodiscard]] std::wstring path() const override { return L"C:\\Data"; }
  void Put(const std::wstring& name, const std::string& bytes) override {
    simulation_.PutFile(path() + L"\\" + name, bytes);
  }
  void Remove(const std::wstring& name) override {
    if (simulation_.Exists(path() + L"\\" + name)) simulation_.RemoveFile(path() + L"\\" + name);
  }

  // A table of two rows, with a memo column.
  void PutParts() {
    AccessStore(engine_, *this)
        .AddTable({L"Parts",
                   {L"Id N(4,0)", L"Name C(6)", L"Note M"},
                   {},
                   {{L"1", L"Bolt", L"a bolt"}, {L"2", L"Nut", L"a nut"}}});
  }

  [[nodiscard]] std::unique_ptr<Connection> Connect(ConnectMode mode = ConnectMode::kRead) {
    auto connection = access_.MakeConnection();
    connection->set_connection_string(
        L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\Data;"
        L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;");
    connection->set_cursor_location(CursorLocation::kClient);
    connection->set_mode(mode);
    connection->Open();
    return connection;
  }

  [[nodiscard]] TableAccess& access() { return access_; }
  [[nodiscard]] StandInState& state() { return stand_in_.state(); }

 private:
  Apartment apartment_;
  platform::simulation::Simulation simulation_;
  foxpro::EmbeddedTableAccess engine_{simulation_.platform().files,
                                      foxpro::LockPatience{simulation_.platform().clock}, 1252};
  AdoStandIn stand_in_{engine_};
  ado::AdoTableAccess access_;
};

template <class Call>
Error ErrorOf(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  return {0, L"", L"no error"};
}

bool Contains(const Error& error, std::wstring_view text) {
  return error.description().find(text) != std::wstring::npos;
}

void RunAllScripts(AdoMachine& machine) {
  std::vector<std::string> scripts;
  for (const std::wstring& name : Split(FromUtf8(TDEFAULT_SCRIPTS), L"|"))
    scripts.push_back(ToUtf8(name));
  std::vector<const char*> names;
  for (const std::string& script : scripts) names.push_back(script.c_str());
  REQUIRE(names.size() > 5);
  CHECK(RunScriptFiles(static_cast<int>(names.size()), names.data(), machine.access(), machine) ==
        0);
}

}  // namespace

TEST_CASE("every script gives through ADO what it gives at the engine") {
  AdoMachine machine;
  RunAllScripts(machine);
  CHECK(machine.state().live_objects == 0);
}

TEST_CASE("every script gives the same where ADO gives long values in chunks and texts late") {
  AdoMachine machine;
  machine.state().long_values_in_chunks = true;
  machine.state().tells_errors_late = true;
  machine.state().tells_actual_sizes = false;
  RunAllScripts(machine);
  CHECK(machine.state().live_objects == 0);
}

TEST_CASE("a connection is told its string, its cursors and its mode in this order, then opened") {
  AdoMachine machine;
  machine.Connect()->Close();
  const std::vector<std::wstring> expected = {
      L"Connection.ConnectionString = 'Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\Data;"
      L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;'",
      L"Connection.CursorLocation = 3",
      L"Connection.Mode = 1",
      L"Connection.Open",
      L"Connection.Close",
      L"Connection.State"};
  CHECK(machine.state().calls == expected);
}

TEST_CASE("a recordset is opened with its source, connection, cursor and lock as a statement") {
  AdoMachine machine;
  machine.PutParts();
  const auto connection = machine.Connect();
  const auto recordset = machine.access().MakeRecordset();
  recordset->set_cursor_location(CursorLocation::kServer);
  machine.state().calls.clear();
  recordset->Open(L"SELECT * FROM Parts", *connection, CursorType::kForwardOnly,
                  LockType::kReadOnly);
  const std::vector<std::wstring> expected = {
      L"Connection.State", L"Recordset.State", L"Recordset.CursorLocation = 2",
      L"Recordset.Open 'SELECT * FROM Parts', object, 0, 1, 1"};
  CHECK(machine.state().calls == expected);
}

TEST_CASE("names of members are asked for once, however many rows are read") {
  AdoMachine machine;
  machine.PutParts();
  const auto connection = machine.Connect();
  const auto recordset = connection->Execute(L"SELECT * FROM Parts");
  const auto read = [&] {
    for (recordset->MoveFirst(); !recordset->eof(); recordset->MoveNext())
      for (std::int32_t i = 0; i < recordset->field_count(); ++i)
        CHECK_FALSE(IsNull(recordset->field(i).value()));
  };
  read();
  const int asked = machine.state().names_asked;
  const auto calls = machine.state().calls.size();
  read();
  CHECK(machine.state().names_asked == asked);
  CHECK(machine.state().calls.size() > calls);
}

TEST_CASE("a statement that gives rows affects none, whatever ADO counts") {
  AdoMachine machine;
  machine.PutParts();
  const auto connection = machine.Connect();
  const auto recordset = connection->Execute(L"SELECT * FROM Parts");
  CHECK(connection->records_affected() == -1);
  CHECK(recordset->field(L"name").value() == Value(std::wstring(L"Bolt  ")));
  CHECK(recordset->field(L"ID").value() == Value(1.0));
}

TEST_CASE("the provider gets literals of at most 255 characters and the whole text all the same") {
  AdoMachine machine;
  machine.PutParts();
  const std::wstring text = std::wstring(700, L'x') + L"it''s";
  const auto connection = machine.Connect();
  // The stand-in refuses a longer literal, as the provider does.
  CHECK(connection->Execute(L"SELECT * FROM Parts WHERE Note <> '" + text + L"'")->record_count() ==
        2);
  const auto recordset = machine.access().MakeRecordset();
  recordset->Open(L"SELECT * FROM Parts WHERE Note = '" + text + L"'", *connection,
                  CursorType::kStatic, LockType::kReadOnly);
  CHECK(recordset->eof());
  CHECK(machine.state().calls.back() == L"Recordset.EOF");
}

TEST_CASE("a long text is stored through ADO as it was written, by a statement and in a field") {
  AdoMachine machine;
  machine.PutParts();
  const auto connection = machine.Connect(ConnectMode::kReadWrite);
  const std::wstring text(700, L'x');
  static_cast<void>(connection->Execute(L"INSERT INTO Parts (Id, Name, Note) VALUES (3, 'Cap', '" +
                                        text + L"it''s')"));
  CHECK(connection->records_affected() == 1);
  const auto recordset = machine.access().MakeRecordset();
  recordset->Open(L"SELECT * FROM Parts", *connection, CursorType::kKeyset, LockType::kPessimistic);
  recordset->Find(L"Name LIKE 'Cap   '");
  CHECK(recordset->field(L"Note").value() == Value(text + L"it's"));
  recordset->field(L"Note").set_value(L"it's " + text);
  CHECK(recordset->status() == 2);
  recordset->Update();
  CHECK(recordset->status() == 0);
  recordset->field(L"Id").set_value(9);
  recordset->CancelUpdate();
  recordset->field(L"Id").set_value(8);
  recordset->Close();  // drops what was not stored
  const auto stored = connection->Execute(L"SELECT * FROM Parts WHERE Name = 'Cap'");
  CHECK(stored->field(L"Id").value() == Value(3.0));
  CHECK(stored->field(L"Note").value() == Value(L"it's " + text));
}

TEST_CASE("errors keep the number, the source and the text that they were raised with") {
  for (const bool late : {false, true}) {
    AdoMachine machine;
    machine.state().tells_errors_late = late;
    const auto connection = machine.Connect();
    const Error error =
        ErrorOf([&] { static_cast<void>(connection->Execute(L"SELECT * FROM None")); });
    CHECK(error.number() == error_number::kNoSuchTable);
    INFO(std::string(error.what()));
    CHECK(Contains(error, L"There is no table None: the file C:\\Data\\None.dbf does not exist."));
    const Error open = ErrorOf([&] { connection->Open(); });
    CHECK(open.number() == error_number::kObjectOpen);
    CHECK(open.source() == L"ADODB.Connection");
    CHECK(open.description() == L"Operation is not allowed when the object is open.");
  }
}

TEST_CASE("a connection of another kind and a closed one are refused before ADO sees them") {
  AdoMachine machine;
  machine.PutParts();
  platform::simulation::Simulation other;
  foxpro::EmbeddedTableAccess engine{other.platform().files,
                                     foxpro::LockPatience{other.platform().clock}, 1252};
  const auto embedded = engine.MakeConnection();
  const auto closed = machine.access().MakeConnection();
  const auto recordset = machine.access().MakeRecordset();
  const auto open = [&recordset](Connection& connection) {
    return ErrorOf([&] {
             recordset->Open(L"SELECT * FROM Parts", connection, CursorType::kStatic,
                             LockType::kReadOnly);
           })
        .number();
  };
  CHECK(open(*embedded) == error_number::kInvalidArgument);
  CHECK(open(*closed) == error_number::kObjectClosed);
  CHECK(ErrorOf([&] { static_cast<void>(recordset->field(0)); }).number() ==
        error_number::kObjectClosed);
  CHECK(recordset->state() == ObjectState::kClosed);
}

TEST_CASE("a column that the result lacks is no item of its fields") {
  AdoMachine machine;
  machine.PutParts();
  const auto connection = machine.Connect();
  const auto recordset = connection->Execute(L"SELECT * FROM Parts");
  CHECK(recordset->field_count() == 3);
  for (const Error& error : {ErrorOf([&] { static_cast<void>(recordset->field(L"None")); }),
                             ErrorOf([&] { static_cast<void>(recordset->field(3)); }),
                             ErrorOf([&] { static_cast<void>(recordset->field(-1)); })}) {
    CHECK(error.number() == error_number::kNoSuchItem);
    CHECK(Contains(error, L"Item cannot be found in the collection"));
  }
}

TEST_CASE("text columns marked as binary are text through ADO too, and give their bytes") {
  AdoMachine machine;
  machine.PutParts();
  machine.state().binary_columns = {L"NAME"};
  const auto connection = machine.Connect();
  const auto recordset = connection->Execute(L"SELECT * FROM Parts");
  CHECK(recordset->field(L"Name").value() == Value(std::wstring(L"Bolt  ")));
  CHECK(recordset->field(L"Name").bytes() == Bytes{'B', 'o', 'l', 't', ' ', ' '});
  CHECK(recordset->field(L"Note").bytes() == Bytes{'a', ' ', 'b', 'o', 'l', 't'});
  CHECK(ErrorOf([&] { static_cast<void>(recordset->field(L"Id").bytes()); }).number() ==
        error_number::kTypeMismatch);
}

TEST_CASE("a long value in chunks is whole, can be read twice, and belongs to its row") {
  AdoMachine machine;
  machine.PutParts();
  machine.state().long_values_in_chunks = true;
  const auto connection = machine.Connect();
  const auto recordset = connection->Execute(L"SELECT * FROM Parts");
  Field& note = recordset->field(L"Note");
  CHECK(note.value() == Value(std::wstring(L"a bolt")));
  CHECK(note.value() == Value(std::wstring(L"a bolt")));
  CHECK(note.bytes().size() == 6);
  recordset->MoveNext();
  CHECK(note.value() == Value(std::wstring(L"a nut")));
}

TEST_CASE("no object, text or value is left when everything is released") {
  AdoMachine machine;
  machine.PutParts();
  const auto use = [&machine] {
    const auto connection = machine.Connect();
    const auto recordset = connection->Execute(L"SELECT * FROM Parts");
    for (; !recordset->eof(); recordset->MoveNext())
      for (std::int32_t i = 0; i < recordset->field_count(); ++i) {
        static_cast<void>(recordset->field(i).value());
        static_cast<void>(recordset->field(i).actual_size());
      }
    CHECK(ErrorOf([&] { static_cast<void>(recordset->field(0).value()); }).number() ==
          error_number::kNoCurrentRow);
    CHECK(ErrorOf([&] { static_cast<void>(connection->Execute(L"SELECT")); }).number() ==
          error_number::kStatementError);
    CHECK(ErrorOf([&] { recordset->MoveNext(); }).number() == error_number::kNoCurrentRow);
  };
  use();
  machine.state().calls.clear();
  component::AllocationCounter counter;
  REQUIRE(CoRegisterMallocSpy(&counter) == S_OK);
  use();
  const long after_one = counter.live();
  for (int round = 0; round < 5; ++round) use();
  CHECK(counter.live() == after_one);
  CHECK(counter.made() > 100);
  CoRevokeMallocSpy();
  CHECK(machine.state().live_objects == 0);
}

TEST_CASE("a thread without COM is told so when it makes a connection") {
  std::optional<Error> error;
  std::thread thread([&error] {
    ado::AdoTableAccess access;
    error = ErrorOf([&] { static_cast<void>(access.MakeConnection()); });
  });
  thread.join();
  REQUIRE(error.has_value());
  CHECK(error->number() == CO_E_NOTINITIALIZED);
  CHECK(error->source() == L"ADODB.Connection");
  CHECK(Contains(*error, L"COM is not initialised on this thread"));
}

namespace {

// A key of the classes for as long as it lives.
class ClassKey {
 public:
  ClassKey(const std::wstring& name, const wchar_t* value) : name_(name) {
    HKEY key = nullptr;
    REQUIRE(RegCreateKeyExW(HKEY_CLASSES_ROOT, name_.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                            &key, nullptr) == ERROR_SUCCESS);
    const std::wstring text(value);
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
  }
  ~ClassKey() { RegDeleteKeyW(HKEY_CLASSES_ROOT, name_.c_str()); }
  ClassKey(const ClassKey&) = delete;
  ClassKey& operator=(const ClassKey&) = delete;

 private:
  std::wstring name_;
};

}  // namespace

TEST_CASE("where ADO does not open, the error names its object and what to do") {
  const Apartment apartment;
  // Wine asks for its description of ADO under a version that it does not register.
  constexpr wchar_t kLibrary[] = L"TypeLib\\{2A75196C-D9EB-4129-B803-931327F72D5C}\\1.0";
  ado::AdoTableAccess access;
  const auto connection = access.MakeConnection();
  CHECK_NOTHROW(static_cast<void>(access.MakeRecordset()));
  connection->set_connection_string(L"Provider=VFPOLEDB.1;Data Source=C:\\None;");
  connection->set_cursor_location(CursorLocation::kClient);
  connection->set_mode(ConnectMode::kRead);
  const Error undescribed = ErrorOf([&] { connection->Open(); });
  INFO(std::string(undescribed.what()));
  CHECK(undescribed.number() < 0);
  CHECK(Contains(undescribed, L"ADODB.Connection knows no member ConnectionString"));
  CHECK(Contains(undescribed, L"TDEFAULT_TABLES"));

  const ClassKey library(kLibrary, L"");
  const ClassKey language(std::wstring(kLibrary) + L"\\0", L"");
  const ClassKey file(std::wstring(kLibrary) + (sizeof(void*) == 8 ? L"\\0\\win64" : L"\\0\\win32"),
                      FromUtf8(TDEFAULT_ADO_LIBRARY).c_str());
  CHECK(connection->state() == ObjectState::kClosed);
  const Error unopened = ErrorOf([&] { connection->Open(); });
  INFO(std::string(unopened.what()));
  CHECK(unopened.number() < 0);
  CHECK(Contains(unopened, L"ADODB.Connection.Open failed (0x"));
  CHECK(Contains(unopened, L"VFPOLEDB.1"));
  CHECK(connection->state() == ObjectState::kClosed);
}

TEST_CASE("a provider is registered when its class has a server for this bitness") {
  const Apartment apartment;
  constexpr wchar_t kName[] = L"TDefaultTest.Provider.1";
  constexpr wchar_t kClass[] = L"{6F0D3D3C-5B1E-4C57-9A3E-6C6A3C2F9D52}";
  CHECK_FALSE(ado::IsProviderRegistered(kName));
  const ClassKey name(kName, L"A provider for tests");
  const ClassKey name_class(std::wstring(kName) + L"\\CLSID", kClass);
  CHECK_FALSE(ado::IsProviderRegistered(kName));
  const ClassKey class_key(std::wstring(L"CLSID\\") + kClass, L"A provider for tests");
  CHECK_FALSE(ado::IsProviderRegistered(kName));
  const ClassKey server(std::wstring(L"CLSID\\") + kClass + L"\\InprocServer32", L"none.dll");
  CHECK(ado::IsProviderRegistered(kName));
}
