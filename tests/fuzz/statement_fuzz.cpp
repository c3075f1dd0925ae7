// Any text as a statement, run over small tables: every run ends with rows whose values are of the
// types that the columns announce, the same ones again after Rewind, or with an error that names a
// place in the statement.
//
// The input: the statement in UTF-8.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "sql/memory_tables.h"
#include "tables/sql/query.h"

namespace {

using namespace tdefault;
using namespace tdefault::tests;
using tables::Column;
using tables::ColumnKind;

// Nested subselects visit rows in powers of their depth; enough is enough.
constexpr std::size_t kMostRowsVisited = 5000;
constexpr std::size_t kLongestStatement = 20000;

void Require(bool condition) {
  if (!condition) std::abort();
}

// Texts of megabytes are allowed, but a statement full of them only tests the memory.
bool MakesLongTexts(std::wstring_view statement) {
  std::size_t digits = 0;
  for (const wchar_t character : statement) {
    digits = (character >= L'0' && character <= L'9') || character == L'E' || character == L'e'
                 ? digits + 1
                 : 0;
    if (digits > 4) return ToUpper(statement).find(L"PAD") != std::wstring::npos;
  }
  return false;
}

MemoryTables MakeTables() {
  MemoryTables tables;
  MemoryTable first;
  first.columns = {MakeColumn(L"I", 'I'),       MakeColumn(L"C", 'C', 6),
                   MakeColumn(L"N", 'N', 6, 2), MakeColumn(L"L", 'L'),
                   MakeColumn(L"D", 'D'),       MakeColumn(L"S", 'T'),
                   MakeColumn(L"M", 'M'),       MakeColumn(L"G", 'G'),
                   MakeColumn(L"Y", 'Y'),       MakeColumn(L"Default", 'V', 9)};
  const Value day = Date{2451976};
  first.rows = {
      {1, std::wstring(L"abc"), 1.5, true, day, DateTime{Date{2451976}, 1000},
       std::wstring(L"memo"), Bytes{1, 2}, Currency{12345}, std::wstring(L"x")},
      {2, std::wstring(L"ABC"), -2.0, false, Date{}, DateTime{}, std::wstring(), Bytes{},
       Currency{-1}, std::wstring(L"Straße")},
      {Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}},
  };
  MemoryTable second;
  second.columns = {MakeColumn(L"I", 'I'), MakeColumn(L"C", 'C', 4)};
  second.rows = {{1, std::wstring(L"abc")}, {1, std::wstring(L"b")}, {3, std::wstring(L"c")}};
  MemoryTable empty;
  empty.columns = {MakeColumn(L"I", 'I')};
  first.most_rows_visited = second.most_rows_visited = kMostRowsVisited;
  tables.Add(L"T", std::move(first));
  tables.Add(L"U", std::move(second));
  tables.Add(L"E", std::move(empty));
  return tables;
}

void CheckValue(const Value& value, const Column& column) {
  if (IsNull(value)) return;
  const auto* text = std::get_if<std::wstring>(&value);
  if (column.fixed_width)
    Require(text != nullptr && text->size() == static_cast<std::size_t>(column.length));
  if (column.kind == ColumnKind::kLogical) Require(std::holds_alternative<bool>(value));
  if (column.kind == ColumnKind::kInteger) Require(std::holds_alternative<std::int32_t>(value));
  if (column.kind == ColumnKind::kCurrency) Require(std::holds_alternative<Currency>(value));
  if (column.kind == ColumnKind::kMemo && column.name == L"M") Require(text != nullptr);
}

std::vector<Value> ReadAll(tables::sql::Rows& rows) {
  std::vector<Value> values;
  while (rows.Next()) {
    for (std::size_t i = 0; i < rows.columns().size(); ++i) {
      values.push_back(rows.Read(i));
      CheckValue(values.back(), rows.columns()[i]);
    }
  }
  Require(!rows.Next());
  return values;
}

// The error's number and description, and a place inside the statement or just behind it.
void CheckError(const Error& error, std::size_t length) {
  if (error.number() == error_number::kNoSuchTable) return;
  if (error.number() == error_number::kInUseByAnother) return;
  if (error.number() == error_number::kValueDoesNotFit) return;
  Require(error.number() == error_number::kStatementError);
  constexpr std::wstring_view kBeginning = L"Statement error at character ";
  const std::wstring& text = error.description();
  Require(text.starts_with(kBeginning));
  const std::size_t place = std::stoul(text.substr(kBeginning.size()));
  Require(place >= 1 && place <= length + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestStatement) return 0;
  const std::string bytes(data, data + size);
  const std::wstring statement = FromUtf8(bytes);
  if (MakesLongTexts(statement)) return 0;
  MemoryTables tables = MakeTables();
  try {
    const tables::sql::Outcome outcome = tables::sql::Execute(statement, tables);
    const auto& rows = outcome.rows;
    if (rows == nullptr) {
      Require(outcome.affected >= 0 && outcome.affected <= 3);
      return 0;
    }
    const std::vector<Value> values = ReadAll(*rows);
    rows->Rewind();
    Require(ReadAll(*rows) == values);
  } catch (const Error& error) {
    CheckError(error, statement.size());
  }
  return 0;
}
