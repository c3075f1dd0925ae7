// The check of a table with its memo file and its index.
#include "tables/foxpro/table_check.h"

#include <doctest/doctest.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "base/text.h"
#include "table_bytes.h"
#include "table_shelf.h"
#include "unit/forwarding_files.h"

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::foxpro;
using namespace tdefault::tables::testing;

namespace {

constexpr wchar_t kPath[] = L"C:\\Data\\T.dbf";

CheckedTable Check(platform::simulation::Simulation& machine, const CheckSettings& settings = {}) {
  const CheckedTable checked =
      CheckTable(machine.platform().files, machine.platform().clock, {L"T", kPath}, settings);
  CHECK(machine.open_handles() == 0);
  return checked;
}

CheckedTable Check(const std::string& table, const std::string& memo = {}) {
  TableShelf shelf;
  shelf.Put(table, memo);
  return Check(shelf.machine());
}

// Another program that changes a table each time when it was opened for the third time: the check
// opens it first to remember how it looks, then to check it, and last to look again.
class ChangingFiles final : public tests::ForwardingFiles {
 public:
  ChangingFiles(platform::Files& files, std::function<void()> change)
      : ForwardingFiles(files), change_(std::move(change)) {}

  platform::SystemResult<std::unique_ptr<platform::File>> Open(const std::wstring& path,
                                                               platform::FileAccess access,
                                                               platform::FileShare share) override {
    if (path == kPath && ++opened_ % 3 == 0) change_();
    return ForwardingFiles::Open(path, access, share);
  }

 private:
  std::function<void()> change_;
  int opened_ = 0;
};

// Whether one finding of that kind holds all the texts.
bool Tells(const CheckedTable& checked, FindingKind kind, const std::vector<std::wstring>& texts) {
  for (const Finding& finding : checked.findings) {
    bool all = finding.kind == kind;
    for (const std::wstring& text : texts)
      all = all && finding.text.find(text) != std::wstring::npos;
    if (all) return true;
  }
  for (const Finding& finding : checked.findings) MESSAGE(ToUtf8(finding.text));
  return false;
}

TableBytes OneColumn(char type = 'C', std::size_t length = 5) {
  TableBytes table;
  table.Column("X", type, length);
  return table;
}

std::string FileBytes(const std::string& path) {
  std::ifstream file(std::string(TDEFAULT_SOURCE) + "/tests/fixtures/" + path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// One of Visual FoxPro's own tables as T.
void PutReal(platform::simulation::Simulation& machine, const std::string& name) {
  machine.PutFile(kPath, FileBytes("vfp-tables/" + name + ".dbf"));
  const std::string memo = FileBytes("vfp-tables/" + name + ".FPT");
  if (!memo.empty()) machine.PutFile(L"C:\\Data\\T.fpt", memo);
  machine.PutFile(L"C:\\Data\\T.cdx", FileBytes("vfp-tables/" + name + ".CDX"));
}

}  // namespace

TEST_CASE("a whole table has no findings and its counts") {
  MemoBytes memo;
  TableBytes table;
  table.Column("X", 'C', 3).Column("M", 'M', 4);
  table.Row({"abc", memo.Pointer("long")}).Row({"x", LittleEndian(0, 4)});
  table.Row({"old", memo.Pointer("other")}, '*');
  const CheckedTable checked = Check(table.Bytes(), memo.Bytes());
  CHECK(checked.findings.empty());
  CHECK(checked.has_header);
  CHECK(checked.records == 3);
  CHECK(checked.deleted == 1);
  CHECK(checked.has_memo);
  CHECK(checked.memo_values == 2);
  CHECK(checked.untold() == 0);
}

TEST_CASE("a table whose header cannot be read is one finding without counts") {
  for (const std::string& bytes : {std::string(), std::string(20, 'x'), std::string(400, 'x')}) {
    const CheckedTable checked = Check(bytes);
    CHECK_FALSE(checked.has_header);
    CHECK(checked.problems == 1);
    CHECK(Tells(checked, FindingKind::kProblem, {L"Table T", kPath}));
  }
}

TEST_CASE("a table that others hold alone is not checked, and that is told") {
  TableShelf shelf;
  shelf.Put(OneColumn().Row({"a"}).Bytes());
  const auto held = shelf.machine().HoldOpen(kPath);
  const CheckedTable checked = Check(shelf.machine());
  CHECK_FALSE(checked.has_header);
  CHECK(checked.problems == 0);
  CHECK(checked.unchecked == 1);
  CHECK(Tells(checked, FindingKind::kUnchecked, {L"Table T", kPath, L"in use"}));
}

TEST_CASE("a row that is counted and not yet written is looked for again before it is a problem") {
  TableShelf shelf;
  const std::string whole = OneColumn().Row({"a"}).Row({"b"}).Bytes();
  const std::string counted = OneColumn().Row({"a"}).DeclareRecords(2).Bytes();
  shelf.Put(counted);
  const CheckedTable damaged = Check(shelf.machine());
  CHECK(damaged.problems == 1);
  CHECK(Tells(damaged, FindingKind::kProblem, {L"Table T", kPath, L"1 of its 2 records"}));
  shelf.machine().SetDuringPause([&] { shelf.Put(whole); });
  const CheckedTable checked = Check(shelf.machine());
  CHECK(checked.findings.empty());
  CHECK(checked.records == 2);
}

TEST_CASE("bytes behind the last record are a warning, a single end mark or nothing is not") {
  const std::string whole = OneColumn().Row({"a"}).Bytes();
  CHECK(Check(whole).findings.empty());
  CHECK(Check(whole.substr(0, whole.size() - 1)).findings.empty());
  CHECK(Tells(Check(whole + "1234"), FindingKind::kWarning, {kPath, L"5 bytes"}));
}

TEST_CASE("what an insertion that was broken off leaves is a warning") {
  const std::string whole = OneColumn().Row({"a"}).Row({"b"}).DeclareRecords(1).Bytes();
  const CheckedTable checked = Check(whole);
  CHECK(checked.problems == 0);
  CHECK(checked.records == 1);
  CHECK(Tells(checked, FindingKind::kWarning, {L"looks like 1 more", L"broken off"}));
}

TEST_CASE("a record without a mark is named") {
  const CheckedTable checked = Check(OneColumn().Row({"a"}).Row({"b"}, 'x').Bytes());
  CHECK(checked.problems == 1);
  CHECK(Tells(checked, FindingKind::kProblem, {kPath, L"record 2", L"120"}));
}

TEST_CASE("every value that cannot be decoded is named by record and column") {
  TableBytes table;
  table.Column("D", 'D', 8).Column("N", 'N', 4).Column("L", 'L', 1);
  table.Row({"20260230", "1x", "?"}).Row({"20260228", "12", "X"});
  const CheckedTable checked = Check(table.Bytes());
  CHECK(checked.problems == 3);
  CHECK(Tells(checked, FindingKind::kProblem, {kPath, L"record 1", L"column D", L"date"}));
  CHECK(Tells(checked, FindingKind::kProblem, {kPath, L"record 1", L"column N", L"number"}));
  CHECK(Tells(checked, FindingKind::kProblem, {kPath, L"record 2", L"column L", L"logical"}));
}

TEST_CASE("of many findings the first are told and all are counted") {
  TableBytes table = OneColumn('D', 8);
  for (int i = 0; i < 100; ++i) table.Row({"notadate"});
  const CheckedTable checked = Check(table.Bytes());
  CHECK(checked.problems == 100);
  CHECK(checked.findings.size() == CheckSettings{}.findings_per_area);
  CHECK(checked.untold() == 100 - checked.findings.size());
}

TEST_CASE("a memo value outside its file is named with its block") {
  for (const std::uint32_t block : {3U, 5000U}) {
    MemoBytes memo;
    static_cast<void>(memo.Add("x"));
    const CheckedTable checked =
        Check(OneColumn('M', 4).Row({LittleEndian(block, 4)}).Bytes(), memo.Bytes());
    CHECK(checked.problems == 1);
    CHECK(Tells(checked, FindingKind::kProblem,
                {L"record 1", L"column X", L"T.fpt", L"block " + std::to_wstring(block)}));
  }
}

TEST_CASE("a memo value that reaches behind the end of its file is named") {
  MemoBytes memo;
  TableBytes table = OneColumn('M', 4);
  table.Row({memo.Pointer(std::string(500, 'x'))});
  const CheckedTable checked = Check(table.Bytes(), memo.Bytes().substr(0, 700));
  CHECK(Tells(checked, FindingKind::kProblem, {L"record 1", L"500 bytes", L"behind the end"}));
  CHECK(Tells(checked, FindingKind::kWarning, {L"T.fpt", L"counts 16 blocks", L"block 11"}));
}

TEST_CASE("a memo pointer into the middle of a value is told") {
  MemoBytes memo;
  const std::uint32_t block = memo.Add(std::string(500, 'x'));
  const CheckedTable checked =
      Check(OneColumn('M', 4).Row({LittleEndian(block + 1, 4)}).Bytes(), memo.Bytes());
  CHECK(Tells(checked, FindingKind::kProblem, {L"record 1", L"no value starts"}));
}

TEST_CASE("memo values that share blocks name both rows") {
  MemoBytes memo;
  const std::string pointer = memo.Pointer("shared");
  TableBytes table = OneColumn('M', 4);
  table.Row({pointer}).Row({LittleEndian(0, 4)}).Row({pointer});
  const CheckedTable checked = Check(table.Bytes(), memo.Bytes());
  CHECK(checked.problems == 1);
  CHECK(Tells(checked, FindingKind::kProblem, {L"record 3", L"record 1, column X", L"block 8"}));
}

TEST_CASE("a memo value in blocks that count as free is told") {
  MemoBytes memo;
  const std::string pointer = memo.Pointer("value");
  std::string bytes = memo.Bytes();
  bytes.replace(0, 4, BigEndian(8, 4));
  const CheckedTable checked = Check(OneColumn('M', 4).Row({pointer}).Bytes(), bytes);
  CHECK(Tells(checked, FindingKind::kProblem, {L"record 1", L"counts as free"}));
}

TEST_CASE("blocks behind the next free one that no row uses are a warning") {
  MemoBytes memo;
  const std::string pointer = memo.Pointer("value");
  static_cast<void>(memo.Add("left over"));
  std::string bytes = memo.Bytes();
  bytes.replace(0, 4, BigEndian(9, 4));
  const CheckedTable checked = Check(OneColumn('M', 4).Row({pointer}).Bytes(), bytes);
  CHECK(checked.problems == 0);
  CHECK(Tells(checked, FindingKind::kWarning, {L"T.fpt", L"unused", L"broken off"}));
}

TEST_CASE("a memo file that is missing is told, and the rows are checked without it") {
  TableBytes table;
  table.Column("M", 'M', 4).Column("D", 'D', 8).Row({LittleEndian(8, 4), "notadate"});
  const CheckedTable checked = Check(table.Bytes());
  CHECK(checked.problems == 2);
  CHECK(checked.has_memo);
  CHECK_FALSE(checked.memo_values.has_value());
  CHECK(Tells(checked, FindingKind::kProblem, {kPath, L"T.fpt", L"does not exist"}));
  CHECK(Tells(checked, FindingKind::kProblem, {L"record 1, column D"}));
}

TEST_CASE("an index file that the header promises and that is missing is told") {
  std::string bytes = OneColumn().Row({"a"}).Bytes();
  bytes[28] = 1;
  CHECK(Tells(Check(bytes), FindingKind::kProblem, {L"T.cdx", L"does not exist"}));
}

TEST_CASE("an index file that the header does not know is a warning") {
  TableShelf shelf;
  shelf.Put(OneColumn().Row({"a"}).Bytes());
  shelf.machine().PutFile(L"C:\\Data\\T.cdx", std::string(3072, '\0'));
  CHECK(Tells(Check(shelf.machine()), FindingKind::kWarning, {L"T.cdx", L"header does not say"}));
}

TEST_CASE("the check opens files for reading only and leaves every byte") {
  platform::simulation::Simulation machine;
  PutReal(machine, "calls");
  const std::vector<std::wstring> paths = machine.AllFiles();
  REQUIRE(paths.size() == 3);
  std::vector<std::optional<std::string>> before;
  std::vector<platform::simulation::HeldFile> readers;  // which let nobody write
  for (const std::wstring& path : paths) {
    before.push_back(machine.Contents(path));
    readers.push_back(machine.HoldOpen(path, platform::FileShare::kRead));
  }
  CHECK(Check(machine).unchecked == 0);
  for (const auto& call : machine.calls()) {
    CAPTURE(call.operation);
    CHECK((call.operation == "Open" || call.operation == "ReadAt" || call.operation == "Size"));
  }
  for (std::size_t i = 0; i < paths.size(); ++i) CHECK(machine.Contents(paths[i]) == before[i]);
}

TEST_CASE("a table that others change meanwhile is checked again") {
  platform::simulation::Simulation machine;
  const std::string damaged = OneColumn('D', 8).Row({"notadate"}).Bytes();
  const std::string whole = OneColumn('D', 8).Row({"20260101"}).Row({"20260102"}).Bytes();
  machine.PutFile(kPath, damaged);
  CHECK(Check(machine).problems == 1);
  CHECK(machine.pauses().empty());
  ChangingFiles changing(machine.platform().files, [&] { machine.PutFile(kPath, whole); });
  const CheckedTable checked = CheckTable(changing, machine.platform().clock, {L"T", kPath}, {});
  CHECK(checked.findings.empty());
  CHECK(checked.records == 2);
  CHECK(machine.pauses().size() == 1);
}

TEST_CASE("a table that others never leave alone is told with its findings") {
  platform::simulation::Simulation machine;
  std::uint32_t rows = 1;
  const auto damage = [&] {
    TableBytes table = OneColumn('D', 8);
    for (std::uint32_t i = 0; i < rows; ++i) table.Row({"notadate"});
    machine.PutFile(kPath, table.Bytes());
    ++rows;
  };
  damage();
  ChangingFiles changing(machine.platform().files, damage);
  const CheckedTable checked = CheckTable(changing, machine.platform().clock, {L"T", kPath}, {});
  CHECK(checked.problems > 0);
  CHECK(Tells(checked, FindingKind::kWarning, {kPath, L"changed by others", L"Check it again"}));
}

TEST_CASE("the tables of a folder are found by their files, in alphabetical order") {
  platform::simulation::Simulation machine;
  for (const wchar_t* name : {L"need.DBF", L"Defaults.dbf", L"notes.txt", L"x.dbf.bak", L".dbf"})
    machine.PutFile(std::wstring(L"C:\\Shop\\") + name, "x");
  machine.AddFolder(L"C:\\Shop\\folder.dbf");
  const auto tables = FindTables(machine.platform().files, L"C:\\Shop");
  REQUIRE(tables.size() == 2);
  CHECK(tables[0].name == L"Defaults");
  CHECK(tables[1].name == L"need");
  CHECK(tables[1].path == L"C:\\Shop\\need.DBF");
  CHECK(ErrorOf([&] {
          static_cast<void>(FindTables(machine.platform().files, L"C:\\Nowhere"));
        }).number() == error_number::kTableDamaged);
}

TEST_CASE("tables of Visual FoxPro are whole, with the keys of every tag") {
  struct Real {
    const char* name;
    std::uint32_t records;
    std::size_t tags;
  };
  for (const Real& real : {Real{"calls", 16, 2}, Real{"setup", 3, 1}, Real{"types", 2, 1}}) {
    CAPTURE(real.name);
    platform::simulation::Simulation machine;
    PutReal(machine, real.name);
    const CheckedTable checked = Check(machine);
    CHECK(checked.problems == 0);
    CHECK(checked.unchecked == 0);
    CHECK(checked.records == real.records);
    REQUIRE(checked.tags.has_value());
    REQUIRE(checked.tags->size() == real.tags);
    for (const CheckedTag& tag : *checked.tags) CHECK(tag.keys == real.records);
  }
}

// The table types with another key in its first row than in its index.
std::string WithOtherKey() {
  std::string bytes = FileBytes("vfp-tables/types.dbf");
  const std::size_t header =
      static_cast<unsigned char>(bytes[8]) | static_cast<std::size_t>(bytes[9]) << 8U;
  bytes[header + 1] = static_cast<char>(bytes[header + 1] + 7);
  return bytes;
}

TEST_CASE("a key that is not its row's is named by tag and record") {
  platform::simulation::Simulation machine;
  PutReal(machine, "types");
  machine.PutFile(kPath, WithOtherKey());
  const CheckedTable checked = Check(machine);
  CHECK(checked.problems == 1);
  CHECK(Tells(checked, FindingKind::kProblem,
              {L"T.cdx", L"tag TYPE_ID", L"record 1", L"USE T EXCLUSIVE, then REINDEX"}));
}

TEST_CASE("a change that was broken off is a warning while index and rows agree, else a problem") {
  platform::simulation::Simulation machine;
  PutReal(machine, "types");
  std::string index = FileBytes("vfp-tables/types.CDX");
  index.replace(480, 4, LittleEndian(2, 4));
  machine.PutFile(L"C:\\Data\\T.cdx", index);
  CheckedTable checked = Check(machine);
  CHECK(checked.problems == 0);
  CHECK(Tells(checked, FindingKind::kWarning, {L"T.cdx", L"change of record 2", L"broken off"}));
  machine.PutFile(kPath, WithOtherKey());
  checked = Check(machine);
  CHECK(
      Tells(checked, FindingKind::kProblem, {L"T.cdx", L"change of record 2", L"behind the rows"}));
}

// Visual FoxPro's table setup with its tag limited to the rows whose names begin with a letter that
// all three begin with, as SET EXACT OFF has it.
void PutConditional(platform::simulation::Simulation& machine) {
  PutReal(machine, "setup");
  constexpr std::size_t kTag = 0x600;
  const std::string condition("key_name=\"C\"\0", 13);
  std::string index = FileBytes("vfp-tables/setup.CDX");
  index[kTag + 14] = static_cast<char>(index[kTag + 14] | 8);
  index.replace(kTag + 504, 2, LittleEndian(9, 2));  // behind the key text
  index.replace(kTag + 506, 2, LittleEndian(condition.size(), 2));
  index.replace(kTag + 512 + 9, condition.size(), condition);
  machine.PutFile(L"C:\\Data\\T.cdx", index);
}

TEST_CASE("rows of which SET EXACT decides are told once, as not checked, with number and reason") {
  platform::simulation::Simulation machine;
  PutConditional(machine);
  CheckedTable checked = Check(machine);
  CHECK(checked.problems == 0);
  CHECK(checked.warnings == 0);
  CHECK(checked.unchecked == 1);
  CHECK(Tells(checked, FindingKind::kUnchecked,
              {L"T.cdx", L"tag KEY_NAME", L"3 rows", L"record 1", L"depends on SET EXACT"}));
  std::string index = machine.Contents(L"C:\\Data\\T.cdx").value();
  machine.PutFile(L"C:\\Data\\T.cdx", index.replace(480, 4, LittleEndian(2, 4)));
  checked = Check(machine);
  CHECK(checked.problems == 0);
  CHECK(checked.unchecked == 1);
  CHECK(Tells(checked, FindingKind::kWarning,
              {L"change of record 2", L"all keys that could be compared agree"}));
}

// Visual FoxPro's table contacts with CONTACT_ID and CONTACT_TY renamed, so that the first ten
// characters of contact_type_id, which is the second one, name the first one.
void PutClashingNames(platform::simulation::Simulation& machine, std::string table) {
  PutReal(machine, "contacts");
  table.replace(0x20, 10, "CONTACT_TY");
  table.replace(0x2A0, 10, "CONTACT_T2");
  machine.PutFile(kPath, table);
  std::string index = FileBytes("vfp-tables/contacts.CDX");
  index.replace(0x600 + 512, 10, "contact_ty");
  machine.PutFile(L"C:\\Data\\T.cdx", index);
}

TEST_CASE("a long name of a container's table is compared with the column that has its keys") {
  platform::simulation::Simulation machine;
  std::string table = FileBytes("vfp-tables/contacts.dbf");
  PutClashingNames(machine, table);
  CheckedTable checked = Check(machine);
  CHECK(checked.problems == 0);
  CHECK(checked.unchecked == 0);
  // The tag CONTACT_ID has a short name.
  table[1224 + 1] = 77;
  PutClashingNames(machine, table);
  checked = Check(machine);
  CHECK(checked.problems == 1);
  CHECK(Tells(checked, FindingKind::kProblem, {L"tag CONTACT_ID", L"record 1"}));
}

TEST_CASE("a container's tables are compared under long names that can be told") {
  platform::simulation::Simulation machine;
  PutReal(machine, "contacts");
  CHECK(Check(machine).findings.empty());
}
