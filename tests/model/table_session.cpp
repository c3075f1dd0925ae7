#include "model/table_session.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "base/error.h"
#include "base/text.h"
#include "model/dump.h"
#include "tables/foxpro/table_check.h"

namespace tdefault::tests::model {
namespace {

using tables::Recordset;

constexpr wchar_t kTable[] = L"C:\\Data\\T.dbf";
constexpr wchar_t kMemo[] = L"C:\\Data\\T.fpt";
constexpr wchar_t kIndex[] = L"C:\\Data\\T.cdx";

[[noreturn]] void Fail(const std::string& text) { throw std::runtime_error(text); }

std::wstring ConnectionText(bool folds, bool with_deleted) {
  std::wstring text = L"Provider=VFPOLEDB.1;Data Source=C:\\Data;Collating Sequence=";
  text += folds ? L"GENERAL" : L"MACHINE";
  return text + (with_deleted ? L";Deleted=FALSE;" : L";Deleted=TRUE;");
}

std::string ShowRow(const std::vector<Value>& values) {
  std::string text;
  for (const Value& value : values) text += (text.empty() ? "" : ", ") + Show(value);
  return text;
}

}  // namespace

TableSession::TableSession(std::uint64_t seed)
    : seed_(seed),
      random_(seed),
      made_(MakeTable(random_)),
      access_(machine_.platform().files, {machine_.platform().clock, 1000}, 1252) {
  const BuiltTable files = BuildTable(made_.table.spec());
  machine_.PutFile(kTable, files.table);
  if (!files.memo.empty()) machine_.PutFile(kMemo, files.memo);
  if (!files.index.empty()) machine_.PutFile(kIndex, files.index);
  wanted_steps_ = std::min<std::size_t>(made_.habits.wanted_rows * 4, 1800) + 60;
  Connect();
}

void TableSession::Connect() {
  if (connection_) connection_->Close();
  connection_ = access_.MakeConnection();
  connection_->set_connection_string(ConnectionText(made_.table.folds(), false));
  connection_->set_mode(tables::ConnectMode::kReadWrite);
  connection_->Open();
}

void TableSession::RunStep() {
  if (random_.OneIn(25)) Connect();
  ++steps_;
  last_ = MakeStep(random_, made_);
  const Outcome got = Perform(last_);
  const Outcome expected = Apply(last_, made_.table);
  if (got.error != expected.error || got.affected != expected.affected) {
    std::ostringstream text;
    text << "the engine reports error " << got.error << " and " << got.affected
         << " rows, the model error " << expected.error << " and " << expected.affected << " rows";
    Fail(text.str());
  }
  if (expected.error != 0) ++refused_;
  if (expected.error == error_number::kIntegrityViolation) ++duplicates_;
  if (last_.kind == StepKind::kInsert && expected.error == 0) TakeNumbers();
  const std::size_t rows = made_.table.rows().size();
  if (random_.OneIn(rows / 60 + 1)) CompareRows(false, nullptr, L"SELECT * FROM T");
  if (last_.kind == StepKind::kSelect) CompareRows(false, last_.condition, last_.statement);
  if (random_.OneIn(rows / 10 + 10)) CheckFiles();
}

void TableSession::CheckAll() {
  CompareRows(false, nullptr, L"SELECT * FROM T");
  CompareRows(true, nullptr, L"SELECT * FROM T");
  CompareMarks();
  connection_->Close();
  CheckFiles();
  if (machine_.open_handles() != 0) Fail("a file is still open");
}

Outcome TableSession::Perform(const Step& step) {
  try {
    if (step.kind == StepKind::kEdit) return PerformEdit(step);
    connection_->Execute(step.statement);
    return {.affected = connection_->records_affected()};
  } catch (const Error& error) {
    return {.error = error.number()};
  }
}

Outcome TableSession::PerformEdit(const Step& step) {
  const std::unique_ptr<Recordset> rows = access_.MakeRecordset();
  rows->Open(step.statement, *connection_, tables::CursorType::kKeyset,
             tables::LockType::kPessimistic);
  for (std::size_t i = 0; i < step.position && !rows->eof(); ++i) rows->MoveNext();
  if (rows->eof()) {
    rows->Close();
    return {};
  }
  try {
    for (const Assignment& assignment : step.values)
      rows->field(Widened(made_.table.names()[assignment.column]))
          .set_value(assignment.value->literal);
    if (!step.cancelled) rows->Update();
  } catch (const Error&) {
    rows->CancelUpdate();
    rows->Close();
    throw;
  }
  if (step.cancelled) rows->CancelUpdate();
  rows->Close();
  return {.affected = step.cancelled ? 0 : 1};
}

std::vector<std::vector<Value>> TableSession::Read(const std::wstring& query, bool with_deleted) {
  std::unique_ptr<tables::Connection> other;
  if (with_deleted) {
    other = access_.MakeConnection();
    other->set_connection_string(ConnectionText(made_.table.folds(), true));
    other->Open();
  }
  const std::unique_ptr<Recordset> rows = (other ? other : connection_)->Execute(query);
  std::vector<std::vector<Value>> all;
  for (; !rows->eof(); rows->MoveNext()) {
    std::vector<Value>& row = all.emplace_back();
    for (std::int32_t i = 0; i < rows->field_count(); ++i) row.push_back(rows->field(i).value());
  }
  return all;
}

void TableSession::TakeNumbers() {
  const std::vector<ColumnSpec>& columns = made_.table.spec().columns;
  if (std::none_of(columns.begin(), columns.end(),
                   [](const ColumnSpec& column) { return column.number_step != 0; }))
    return;
  const auto rows = Read(L"SELECT * FROM T", false);
  if (rows.empty() || !made_.table.TakeNumbers(rows.back()))
    Fail("an automatic number was given twice or is no step of its column");
}

void TableSession::CompareRows(bool with_deleted, const ExpressionPointer& condition,
                               const std::wstring& query) {
  std::vector<std::size_t> positions = made_.table.Matching(condition);
  if (with_deleted) {
    positions.resize(made_.table.rows().size());
    for (std::size_t i = 0; i < positions.size(); ++i) positions[i] = i;
  }
  const auto got = Read(query, with_deleted);
  for (std::size_t i = 0; i < std::min(got.size(), positions.size()); ++i) {
    const std::vector<Value>& expected = made_.table.rows()[positions[i]].values;
    if (got[i] == expected) continue;
    Fail("row " + std::to_string(i + 1) + " of " + ToUtf8(query) + "\n  is      " +
         ShowRow(got[i]) + "\n  must be " + ShowRow(expected));
  }
  if (got.size() != positions.size()) {
    Fail(ToUtf8(query) + " gives " + std::to_string(got.size()) + " rows, not " +
         std::to_string(positions.size()));
  }
}

// Which rows are deleted, by the bytes of the file.
void TableSession::CompareMarks() {
  const std::string bytes = machine_.Contents(kTable).value_or("");
  const auto byte = [&bytes](std::size_t at) {
    return static_cast<std::size_t>(static_cast<unsigned char>(bytes.at(at)));
  };
  const std::size_t header = byte(8) | byte(9) << 8U;
  const std::size_t length = byte(10) | byte(11) << 8U;
  const std::vector<Row>& rows = made_.table.rows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const char mark = rows[i].deleted ? '*' : ' ';
    if (bytes.at(header + i * length) != mark)
      Fail("record " + std::to_string(i + 1) + " has the wrong mark");
  }
}

void TableSession::CheckFiles() {
  const auto checked = tables::foxpro::CheckTable(machine_.platform().files,
                                                  machine_.platform().clock, {L"T", kTable}, {});
  // Values that are replaced leave unused blocks behind.
  std::string text;
  for (const auto& finding : checked.findings)
    if (finding.text.find(L"PACK MEMO") == std::wstring::npos)
      text += "\n  " + ToUtf8(finding.text);
  if (!text.empty() || checked.problems + checked.unchecked != 0)
    Fail("the check of the files finds" + text);
  const std::vector<Row>& rows = made_.table.rows();
  const auto deleted =
      std::count_if(rows.begin(), rows.end(), [](const Row& r) { return r.deleted; });
  if (checked.records != rows.size() || checked.deleted != static_cast<std::uint32_t>(deleted) ||
      (checked.tags ? checked.tags->size() : 0) != made_.table.tags().size())
    Fail("the check of the files counts other records or tags than the model");
}

std::string TableSession::last_step() const {
  std::string text = ToUtf8(last_.statement);
  if (last_.kind != StepKind::kEdit) return text;
  text = "edit row " + std::to_string(last_.position + 1) + " of " + text + ":";
  for (const Assignment& assignment : last_.values)
    text += " " + made_.table.names()[assignment.column] + " = " + Show(assignment.value->literal);
  return text + (last_.cancelled ? ", cancelled" : "");
}

std::string TableSession::Describe() const {
  std::ostringstream text;
  const TableSpec& spec = made_.table.spec();
  text << "seed " << seed_ << ", version " << std::hex << static_cast<int>(spec.version) << std::dec
       << (made_.table.folds() ? ", GENERAL" : ", MACHINE") << ", memo blocks of "
       << spec.memo_block_size << "\n";
  for (const ColumnSpec& column : spec.columns) {
    text << "  " << column.name << " " << column.type << "(" << static_cast<int>(column.length)
         << "," << static_cast<int>(column.decimals) << ")" << (column.nullable ? " null" : "")
         << (column.number_step != 0 ? " automatic" : "") << "\n";
  }
  for (const TagSpec& tag : spec.tags) {
    text << "  tag " << tag.name << " " << tag.key_length << " " << tag.expression
         << (tag.condition.empty() ? "" : " FOR " + tag.condition) << (tag.unique ? " unique" : "")
         << (tag.candidate ? " candidate" : "") << (tag.descending ? " descending" : "")
         << (tag.nullable ? " nullable" : "") << (tag.general ? " general" : "") << "\n";
  }
  return text.str();
}

std::vector<std::pair<std::string, std::string>> TableSession::Files() const {
  const std::string name = "t" + std::to_string(seed_);
  std::vector<std::pair<std::string, std::string>> files;
  files.emplace_back(name + ".dbf", machine_.Contents(kTable).value_or(""));
  if (const auto memo = machine_.Contents(kMemo)) files.emplace_back(name + ".fpt", *memo);
  if (const auto index = machine_.Contents(kIndex)) files.emplace_back(name + ".cdx", *index);
  files.emplace_back(name + ".rows", DumpRows(name, made_.table));
  files.emplace_back(name + ".order", DumpOrder(made_.table));
  return files;
}

}  // namespace tdefault::tests::model
