#include "tables/access_store.h"

#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "sql/memory_store.h"
#include "tables/script_tables.h"

namespace tdefault::tests {
namespace {

using tables::CursorLocation;
using tables::CursorType;
using tables::LockType;
using tables::ObjectState;

[[noreturn]] void Refuse(const std::wstring& text) {
  throw std::invalid_argument("not well-formed: " + ToUtf8(text));
}

// Takes the first word off.
std::wstring TakeWord(std::wstring& text) {
  const std::size_t blank = text.find(L' ');
  std::wstring word = text.substr(0, blank);
  text = blank == std::wstring::npos ? L"" : std::wstring(TrimBlanks(text.substr(blank + 1)));
  return word;
}

CursorType TypeOf(const std::wstring& word) {
  if (word == L"forward") return CursorType::kForwardOnly;
  if (word == L"keyset") return CursorType::kKeyset;
  if (word == L"dynamic") return CursorType::kDynamic;
  if (word == L"static") return CursorType::kStatic;
  Refuse(word);
}

LockType LockOf(const std::wstring& word) {
  if (word == L"readonly") return LockType::kReadOnly;
  if (word == L"pessimistic") return LockType::kPessimistic;
  if (word == L"optimistic") return LockType::kOptimistic;
  Refuse(word);
}

// A value as scripts write it, whatever column it is for.
Value ReadAnyValue(const std::wstring& text) {
  const auto as = [&text](char type) { return ReadValue(text, MakeColumn(L"X", type)); };
  if (text.starts_with(L"'")) return as('C');
  if (text == L".T." || text == L".F.") return as('L');
  if (text.starts_with(L"0x")) return as('W');
  if (text == L"{}") return as('D');
  if (text.find(L':') != std::wstring::npos) return as('T');
  if (text.find(L'-') != std::wstring::npos && text.find(L'-') != 0) return as('D');
  return text.find(L'.') == std::wstring::npos ? as('I') : as('N');
}

std::wstring RowOf(tables::Recordset& recordset) {
  std::vector<Value> row;
  for (std::int32_t i = 0; i < recordset.field_count(); ++i)
    row.push_back(recordset.field(i).value());
  return ShowRow(row);
}

std::wstring PositionOf(tables::Recordset& recordset) {
  if (recordset.bof()) return recordset.eof() ? L"bof eof" : L"bof";
  return recordset.eof() ? L"eof" : RowOf(recordset);
}

std::wstring RestOf(tables::Recordset& recordset, const std::wstring& column) {
  std::wstring rows;
  for (; !recordset.eof(); recordset.MoveNext()) {
    if (!rows.empty()) rows += L" ; ";
    rows += column.empty() ? RowOf(recordset) : ShowValue(recordset.field(column).value());
  }
  return rows.empty() ? L"none" : rows;
}

std::wstring SetField(tables::Recordset& recordset, std::wstring rest) {
  tables::Field& field = recordset.field(TakeWord(rest));
  field.set_value(ReadAnyValue(rest));
  return ShowValue(field.value());
}

using Act = std::wstring (*)(tables::Recordset& recordset, const std::wstring& rest);

struct Command {
  std::wstring_view name;
  Act act;
};

// What is asked of an open recordset.
constexpr std::array kCommands = {
    Command{L"show", [](auto& on, const auto&) { return PositionOf(on); }},
    Command{L"first", [](auto& on, const auto&) { return on.MoveFirst(), PositionOf(on); }},
    Command{L"last", [](auto& on, const auto&) { return on.MoveLast(), PositionOf(on); }},
    Command{L"next", [](auto& on, const auto&) { return on.MoveNext(), PositionOf(on); }},
    Command{L"previous", [](auto& on, const auto&) { return on.MovePrevious(), PositionOf(on); }},
    Command{L"rest", [](auto& on, const auto& rest) { return RestOf(on, rest); }},
    Command{L"filter",
            [](auto& on, const auto& rest) { return on.set_filter(rest), PositionOf(on); }},
    Command{L"find", [](auto& on, const auto& rest) { return on.Find(rest), PositionOf(on); }},
    Command{L"count", [](auto& on, const auto&) { return std::to_wstring(on.record_count()); }},
    Command{L"status", [](auto& on, const auto&) { return std::to_wstring(on.status()); }},
    Command{L"state",
            [](auto& on, const auto&) {
              return std::wstring(on.state() == ObjectState::kOpen ? L"open" : L"closed");
            }},
    Command{L"field", [](auto& on, const auto& rest) { return ShowValue(on.field(rest).value()); }},
    Command{L"size",
            [](auto& on, const auto& rest) {
              tables::Field& field = on.field(rest);
              std::wstring size = std::to_wstring(field.defined_size());
              return size + L" " + std::to_wstring(field.actual_size());
            }},
    Command{L"bytes",
            [](auto& on, const auto& rest) { return ShowValue(Value(on.field(rest).bytes())); }},
    Command{L"set", [](auto& on, const auto& rest) { return SetField(on, rest); }},
    Command{L"update", [](auto& on, const auto&) { return on.Update(), std::wstring(L"ok"); }},
    Command{L"cancelupdate",
            [](auto& on, const auto&) { return on.CancelUpdate(), std::wstring(L"ok"); }},
    Command{L"cancel", [](auto& on, const auto&) { return on.Cancel(), std::wstring(L"ok"); }},
    Command{L"close", [](auto& on, const auto&) { return on.Close(), std::wstring(L"ok"); }},
};

}  // namespace

AccessStore::AccessStore(tables::TableAccess& access, CaseFolder& folder)
    : access_(access), folder_(folder) {}

AccessStore::~AccessStore() = default;

void AccessStore::AddTable(const TableText& table) {
  connection_.reset();
  const BuiltTable files = FilesOfTable(table);
  folder_.Put(table.name + L".dbf", files.table);
  const auto put = [&](const wchar_t* ending, const std::string& bytes) {
    if (bytes.empty())
      folder_.Remove(table.name + ending);
    else
      folder_.Put(table.name + ending, bytes);
  };
  put(L".fpt", files.memo);
  put(L".cdx", files.index);
  if (table.tags.empty()) return;
  for (std::size_t row = 0; row < table.rows.size(); ++row) Run(InsertStatement(table, row));
}

void AccessStore::SetCollation(const std::wstring& name) {
  if (name != L"machine" && name != L"general") Refuse(name);
  sequence_ = ToUpper(name);
  connection_.reset();
}

std::unique_ptr<tables::Connection> AccessStore::Connect(const std::wstring& settings) const {
  auto connection = access_.MakeConnection();
  auto location = CursorLocation::kServer;
  auto mode = tables::ConnectMode::kReadWrite;
  std::wstring deleted = L"TRUE";
  for (const std::wstring& word : Split(settings, L" ")) {
    if (word == L"client") {
      location = CursorLocation::kClient;
    } else if (word == L"read") {
      mode = tables::ConnectMode::kRead;
    } else if (word == L"write") {
      mode = tables::ConnectMode::kWrite;
    } else if (word == L"deleted") {
      deleted = L"FALSE";
    } else if (!word.empty() && word != L"server" && word != L"readwrite") {
      Refuse(settings);
    }
  }
  connection->set_connection_string(L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=" +
                                    folder_.path() +
                                    L";Mode=ReadWrite|Share Deny None;Collating Sequence=" +
                                    sequence_ + L";Deleted=" + deleted + L";");
  connection->set_cursor_location(location);
  connection->set_mode(mode);
  connection->Open();
  return connection;
}

ScriptStore::Result AccessStore::Run(const std::wstring& statement) {
  try {
    if (!connection_) connection_ = Connect(L"");
    const auto recordset = connection_->Execute(statement);
    Result result;
    if (recordset->state() == ObjectState::kClosed) {
      result.changed = connection_->records_affected();
      return result;
    }
    for (std::int32_t i = 0; i < recordset->field_count(); ++i) {
      const tables::Field& field = recordset->field(i);
      result.columns.push_back(field.name() + L" " + std::to_wstring(field.defined_size()));
    }
    for (; !recordset->eof(); recordset->MoveNext()) {
      std::vector<Value>& row = result.rows.emplace_back();
      for (std::int32_t i = 0; i < recordset->field_count(); ++i)
        row.push_back(recordset->field(i).value());
    }
    return result;
  } catch (const Error& error) {
    throw WithoutFolder(error);
  }
}

std::wstring AccessStore::ColumnShown(const std::wstring& described) const {
  std::wstring rest = described;
  const std::wstring name = TakeWord(rest);
  const std::wstring type = TakeWord(rest);
  const std::wstring length = TakeWord(rest);
  static const std::map<std::wstring, std::wstring> kSizes = {
      {L"M", L"2147483647"}, {L"G", L"2147483647"}, {L"P", L"2147483647"}, {L"W", L"2147483647"},
      {L"N", L"19"},         {L"F", L"19"},         {L"B", L"8"},          {L"I", L"4"},
      {L"Y", L"8"},          {L"L", L"2"},          {L"D", L"6"},          {L"T", L"16"}};
  const auto size = kSizes.find(type);
  return name + L" " + (size == kSizes.end() ? length : size->second);
}

std::wstring AccessStore::RunCommand(const std::wstring& command) {
  connection_.reset();
  std::wstring rest = command;
  std::wstring word = TakeWord(rest);
  std::wstring name;
  if (word.ends_with(L":")) {
    name = word;
    word = TakeWord(rest);
  }
  try {
    return RunIn(sessions_[name], word, rest);
  } catch (const Error& error) {
    throw WithoutFolder(error);
  }
}

std::wstring AccessStore::RunIn(Session& session, const std::wstring& command,
                                const std::wstring& rest) {
  if (command == L"connect" || !session.connection) {
    session.recordset.reset();
    session.connection = Connect(command == L"connect" ? rest : L"");
    if (command == L"connect") return L"open";
  }
  if (command == L"open") return OpenRecordset(session, rest);
  if (command == L"execute") return Execute(session, rest);
  if (command == L"disconnect") {
    session.connection->Close();
    return L"ok";
  }
  for (const Command& known : kCommands) {
    if (known.name != command) continue;
    if (!session.recordset) throw std::invalid_argument("no recordset for " + ToUtf8(command));
    return known.act(*session.recordset, rest);
  }
  throw std::invalid_argument("no recordset command: " + ToUtf8(command));
}

std::wstring AccessStore::OpenRecordset(Session& session, const std::wstring& rest) {
  std::wstring statement = rest;
  const std::wstring location = TakeWord(statement);
  const CursorType type = TypeOf(TakeWord(statement));
  const LockType lock = LockOf(TakeWord(statement));
  if (!session.recordset || session.recordset->state() == ObjectState::kClosed)
    session.recordset = access_.MakeRecordset();
  if (location == L"client")
    session.recordset->set_cursor_location(CursorLocation::kClient);
  else if (location == L"server")
    session.recordset->set_cursor_location(CursorLocation::kServer);
  else if (location != L"default")
    Refuse(rest);
  session.recordset->Open(statement, *session.connection, type, lock);
  return PositionOf(*session.recordset);
}

std::wstring AccessStore::Execute(Session& session, const std::wstring& statement) {
  session.recordset.reset();
  session.recordset = session.connection->Execute(statement);
  if (session.recordset->state() == ObjectState::kOpen) return PositionOf(*session.recordset);
  return std::to_wstring(session.connection->records_affected()) + L" changed";
}

void AccessStore::EndCase() { sessions_.clear(); }

Error AccessStore::WithoutFolder(const Error& error) const {
  return {error.number(), error.source(),
          ReplaceIgnoringCase(error.description(), folder_.path(), L"%FOLDER%")};
}

int RunScriptFiles(int count, const char* const* names, tables::TableAccess& access,
                   CaseFolder& folder) {
  std::size_t cases = 0;
  std::size_t failures = 0;
  for (int i = 0; i < count; ++i) {
    std::ifstream file(names[i], std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    if (text.empty()) {
      std::cout << names[i] << ": no such script\n";
      ++failures;
      continue;
    }
    try {
      AccessStore store(access, folder);
      const ScriptOutcome outcome = RunScript(names[i], text, store);
      for (const std::string& failure : outcome.failures) std::cout << failure << "\n";
      cases += outcome.cases;
      failures += outcome.failures.size();
    } catch (const std::exception& error) {
      std::cout << names[i] << ": " << error.what() << "\n";
      ++failures;
    }
  }
  std::cout << cases << " cases, " << failures << " failures\n";
  return failures == 0 && cases > 0 ? 0 : 1;
}

}  // namespace tdefault::tests
