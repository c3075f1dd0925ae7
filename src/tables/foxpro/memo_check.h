// The part of a table's check that concerns its memo file: where the values stand and whether two
// of them share blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/check_findings.h"
#include "tables/foxpro/table_errors.h"

namespace tdefault::tables::foxpro {

// One value that is not empty, by the pointer in its row.
struct MemoReference {
  std::uint32_t block;
  std::uint32_t record_number;
  const std::wstring& column;
};

// Calls the sink with every reference of the table, in record order.
using MemoReferences = std::function<void(const std::function<void(const MemoReference&)>&)>;

class MemoCheck {
 public:
  // Reads the header of an open memo file. Throws FileFailure and DamagedFile. `table` and
  // `findings` outlive the check.
  MemoCheck(std::unique_ptr<platform::File> file, std::wstring path, const TableIdentity& table,
            CheckFindings& findings);

  // Whether the value lies where one may lie. Call for each reference in record order, once.
  void CheckValue(const MemoReference& reference);

  // What only all references together tell. Goes through them again where the file has very many
  // blocks, and where values share some.
  void CheckWhole(const MemoReferences& references);

  [[nodiscard]] std::uint64_t values() const { return values_; }

 private:
  // The first bytes of a value.
  struct Head {
    bool starts_inside = false;  // the file has such a block
    bool ends_inside = false;
    std::uint32_t signature = 0;
    std::uint32_t length = 0;
    std::uint64_t end = 0;  // behind the last block
  };
  // A value that uses a block which an earlier one uses as well.
  struct Conflict {
    std::uint64_t block;
    std::uint32_t record_number;
    std::wstring column;
  };

  [[nodiscard]] Head HeadOf(const MemoReference& reference);
  void Fetch(std::uint64_t offset, std::span<std::uint8_t> target);
  void StartWindow(std::uint64_t first_block);
  void MarkUsed(const MemoReference& reference, std::uint64_t value_end);
  void TellConflicts(const MemoReferences& references);
  void TellEnd();
  void TellSpace();
  [[nodiscard]] ValuePlace PlaceOf(const MemoReference& reference) const;

  std::unique_ptr<platform::File> file_;
  std::wstring path_;
  const TableIdentity& table_;
  CheckFindings& findings_;
  std::uint64_t size_ = 0;
  std::uint32_t block_size_ = 0;
  std::uint64_t next_free_ = 0;  // block
  std::uint64_t values_ = 0;
  std::uint64_t used_blocks_ = 0;
  std::uint64_t highest_end_ = 0;
  // One flag per block of the window, so that memory does not grow with the file.
  std::uint64_t window_first_ = 0;
  std::vector<bool> used_;
  std::vector<Conflict> conflicts_;
  std::uint64_t conflict_count_ = 0;
};

}  // namespace tdefault::tables::foxpro
