// How fast the embedded engine reads a large table: decode_table FOLDER, where the folder holds
// defaults.dbf and its memo file (bench/make_large_table.py makes them). Prints a line per
// measurement: name, rows, seconds (the best of three rounds), separated by tabs.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "folder_files.h"
#include "steady_clock.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/stored_table.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables;

constexpr int kRounds = 3;
constexpr wchar_t kFolder[] = L"C:\\Data";

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

// `measured` returns the number of rows.
template <class Measured>
void Measure(const char* name, const Measured& measured) {
  double best = std::numeric_limits<double>::max();
  std::uint64_t rows = 0;
  for (int round = 0; round < kRounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    rows = measured();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    best = std::min(best, spent.count());
  }
  std::printf("%s\t%llu\t%.4f\n", name, static_cast<unsigned long long>(rows), best);
  std::fflush(stdout);
}

std::uint64_t PlainRead(platform::Files& files, std::initializer_list<const wchar_t*> names) {
  std::vector<std::uint8_t> buffer(1024 * 1024);
  for (const wchar_t* name : names) {
    auto file = files.Open(name, platform::FileAccess::kRead, platform::FileShare::kReadWrite);
    std::uint64_t offset = 0;
    for (;;) {
      const std::size_t count = file.value()->ReadAt(offset, buffer).value();
      if (count == 0) break;
      checksum += buffer[0];
      offset += count;
    }
  }
  return 0;
}

std::uint64_t DecodeRecords(platform::Files& files) {
  bench::SteadyClock clock;
  foxpro::TableFolder folder(files, kFolder, foxpro::TableView(), foxpro::LockPatience{clock});
  const auto table = folder.OpenTable(L"DEFAULTS");
  const auto cursor = table->Scan();
  std::uint64_t rows = 0;
  while (cursor->Next()) {
    for (std::size_t column = 0; column < table->columns().size(); ++column)
      Use(cursor->Read(column));
    ++rows;
  }
  return rows;
}

std::uint64_t ReadStatement(platform::Files& files, const wchar_t* statement) {
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(files, foxpro::LockPatience{clock}, 1252);
  const auto connection = access.MakeConnection();
  connection->set_connection_string(
      L"Data Source=C:\\Data;Collating Sequence=GENERAL;Deleted=TRUE;");
  connection->set_cursor_location(CursorLocation::kClient);
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

void MeasureAll(const char* folder) {
  bench::FolderFiles files(folder);
  Measure("plain read, table", [&] { return PlainRead(files, {L"defaults.dbf"}); });
  Measure("plain read, table and memo file", [&] {
    return PlainRead(files, {L"defaults.dbf", L"defaults.fpt"});
  });
  Measure("decode every column", [&] { return DecodeRecords(files); });
  Measure("SELECT * through a recordset",
          [&] { return ReadStatement(files, L"SELECT * FROM DEFAULTS"); });
  Measure("filter on two columns", [&] {
    return ReadStatement(
        files, L"SELECT ID FROM DEFAULTS WHERE UPPER(Inisection) = 'PRINTERS' AND Type = 5");
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: decode_table FOLDER\n");
    return 2;
  }
  try {
    MeasureAll(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  std::fprintf(stderr, "checksum %llu\n", static_cast<unsigned long long>(checksum));
  return 0;
}
