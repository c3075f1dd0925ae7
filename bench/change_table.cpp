// How fast the embedded engine changes rows: change_table FOLDER, where the folder is scratch.
// Prints a line per measurement: name, rows, seconds, seconds of a plain loop that reads and
// rewrites every row (or nothing), separated by tabs; last the most memory the program held, in MB.
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "folder_files.h"
#include "steady_clock.h"
#include "tables/foxpro/embedded_table_access.h"
#include "tables/foxpro/stored_table.h"
#include "tables/table_builder.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables;

constexpr wchar_t kFolder[] = L"C:\\Data";
constexpr wchar_t kTable[] = L"C:\\Data\\need.dbf";

// Choice "2" of the kit defaults, the one whose rows depend on other rows.
constexpr wchar_t kUpdate[] =
    L"UPDATE Need SET Need=.T., Changed={03-07-2001},Changedby=-121, Changstat=1 WHERE "
    L"UPPER(Hw_part_id) = 'HWAH00448' OR NOT EXIST (SELECT 1 FROM Need as b WHERE Need.Car_id = "
    L"b.Car_id and Need.Part_id = b.Part_id and b.Hw_part_id = 'HWAH00448')";

template <class Measured>
double Seconds(const Measured& measured) {
  const auto start = std::chrono::steady_clock::now();
  measured();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Print(const std::string& name, std::uint32_t rows, double seconds, double plain) {
  std::printf("%s\t%u\t%.4f\t%.4f\n", name.c_str(), rows, seconds, plain);
  std::fflush(stdout);
}

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

// Returns the length of the header.
std::size_t WriteTable(const std::filesystem::path& folder, std::uint32_t rows,
                       const std::vector<tests::TagSpec>& tags) {
  tests::TableSpec spec;
  spec.columns = Columns();
  spec.tags = tags;
  tests::TableFiles files = tests::BuildTable(spec);
  const auto low = static_cast<unsigned char>(files.table[8]);
  const std::size_t header = low + 256U * static_cast<unsigned char>(files.table[9]);
  files.table.resize(header);
  for (unsigned i = 0; i < 4; ++i) files.table[4 + i] = static_cast<char>(rows >> (8 * i) & 0xFFU);
  for (std::uint32_t row = 0; row < rows; ++row) files.table += Record(row);
  files.table.push_back('\x1a');
  std::ofstream(folder / "need.dbf", std::ios::binary) << files.table;
  std::filesystem::remove(folder / "need.cdx");
  if (!tags.empty()) std::ofstream(folder / "need.cdx", std::ios::binary) << files.index;
  return header;
}

void RewriteEveryRow(platform::Files& files, std::size_t header, std::uint32_t rows) {
  auto file =
      files.Open(kTable, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite).value();
  std::vector<std::uint8_t> record(Record(0).size());
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::uint64_t offset = header + std::uint64_t{row} * record.size();
    static_cast<void>(file->ReadAt(offset, record));
    static_cast<void>(file->WriteAt(offset, record));
  }
  // As closing the connection does.
  static_cast<void>(file->Flush());
}

std::unique_ptr<Connection> Connect(TableAccess& access) {
  auto connection = access.MakeConnection();
  connection->set_connection_string(
      L"Data Source=C:\\Data;Collating Sequence=GENERAL;Deleted=TRUE;");
  connection->set_mode(ConnectMode::kReadWrite);
  connection->Open();
  return connection;
}

void MeasureUpdate(const std::filesystem::path& folder, platform::Files& files,
                   std::uint32_t rows) {
  bench::SteadyClock clock;
  foxpro::EmbeddedTableAccess access(files, foxpro::LockPatience{clock}, 1252);
  const std::size_t header = WriteTable(folder, rows, {});
  const double plain = Seconds([&] { RewriteEveryRow(files, header, rows); });
  const double update = Seconds([&] {
    const auto connection = Connect(access);
    static_cast<void>(connection->Execute(kUpdate));
    connection->Close();
  });
  Print("UPDATE of the kit rows", rows, update, plain);
}

void MeasureInsert(const std::filesystem::path& folder, platform::Files& files) {
  constexpr std::int32_t kBefore = 100000;
  constexpr std::int32_t kNew = 1000;
  bench::SteadyClock clock;
  WriteTable(folder, 0,
             {{.name = "CAR", .expression = "CAR_ID", .key_length = 4},
              {.name = "HW", .expression = "HW_PART_ID", .key_length = 10},
              {.name = "CHANGED", .expression = "CHANGED", .key_length = 8}});
  {
    foxpro::TableFolder tables(files, kFolder, foxpro::TableView(), foxpro::LockPatience{clock});
    const auto table = tables.OpenTable(L"Need");
    const auto changes = table->Change();
    const double filling = Seconds([&] {
      for (std::int32_t row = 0; row < kBefore; ++row) {
        const std::array values = {ColumnValue{0, row * 7919 % kBefore}, ColumnValue{1, row},
                                   ColumnValue{2, L"HW" + std::to_wstring(row * 31 % 5000)},
                                   ColumnValue{4, Date{2451976 + row % 365}}};
        changes->Insert(values);
      }
    });
    Print("rows into a table with three tags", kBefore, filling, 0);
  }
  foxpro::EmbeddedTableAccess access(files, foxpro::LockPatience{clock}, 1252);
  const double inserting = Seconds([&] {
    const auto connection = Connect(access);
    for (std::int32_t row = 0; row < kNew; ++row) {
      const std::wstring number = std::to_wstring(row * 97);
      static_cast<void>(connection->Execute(
          L"INSERT INTO Need (Car_id,Part_id,Hw_part_id,Need,Changed,Changedby,Changstat) VALUES "
          L"(" +
          number + L",1,'HW" + number + L"',.T.,{03-07-2001},-121,1)"));
    }
    connection->Close();
  });
  Print("INSERT statements into 100,000 rows", kNew, inserting, 0);
}

void MeasureAll(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  bench::FolderFiles files(folder);
  for (const std::uint32_t rows : {1000U, 10000U, 100000U}) MeasureUpdate(folder, files, rows);
  MeasureInsert(folder, files);
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("most memory (MB)\t%ld\t0\t0\n", usage.ru_maxrss / 1024);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: change_table FOLDER\n");
    return 2;
  }
  try {
    MeasureAll(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
