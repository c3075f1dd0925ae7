// How fast the embedded engine reads a large table: read_table FOLDER MEASUREMENT ROUNDS, where the
// folder holds defaults.dbf and its memo file (bench/make_large_table.py makes them) and the
// measurement is one of those at the end. Prints its costs and its memory as bench/measure.h says;
// bench/compare.py runs all of them and compares.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "measure.h"
#include "measured_folder.h"
#include "steady_clock.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/stored_table.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables;

// Keeps the compiler from dropping what is read.
std::uint64_t checksum = 0;

void Use(const Value& value) {
  if (const auto* text = std::get_if<std::wstring>(&value)) {
    checksum += text->size();
  } else if (const auto* number = std::get_if<double>(&value)) {
    checksum += static_cast<std::uint64_t>(*number);
  } else {
    checksum += value.index();
  }
}

// A loop over the file as simple as can be.
std::uint64_t PlainRead(bench::MeasuredFolder& folder) {
  std::vector<std::uint8_t> buffer(512 * 1024);
  auto file = folder.files().Open(folder.PathOf(L"defaults.dbf"), platform::FileAccess::kRead,
                                  platform::FileShare::kReadWrite);
  std::uint64_t offset = 0;
  for (;;) {
    const std::size_t count = file.value()->ReadAt(offset, buffer).value();
    if (count == 0) return 0;
    checksum += buffer[0];
    offset += count;
  }
}

std::uint64_t DecodeRecords(bench::MeasuredFolder& folder) {
  bench::SteadyClock clock;
  foxpro::TableFolder tables(folder.files(), folder.path(), foxpro::TableView(),
                             foxpro::LockPatience{clock});
  const auto table = tables.OpenTable(L"DEFAULTS");
  const auto cursor = table->Scan();
  std::uint64_t rows = 0;
  while (cursor->Next()) {
    for (std::size_t column = 0; column < table->columns().size(); ++column)
      Use(cursor->Read(column));
    ++rows;
  }
  return rows;
}

std::uint64_t ReadStatement(bench::MeasuredFolder& folder, const wchar_t* statement) {
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(folder.files(), foxpro::LockPatience{clock}, 1252);
  const auto connection = access.MakeConnection();
  connection->set_connection_string(folder.ConnectionString());
  connection->Open();
  const auto recordset = connection->Execute(statement);
  std::uint64_t rows = 0;
  for (; !recordset->eof(); recordset->MoveNext()) {
    for (std::int32_t column = 0; column < recordset->field_count(); ++column)
      Use(recordset->field(column).value());
    ++rows;
  }
  return rows;
}

std::uint64_t SelectAll(bench::MeasuredFolder& folder) {
  return ReadStatement(folder, L"SELECT * FROM DEFAULTS");
}

std::uint64_t FilterOnTwoColumns(bench::MeasuredFolder& folder) {
  return ReadStatement(
      folder, L"SELECT ID FROM DEFAULTS WHERE UPPER(Inisection) = 'PRINTERS' AND Type = 5");
}

struct Measurement {
  std::string_view name;
  std::uint64_t (*run)(bench::MeasuredFolder&);  // returns the number of rows
};

constexpr Measurement kMeasurements[] = {{"plain", PlainRead},
                                         {"decode", DecodeRecords},
                                         {"select", SelectAll},
                                         {"filter", FilterOnTwoColumns}};

bool Measure(bench::MeasuredFolder& folder, std::string_view name, int rounds) {
  for (const Measurement& measurement : kMeasurements) {
    if (measurement.name != name) continue;
    bench::Cost least;
    std::uint64_t rows = 0;
    for (int round = 0; round < rounds; ++round)
      least.KeepLeast(bench::CostOf([&] { rows = measurement.run(folder); }));
    bench::Print(measurement.name.data(), rows, least);
    bench::PrintPeak();
    return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 4) {
      bench::MeasuredFolder folder(argv[1]);
      if (Measure(folder, argv[2], std::atoi(argv[3]))) {
        std::fprintf(stderr, "checksum %llu\n", static_cast<unsigned long long>(checksum));
        return 0;
      }
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "read_table: %s\n", error.what());
    return 1;
  }
  std::fprintf(stderr, "usage: read_table FOLDER plain|decode|select|filter ROUNDS\n");
  return 2;
}
