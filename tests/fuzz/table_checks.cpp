#include "table_checks.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/table_check.h"

namespace tdefault::fuzz {
namespace {

using platform::simulation::Simulation;
using namespace tables;

std::uint32_t PageOf(std::uint8_t settings) {
  constexpr std::array<std::uint32_t, 5> kPages = {1252, 437, 850, 1250, 1251};
  return kPages[(settings >> 2U & 31U) % kPages.size()];
}

std::wstring ConnectionText(std::uint8_t settings) {
  std::wstring text = L"Data Source=C:\\Data;";
  text += (settings & 1U) != 0 ? L"Deleted=TRUE;" : L"Deleted=FALSE;";
  text += (settings & 2U) != 0 ? L"Collating Sequence=GENERAL" : L"Collating Sequence=MACHINE";
  return text;
}

void CheckNamesFile(const Error& error) {
  Require(error.number() == error_number::kTableDamaged);
  Require(error.description().find(L"C:\\Data\\T.") != std::wstring::npos);
}

void ReadValue(const Field& field) {
  try {
    const Value value = field.value();
    Require(field.actual_size() >= 0);
    if (const auto* text = std::get_if<std::wstring>(&value))
      Require(text->size() <= static_cast<std::size_t>(field.defined_size()));
  } catch (const Error& error) {
    CheckNamesFile(error);
  }
}

// A value that a column of that kind takes, as a statement writes it; null where there is none.
const wchar_t* LiteralFor(const Value& value) {
  if (std::holds_alternative<std::wstring>(value)) return L"'fuzz'";
  if (std::holds_alternative<bool>(value)) return L".T.";
  if (std::holds_alternative<Date>(value)) return L"{^2001-03-07}";
  if (std::holds_alternative<DateTime>(value)) return L"{^2001-03-07 12:34:56}";
  if (std::holds_alternative<Bytes>(value) || IsNull(value)) return nullptr;
  return L"7";
}

// Statements that change one column of the table with a value of its own kind.
std::vector<std::wstring> ChangesOf(Connection& connection, std::uint8_t settings) {
  const auto rows = connection.Execute(L"SELECT * FROM T");
  if (rows->eof()) return {L"DELETE FROM T"};
  const Field& field = rows->field(settings % rows->field_count());
  const wchar_t* literal = LiteralFor(field.value());
  if (literal == nullptr) return {L"DELETE FROM T"};
  return {L"UPDATE T SET " + field.name() + L" = " + literal,
          L"INSERT INTO T (" + field.name() + L") VALUES (" + literal + L")",
          L"INSERT INTO T (" + field.name() + L") VALUES (NULL)", L"DELETE FROM T"};
}

void RunStatement(Connection& connection, const std::wstring& statement) {
  try {
    connection.Execute(statement);
  } catch (const Error& error) {
    Require(!error.description().empty());
  }
}

std::unique_ptr<Connection> Connect(foxpro::EmbeddedTableAccess& access, std::uint8_t settings) {
  auto connection = access.MakeConnection();
  connection->set_connection_string(ConnectionText(settings));
  connection->set_mode(ConnectMode::kReadWrite);
  connection->Open();
  return connection;
}

}  // namespace

void Require(bool condition) {
  if (!condition) std::abort();
}

void ReadTable(Simulation& machine, std::uint8_t settings) {
  foxpro::EmbeddedTableAccess access(machine.platform().files, {machine.platform().clock, 0},
                                     PageOf(settings));
  const auto connection = Connect(access, settings);
  try {
    const auto rows = connection->Execute(L"SELECT * FROM T");
    for (; !rows->eof(); rows->MoveNext())
      for (std::int32_t column = 0; column < rows->field_count(); ++column)
        ReadValue(rows->field(column));
  } catch (const Error& error) {
    CheckNamesFile(error);
  }
}

bool CheckTable(Simulation& machine, std::uint8_t settings) {
  const auto table = machine.Contents(kTable);
  const auto memo = machine.Contents(kMemo);
  const auto index = machine.Contents(kIndex);
  const foxpro::CheckedTable checked =
      foxpro::CheckTable(machine.platform().files, machine.platform().clock, {L"T", kTable},
                         {.ansi_code_page = PageOf(settings)});
  for (const foxpro::Finding& finding : checked.findings)
    Require(finding.text.find(L"C:\\Data\\T.") != std::wstring::npos);
  Require(checked.deleted <= checked.records);
  Require(machine.Contents(kTable) == table && machine.Contents(kMemo) == memo &&
          machine.Contents(kIndex) == index);
  return checked.problems == 0;
}

void ChangeTable(Simulation& machine, std::uint8_t settings) {
  const bool whole = CheckTable(machine, settings);
  foxpro::EmbeddedTableAccess access(machine.platform().files, {machine.platform().clock, 0},
                                     PageOf(settings));
  const auto connection = Connect(access, settings);
  try {
    for (const std::wstring& statement : ChangesOf(*connection, settings))
      RunStatement(*connection, statement);
  } catch (const Error& error) {
    CheckNamesFile(error);
  }
  connection->Close();
  Require(CheckTable(machine, settings) || !whole);
}

}  // namespace tdefault::fuzz
