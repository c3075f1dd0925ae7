// How fast the embedded engine changes rows and finds keys: change_table FOLDER MEASUREMENT COUNT,
// where the folder is scratch and the measurement is one of those at the end. Prints its costs and
// its memory as bench/measure.h says; bench/compare.py runs all of them and compares.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "measure.h"
#include "measured_folder.h"
#include "steady_clock.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/stored_table.h"
#include "tables/foxpro/structural_index.h"
#include "tables/foxpro/table_files.h"
#include "tables/table_builder.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables;

constexpr int kRounds = 5;
constexpr std::uint32_t kFilledRows = 100000;

// Choice "2" of the kit defaults, the one whose rows depend on other rows.
constexpr wchar_t kUpdate[] =
    L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121, Changstat=1 WHERE "
    L"UPPER(Hw_part_id) = 'HWAH00448' OR NOT EXIST (SELECT 1 FROM Need as b WHERE Need.Car_id = "
    L"b.Car_id and Need.Part_id = b.Part_id and b.Hw_part_id = 'HWAH00448')";

void Append32(std::string& record, std::uint32_t number) {
  for (unsigned shift = 0; shift < 32; shift += 8)
    record.push_back(static_cast<char>(static_cast<unsigned char>(number >> shift)));
}

// Five rows to a car, every other car offering the part that the statement asks for.
std::string Record(std::uint32_t index) {
  std::array<char, 16> part{};
  const bool asked = index % 10 == 3;
  std::snprintf(part.data(), part.size(), "HWAH%05u ", asked ? 448U : index % 90 + 1000);
  std::string record = " ";
  Append32(record, index / 5);
  Append32(record, index % 2);
  record += part.data();
  record += "F20000101";
  Append32(record, 5);
  return record + " 0";
}

std::vector<tests::ColumnSpec> Columns() {
  return {{"CAR_ID", 'I', 4},  {"PART_ID", 'I', 4},   {"HW_PART_ID", 'C', 10}, {"NEED", 'L', 1},
          {"CHANGED", 'D', 8}, {"CHANGEDBY", 'I', 4}, {"CHANGSTAT", 'N', 2}};
}

std::filesystem::path FilledFolder(const std::filesystem::path& folder) {
  return folder / "filled";
}

// What was written before a measurement is on the disk when it begins.
void Settle(bench::MeasuredFolder& folder, const wchar_t* name) {
  const auto file = folder.files().Open(folder.PathOf(name), platform::FileAccess::kReadWrite,
                                        platform::FileShare::kReadWrite);
  static_cast<void>(file.value()->Flush());
}

// Row by row, so that making the table takes no memory. Returns the length of the header.
std::size_t WriteTable(const std::filesystem::path& folder, std::uint32_t rows,
                       const std::vector<tests::TagSpec>& tags) {
  tests::TableSpec spec;
  spec.columns = Columns();
  spec.tags = tags;
  tests::BuiltTable files = tests::BuildTable(spec);
  const auto low = static_cast<unsigned char>(files.table[8]);
  const std::size_t header = low + 256U * static_cast<unsigned char>(files.table[9]);
  files.table.resize(header);
  for (unsigned i = 0; i < 4; ++i) files.table[4 + i] = static_cast<char>(rows >> (8 * i) & 0xFFU);
  std::ofstream table(folder / "need.dbf", std::ios::binary);
  table << files.table;
  for (std::uint32_t row = 0; row < rows; ++row) table << Record(row);
  table << '\x1a';
  std::filesystem::remove(folder / "need.cdx");
  if (!tags.empty()) std::ofstream(folder / "need.cdx", std::ios::binary) << files.index;
  return header;
}

std::unique_ptr<Connection> Connect(TableAccess& access, const bench::MeasuredFolder& folder) {
  auto connection = access.MakeConnection();
  connection->set_connection_string(folder.ConnectionString());
  connection->set_mode(ConnectMode::kReadWrite);
  connection->Open();
  return connection;
}

// Reads and writes every row at its place, as simply as can be; without locks.
void RewriteEveryRow(platform::File& file, std::size_t header, std::uint32_t rows) {
  std::vector<std::uint8_t> record(Record(0).size());
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::uint64_t offset = header + std::uint64_t{row} * record.size();
    static_cast<void>(file.ReadAt(offset, record));
    static_cast<void>(file.WriteAt(offset, record));
  }
}

// Small tables are over fast, so they need more rounds to meet a quiet moment.
int RoundsFor(std::uint32_t rows) { return rows >= 100000 ? 3 : rows >= 10000 ? 8 : 30; }

void MeasurePlain(const std::filesystem::path& path, std::uint32_t rows) {
  bench::MeasuredFolder folder(path);
  const std::size_t header = WriteTable(path, rows, {});
  bench::Cost loop;
  bench::Cost flush;
  for (int round = 0; round < RoundsFor(rows); ++round) {
    Settle(folder, L"need.dbf");
    const auto file =
        folder.files().Open(folder.PathOf(L"need.dbf"), platform::FileAccess::kReadWrite,
                            platform::FileShare::kReadWrite);
    loop.KeepLeast(bench::CostOf([&] { RewriteEveryRow(*file.value(), header, rows); }));
    flush.KeepLeast(bench::CostOf([&] { static_cast<void>(file.value()->Flush()); }));
  }
  bench::Print("loop", rows, loop);
  bench::Print("flush", rows, flush);
}

void MeasureUpdate(const std::filesystem::path& path, std::uint32_t rows) {
  bench::MeasuredFolder folder(path);
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(folder.files(), foxpro::LockPatience{clock}, 1252);
  bench::Cost statement;
  bench::Cost flush;
  for (int round = 0; round < RoundsFor(rows); ++round) {
    WriteTable(path, rows, {});
    Settle(folder, L"need.dbf");
    const auto connection = Connect(access, folder);
    statement.KeepLeast(bench::CostOf([&] { static_cast<void>(connection->Execute(kUpdate)); }));
    flush.KeepLeast(bench::CostOf([&] { connection->Close(); }));
  }
  bench::Print("statement", rows, statement);
  bench::Print("flush", rows, flush);
}

// Makes the table with three tags that the measurements below begin with.
void Fill(const std::filesystem::path& scratch, std::uint32_t rows) {
  const std::filesystem::path path = FilledFolder(scratch);
  std::filesystem::create_directories(path);
  WriteTable(path, 0,
             {{.name = "CAR", .expression = "CAR_ID", .key_length = 4, .candidate = true},
              {.name = "HW", .expression = "HW_PART_ID", .key_length = 10},
              {.name = "CHANGED", .expression = "CHANGED", .key_length = 8}});
  bench::MeasuredFolder folder(path);
  bench::SteadyClock clock;
  foxpro::TableFolder tables(folder.files(), folder.path(), foxpro::TableView(),
                             foxpro::LockPatience{clock});
  const auto table = tables.OpenTable(L"Need");
  const auto changes = table->Change();
  const bench::Cost cost = bench::CostOf([&] {
    for (std::uint32_t row = 0; row < rows; ++row) {
      const auto number = static_cast<std::int32_t>(row);
      // Every number below 100,000 once.
      const auto car = static_cast<std::int32_t>(std::uint64_t{row} * 7919 % kFilledRows);
      const std::array values = {ColumnValue{0, car}, ColumnValue{1, number},
                                 ColumnValue{2, L"HW" + std::to_wstring(row * 31 % 5000)},
                                 ColumnValue{4, Date{2451976 + number % 365}}};
      changes->Insert(values);
    }
  });
  bench::Print("fill", rows, cost);
}

// Puts a copy of the table of Fill into the scratch folder.
void TakeFilledTable(const std::filesystem::path& path, bench::MeasuredFolder& folder) {
  for (const char* name : {"need.dbf", "need.cdx"}) {
    // MinGW's library does not overwrite.
    std::filesystem::remove(path / name);
    std::filesystem::copy_file(FilledFolder(path) / name, path / name);
  }
  Settle(folder, L"need.dbf");
  Settle(folder, L"need.cdx");
}

// The calls of one INSERT into that table and nothing else: what the statement reads, locks, reads
// again and writes, one page for each tag.
void CallFiles(platform::File& table, platform::File& index, std::uint32_t row) {
  constexpr std::uint64_t kLockPlace = 0x7FFFFFFE;
  std::array<std::uint8_t, 512> page{};
  const std::span<std::uint8_t> bytes(page);
  static_cast<void>(table.ReadAt(0, bytes));
  static_cast<void>(table.Size());
  static_cast<void>(table.TryLock(kLockPlace, 1));
  static_cast<void>(table.ReadAt(4, bytes.first(4)));
  static_cast<void>(table.Size());
  static_cast<void>(index.TryLock(kLockPlace, 1));
  static_cast<void>(index.ReadAt(0, bytes));
  static_cast<void>(index.Size());
  static_cast<void>(index.WriteAt(500, bytes.first(4)));
  const std::size_t length = Record(0).size();
  static_cast<void>(
      table.WriteAt(1024 + std::uint64_t{kFilledRows + row} * length, bytes.first(length + 1)));
  static_cast<void>(table.WriteAt(1, bytes.first(7)));
  for (std::uint64_t tag = 0; tag < 3; ++tag)
    static_cast<void>(index.WriteAt(4096 + (tag * 700 + row * 97 % 700) * 512, bytes));
  static_cast<void>(index.WriteAt(0, bytes));
  static_cast<void>(index.Unlock(kLockPlace, 1));
  static_cast<void>(table.Unlock(kLockPlace, 1));
}

void MeasureCalls(const std::filesystem::path& path, std::uint32_t rows) {
  bench::MeasuredFolder folder(path);
  bench::Cost cost;
  for (int round = 0; round < kRounds; ++round) {
    TakeFilledTable(path, folder);
    const auto open = [&folder](const wchar_t* name) {
      return folder.files()
          .Open(folder.PathOf(name), platform::FileAccess::kReadWrite,
                platform::FileShare::kReadWrite)
          .value();
    };
    const auto table = open(L"need.dbf");
    const auto index = open(L"need.cdx");
    cost.KeepLeast(bench::CostOf([&] {
      for (std::uint32_t row = 0; row < rows; ++row) CallFiles(*table, *index, row);
    }));
  }
  bench::Print("calls", rows, cost);
}

void MeasureInsert(const std::filesystem::path& path, std::uint32_t rows) {
  bench::MeasuredFolder folder(path);
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(folder.files(), foxpro::LockPatience{clock}, 1252);
  bench::Cost statements;
  bench::Cost flush;
  for (int round = 0; round < kRounds; ++round) {
    TakeFilledTable(path, folder);
    const auto connection = Connect(access, folder);
    statements.KeepLeast(bench::CostOf([&] {
      for (std::uint32_t row = 0; row < rows; ++row) {
        const std::wstring number = std::to_wstring(kFilledRows + row * 97 % 10007);
        static_cast<void>(connection->Execute(
            L"INSERT INTO Need (Car_id,Part_id,Hw_part_id,Need,Changed,Changedby,Changstat) "
            L"VALUES (" +
            number + L",1,'HW" + number + L"',.T.,{03-07-2001},-121,1)"));
      }
    }));
    flush.KeepLeast(bench::CostOf([&] { connection->Close(); }));
  }
  bench::Print("statements", rows, statements);
  bench::Print("flush", rows, flush);
}

// Seeks keys in the index as the check of a unique tag does before every change, the look at the
// file for changes of others included.
void MeasureSeek(const std::filesystem::path& path, std::uint32_t count) {
  bench::MeasuredFolder folder(FilledFolder(path));
  bench::SteadyClock clock;
  foxpro::TableFiles table(folder.files(), {L"Need", folder.PathOf(L"need.dbf")},
                           foxpro::TableView(), foxpro::LockPatience{clock});
  table.AllowChanges();
  std::vector<std::uint8_t> record(table.layout().record_length);
  bench::Cost cost;
  for (int round = 0; round < kRounds; ++round) {
    cost.KeepLeast(bench::CostOf([&] {
      const foxpro::HeldLock lock = table.locks().Lock(table.IndexLock());
      for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t number =
            1 + static_cast<std::uint32_t>(std::uint64_t{i} * 7919 % table.layout().record_count);
        table.Read(table.RecordOffset(number), record);
        table.index()->Refresh();
        table.index()->CheckUnique(table.index()->KeysOf(record.data(), number), number);
      }
    }));
  }
  bench::Print("seek", count, cost);
}

// `statement` as often as `count` says, in the table of Fill.
void MeasureSelect(const std::filesystem::path& path, std::uint32_t count, const char* name,
                   const wchar_t* statement) {
  bench::MeasuredFolder folder(FilledFolder(path));
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(folder.files(), foxpro::LockPatience{clock}, 1252);
  const auto connection = Connect(access, folder);
  bench::Cost cost;
  for (std::uint32_t round = 0; round < count; ++round) {
    cost.KeepLeast(bench::CostOf([&] {
      const auto recordset = connection->Execute(statement);
      for (; !recordset->eof(); recordset->MoveNext())
        for (std::int32_t column = 0; column < recordset->field_count(); ++column)
          static_cast<void>(recordset->field(column).value());
    }));
  }
  bench::Print(name, kFilledRows, cost);
}

void MeasureKey(const std::filesystem::path& path, std::uint32_t count) {
  MeasureSelect(path, count, "key", L"SELECT Part_id FROM Need WHERE Car_id = 4711");
}

void MeasureScan(const std::filesystem::path& path, std::uint32_t count) {
  MeasureSelect(path, count, "scan", L"SELECT Part_id FROM Need");
}

struct Measurement {
  std::string_view name;
  void (*run)(const std::filesystem::path& folder, std::uint32_t count);
};

constexpr Measurement kMeasurements[] = {{"plain", MeasurePlain}, {"update", MeasureUpdate},
                                         {"fill", Fill},          {"insert", MeasureInsert},
                                         {"calls", MeasureCalls}, {"seek", MeasureSeek},
                                         {"key", MeasureKey},     {"scan", MeasureScan}};

bool Measure(const std::filesystem::path& folder, std::string_view name, std::uint32_t count) {
  std::filesystem::create_directories(folder);
  for (const Measurement& measurement : kMeasurements) {
    if (measurement.name != name) continue;
    measurement.run(folder, count);
    bench::PrintPeak();
    return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 4 && Measure(argv[1], argv[2], static_cast<std::uint32_t>(std::atoi(argv[3]))))
      return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "change_table: %s\n", error.what());
    return 1;
  }
  std::fprintf(stderr,
               "usage: change_table FOLDER plain|update|fill|insert|calls|seek|key|scan COUNT\n");
  return 2;
}
