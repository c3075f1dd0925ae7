#include "sql/memory_store.h"

#include <cmath>
#include <stdexcept>
#include <utility>

#include "tables/sql/date_text.h"
#include "tables/sql/query.h"

namespace tdefault::tests {
namespace {

using tables::Column;
using tables::ColumnKind;

[[noreturn]] void Refuse(const std::wstring& text) {
  throw std::invalid_argument("not well-formed: " + ToUtf8(text));
}

double ReadNumber(const std::wstring& text) {
  const std::optional<double> number = ParseNumber(text);
  if (!number) Refuse(text);
  return *number;
}

// "NAME TYPE", "NAME TYPE(WIDTH)" or "NAME TYPE(WIDTH,DECIMALS)", each with " NOT NULL" behind it
// for a column without nulls.
Column ReadColumn(const std::wstring& whole) {
  constexpr std::wstring_view kNotNull = L" NOT NULL";
  if (whole.ends_with(kNotNull)) {
    Column column = ReadColumn(whole.substr(0, whole.size() - kNotNull.size()));
    column.nullable = false;
    return column;
  }
  const std::wstring& text = whole;
  const std::size_t blank = text.find(L' ');
  if (blank == std::wstring::npos || blank + 1 == text.size()) Refuse(text);
  const auto type = static_cast<char>(text[blank + 1]);
  const std::size_t open = text.find(L'(', blank);
  std::vector<std::int32_t> sizes = {0, 0};
  if (open != std::wstring::npos) {
    const std::wstring inside = text.substr(open + 1, text.size() - open - 2);
    std::size_t i = 0;
    for (const std::wstring& size : Split(inside, L","))
      sizes.at(i++) = static_cast<std::int32_t>(ReadNumber(size));
  }
  return MakeColumn(text.substr(0, blank), type, sizes[0], sizes[1]);
}

Bytes ReadBytes(const std::wstring& text) {
  Bytes bytes;
  for (std::size_t i = 2; i + 1 < text.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(ReadNumber(L"&H" + text.substr(i, 2))));
  return bytes;
}

Value ReadDay(const std::wstring& text) {
  const std::optional<Value> day = tables::sql::ParseDateText(text == L"{}" ? L"" : L"^" + text);
  if (!day) Refuse(text);
  return *day;
}

}  // namespace

Value ReadValue(const std::wstring& text, const Column& column) {
  if (text == L"NULL") return Null{};
  switch (column.kind) {
    case ColumnKind::kText:
    case ColumnKind::kMemo:
      if (text.size() > 1 && text.front() == L'\'') return text.substr(1, text.size() - 2);
      return text;
    case ColumnKind::kNumber:
      return ReadNumber(text);
    case ColumnKind::kInteger:
      return static_cast<std::int32_t>(ReadNumber(text));
    case ColumnKind::kCurrency:
      return Currency{std::llround(ReadNumber(text) * 10000)};
    case ColumnKind::kLogical:
      if (text != L".T." && text != L".F.") Refuse(text);
      return text == L".T.";
    case ColumnKind::kDate:
      return ReadDay(text);
    case ColumnKind::kDateTime: {
      const Value day = ReadDay(text);
      if (const Date* date = std::get_if<Date>(&day)) return DateTime{*date, 0};
      return day;
    }
    case ColumnKind::kBinary:
      return ReadBytes(text);
  }
  return Null{};
}

MemoryTable ReadTable(const ScriptStore::TableText& text) {
  MemoryTable table;
  for (const std::wstring& column : text.columns) table.columns.push_back(ReadColumn(column));
  for (const std::vector<std::wstring>& row : text.rows) {
    if (row.size() != table.columns.size()) Refuse(text.name + L": a row of another length");
    std::vector<Value> values;
    for (std::size_t i = 0; i < row.size(); ++i)
      values.push_back(ReadValue(row[i], table.columns[i]));
    table.rows.push_back(std::move(values));
  }
  return table;
}

void MemoryStore::AddTable(const TableText& text) { tables_.Add(text.name, ReadTable(text)); }

ScriptStore::Result MemoryStore::Run(const std::wstring& statement) {
  const tables::sql::Outcome outcome = tables::sql::Execute(statement, tables_);
  Result result;
  result.changed = static_cast<std::int32_t>(outcome.affected);
  if (outcome.rows == nullptr) return result;
  const auto& rows = outcome.rows;
  for (const Column& column : rows->columns()) {
    std::wstring line = column.name + L" ";
    line += static_cast<wchar_t>(column.type);
    line += L" " + std::to_wstring(column.length);
    if (column.decimals != 0) line += L" " + std::to_wstring(column.decimals);
    if (column.fixed_width) line += L" fixed";
    result.columns.push_back(line);
  }
  while (rows->Next()) {
    std::vector<Value>& row = result.rows.emplace_back();
    for (std::size_t i = 0; i < rows->columns().size(); ++i) row.push_back(rows->Read(i));
  }
  return result;
}

void MemoryStore::SetCollation(const std::wstring& name) {
  using tables::foxpro::CollatingSequence;
  if (name != L"machine" && name != L"general") Refuse(name);
  tables_.set_collation(name == L"machine" ? CollatingSequence::kMachine
                                           : CollatingSequence::kGeneral);
}

}  // namespace tdefault::tests
