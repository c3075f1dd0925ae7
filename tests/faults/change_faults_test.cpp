// Statements that change a row, with every platform call of them failing once, failing from there
// on, and ending the process, with writes that fail cleanly and with writes that tear. Whatever
// strikes, the rows that were acknowledged are whole, and a change that is broken off is either
// there or not, or is told by the next change and by the check of the table.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/simulation/call_log.h"
#include "platform/simulation/simulation.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/table_check.h"
#include "tables/table_builder.h"

using namespace tdefault;
using platform::simulation::ProcessEnded;
using platform::simulation::Simulation;
using tables::Connection;
using tables::foxpro::CheckedTable;
using tables::foxpro::FindingKind;

namespace {

const std::array<std::wstring, 3> kFiles = {L"C:\\Data\\T.dbf", L"C:\\Data\\T.fpt",
                                            L"C:\\Data\\T.cdx"};
constexpr wchar_t kLongNote[] =
    L"a note that is longer than the sixty-four bytes of a block, so that it takes two of them";

using Row = std::vector<Value>;
using Rows = std::vector<Row>;
using Bytes3 = std::array<std::string, 3>;  // of kFiles

// A process on the machine: its connection to the data folder.
class Process {
 public:
  explicit Process(Simulation& machine)
      : access_(machine.platform().files, {.clock = machine.platform().clock, .milliseconds = 100},
                1252),
        connection_(access_.MakeConnection()) {
    connection_->set_connection_string(
        L"Data Source=C:\\Data;Mode=ReadWrite|Share Deny None;Collating Sequence=MACHINE;"
        L"Deleted=TRUE");
    connection_->set_mode(tables::ConnectMode::kReadWrite);
    connection_->Open();
  }

  Connection& connection() { return *connection_; }
  std::unique_ptr<tables::Recordset> NewRecordset() { return access_.MakeRecordset(); }
  void Execute(const std::wstring& statement) {
    static_cast<void>(connection_->Execute(statement));
  }
  Rows Read() {
    const auto found = connection_->Execute(L"SELECT * FROM T");
    Rows rows;
    for (; !found->eof(); found->MoveNext()) {
      Row& row = rows.emplace_back();
      for (std::int32_t column = 0; column < found->field_count(); ++column)
        row.push_back(found->field(column).value());
    }
    return rows;
  }

 private:
  tables::foxpro::EmbeddedTableAccess access_;
  std::unique_ptr<Connection> connection_;
};

tests::BuiltTable EmptyTable() {
  tests::TableSpec spec;
  spec.version = 0x31;
  spec.columns = {{.name = "ID", .type = 'C', .length = 6},
                  {.name = "NAME", .type = 'C', .length = 10},
                  {.name = "AMOUNT", .type = 'N', .length = 8, .decimals = 2},
                  {.name = "COUNT", .type = 'I'},
                  {.name = "NOTE", .type = 'M'},
                  {.name = "SEQ", .type = 'I', .next_number = 1, .number_step = 1}};
  spec.tags = {
      {.name = "ID", .expression = "id", .key_length = 6, .candidate = true},
      {.name = "NAME", .expression = "UPPER(name)", .key_length = 10},
      {.name = "LIVE", .expression = "amount", .condition = ".NOT.DELETED()", .key_length = 8}};
  return tests::BuildTable(spec);
}

std::wstring InsertOf(const std::wstring& id, const std::wstring& name, const std::wstring& note) {
  return L"INSERT INTO T (ID, NAME, AMOUNT, COUNT, NOTE) VALUES ('" + id + L"', '" + name +
         L"', 1.5, 1, '" + note + L"')";
}

void Put(Simulation& machine, const Bytes3& bytes) {
  for (std::size_t i = 0; i < kFiles.size(); ++i) machine.PutFile(kFiles[i], bytes[i]);
}

// The files of the table before every change: rows a, b and c with memo values.
const Bytes3& Before() {
  static const Bytes3 kBefore = [] {
    Simulation machine;
    const tests::BuiltTable files = EmptyTable();
    Put(machine, {files.table, files.memo, files.index});
    {
      Process process(machine);
      for (const wchar_t* name : {L"a", L"b", L"c"})
        process.Execute(
            InsertOf(name, std::wstring(name) + L" name", L"note of " + std::wstring(name)));
    }
    Bytes3 bytes;
    for (std::size_t i = 0; i < kFiles.size(); ++i) bytes[i] = *machine.Contents(kFiles[i]);
    return bytes;
  }();
  return kBefore;
}

// Keys and memo of row b through a recordset.
void EditRow(Process& process) {
  const auto rows = process.NewRecordset();
  rows->set_cursor_location(tables::CursorLocation::kServer);
  rows->Open(L"SELECT * FROM T", process.connection(), tables::CursorType::kKeyset,
             tables::LockType::kOptimistic);
  rows->MoveNext();
  rows->field(L"NAME").set_value(Value(std::wstring(L"edited")));
  rows->field(L"NOTE").set_value(Value(std::wstring(kLongNote)));
  rows->Update();
  rows->Close();
}

// What the process does, in a connection that it opens and closes.
struct Change {
  const char* name;
  std::function<void(Process&)> act;
  std::size_t row;  // that it changes, in record order
};

std::vector<Change> Changes() {
  const auto statement = [](std::wstring text) {
    return [text = std::move(text)](Process& process) { process.Execute(text); };
  };
  return {
      {"INSERT with memo and tags", statement(InsertOf(L"d", L"d name", kLongNote)), 3},
      {"UPDATE of keys and memo",
       statement(L"UPDATE T SET ID = 'x', NAME = 'other', AMOUNT = 7, NOTE = '" +
                 std::wstring(kLongNote) + L"' WHERE ID = 'b'"),
       1},
      {"UPDATE of the row alone", statement(L"UPDATE T SET COUNT = 5 WHERE ID = 'b'"), 1},
      {"UPDATE of the memo alone", statement(L"UPDATE T SET NOTE = 'new' WHERE ID = 'b'"), 1},
      {"DELETE", statement(L"DELETE FROM T WHERE ID = 'b'"), 1},
      {"edit of a recordset's row", EditRow, 1},
  };
}

enum class Fault { kOnce, kFromThere, kEnd };
enum class Breaking { kWhole, kTears };

const Row kContinued = {Value(std::wstring(L"f     ")), Value(std::wstring(L"f name    ")),
                        Value(1.5), Value(1), Value(std::wstring(L"f note"))};

// How the change went in the process that it struck.
struct Course {
  bool acknowledged = false;
  bool broken_off = false;
  bool continued = false;  // after an error, the same connection inserted a row
  std::optional<Error> error;
};

Course Strike(Simulation& machine, const Change& change) {
  Course course;
  try {
    Process process(machine);
    try {
      change.act(process);
      course.acknowledged = true;
    } catch (const Error& error) {
      course.error = error;
      course.broken_off = true;
      process.Execute(InsertOf(L"f", L"f name", L"f note"));
      course.continued = true;
    }
    process.connection().Close();
  } catch (const ProcessEnded&) {
  } catch (const Error& error) {
    if (!course.error) course.error = error;
  }
  return course;
}

CheckedTable Check(Simulation& machine) {
  return tables::foxpro::CheckTable(machine.platform().files, machine.platform().clock,
                                    {.name = L"T", .path = kFiles[0]}, {});
}

bool Mentions(const std::wstring& text, std::wstring_view part) {
  return text.find(part) != std::wstring::npos;
}

// The rows in record order without and with the change.
struct States {
  Rows before;
  Rows after;
  std::size_t calls = 0;  // that opening, changing and closing make
};

States StatesOf(const Change& change) {
  States states;
  Simulation machine;
  Put(machine, Before());
  states.before = Process(machine).Read();
  machine.Restart();
  const Course course = Strike(machine, change);
  states.calls = machine.call_count();
  machine.Restart();
  CHECK(course.acknowledged);
  CHECK_FALSE(course.error);
  states.after = Process(machine).Read();
  machine.Restart();
  const CheckedTable check = Check(machine);
  CHECK(check.problems == 0);
  CHECK(check.warnings == 0);
  CHECK(states.after != states.before);
  return states;
}

// Rows by their number that nobody gives twice.
std::map<std::int32_t, Row> ByNumber(const Rows& rows) {
  std::map<std::int32_t, Row> numbered;
  for (const Row& row : rows) {
    const bool fresh = numbered.emplace(std::get<std::int32_t>(row.back()), row).second;
    CHECK(fresh);
  }
  return numbered;
}

// The rows that the change does not touch are as they were; the other one is before or after it.
void CheckRows(Rows rows, const States& states, const Change& change, const Course& course,
               Breaking breaking) {
  static_cast<void>(ByNumber(rows));
  const auto continued = std::erase_if(rows, [](const Row& row) {
    return std::equal(kContinued.begin(), kContinued.end(), row.begin());
  });
  CHECK(continued == (course.continued ? 1 : 0));
  const auto now = ByNumber(rows);
  const auto before = ByNumber(states.before);
  const auto after = ByNumber(states.after);
  const auto changed = static_cast<std::int32_t>(change.row + 1);
  for (const auto& [number, row] : before) {
    if (number == changed) continue;
    REQUIRE(now.count(number) == 1);
    CHECK(now.at(number) == row);
  }
  const auto state = [&](const std::map<std::int32_t, Row>& of) {
    const auto found = of.find(changed);
    return found == of.end() ? Row() : found->second;
  };
  if (course.acknowledged) {
    CHECK(state(now) == state(after));
  } else if (breaking == Breaking::kWhole) {
    CHECK((state(now) == state(before) || state(now) == state(after)));
  }
  CHECK(now.size() <= states.before.size() + 1);
}

// What a later process finds: it changes other rows, or is told why not.
void CheckFollowing(Simulation& machine, const CheckedTable& found) {
  const std::uint64_t problems = found.problems;
  std::vector<Error> refusals;
  for (const std::wstring& statement :
       {InsertOf(L"e", L"e name", L"e note"),
        std::wstring(L"UPDATE T SET NAME = 'A', NOTE = 'a note that is new' WHERE ID = 'a'"),
        std::wstring(L"DELETE FROM T WHERE ID = 'c'")}) {
    try {
      Process process(machine);
      process.Execute(statement);
      process.connection().Close();
    } catch (const Error& error) {
      refusals.push_back(error);
    }
  }
  // An index that does not agree with the rows is never changed further.
  CHECK(refusals.empty() == (problems == 0));
  for (const Error& refusal : refusals) {
    INFO(refusal.what());
    CHECK(Mentions(refusal.description(), L"tag"));
    CHECK(Mentions(refusal.description(), L"REINDEX"));
  }
  machine.Restart();
  const CheckedTable later = Check(machine);
  CHECK(later.problems <= problems);
}

void CheckAfter(Simulation& machine, const Change& change, const States& states,
                const Course& course, Breaking breaking) {
  CHECK(machine.open_handles() == 0);
  machine.Restart();
  machine.SetDuringPause({});
  CheckRows(Process(machine).Read(), states, change, course, breaking);
  machine.Restart();
  const CheckedTable found = Check(machine);
  CHECK(found.has_header);
  for (const auto& finding : found.findings) {
    INFO(ToUtf8(finding.text));
    CHECK(Mentions(finding.text, L"C:\\Data\\T."));
    if (finding.kind == FindingKind::kProblem) CHECK_FALSE(course.acknowledged);
  }
  CheckFollowing(machine, found);
}

// A call that fails once leaves neither a table that refuses changes nor a mark that says so.
void CheckTakenBack(Simulation& machine, const Course& course, const std::string& index) {
  constexpr std::size_t kUnfinishedRecord = 480;
  CHECK(course.continued == course.broken_off);
  CHECK(index.substr(kUnfinishedRecord, 4) == std::string(4, '\0'));
  machine.Restart();
  CHECK(Check(machine).problems == 0);
}

// Every call of a change with every fault, and what the files are then; the same files are looked
// at once.
class Faults {
 public:
  explicit Faults(const Change& change) : change_(change), states_(StatesOf(change)) {}

  void StrikeEverywhere() {
    for (std::size_t call = 1; call <= states_.calls; ++call) {
      for (const Fault fault : {Fault::kOnce, Fault::kFromThere, Fault::kEnd}) {
        StrikeAt(call, fault, Breaking::kWhole);
        StrikeAt(call, fault, Breaking::kTears);
      }
    }
    CHECK(seen_.size() > 3);
  }

 private:
  void StrikeAt(std::size_t call, Fault fault, Breaking breaking) {
    Simulation machine;
    Put(machine, Before());
    if (breaking == Breaking::kTears) machine.TearWrites();
    constexpr std::uint32_t kCode = platform::system_code::kDiskFull;
    if (fault == Fault::kOnce) machine.FailCall(call, kCode);
    if (fault == Fault::kFromThere) machine.FailFrom(call, kCode);
    if (fault == Fault::kEnd) machine.EndProcessAt(call);
    const Course course = Strike(machine, change_);
    if (course.error) {
      INFO(course.error->what());
      CHECK(Mentions(course.error->description(), L"C:\\Data"));
    }
    const Outcome outcome = {
        *machine.Contents(kFiles[0]), *machine.Contents(kFiles[1]), *machine.Contents(kFiles[2]),
        std::to_string(static_cast<int>(breaking)) + (course.acknowledged ? "acknowledged" : "") +
            (course.continued ? "continued" : "") + (fault == Fault::kOnce ? "once" : "")};
    if (!seen_.insert(outcome).second) return;
    const std::string operation =
        machine.call_count() < call ? "" : machine.calls()[call - 1].operation;
    CAPTURE(call);
    CAPTURE(operation);
    CAPTURE(static_cast<int>(fault));
    CAPTURE(static_cast<int>(breaking));
    CheckAfter(machine, change_, states_, course, breaking);
    if (fault == Fault::kOnce) CheckTakenBack(machine, course, outcome[2]);
  }

  using Outcome = std::array<std::string, 4>;

  const Change& change_;
  const States states_;
  std::set<Outcome> seen_;
};

}  // namespace

TEST_CASE(
    "a change that breaks off at any call leaves whole rows and says what it left, and a call that "
    "fails once leaves a table that takes changes") {
  for (const Change& change : Changes()) {
    CAPTURE(change.name);
    Faults(change).StrikeEverywhere();
  }
}
