// Any bytes as the structural index of a table: verified, opened, and changed with the rows. Every
// run ends in errors that name one of the two files, or with an index that is as right as before.
//
// The input: the length of the table file as two little-endian bytes, the table file, and the index
// file in what is left.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "tables/foxpro/index_verifier.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/structural_index.h"
#include "tables/foxpro/table_files.h"
#include "tables/foxpro/table_layout.h"

namespace {

using namespace tdefault;
using namespace tdefault::tables::foxpro;

const std::wstring kIndexPath = L"C:\\Data\\T.cdx";

void Require(bool condition) {
  if (!condition) std::abort();
}

std::unique_ptr<platform::File> OpenFile(platform::Files& files, const std::wstring& path) {
  return files.Open(path, platform::FileAccess::kReadWrite, platform::FileShare::kReadWrite)
      .value();
}

// The open files of the table, and changes of its rows as the engine makes them.
class Subject {
 public:
  explicit Subject(platform::Platform& machine)
      : table_file_(OpenFile(machine.files, table_.path)),
        index_file_(OpenFile(machine.files, kIndexPath)),
        layout_(ReadTableLayout(*table_file_, table_, 1252)),
        decoder_(layout_, table_, nullptr) {
    AwaitRecords(*table_file_, table_, layout_, LockPatience{machine.clock, 0});
  }

  // Whether every tag was compared with the rows and found right.
  [[nodiscard]] bool IsRight() {
    const IndexReport report =
        VerifyIndex(*index_file_, kIndexPath, *table_file_, layout_, table_, decoder_);
    return report.findings.empty() &&
           std::all_of(report.tags.begin(), report.tags.end(), [](const TagReport& tag) {
             return tag.findings.empty() && tag.not_compared.empty();
           });
  }

  // False when the change was refused.
  [[nodiscard]] bool ChangeRows() {
    StructuralIndex index(*index_file_, kIndexPath, *table_file_, layout_, table_, decoder_);
    const std::uint32_t count = std::min<std::uint32_t>(layout_.record_count, 24);
    for (std::uint32_t number = 1; number <= count; ++number) {
      // Each row takes the bytes of another one, with a byte of its own.
      std::vector<std::uint8_t> row = Row(1 + number * 7 % count);
      row[1 + number * 5 % (row.size() - 1)] ^= static_cast<std::uint8_t>(number);
      Change(index, number, row);
    }
    return true;
  }

 private:
  [[nodiscard]] std::uint64_t Offset(std::uint32_t number) const {
    return layout_.header_length + std::uint64_t{number - 1} * layout_.record_length;
  }

  std::vector<std::uint8_t> Row(std::uint32_t number) {
    std::vector<std::uint8_t> row(layout_.record_length);
    Require(table_file_->ReadAt(Offset(number), row).value() == row.size());
    return row;
  }

  // A row that is refused before anything was written leaves all as it is.
  void Change(StructuralIndex& index, std::uint32_t number, const std::vector<std::uint8_t>& row) {
    const std::vector<std::uint8_t> old = Row(number);
    index.Refresh();
    RowKeys before;
    RowKeys after;
    try {
      before = index.KeysOf(old.data(), number);
      after = index.KeysOf(row.data(), number);
      index.CheckUnique(after, number);
    } catch (const Error&) {
      return;
    }
    index.CheckPresent(before, after, number);
    index.Begin(number);
    Require(table_file_->WriteAt(Offset(number), row).ok());
    index.Replace(&before, after, number);
    index.Finish();
  }

  const TableIdentity table_{L"T", L"C:\\Data\\T.dbf"};
  std::unique_ptr<platform::File> table_file_;
  std::unique_ptr<platform::File> index_file_;
  TableLayout layout_;
  RecordDecoder decoder_;
};

void CheckNamesFile(const Error& error) {
  Require(error.number() == error_number::kTableDamaged);
  Require(error.description().find(L"C:\\Data\\T.") != std::wstring::npos);
}

void Run(platform::Platform& machine) {
  try {
    Subject subject(machine);
    const bool right = subject.IsRight();
    try {
      Require(subject.ChangeRows());
    } catch (const Error& error) {
      CheckNamesFile(error);
      Require(!right);
      return;
    }
    if (right) Require(subject.IsRight());
  } catch (const Error& error) {
    CheckNamesFile(error);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLengthSize = 2;
  if (size < kLengthSize) return 0;
  static platform::simulation::Simulation machine;
  const std::string_view rest(reinterpret_cast<const char*>(data) + kLengthSize,
                              size - kLengthSize);
  const std::size_t declared = data[0] | static_cast<std::size_t>(data[1]) << 8U;
  const std::size_t table_length = std::min(declared, rest.size());
  machine.PutFile(L"C:\\Data\\T.dbf", rest.substr(0, table_length));
  machine.PutFile(kIndexPath, rest.substr(table_length));
  Run(machine.platform());
  Require(machine.open_handles() == 0);
  machine.Restart();
  return 0;
}
