// The structural index (CDX) of a table, kept in step with changes of its rows.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {

class RecordDecoder;

// The key of one row in every tag, in the order of the tags; absent where the tag's condition (FOR)
// leaves the row out.
using RowKeys = std::vector<std::optional<std::string>>;

// Everything but construction and KeysOf needs the index lock; keep it from Refresh to Finish.
class StructuralIndex {
 public:
  // Reads the tags of an open index file. Throws FileFailure, DamagedFile, and RefusedFile naming
  // the tag and the reason when one of them cannot be kept. All arguments outlive the index.
  StructuralIndex(platform::File& file, std::wstring path, const TableLayout& layout,
                  const TableIdentity& table, const RecordDecoder& decoder);
  ~StructuralIndex();
  StructuralIndex(const StructuralIndex&) = delete;
  StructuralIndex& operator=(const StructuralIndex&) = delete;

  // The keys of the row in these bytes, which point at the deletion mark. Throws what decoding
  // throws.
  [[nodiscard]] RowKeys KeysOf(const std::uint8_t* record, std::uint32_t record_number) const;

  // Drops cached pages when another program has changed the file. Throws RefusedFile naming the tag
  // when a change that was broken off has left the index behind the rows.
  void Refresh();

  // Throws kIntegrityViolation, naming the tag, when another record than `record_number` has one of
  // the keys in a tag that keeps keys unique.
  void CheckUnique(const RowKeys& keys, std::uint32_t record_number);

  // Marks the index, in the file, as behind the rows until Finish: what is found by the next
  // Refresh if this process ends in between. Call before the row is written.
  void Begin(std::uint32_t record_number);

  // `before` is null for a new row. Both keys of a tag being equal, the tag is not touched. Throws
  // RefusedFile, naming the tag, when it does not hold what it should.
  void Replace(const RowKeys* before, const RowKeys& after, std::uint32_t record_number);

  // Writes what changed, counts the change in the file and takes the mark away.
  void Finish();

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tdefault::tables::foxpro
