// Tables that other programs wrote, value by value as another program reads them. The expected
// values are the output of tests/fixtures/dump_tables.py.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "base/text.h"
#include "table_shelf.h"
#include "tables/foxpro/table_check.h"
#ifdef _WIN32
#include "platform/win32/win32_platform.h"
#endif

using namespace tdefault;
using namespace tdefault::tables;
using namespace tdefault::tables::testing;

namespace {

const std::filesystem::path kFixtures = TDEFAULT_SOURCE "/tests/fixtures";

std::string Contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  REQUIRE(file);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Format(const char* format, auto... values) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, values...);
  return buffer.data();
}

std::string Escaped(const std::wstring& text) {
  std::string result;
  for (const wchar_t character : text) {
    const auto code = static_cast<unsigned>(character);
    const bool plain = code >= 0x20 && code <= 0x7E && code != '\\';
    result += plain ? std::string(1, static_cast<char>(code)) : Format("\\u%04X", code);
  }
  return result;
}

// KIND and VALUE as dump_tables.py writes them.
struct Shown {
  std::string operator()(Null) const { return "null"; }
  std::string operator()(bool value) const { return value ? "logical true" : "logical false"; }
  std::string operator()(std::int32_t value) const { return "integer " + std::to_string(value); }
  std::string operator()(double value) const {
    return Format("number %016llx",
                  static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
  }
  std::string operator()(Currency value) const {
    return "currency " + std::to_string(value.ten_thousandths);
  }
  std::string operator()(const std::wstring& value) const { return "text " + Escaped(value) + "|"; }
  std::string operator()(Date value) const {
    return "date " + (value.empty() ? "empty" : ToUtf8(ToText(value)));
  }
  std::string operator()(DateTime value) const {
    return "time " + (value.empty() ? "empty" : ToUtf8(ToText(value)));
  }
  std::string operator()(const Bytes& value) const {
    if (value.empty()) return "bytes none";
    std::string digits;
    for (const std::uint8_t byte : value) digits += Format("%02x", unsigned{byte});
    return "bytes " + digits;
  }
};

void Dump(Table& table, const std::string& name, std::ostream& out) {
  const auto cursor = table.Scan();
  while (cursor->Next()) {
    for (std::size_t column = 0; column < table.columns().size(); ++column) {
      out << name << ' ' << cursor->record_number() << ' ' << ToUtf8(table.columns()[column].name)
          << ' ' << std::visit(Shown(), cursor->Read(column)) << '\n';
    }
  }
}

// The tables of a folder in alphabetical order.
std::vector<std::string> TableNames(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ".dbf") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string DumpFolder(const std::string& folder) {
  TableShelf shelf;
  for (const auto& entry : std::filesystem::directory_iterator(kFixtures / folder)) {
    const std::filesystem::path& path = entry.path();
    shelf.machine().PutFile(L"C:\\Data\\" + path.filename().wstring(), Contents(path));
  }
  std::ostringstream out;
  for (const std::string& name : TableNames(kFixtures / folder))
    Dump(*shelf.Open(FromUtf8(name)), name, out);
  return out.str();
}

void CheckSameLines(const std::string& actual, const std::string& expected) {
  std::istringstream actual_lines(actual);
  std::istringstream expected_lines(expected);
  std::string line;
  for (std::string wanted; std::getline(expected_lines, wanted);) {
    REQUIRE(std::getline(actual_lines, line));
    CHECK(line == wanted);
  }
  CHECK_FALSE(std::getline(actual_lines, line));
}

}  // namespace

TEST_CASE("tables written by Visual FoxPro read value by value as python3-dbf reads them") {
  const std::string expected = Contents(kFixtures / "vfp-tables.txt");
  CHECK(std::count(expected.begin(), expected.end(), '\n') == 251);
  CheckSameLines(DumpFolder("vfp-tables"), expected);
}

TEST_CASE("tables written by python3-dbf, in every version and code page, read as it reads them") {
  const std::string expected = Contents(kFixtures / "tables.txt");
  CHECK(std::count(expected.begin(), expected.end(), '\n') == 92);
  CheckSameLines(DumpFolder("tables"), expected);
}

namespace {

std::string LowerCase(std::wstring text) { return ToUtf8(ToLower(text)); }

// Gives a copy of a real table that belongs to no container.
std::string Freed(std::string table) {
  const auto header = static_cast<std::size_t>(static_cast<unsigned char>(table[8]) +
                                               256 * static_cast<unsigned char>(table[9]));
  std::fill_n(table.begin() + static_cast<std::ptrdiff_t>(header) - 263, 263, '\0');
  return table;
}

// A value that every column of the type takes.
Value NewValue(const Column& column, int number) {
  switch (column.kind) {
    case ColumnKind::kText:
      return L"New " + std::to_wstring(number);
    case ColumnKind::kMemo:
      return std::wstring(static_cast<std::size_t>(40 * number), L'm');
    case ColumnKind::kInteger:
      return 1000.0 + number;
    case ColumnKind::kNumber:
    case ColumnKind::kCurrency:
      return 5.0 + number;
    case ColumnKind::kLogical:
      return true;
    case ColumnKind::kDate:
    case ColumnKind::kDateTime:
      return *MakeDate(2026, 11, 1 + number);
    case ColumnKind::kBinary:
      return Bytes{1, 2, 3};
  }
  return Null{};
}

// Rows are added, changed and deleted.
void ChangeRows(Table& table) {
  const auto changes = table.Change();
  for (int number = 1; number <= 3; ++number) {
    std::vector<ColumnValue> values;
    for (std::size_t column = 0; column < table.columns().size(); ++column) {
      const Value value = NewValue(table.columns()[column], number);
      try {
        static_cast<void>(changes->Stored(column, value));
        values.push_back({column, value});
      } catch (const Error&) {
        continue;  // an automatic number
      }
    }
    const std::uint32_t added = changes->Insert(values);
    if (number == 2) {
      REQUIRE(changes->LockRow(1));
      changes->Update({{values.back()}});
      REQUIRE(changes->LockRow(added));
      changes->Delete();
    }
  }
}

}  // namespace

TEST_CASE("real tables that were changed are whole, and python3-dbf reads them as the engine") {
  TableShelf shelf;
  for (const char* folder : {"vfp-tables", "tables"}) {
    for (const auto& entry : std::filesystem::directory_iterator(kFixtures / folder)) {
      const std::filesystem::path& path = entry.path();
      const bool visual = path.extension() == ".dbf" && std::string(folder) == "vfp-tables";
      const std::string bytes = Contents(path);
      shelf.machine().PutFile(L"C:\\Data\\" + path.filename().wstring(),
                              visual ? Freed(bytes) : bytes);
    }
  }
  platform::Platform& machine = shelf.machine().platform();
  std::ostringstream out;
  int changed = 0;
  for (const auto& identity : foxpro::FindTables(machine.files, L"C:\\Data")) {
    CAPTURE(ToUtf8(identity.name));
    ChangeRows(*shelf.Open(identity.name));
    const auto checked = foxpro::CheckTable(machine.files, machine.clock, identity, {});
    CHECK(checked.problems == 0);
    for (const auto& finding : checked.findings) MESSAGE(ToUtf8(finding.text));
    Dump(*shelf.Open(identity.name), LowerCase(identity.name), out);
    ++changed;
  }
  CHECK(changed == 12);
  // For the test in which python3-dbf prints the same.
  const char* const folder = std::getenv("TDEFAULT_CHANGED_TABLES");
  if (folder == nullptr) return;
  const std::filesystem::path written = folder;
  std::filesystem::create_directory(written);
  for (const std::wstring& name : shelf.machine().ListFolder(L"C:\\Data")) {
    std::ofstream file(written / LowerCase(name), std::ios::binary);
    file << *shelf.machine().Contents(L"C:\\Data\\" + name);
  }
  std::ofstream(written.string() + ".txt", std::ios::binary) << out.str();
}

#ifdef _WIN32
TEST_CASE("tables on a real disk read through the system's own calls as on the simulated one") {
  platform::win32::Win32Platform machine;
  for (const char* folder : {"vfp-tables", "tables"}) {
    std::filesystem::path path = kFixtures / folder;
    path.make_preferred();
    std::ostringstream out;
    foxpro::TableFolder shelf(machine.platform().files, path.wstring(), foxpro::TableView(),
                              foxpro::LockPatience{machine.platform().clock});
    for (const std::string& name : TableNames(path))
      Dump(*shelf.OpenTable(FromUtf8(name)), name, out);
    CheckSameLines(out.str(), Contents(kFixtures / (std::string(folder) + ".txt")));
  }
}
#endif
