// Any bytes as a table with its memo file, read to the last value through a statement: every run
// ends with values of the declared widths or with errors that name one of the two files.
//
// The input: one byte of settings (bit 0 hides deleted rows, bit 1 sorts by GENERAL, bits 2 and up
// choose the system's code page), the length of the table file as two little-endian bytes, the
// table file, and the memo file in what is left.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "tables/foxpro/embedded_table_access.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables;

constexpr std::size_t kSettings = 3;

void Require(bool condition) {
  if (!condition) std::abort();
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

void ReadTable(platform::Platform& machine, std::uint8_t settings) {
  constexpr std::array<std::uint32_t, 5> kPages = {1252, 437, 850, 1250, 1251};
  foxpro::EmbeddedTableAccess access(machine.files, foxpro::LockPatience{machine.clock},
                                     kPages[(settings >> 2U) % kPages.size()]);
  const auto connection = access.MakeConnection();
  std::wstring text = L"Data Source=C:\\Data;";
  text += (settings & 1U) != 0 ? L"Deleted=TRUE;" : L"Deleted=FALSE;";
  text += (settings & 2U) != 0 ? L"Collating Sequence=GENERAL" : L"Collating Sequence=MACHINE";
  connection->set_connection_string(text);
  connection->Open();
  try {
    const auto rows = connection->Execute(L"SELECT * FROM T");
    for (; !rows->eof(); rows->MoveNext())
      for (std::int32_t column = 0; column < rows->field_count(); ++column)
        ReadValue(rows->field(column));
  } catch (const Error& error) {
    CheckNamesFile(error);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kSettings) return 0;
  static platform::simulation::Simulation machine;
  const std::string_view rest(reinterpret_cast<const char*>(data) + kSettings, size - kSettings);
  const std::size_t declared = data[1] | static_cast<std::size_t>(data[2]) << 8U;
  const std::size_t table_length = std::min(declared, rest.size());
  machine.PutFile(L"C:\\Data\\T.dbf", rest.substr(0, table_length));
  machine.PutFile(L"C:\\Data\\T.fpt", rest.substr(table_length));
  ReadTable(machine.platform(), data[0]);
  Require(machine.open_handles() == 0);
  machine.Restart();
  return 0;
}
