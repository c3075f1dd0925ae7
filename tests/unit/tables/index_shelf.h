// A table with its structural index on a simulated machine, opened for tests of the index alone.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/simulation.h"
#include "tables/foxpro/index_verifier.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/structural_index.h"
#include "tables/foxpro/table_layout.h"
#include "tables/table_builder.h"

namespace tdefault::tables::testing {

// The open files of C:\Data\T, as a statement would have them. Rows are bytes without the deletion
// mark.
class IndexShelf {
 public:
  IndexShelf(std::string_view table, std::string_view index, std::string_view memo = {});
  explicit IndexShelf(const tests::TableSpec& spec);

  // Another look at the same files, as another program has it.
  [[nodiscard]] std::unique_ptr<foxpro::StructuralIndex> OpenIndex();
  // The one that the calls below use.
  foxpro::StructuralIndex& index();

  // Appends a row with its keys, as an INSERT does; gives its number.
  std::uint32_t Append(std::string_view row, char mark = ' ');
  // Replaces a row and its keys, as an UPDATE does.
  void Change(std::uint32_t number, std::string_view row, char mark = ' ');
  [[nodiscard]] std::string Row(std::uint32_t number);  // with its mark
  [[nodiscard]] std::uint32_t count();

  // Writes a row and its count, and no keys.
  void WriteRow(std::uint32_t number, std::string_view row, char mark = ' ');

  [[nodiscard]] foxpro::IndexReport Verify();
  // All findings, one a line; empty when index and rows agree.
  [[nodiscard]] std::string Findings();

  [[nodiscard]] std::string IndexBytes() const;
  void PutIndexByte(std::size_t offset, std::uint8_t byte);
  void PutTableByte(std::size_t offset, std::uint8_t byte);
  [[nodiscard]] platform::File& index_file() { return *index_file_; }
  [[nodiscard]] const foxpro::TableLayout& layout() const { return *layout_; }
  [[nodiscard]] const foxpro::RecordDecoder& decoder() const { return *decoder_; }
  [[nodiscard]] platform::simulation::Simulation& machine() { return machine_; }

 private:
  void Open();

  platform::simulation::Simulation machine_;
  const foxpro::TableIdentity table_{L"T", L"C:\\Data\\T.dbf"};
  std::unique_ptr<platform::File> table_file_;
  std::unique_ptr<platform::File> index_file_;
  std::optional<foxpro::TableLayout> layout_;
  std::unique_ptr<foxpro::RecordDecoder> decoder_;
  std::unique_ptr<foxpro::StructuralIndex> index_;
};

}  // namespace tdefault::tables::testing
