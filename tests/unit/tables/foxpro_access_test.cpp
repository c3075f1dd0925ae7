// Connections, recordsets and fields of the embedded engine, as users of ADO expect them.
#include <doctest/doctest.h>

#include <chrono>
#include <functional>
#include <tuple>

#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/foxpro/embedded_table_access.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

constexpr wchar_t kString[] =
    L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\Data;Mode=ReadWrite|Share Deny None;"
    L"Collating Sequence=GENERAL;Deleted=TRUE;";

// A data folder with the tables T (three live rows, one deleted) and EMPTY, served by the engine.
class Shop {
 public:
  Shop()
      : access_(shelf_.machine().platform().files,
                foxpro::LockPatience{shelf_.machine().platform().clock}, 1252) {
    MemoBytes memo;
    const std::string note = memo.Pointer("some note");
    const std::string picture = memo.Pointer(std::string("BM\0\1", 4), 2);
    TableBytes table;
    table.Column("ID", 'C', 8)
        .Column("AMOUNT", 'N', 8, 2)
        .Column("PAID", 'L', 1)
        .Column("DUE", 'D', 8)
        .Column("NOTE", 'M', 4)
        .Column("PICTURE", 'G', 4)
        .Column("NO", 'I', 4);
    const std::string none = LittleEndian(0, 4);
    table.Row({"beta", "   12.50", "T", "20010307", note, picture, LittleEndian(7, 4)});
    table.Row({"gone", "    0.00", "F", "", none, none, none}, '*');
    table.Row({"Alpha", "", "F", "", none, none, none});
    table.Row({"gamma", "   -1.00", "T", "19991231", note, none, none});
    shelf_.Put(table.Bytes(), memo.Bytes());
    TableBytes empty;
    empty.Column("X", 'C', 1);
    shelf_.machine().PutFile(L"C:\\Data\\EMPTY.dbf", empty.Bytes());
  }

  std::unique_ptr<Connection> Connect(const std::wstring& text = kString,
                                      CursorLocation location = CursorLocation::kClient,
                                      ConnectMode mode = ConnectMode::kRead) {
    auto connection = access_.MakeConnection();
    connection->set_connection_string(text);
    connection->set_cursor_location(location);
    connection->set_mode(mode);
    connection->Open();
    return connection;
  }

  foxpro::EmbeddedTableAccess& access() { return access_; }
  platform::simulation::Simulation& machine() { return shelf_.machine(); }

 private:
  TableShelf shelf_;
  foxpro::EmbeddedTableAccess access_;
};

std::vector<std::wstring> Ids(Recordset& recordset) {
  std::vector<std::wstring> ids;
  for (; !recordset.eof(); recordset.MoveNext())
    ids.push_back(std::get<std::wstring>(recordset.field(L"ID").value()));
  return ids;
}

Error OpeningError(Shop& shop, const std::wstring& text) {
  return ErrorOf([&] { static_cast<void>(shop.Connect(text)); });
}

}  // namespace

TEST_CASE("a statement gives a recordset that stands on its first row") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  CHECK(rows->state() == ObjectState::kOpen);
  CHECK_FALSE(rows->bof());
  CHECK_FALSE(rows->eof());
  CHECK(rows->status() == 0);
  CHECK(rows->field_count() == 7);
  CHECK(rows->field(0).value() == Value(std::wstring(L"beta    ")));
  CHECK(Ids(*rows) == std::vector<std::wstring>{L"beta    ", L"Alpha   ", L"gamma   "});
  CHECK(rows->eof());
  CHECK_FALSE(rows->bof());
}

TEST_CASE("a recordset without rows is at both ends") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM EMPTY");
  CHECK(rows->state() == ObjectState::kOpen);
  CHECK(rows->bof());
  CHECK(rows->eof());
  CHECK(rows->record_count() == 0);
  CHECK(ErrorOf([&] { rows->MoveFirst(); }).number() == error_number::kNoCurrentRow);
  CHECK(ErrorOf([&] { rows->MoveNext(); }).number() == error_number::kNoCurrentRow);
}

TEST_CASE("moving past the last row ends the recordset, once more is an error") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT ID FROM T WHERE ID = 'beta'");
  rows->MoveNext();
  CHECK(rows->eof());
  const Error error = ErrorOf([&] { rows->MoveNext(); });
  CHECK(error.number() == error_number::kNoCurrentRow);
  CHECK(Contains(error, L"Either BOF or EOF is True"));
  CHECK(Contains(error, L"SELECT ID FROM T"));
}

TEST_CASE("moving first starts again") {
  Shop shop;
  const auto connection = shop.Connect();
  for (const wchar_t* statement : {L"SELECT * FROM T", L"SELECT * FROM T ORDER BY ID"}) {
    const auto rows = connection->Execute(statement);
    rows->MoveFirst();
    const auto first = Ids(*rows);
    REQUIRE(first.size() == 3);
    rows->MoveFirst();
    CHECK(Ids(*rows) == first);
  }
}

TEST_CASE("a client cursor knows its record count and stays where it is") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  rows->MoveNext();
  CHECK(rows->record_count() == 3);
  CHECK(rows->field(L"ID").value() == Value(std::wstring(L"Alpha   ")));
  rows->MoveNext();
  CHECK(rows->field(L"ID").value() == Value(std::wstring(L"gamma   ")));
  rows->MoveNext();
  CHECK(rows->eof());
  CHECK(rows->record_count() == 3);
  CHECK(rows->eof());
}

TEST_CASE("a forward-only server cursor does not know its record count, a static one does") {
  Shop shop;
  const auto connection = shop.Connect(kString, CursorLocation::kServer);
  CHECK(connection->Execute(L"SELECT * FROM T")->record_count() == -1);
  const auto rows = shop.access().MakeRecordset();
  rows->Open(L"SELECT * FROM T", *connection, CursorType::kForwardOnly, LockType::kReadOnly);
  CHECK(rows->record_count() == -1);
  rows->Close();
  rows->Open(L"SELECT * FROM T", *connection, CursorType::kStatic, LockType::kReadOnly);
  CHECK(rows->record_count() == 3);
}

TEST_CASE("a recordset's own cursor location goes before its connection's") {
  Shop shop;
  const auto connection = shop.Connect(kString, CursorLocation::kServer);
  const auto rows = shop.access().MakeRecordset();
  rows->set_cursor_location(CursorLocation::kClient);
  rows->Open(L"SELECT * FROM T", *connection, CursorType::kForwardOnly, LockType::kReadOnly);
  CHECK(rows->record_count() == 3);
}

TEST_CASE("nobody who does not ask for the record count pays for it") {
  Shop shop;
  const auto connection = shop.Connect();
  shop.machine().Restart();
  const auto before = shop.machine().call_count();
  const auto rows = connection->Execute(L"SELECT ID FROM T");
  static_cast<void>(Ids(*rows));
  const auto reading = shop.machine().call_count() - before;
  static_cast<void>(rows->record_count());
  CHECK(shop.machine().call_count() - before == reading);
}

TEST_CASE("a row that a recordset has locked is in use for statements of its own connection too") {
  Shop shop;
  const auto connection = shop.access().MakeConnection();
  connection->set_connection_string(kString);
  connection->Open();
  const auto rows = shop.access().MakeRecordset();
  rows->Open(L"SELECT Id, No FROM T", *connection, CursorType::kKeyset, LockType::kPessimistic);
  rows->field(L"No").set_value(std::int32_t{8});
  const std::wstring change = L"UPDATE T SET Id = 'delta' WHERE Id = 'beta'";
  CHECK(ErrorOf([&] { connection->Execute(change); }).number() == error_number::kInUseByAnother);
  rows->Update();
  connection->Execute(change);
  CHECK(connection->records_affected() == 1);
  CHECK(connection->Execute(L"SELECT No FROM T WHERE Id = 'delta'")->field(0).value() ==
        Value(std::int32_t{8}));
}

TEST_CASE("a value that does not convert is refused with its column, both named") {
  Shop shop;
  const auto connection = shop.access().MakeConnection();
  connection->set_connection_string(kString);
  connection->Open();
  const auto rows = shop.access().MakeRecordset();
  rows->Open(L"SELECT Id, No, Due, Picture FROM T", *connection, CursorType::kStatic,
             LockType::kOptimistic);
  const auto text = [&](const wchar_t* name, const Value& value) {
    return ErrorOf([&] { rows->field(name).set_value(value); }).description();
  };
  CHECK(text(L"No", std::wstring(L"abc")) ==
        L"Type mismatch: \"abc\" cannot be put into column NO, which holds a whole number.");
  CHECK(text(L"Due", std::wstring(L"02-30-2001")) ==
        L"Type mismatch: \"02-30-2001\" cannot be put into column DUE, which holds a date.");
  CHECK(text(L"Id", Bytes{1}) ==
        L"Type mismatch: 1 bytes cannot be put into column ID, which holds text.");
  CHECK(text(L"Picture", std::wstring(70, L'x')) ==
        L"Type mismatch: \"" + std::wstring(60, L'x') +
            L"...\" cannot be put into column PICTURE, which holds bytes.");
  CHECK(rows->status() == 0);
}

TEST_CASE("equalities on a snapshot cost one pass however many are set") {
  constexpr int kRows = 3000;
  TableShelf shelf;
  TableBytes table;
  table.Column("SECTION", 'C', 10).Column("KEY", 'C', 10);
  for (int i = 0; i < kRows; ++i) table.Row({"S" + std::to_string(i % 7), "K" + std::to_string(i)});
  shelf.Put(table.Bytes());
  foxpro::EmbeddedTableAccess access(shelf.machine().platform().files,
                                     foxpro::LockPatience{shelf.machine().platform().clock}, 1252);
  const auto connection = access.MakeConnection();
  connection->set_connection_string(kString);
  connection->Open();
  const auto rows = access.MakeRecordset();
  rows->set_cursor_location(CursorLocation::kClient);
  rows->Open(L"SELECT * FROM T", *connection, CursorType::kStatic, LockType::kReadOnly);
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  rows->set_filter(L"Key LIKE 'K2999*' Or Key = 'none'");
  const auto one_pass = Clock::now() - start;
  CHECK(rows->record_count() == 1);
  for (int i = 0; i < kRows; ++i) {
    rows->set_filter(L"Section = 's" + std::to_wstring(i % 7) + L"' And Key = 'k" +
                     std::to_wstring(i) + L"'");
    CHECK(rows->record_count() == 1);
  }
  // As many passes would take 3000 times as long, or more.
  CHECK(Clock::now() - start < 300 * one_pass);
}

TEST_CASE("fields are found by position and by name in any letter case") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  CHECK(rows->field(L"amount").value() == Value(12.5));
  CHECK(rows->field(1).name() == L"AMOUNT");
  CHECK(&rows->field(1) == &rows->field(L"Amount"));
  for (const std::int32_t position : {-1, 7, 1000}) {
    const Error error = ErrorOf([&] { static_cast<void>(rows->field(position)); });
    CHECK(error.number() == error_number::kNoSuchItem);
    CHECK(Contains(error, std::to_wstring(position)));
  }
  const Error error = ErrorOf([&] { static_cast<void>(rows->field(L"Nosuch")); });
  CHECK(error.number() == error_number::kNoSuchItem);
  CHECK(Contains(error, L"Item cannot be found"));
  CHECK(Contains(error, L"Nosuch"));
}

TEST_CASE("fields have the sizes that ADO gives") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  struct Case {
    const wchar_t* name;
    std::int32_t defined;
    std::int32_t actual;
  };
  constexpr std::int32_t kUnlimited = 2147483647;
  for (const Case& field :
       {Case{L"ID", 8, 8}, Case{L"AMOUNT", 19, 19}, Case{L"PAID", 2, 2}, Case{L"DUE", 6, 6},
        Case{L"NOTE", kUnlimited, 9}, Case{L"PICTURE", kUnlimited, 4}, Case{L"NO", 4, 4}}) {
    CHECK(rows->field(field.name).defined_size() == field.defined);
    CHECK(rows->field(field.name).actual_size() == field.actual);
  }
  rows->MoveNext();
  CHECK(rows->field(L"PICTURE").actual_size() == 0);
  CHECK(rows->field(L"NOTE").actual_size() == 0);
}

TEST_CASE("a field gives the bytes that its table stores, in whichever code page") {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  const Bytes expected(all.begin(), all.end());
  for (const int mark : {0x01, 0x02, 0x03, 0xC8, 0xC9}) {
    CAPTURE(mark);
    Shop shop;
    MemoBytes memo;
    TableBytes table(0x32, static_cast<std::uint8_t>(mark));
    table.Column("C", 'C', 4)
        .Column("V", 'V', 4, 0, kNullableFlag)
        .Column("M", 'M', 4)
        .Column("G", 'G', 4)
        .Column("N", 'N', 4)
        .Column("_NullFlags", '0', 1, 0, kSystemFlag);
    table.Row({"\xE3\x80", std::string("\x8D\xFF\0\2", 4), memo.Pointer(all), memo.Pointer(all, 2),
               "1", "\1"});
    table.Row({"", std::string(4, '\0'), LittleEndian(0, 4), LittleEndian(0, 4), "", "\2"});
    shop.machine().PutFile(L"C:\\Data\\RAW.dbf", table.Bytes());
    shop.machine().PutFile(L"C:\\Data\\RAW.fpt", memo.Bytes());
    const auto connection = shop.Connect();
    const auto rows = connection->Execute(L"SELECT C, V, M, G, N, M + '' FROM RAW");
    CHECK(rows->field(0).bytes() == Bytes{0xE3, 0x80, ' ', ' '});
    CHECK(rows->field(1).bytes() == Bytes{0x8D, 0xFF});
    CHECK(rows->field(2).bytes() == expected);
    CHECK(rows->field(2).actual_size() == 256);
    CHECK(rows->field(2).bytes() == expected);
    CHECK(rows->field(3).bytes() == expected);
    CHECK(ErrorOf([&] { static_cast<void>(rows->field(4).bytes()); }).number() ==
          error_number::kTypeMismatch);
    CHECK(rows->field(5).bytes() == expected);
    rows->MoveNext();
    for (const std::int32_t empty : {1, 2, 3}) CHECK(rows->field(empty).bytes().empty());
  }
}

TEST_CASE("a field kept while the recordset moves shows the current row") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  const Field& id = rows->field(L"ID");
  CHECK(id.value() == Value(std::wstring(L"beta    ")));
  CHECK(id.value() == Value(std::wstring(L"beta    ")));
  rows->MoveNext();
  CHECK(id.value() == Value(std::wstring(L"Alpha   ")));
}

TEST_CASE("a field behind the last row has no value, and says which column was asked for") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T WHERE .F.");
  for (const auto& call : std::vector<std::function<void()>>{
           [&] { static_cast<void>(rows->field(L"ID").value()); },
           [&] { static_cast<void>(rows->field(L"ID").bytes()); },
           [&] { static_cast<void>(rows->field(L"ID").actual_size()); }}) {
    const Error error = ErrorOf(call);
    CHECK(error.number() == error_number::kNoCurrentRow);
    CHECK(Contains(error, L"ID"));
  }
  CHECK(rows->field(L"ID").defined_size() == 8);
}

TEST_CASE("what is closed refuses its operations, what is open cannot be opened again") {
  Shop shop;
  const auto connection = shop.access().MakeConnection();
  const auto rows = shop.access().MakeRecordset();
  const auto number = [](const auto& call) { return ErrorOf(call).number(); };
  const auto open = [&] {
    rows->Open(L"SELECT * FROM T", *connection, CursorType::kForwardOnly, LockType::kReadOnly);
  };
  CHECK(connection->state() == ObjectState::kClosed);
  CHECK(number([&] { connection->Close(); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(connection->Execute(L"SELECT * FROM T")); }) ==
        error_number::kObjectClosed);
  CHECK(number(open) == error_number::kObjectClosed);
  CHECK(rows->state() == ObjectState::kClosed);
  CHECK(number([&] { rows->Close(); }) == error_number::kObjectClosed);
  CHECK(number([&] { rows->MoveNext(); }) == error_number::kObjectClosed);
  CHECK(number([&] { rows->MoveFirst(); }) == error_number::kObjectClosed);
  CHECK(number([&] { rows->Update(); }) == error_number::kObjectClosed);
  CHECK(number([&] { rows->CancelUpdate(); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(rows->eof()); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(rows->bof()); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(rows->record_count()); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(rows->status()); }) == error_number::kObjectClosed);
  CHECK(number([&] { static_cast<void>(rows->field(0)); }) == error_number::kNoSuchItem);
  CHECK(rows->field_count() == 0);

  connection->set_connection_string(kString);
  connection->Open();
  CHECK(connection->state() == ObjectState::kOpen);
  CHECK(number([&] { connection->Open(); }) == error_number::kObjectOpen);
  open();
  CHECK(rows->state() == ObjectState::kOpen);
  CHECK(number(open) == error_number::kObjectOpen);
  rows->Close();
  CHECK(rows->state() == ObjectState::kClosed);
  open();
  connection->Close();
  CHECK(connection->state() == ObjectState::kClosed);
}

TEST_CASE("closing a connection closes its recordsets and their files") {
  Shop shop;
  auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  CHECK(shop.machine().open_handles() > 0);
  connection->Close();
  CHECK(rows->state() == ObjectState::kClosed);
  CHECK(shop.machine().open_handles() == 0);
  connection->Open();
  const auto others = connection->Execute(L"SELECT * FROM T");
  connection.reset();
  CHECK(others->state() == ObjectState::kClosed);
  CHECK(shop.machine().open_handles() == 0);
}

TEST_CASE("a recordset that failed to open is closed, and its table closes with the connection") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = shop.access().MakeRecordset();
  const auto error = [&](const wchar_t* statement) {
    return ErrorOf([&] {
             rows->Open(statement, *connection, CursorType::kForwardOnly, LockType::kReadOnly);
           })
        .number();
  };
  CHECK(error(L"SELECT * FROM Nosuch") == error_number::kNoSuchTable);
  CHECK(error(L"SELECT * FRM T") == error_number::kStatementError);
  CHECK(error(L"SELECT Nosuch FROM T") == error_number::kStatementError);
  CHECK(rows->state() == ObjectState::kClosed);
  CHECK(error(L"SELECT * FROM T") == 0);
  connection->Close();
  CHECK(shop.machine().open_handles() == 0);
}

TEST_CASE("a damaged row ends the recordset: the rows after it are not shown as if it were none") {
  Shop shop;
  TableBytes table;
  table.Column("ID", 'C', 1).Row({"a"}).Row({"b"}, '\0').Row({"c"});
  shop.machine().PutFile(L"C:\\Data\\BAD.dbf", table.Bytes());
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM BAD");
  CHECK(rows->field(0).value() == Value(std::wstring(L"a")));
  const Error error = ErrorOf([&] { rows->MoveNext(); });
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"C:\\Data\\BAD.dbf"));
  CHECK(Contains(error, L"record 2"));
  CHECK(rows->eof());
  CHECK(ErrorOf([&] { rows->MoveNext(); }).number() == error_number::kNoCurrentRow);
}

TEST_CASE("counting that meets a damaged row fails and stays on the current row") {
  Shop shop;
  TableBytes table;
  table.Column("ID", 'C', 1).Row({"a"}).Row({"b"}).Row({"c"}).Row({"d"}, '\0').Row({"e"});
  shop.machine().PutFile(L"C:\\Data\\BAD.dbf", table.Bytes());
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM BAD");
  rows->MoveNext();
  for (int attempt = 0; attempt < 2; ++attempt) {
    const Error error = ErrorOf([&] { static_cast<void>(rows->record_count()); });
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, L"record 4"));
    CHECK_FALSE(rows->eof());
    CHECK(rows->field(0).value() == Value(std::wstring(L"b")));
  }
  rows->MoveNext();
  CHECK(rows->field(0).value() == Value(std::wstring(L"c")));
}

TEST_CASE("cancelling leaves a recordset as it is") {
  Shop shop;
  const auto connection = shop.Connect();
  const auto rows = connection->Execute(L"SELECT * FROM T");
  rows->Cancel();
  CHECK(Ids(*rows).size() == 3);
}

TEST_CASE("the collating sequence of the connection decides what is equal and what comes first") {
  Shop shop;
  const auto ids = [&shop](const wchar_t* sequence, const wchar_t* statement) {
    const auto connection =
        shop.Connect(std::wstring(L"Data Source=C:\\Data;Collating Sequence=") + sequence);
    return Ids(*connection->Execute(statement));
  };
  using List = std::vector<std::wstring>;
  const wchar_t* const ordered = L"SELECT ID FROM T ORDER BY ID";
  CHECK(ids(L"GENERAL", ordered) == List{L"Alpha   ", L"beta    ", L"gamma   "});
  CHECK(ids(L"MACHINE", ordered) == List{L"Alpha   ", L"beta    ", L"gamma   "});
  const wchar_t* const filtered = L"SELECT ID FROM T WHERE ID = 'ALPHA'";
  CHECK(ids(L"GENERAL", filtered) == List{L"Alpha   "});
  CHECK(ids(L"MACHINE", filtered).empty());
}

TEST_CASE("text marked as binary compares with text, of the same table's code page too") {
  Shop shop;
  MemoBytes memo;
  TableBytes table(0x32, 1);
  table.Column("C", 'C', 6, 0, kBinaryFlag)
      .Column("V", 'V', 6, 0, kBinaryFlag)
      .Column("M", 'M', 4, 0, kBinaryFlag)
      .Column("_NullFlags", '0', 1, 0, kSystemFlag);
  table.Row({"abc", std::string("ab\0\0\0\2", 6), memo.Pointer("na\x8Bve"), "\1"});
  table.Row({"\x81x", std::string("\xE3\0\0\0\0\1", 6), memo.Pointer("plain"), "\1"});
  shop.machine().PutFile(L"C:\\Data\\MARKED.dbf", table.Bytes());
  shop.machine().PutFile(L"C:\\Data\\MARKED.fpt", memo.Bytes());
  const auto connection = shop.Connect();
  const auto found = [&](const std::wstring& condition) {
    const auto rows = connection->Execute(L"SELECT C FROM MARKED WHERE " + condition);
    return rows->record_count() == 1 ? ToText(rows->field(0).value(), L"") : L"";
  };
  CHECK(found(L"C = 'ABC'") == L"abc   ");
  CHECK(found(L"UPPER(C) = '\x00DCX'") == L"\x00FCx    ");
  CHECK(found(L"V = 'ab'") == L"abc   ");
  CHECK(found(L"V LIKE '\x03C0%'") == L"\x00FCx    ");
  CHECK(found(L"M = 'na\x00EFve'") == L"abc   ");
  CHECK(found(L"C IN (SELECT C FROM MARKED WHERE V = 'ab')") == L"abc   ");
  const auto sorted = connection->Execute(L"SELECT DISTINCT C, V FROM MARKED ORDER BY C DESC");
  CHECK(sorted->field(0).value() == Value(std::wstring(L"\x00FCx    ")));
  CHECK(sorted->field(0).defined_size() == 6);
  CHECK(sorted->field(1).actual_size() == 1);
}

TEST_CASE("UPPER and LOWER stay in the code page of the table that their text comes from") {
  Shop shop;
  for (const auto& [name, mark, text] :
       {std::tuple(L"DOS", std::uint8_t{1}, std::string("\x98\xE3\xE5\x81\xE2")),
        std::tuple(L"WIN", std::uint8_t{3}, std::string("\xFF\x83\xB5\xFC\xDE"))}) {
    TableBytes table(0x30, mark);
    table.Column("C", 'C', 5).Column("ONE", 'I', 4).Row({text, LittleEndian(1, 4)});
    shop.machine().PutFile(std::wstring(L"C:\\Data\\") + name + L".dbf", table.Bytes());
  }
  const auto connection = shop.Connect();
  const auto first = [&](const std::wstring& expression, const std::wstring& table) {
    const auto rows = connection->Execute(L"SELECT " + expression + L" FROM " + table);
    return ToText(rows->field(0).value(), L"");
  };
  const std::wstring dos = L"\x00FF\x03C0\x03A3\x00DC\x0393";
  const std::wstring win = L"\x0178\x0192\x00B5\x00DC\x00DE";
  CHECK(first(L"UPPER(C)", L"DOS") == dos);
  CHECK(first(L"LOWER(C)", L"DOS") == L"\x00FF\x03C0\x03C3\x00FC\x0393");
  CHECK(first(L"UPPER(C)", L"WIN") == win);
  CHECK(first(L"LOWER(C)", L"WIN") == L"\x00FF\x0192\x00B5\x00FC\x00FE");
  // Text that comes from no column is in the page of the statement's table.
  CHECK(first(L"UPPER('\x00FF')", L"DOS") == L"\x00FF");
  CHECK(first(L"UPPER('\x00FF')", L"WIN") == L"\x0178");
  CHECK(first(L"UPPER(CHR(255))", L"DOS") == L"\x00FF");
  // Other text keeps the page of its table through all that expressions do with it.
  const std::wstring other = L"(SELECT C FROM WIN WHERE WIN.One = DOS.One)";
  for (const std::wstring& expression :
       {L"UPPER(" + other + L")", L"UPPER('' + " + other + L")",
        L"UPPER(ALLTRIM(" + other + L" + ''))", L"UPPER(IIF(.T., " + other + L", ''))",
        L"UPPER(NVL(" + other + L", ''))", std::wstring(L"UPPER((SELECT C + '' FROM WIN))"),
        std::wstring(L"(SELECT UPPER(C) FROM WIN)"),
        std::wstring(L"UPPER(LOWER(" + other + L"))")}) {
    CAPTURE(expression);
    CHECK(first(expression, L"DOS") == win);
  }
  CHECK(first(L"(SELECT UPPER(DOS.C) FROM WIN)", L"DOS") == dos);
  // The bytes of such text are those of its own table's page.
  const auto rows = connection->Execute(L"SELECT " + other + L" FROM DOS");
  CHECK(rows->field(0).bytes() == Bytes{0xFF, 0x83, 0xB5, 0xFC, 0xDE});
}

TEST_CASE("a connection string without parts takes MACHINE and hides deleted rows") {
  Shop shop;
  const auto connection = shop.Connect(L"Data Source=C:\\Data");
  CHECK(Ids(*connection->Execute(L"SELECT ID FROM T")).size() == 3);
  CHECK(Ids(*connection->Execute(L"SELECT ID FROM T WHERE ID = 'BETA'")).empty());
}

TEST_CASE("Deleted=FALSE shows deleted rows") {
  Shop shop;
  const auto connection = shop.Connect(L"Data Source=C:\\Data;Deleted=FALSE");
  CHECK(Ids(*connection->Execute(L"SELECT ID FROM T")).size() == 4);
}

TEST_CASE("Deleted=FALSE changes deleted rows, which stay deleted") {
  Shop shop;
  const auto showing = shop.Connect(L"Data Source=C:\\Data;Deleted=FALSE", CursorLocation::kServer,
                                    ConnectMode::kReadWrite);
  showing->Execute(L"UPDATE T SET ID = 'changed' WHERE ID = 'gone'");
  CHECK(showing->records_affected() == 1);
  showing->Execute(L"DELETE FROM T WHERE ID = 'changed'");
  CHECK(showing->records_affected() == 1);
  CHECK(Ids(*showing->Execute(L"SELECT ID FROM T WHERE ID = 'changed'")).size() == 1);
  const auto hiding = shop.Connect(L"Data Source=C:\\Data");
  CHECK(Ids(*hiding->Execute(L"SELECT ID FROM T WHERE ID = 'changed'")).empty());
}

TEST_CASE("the connection string is read without regard to case, blanks and quotes") {
  Shop shop;
  for (const wchar_t* text :
       {L"data source=c:\\data", L"  Data Source  =  C:\\Data  ;  ", L";;Data Source=C:\\Data;;",
        L"Data Source=\"C:\\Data\"", L"Data Source = 'C:\\Data' ; deleted = \"true\"",
        L"Data Source=C:\\Data\\", L"Data Source=C:\\Nowhere;DATA SOURCE=C:\\Data",
        L"provider=vfpoledb;sourcetype=DBF;data source=C:\\Data;mode=Read;"
        L"collating sequence=machine;deleted=false",
        L"Mode=Share Deny None|ReadWrite;Data Source=C:\\Data"}) {
    const auto connection = shop.Connect(text);
    CHECK(connection->Execute(L"SELECT * FROM T")->field_count() == 7);
  }
  shop.machine().PutFile(L"C:\\It's; here\\X.dbf", "");
  CHECK(shop.Connect(L"Data Source=\"C:\\It's; here\"")->state() == ObjectState::kOpen);
  CHECK(shop.Connect(L"Data Source='C:\\It''s; here'")->state() == ObjectState::kOpen);
}

TEST_CASE("a connection string that cannot be used says which part and what it can be") {
  Shop shop;
  struct Case {
    const wchar_t* text;
    const wchar_t* named;
  };
  for (const Case& wrong :
       {Case{L"", L"Data Source names no data folder"},
        Case{L"Data Source=;", L"Data Source names no data folder"},
        Case{L"Data Source=C:\\Data;Colour=red", L"no part \"Colour\""},
        Case{L"Data Source=C:\\Data;Deleted=PERHAPS", L"Deleted is \"PERHAPS\"; it can be TRUE"},
        Case{L"Data Source=C:\\Data;Collating Sequence=KLINGON", L"MACHINE or GENERAL"},
        Case{L"Data Source=C:\\Data;Provider=SQLOLEDB", L"it can be VFPOLEDB.1"},
        Case{L"Data Source=C:\\Data;SourceType=dbc", L"SourceType is \"dbc\""},
        Case{L"Data Source=C:\\Data;Mode=Share Exclusive", L"Share Deny None"},
        Case{L"Data Source=C:\\Data;Mode=", L"Mode is \"\""},
        Case{L"Data Source", L"\"Data Source\" has no value"},
        Case{L"Data Source=\"C:\\Data", L"lacks its second quote"},
        Case{L"Data Source=\"C:\\Data\" x", L"text behind the quoted value"}}) {
    const Error error = OpeningError(shop, wrong.text);
    INFO(error.what());
    CHECK(error.number() == error_number::kTableDamaged);
    CHECK(Contains(error, wrong.named));
  }
}

TEST_CASE("a data folder that does not exist is an error that names it") {
  Shop shop;
  const Error error = OpeningError(shop, L"Data Source=C:\\Nowhere\\At all");
  CHECK(error.number() == error_number::kTableDamaged);
  CHECK(Contains(error, L"C:\\Nowhere\\At all"));
  CHECK(Contains(error, L"does not exist"));
  shop.machine().PutFile(L"C:\\File", "x");
  CHECK(Contains(OpeningError(shop, L"Data Source=C:\\File"), L"C:\\File"));
}

TEST_CASE("a data folder that may not be listed is a matter of permission") {
  Shop shop;
  shop.machine().FailNext("Enumerate", 5);
  CHECK(OpeningError(shop, kString).number() == error_number::kNoPermission);
}

TEST_CASE("connection settings take effect at the next Open") {
  Shop shop;
  const auto connection = shop.Connect();
  connection->set_connection_string(L"Data Source=C:\\Nowhere");
  connection->set_cursor_location(CursorLocation::kServer);
  CHECK(connection->Execute(L"SELECT * FROM T")->record_count() == 3);
  connection->Close();
  CHECK(ErrorOf([&] { connection->Open(); }).number() == error_number::kTableDamaged);
  CHECK(connection->state() == ObjectState::kClosed);
}
