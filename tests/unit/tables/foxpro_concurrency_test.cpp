// Several programs change one table at the same time: who waits for whom, and that nobody's change
// is lost.
#include <doctest/doctest.h>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "table_bytes.h"
#include "table_shelf.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_access_choice.h"
#include "tables/table_builder.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;
using platform::simulation::HeldFile;
using platform::simulation::Simulation;

namespace {

constexpr std::uint64_t kHeaderLock = 0x7FFFFFFE;
constexpr std::uint64_t kIndexLock = 0x7FFFFFFE;

std::uint64_t RecordLock(std::uint32_t record) { return kHeaderLock - record; }

tests::TableSpec Spec(bool indexed) {
  tests::TableSpec spec;
  spec.version = 0x31;
  spec.columns = {{.name = "ID", .type = 'C', .length = 4},
                  {.name = "COUNT", .type = 'I'},
                  {.name = "NOTE", .type = 'M'},
                  {.name = "SEQ", .type = 'I', .next_number = 1, .number_step = 1}};
  if (indexed) {
    spec.tags = {{.name = "ID", .expression = "id", .key_length = 4, .candidate = true},
                 {.name = "COUNT", .expression = "count", .key_length = 4}};
  }
  return spec;
}

// A data folder with one table, and connections to it that do not know of each other, as those of
// two processes.
class Office {
 public:
  explicit Office(bool indexed = true) : access_(MakeTableAccess(machine_.platform())) {
    const tests::BuiltTable files = tests::BuildTable(Spec(indexed));
    machine_.PutFile(kTable, files.table);
    machine_.PutFile(kMemo, files.memo);
    if (indexed) machine_.PutFile(kIndex, files.index);
    first_ = Connect();
    second_ = Connect();
  }

  std::unique_ptr<Connection> Connect() {
    auto connection = access_->MakeConnection();
    connection->set_connection_string(
        L"Data Source=C:\\Data;Mode=ReadWrite|Share Deny None;Collating Sequence=MACHINE;"
        L"Deleted=TRUE");
    connection->set_mode(ConnectMode::kReadWrite);
    connection->Open();
    return connection;
  }

  Simulation& machine() { return machine_; }
  Connection& first() { return *first_; }
  Connection& second() { return *second_; }

  [[nodiscard]] HeldFile Workstation(const std::wstring& path) {
    return machine_.HoldOpen(path, platform::FileShare::kReadWrite,
                             platform::FileAccess::kReadWrite);
  }

  // What others do during the pause of that number of the wait that comes.
  void DuringPause(std::size_t number, std::function<void()> action) {
    const std::size_t due = machine_.pauses().size() + number;
    machine_.SetDuringPause([this, due, action = std::move(action)] {
      if (machine_.pauses().size() == due) action();
    });
  }

  // The table with a row "b" that a workstation is appending: counted and not yet written, and
  // then whole. Leaves the file whole.
  struct Append {
    std::string counted;
    std::string whole;
  };
  [[nodiscard]] Append HalfAppended();

  [[nodiscard]] std::uint32_t paused() const {
    std::uint32_t sum = 0;
    for (const auto& pause : machine_.pauses()) sum += pause.milliseconds;
    return sum;
  }

  // Rows, memo values and keys agree.
  [[nodiscard]] bool IsSound() {
    const auto check = foxpro::CheckTable(machine_.platform().files, machine_.platform().clock,
                                          {.name = L"T", .path = kTable}, {});
    for (const auto& finding : check.findings) MESSAGE(ToUtf8(finding.text));
    return check.has_header && check.findings.empty();
  }

 private:
  Simulation machine_;
  std::unique_ptr<TableAccess> access_;
  std::unique_ptr<Connection> first_;
  std::unique_ptr<Connection> second_;
};

std::int32_t Run(Connection& connection, const std::wstring& statement) {
  static_cast<void>(connection.Execute(statement));
  return connection.records_affected();
}

std::int32_t Insert(Connection& connection, const std::wstring& id) {
  return Run(connection,
             L"INSERT INTO T (ID, COUNT, NOTE) VALUES ('" + id + L"', 1, 'note of " + id + L"')");
}

// ID, count, note and number of every row, each in a line.
std::wstring Rows(Connection& connection) {
  std::wstring rows;
  const auto found = connection.Execute(L"SELECT * FROM T");
  for (; !found->eof(); found->MoveNext()) {
    rows += std::get<std::wstring>(found->field(L"ID").value()) +
            std::to_wstring(std::get<std::int32_t>(found->field(L"COUNT").value())) + L" " +
            std::get<std::wstring>(found->field(L"NOTE").value()) + L" " +
            std::to_wstring(std::get<std::int32_t>(found->field(L"SEQ").value())) + L"\n";
  }
  return rows;
}

// Appends a row as a FoxPro workstation does: under the header's lock, record before count. Without
// memo value and, like every statement of its own, without regard to ours.
void AppendAsWorkstation(Simulation& machine, const std::string& id, std::uint32_t number) {
  auto opened = machine.platform().files.Open(kTable, platform::FileAccess::kReadWrite,
                                              platform::FileShare::kReadWrite);
  REQUIRE(opened.ok());
  platform::File& file = *opened.value();
  REQUIRE(file.TryLock(kHeaderLock, 1).ok());
  std::array<std::uint8_t, 12> header{};
  REQUIRE(file.ReadAt(0, header).ok());
  const auto number_at = [&](std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    while (size-- > 0) value = value << 8U | header[offset + size];
    return value;
  };
  const std::uint64_t count = number_at(4, 4);
  const auto write = [&file](std::uint64_t offset, const std::string& bytes) {
    REQUIRE(
        file.WriteAt(offset, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()})
            .ok());
  };
  std::string record = " " + id + LittleEndian(9, 4) + LittleEndian(0, 4) + LittleEndian(number, 4);
  REQUIRE(record.size() == number_at(10, 2));
  // It gives the next automatic number itself; its place is in the descriptor of the last column.
  write(32 + 3 * 32 + 19, LittleEndian(number + 1, 4));
  write(number_at(8, 2) + count * record.size(), record + '\x1A');
  write(4, LittleEndian(count + 1, 4));
  REQUIRE(file.Unlock(kHeaderLock, 1).ok());
}

Office::Append Office::HalfAppended() {
  std::string counted = *machine_.Contents(kTable);
  AppendAsWorkstation(machine_, "b   ", 2);
  std::string whole = *machine_.Contents(kTable);
  counted.replace(0, 8, whole, 0, 8);
  return {std::move(counted), std::move(whole)};
}

}  // namespace

TEST_CASE("a row that another program holds is waited for and changed when it is given up") {
  Office office;
  Insert(office.first(), L"a");
  HeldFile other = office.Workstation(kTable);
  other.Lock(RecordLock(1), 1);
  office.DuringPause(3, [&] { other.Release(); });
  CHECK(Run(office.first(), L"UPDATE T SET COUNT = 2 WHERE ID = 'a'") == 1);
  CHECK(office.machine().pauses().size() == 3);
  CHECK(Rows(office.second()) == L"a   2 note of a 1\n");
  CHECK(office.IsSound());
}

TEST_CASE("a row that another program does not give up is an error that names table and record") {
  Office office;
  for (const wchar_t* id : {L"a", L"b", L"c"}) Insert(office.first(), id);
  HeldFile other = office.Workstation(kTable);
  other.Lock(RecordLock(2), 1);
  for (const wchar_t* statement :
       {L"UPDATE T SET COUNT = 2, NOTE = 'new' WHERE ID = 'b'", L"DELETE FROM T WHERE ID = 'b'"}) {
    const std::uint32_t before = office.paused();
    const Error error = ErrorOf([&] { Run(office.first(), statement); });
    INFO(error.what());
    CHECK(error.number() == error_number::kInUseByAnother);
    CHECK(Contains(error, L"in use by another"));
    CHECK(Contains(error, L"Table T, file C:\\Data\\T.dbf"));
    CHECK(Contains(error, L"record 2"));
    CHECK(office.paused() - before == 5000);
  }
  CHECK(Rows(office.second()) == L"a   1 note of a 1\nb   1 note of b 2\nc   1 note of c 3\n");
  CHECK(office.IsSound());
}

TEST_CASE("a statement that meets a row in use says how many rows it has changed before") {
  Office office;
  for (const wchar_t* id : {L"a", L"b", L"c"}) Insert(office.first(), id);
  HeldFile other = office.Workstation(kTable);
  other.Lock(RecordLock(3), 1);
  const Error error = ErrorOf([&] { Run(office.first(), L"UPDATE T SET COUNT = 7"); });
  INFO(error.what());
  CHECK(error.number() == error_number::kInUseByAnother);
  CHECK(Contains(error, L"record 3"));
  CHECK(Contains(error, L"2 rows were changed before"));
  CHECK(Rows(office.second()) == L"a   7 note of a 1\nb   7 note of b 2\nc   1 note of c 3\n");
  CHECK(office.IsSound());
}

TEST_CASE("the environment settles how long a row in use is waited for") {
  Office office;
  Insert(office.first(), L"a");
  HeldFile other = office.Workstation(kTable);
  other.Lock(RecordLock(1), 1);
  for (const std::uint32_t wait : {0U, 120U, 20000U}) {
    office.machine().SetVariable(L"TDEFAULT_LOCK_WAIT", std::to_wstring(wait));
    const auto connection = office.Connect();
    const std::uint32_t before = office.paused();
    CHECK(ErrorOf([&] { Run(*connection, L"UPDATE T SET COUNT = 2"); }).number() ==
          error_number::kInUseByAnother);
    CHECK(office.paused() - before == wait);
  }
}

TEST_CASE("a row that a workstation has counted and not yet written is looked for again") {
  for (const bool known : {true, false}) {
    CAPTURE(known);
    Office office(false);
    Insert(office.first(), L"a");
    const auto [counted, whole] = office.HalfAppended();
    office.machine().PutFile(kTable, counted);
    const auto connection = known ? nullptr : office.Connect();
    office.DuringPause(3, [&, whole = whole] { office.machine().PutFile(kTable, whole); });
    CHECK(Rows(known ? office.first() : *connection) == L"a   1 note of a 1\nb   9  2\n");
    CHECK(office.machine().pauses().size() == 3);
    CHECK(office.paused() == 10 + 20 + 40);
  }
}

TEST_CASE("a count that a workstation takes back while it is looked at again is no damage") {
  Office office(false);
  Insert(office.first(), L"a");
  const std::string before = *office.machine().Contents(kTable);
  office.machine().PutFile(kTable, office.HalfAppended().counted);
  office.DuringPause(1, [&] { office.machine().PutFile(kTable, before); });
  CHECK(Rows(office.first()) == L"a   1 note of a 1\n");
  CHECK(office.machine().pauses().size() == 1);
}

TEST_CASE("a count that stays ahead of its file is damage after a moment, naming the file") {
  struct Wait {
    const wchar_t* setting;
    std::uint32_t paused;
  };
  Office office(false);
  Insert(office.first(), L"a");
  const auto [counted, whole] = office.HalfAppended();
  for (const Wait& wait : {Wait{L"5000", 250}, Wait{L"30", 30}, Wait{L"0", 0}}) {
    CAPTURE(wait.paused);
    office.machine().SetVariable(L"TDEFAULT_LOCK_WAIT", wait.setting);
    office.machine().PutFile(kTable, whole);
    const auto fresh = office.Connect();
    const auto known = office.Connect();
    static_cast<void>(Rows(*known));
    office.machine().PutFile(kTable, counted);
    for (Connection* connection : {fresh.get(), known.get()}) {
      const std::uint32_t before = office.paused();
      const Error error = ErrorOf([&] { static_cast<void>(Rows(*connection)); });
      INFO(error.what());
      CHECK(error.number() == error_number::kTableDamaged);
      CHECK(Contains(error,
                     L"Table T, file C:\\Data\\T.dbf: the file is damaged, it is cut "
                     L"short and has room for 1 of its 2 records. Restore the file"));
      CHECK(office.paused() - before == wait.paused);
    }
  }
}

TEST_CASE("a row that another program changed meanwhile is computed anew from what it holds") {
  Office office;
  Insert(office.first(), L"a");
  HeldFile other = office.Workstation(kTable);
  other.Lock(RecordLock(1), 1);
  office.DuringPause(2, [&] {
    other.Release();
    Run(office.second(), L"UPDATE T SET COUNT = 41, NOTE = 'changed by the second' WHERE ID = 'a'");
  });
  CHECK(Run(office.first(), L"UPDATE T SET COUNT = COUNT + 1 WHERE ID = 'a'") == 1);
  CHECK(Rows(office.second()) == L"a   42 changed by the second 1\n");
  CHECK(office.IsSound());
}

TEST_CASE("a row that another program deleted or changed away meanwhile is left alone") {
  for (const wchar_t* meanwhile :
       {L"DELETE FROM T WHERE ID = 'a'", L"UPDATE T SET ID = 'z' WHERE ID = 'a'"}) {
    Office office;
    for (const wchar_t* id : {L"a", L"b"}) Insert(office.first(), id);
    HeldFile other = office.Workstation(kTable);
    other.Lock(RecordLock(1), 1);
    office.DuringPause(2, [&] {
      other.Release();
      Run(office.second(), meanwhile);
    });
    const std::wstring expected =
        std::wstring(meanwhile).find(L"DELETE") == 0 ? L"" : L"z   1 note of a 1\n";
    CHECK(Run(office.first(), L"UPDATE T SET COUNT = 5 WHERE ID = 'a'") == 0);
    CHECK(Rows(office.first()) == expected + L"b   1 note of b 2\n");
    CHECK(office.IsSound());
  }
}

TEST_CASE("connections that change one table in turns see each other's rows and keys") {
  Office office;
  for (const wchar_t* id : {L"a", L"c", L"e"}) {
    Insert(office.first(), id);
    Insert(office.second(), std::wstring(id) + L"2");
    const Error error = ErrorOf([&] { Insert(office.first(), std::wstring(id) + L"2"); });
    CHECK(error.number() == error_number::kIntegrityViolation);
    CHECK(Contains(error, L"ID"));
  }
  Run(office.second(),
      L"UPDATE T SET ID = 'x', COUNT = 3, NOTE = 'longer than before' WHERE ID = 'c'");
  Insert(office.first(), L"c");
  CHECK(ErrorOf([&] { Insert(office.second(), L"c"); }).number() ==
        error_number::kIntegrityViolation);
  const std::wstring rows = Rows(office.first());
  CHECK(rows == Rows(office.second()));
  CHECK(rows.find(L"x   3 longer than before") != std::wstring::npos);
  CHECK(std::count(rows.begin(), rows.end(), L'\n') == 7);
  CHECK(office.IsSound());
}

TEST_CASE("many changes of two connections in turns keep every key of both") {
  Office office;
  for (int i = 0; i < 150; ++i) {
    Connection& one = i % 2 == 0 ? office.first() : office.second();
    Insert(one, L"r" + std::to_wstring(i));
    Connection& other = i % 3 == 0 ? office.first() : office.second();
    Run(other, L"UPDATE T SET COUNT = COUNT + " + std::to_wstring(i) + L" WHERE ID = 'r" +
                   std::to_wstring(i / 2) + L"'");
  }
  CHECK(office.IsSound());
  CHECK(Rows(office.first()) == Rows(office.second()));
}

TEST_CASE("rows that a FoxPro workstation appends between our statements are kept") {
  Office office(false);
  Insert(office.first(), L"a");
  AppendAsWorkstation(office.machine(), "w1  ", 2);
  Insert(office.first(), L"b");
  AppendAsWorkstation(office.machine(), "w2  ", 4);
  Run(office.first(), L"UPDATE T SET COUNT = 2 WHERE ID = 'w1'");
  Insert(office.first(), L"c");
  const std::wstring expected =
      L"a   1 note of a 1\nw1  2  2\nb   1 note of b 3\nw2  9  4\n"
      L"c   1 note of c 5\n";
  CHECK(Rows(office.first()) == expected);
  CHECK(Rows(office.second()) == expected);
  CHECK(office.IsSound());
}

TEST_CASE("a row goes behind the one that a workstation appends while we wait for the header") {
  Office office(false);
  Insert(office.first(), L"a");
  HeldFile other = office.Workstation(kTable);
  other.Lock(kHeaderLock, 1);
  office.DuringPause(2, [&] {
    other.Release();
    AppendAsWorkstation(office.machine(), "w   ", 2);
  });
  CHECK(Insert(office.first(), L"b") == 1);
  CHECK(Rows(office.second()) == L"a   1 note of a 1\nw   9  2\nb   1 note of b 3\n");
  CHECK(office.IsSound());
}

TEST_CASE("a header, index or memo file in use for too long stops a change before it wrote") {
  struct Held {
    std::wstring path;
    std::uint64_t offset;
  };
  for (const Held& held :
       {Held{kTable, kHeaderLock}, Held{kIndex, kIndexLock}, Held{kMemo, kMemoLock}}) {
    Office office;
    Insert(office.first(), L"a");
    HeldFile other = office.Workstation(held.path);
    other.Lock(held.offset, 1);
    const Error error = ErrorOf([&] { Insert(office.first(), L"b"); });
    INFO(error.what());
    CHECK(error.number() == error_number::kInUseByAnother);
    CHECK(Contains(error, L"Table T"));
    CHECK(Contains(error, held.path));
    CHECK(Rows(office.first()) == L"a   1 note of a 1\n");
    CHECK(office.IsSound());
    other.Release();
    // Nothing stays locked, and the next change is made.
    CHECK(Insert(office.second(), L"b") == 1);
    CHECK(Insert(office.first(), L"c") == 1);
    CHECK(office.IsSound());
  }
}

TEST_CASE("while the index or the memo file is waited for, the header is free for workstations") {
  struct Held {
    std::wstring path;
    std::uint64_t offset;
    std::wstring statement;
  };
  const std::wstring insert = L"INSERT INTO T (ID, NOTE) VALUES ('b', 'n')";
  const std::wstring update = L"UPDATE T SET ID = 'b', NOTE = 'n' WHERE ID = 'a'";
  for (const Held& held : {Held{kIndex, kIndexLock, insert}, Held{kMemo, kMemoLock, insert},
                           Held{kIndex, kIndexLock, update}, Held{kMemo, kMemoLock, update}}) {
    CAPTURE(ToUtf8(held.path + L": " + held.statement));
    Office office;
    Insert(office.first(), L"a");
    HeldFile other = office.Workstation(held.path);
    other.Lock(held.offset, 1);
    bool was_free = false;
    office.DuringPause(2, [&] {
      const auto workstation = office.machine().platform().files.Open(
          kTable, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite);
      was_free = workstation.value()->TryLock(kHeaderLock, 1).ok();
      other.Release();
    });
    CHECK(Run(office.first(), held.statement) == 1);
    CHECK(was_free);
    CHECK(office.IsSound());
  }
}

TEST_CASE("a table that another program has locked as a whole takes no new rows") {
  for (const bool indexed : {true, false}) {
    Office office(indexed);
    Insert(office.first(), L"a");
    HeldFile other = office.Workstation(kTable);
    // From where each program begins, always to the byte before the header's.
    other.Lock(0x77FFFFFF, 0x07FFFFFF);
    const Error error = ErrorOf([&] { Insert(office.first(), L"b"); });
    CHECK(error.number() == error_number::kInUseByAnother);
    CHECK(Contains(error, L"record 2"));
    CHECK(Rows(office.first()) == L"a   1 note of a 1\n");
    // Meanwhile the header is free for workstations, which open the table and append to it.
    office.DuringPause(2, [&] {
      HeldFile workstation = office.Workstation(kTable);
      workstation.Lock(kHeaderLock, 1);
      workstation.Release();
      other.Release();
      if (!indexed) AppendAsWorkstation(office.machine(), "w   ", 2);
    });
    CHECK(Insert(office.first(), L"b") == 1);
    CHECK(Rows(office.first()) == (indexed ? L"a   1 note of a 1\nb   1 note of b 2\n"
                                           : L"a   1 note of a 1\nw   9  2\nb   1 note of b 3\n"));
    CHECK(office.IsSound());
  }
}

TEST_CASE("reading waits for nobody's locks") {
  Office office;
  Insert(office.first(), L"a");
  HeldFile other = office.Workstation(kTable);
  other.Lock(0x40000000, 0x3FFFFFFF);  // the whole table, header included
  HeldFile index = office.Workstation(kIndex);
  index.Lock(kIndexLock, 1);
  CHECK(Rows(office.second()) == L"a   1 note of a 1\n");
  CHECK(office.machine().pauses().empty());
}

TEST_CASE("a change of a row alone takes neither the header's lock nor the index's") {
  Office office;
  Insert(office.first(), L"a");
  HeldFile table = office.Workstation(kTable);
  table.Lock(kHeaderLock, 1);
  HeldFile memo = office.Workstation(kMemo);
  memo.Lock(kMemoLock, 1);
  CHECK(Run(office.first(), L"UPDATE T SET COUNT = 2 WHERE ID = 'a'") == 1);
  CHECK(Run(office.first(), L"DELETE FROM T WHERE ID = 'a'") == 1);
  CHECK(office.machine().pauses().empty());
}
