// The structural index (CDX) of a table, kept in step with changes of its rows.
#pragma once

#include <cstddef>
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

// Construction, KeysOf and Uses need no lock; everything else needs the index lock, kept from
// Refresh to Finish. A change goes: Refresh, KeysOf, CheckUnique, CheckPresent, Begin, the row is
// written, Replace, Finish. A change that ends in between, by an error or
// with the process, leaves the mark of Begin in the file; the next Refresh then compares the whole
// index with the rows.
class StructuralIndex {
 public:
  // Reads the tags of an open index file. `table_file` is the table's own, open for reading. Throws
  // FileFailure, and RefusedFile naming the tag and the reason when the file is damaged or one of
  // the tags cannot be kept. All arguments outlive the index.
  StructuralIndex(platform::File& file, std::wstring path, platform::File& table_file,
                  const TableLayout& layout, const TableIdentity& table,
                  const RecordDecoder& decoder);
  ~StructuralIndex();
  StructuralIndex(const StructuralIndex&) = delete;
  StructuralIndex& operator=(const StructuralIndex&) = delete;

  // The keys of the row in these bytes, which point at the deletion mark. Throws what decoding
  // throws.
  [[nodiscard]] RowKeys KeysOf(const std::uint8_t* record, std::uint32_t record_number) const;

  // Whether a key or a condition of any tag reads the column; the deletion mark.
  [[nodiscard]] bool Uses(std::size_t column) const;
  [[nodiscard]] bool UsesDeletionMark() const;

  // Drops cached pages when another program has changed the file. Throws RefusedFile naming the tag
  // when a change that was broken off has left the index behind the rows.
  void Refresh();

  // Throws kIntegrityViolation, naming the tag, when another record than `record_number` has one of
  // the keys in a tag that keeps keys unique.
  void CheckUnique(const RowKeys& keys, std::uint32_t record_number);

  // Throws RefusedFile, naming the tag, when a tag whose key is going to change from `before` to
  // `after` lacks the one before or has the other one already; a new row has none before. Call
  // before Begin, so that an index that does not agree with the row stops the change while nothing
  // has been written.
  void CheckPresent(const RowKeys& before, const RowKeys& after, std::uint32_t record_number);

  // Marks the index, in the file, as behind the rows until Finish: what is found by the next
  // Refresh if this process ends in between. Call before the row is written.
  void Begin(std::uint32_t record_number);

  // `before` is null for a new row. Both keys of a tag being equal, the tag is not touched. Throws
  // RefusedFile, naming the tag, when it does not hold what it should.
  void Replace(const RowKeys* before, const RowKeys& after, std::uint32_t record_number);

  // Writes what changed, counts the change in the file and takes the mark away.
  void Finish();

  // After a change that failed, and whose row is as it was before: puts the index back, too, and
  // takes the mark away. Throws FileFailure, with the mark left in the file.
  void TakeBack();

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tdefault::tables::foxpro
