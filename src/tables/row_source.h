// What the SQL executor needs of stored tables: the seam between the dialect (tables/sql) and the
// file formats (tables/foxpro).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/code_page.h"
#include "base/value.h"

namespace tdefault::tables {

// What a column holds, apart from how it is stored.
enum class ColumnKind {
  kText,
  kMemo,
  kNumber,
  kInteger,
  kCurrency,
  kLogical,
  kDate,
  kDateTime,
  kBinary
};

struct Column {
  std::wstring name;  // upper case, at most 10 characters
  char type = 'C';    // the letter in the table's field descriptor
  ColumnKind kind = ColumnKind::kText;
  std::int32_t length = 0;  // bytes in the record
  std::int32_t decimals = 0;
  bool nullable = false;
  bool fixed_width = false;  // text that reads blank-padded to `length`
  // Text and memo columns: the page whose bytes are stored, so that encoding a value in it gives
  // them back.
  std::optional<CodePage> code_page;
};

// One pass over the rows of a table, in record order, deleted rows skipped when the connection
// hides them. Holds a bounded part of the file, whatever its size.
class RowCursor {
 public:
  virtual ~RowCursor() = default;

  // Steps to the next row; false behind the last. REQUIRES: not called again after false.
  virtual bool Next() = 0;

  // Stands on that record, read from the file anew; false, without a current row, when there is no
  // such record or the connection hides it as deleted. Next then goes on from there.
  virtual bool Seek(std::uint32_t record_number) = 0;

  // The 1-based record number of the current row.
  [[nodiscard]] virtual std::uint32_t record_number() const = 0;

  // One column of the current row; only what is asked for is decoded. Throws kTableDamaged naming
  // table, record and column when the stored bytes are no value of the column.
  [[nodiscard]] virtual Value Read(std::size_t column) const = 0;

  // The bytes of Read's text in the column's code page, padding included, where they need not be
  // made: they last until the next step or call. Absent for a null, and for any column but memo
  // text and text of fixed width. Throws as Read.
  [[nodiscard]] virtual std::optional<std::string_view> StoredText(std::size_t /*column*/) const {
    return std::nullopt;
  }
};

// What takes the place of each byte of a stored text.
using ByteReplacement = std::array<unsigned char, 256>;

// One text, prepared for comparison with many stored ones.
class PreparedText {
 public:
  virtual ~PreparedText() = default;

  // What Collation::Compare gives for the text of these bytes and the prepared one.
  [[nodiscard]] virtual int CompareStored(std::string_view bytes) const = 0;
};

// Sort weights of text. Both texts of a comparison are padded with blanks to the longer one's
// length: trailing blanks never count, and a character that sorts before the blank makes the longer
// text the smaller one.
class Collation {
 public:
  virtual ~Collation() = default;

  // Texts are equal exactly when their keys are the same bytes. Keys are short of the padding, so
  // only CompareKeys tells which text comes first.
  [[nodiscard]] virtual std::string Key(std::wstring_view text) const = 0;

  // Less than, equal to or greater than 0, for two texts and for the keys of two texts.
  [[nodiscard]] virtual int Compare(std::wstring_view left, std::wstring_view right) const = 0;
  [[nodiscard]] virtual int CompareKeys(std::string_view left, std::string_view right) const = 0;

  // Prepares `text` for comparison with texts that are stored in `page`, whose bytes are replaced
  // before they count; blanks are not. Null where the collation does not work on stored bytes or is
  // made for another page.
  [[nodiscard]] virtual std::unique_ptr<PreparedText> Prepare(
      std::wstring_view /*text*/, const CodePage& /*page*/,
      const ByteReplacement& /*replacement*/) const {
    return nullptr;
  }
};

// What a column is given.
struct ColumnValue {
  std::size_t column;
  Value value;
};

// Rows that stand together and are changed in the same way.
struct RowRun {
  std::uint32_t first;  // record number
  std::uint32_t count;
  std::span<const std::size_t> columns;  // that are given values; none: the rows are deleted
};

// Changes rows of one table, each whole and at once: memo, row and structural index agree after
// every call, whatever it throws. Errors name the table and the record. Destruction gives up all
// locks.
class TableChanges {
 public:
  virtual ~TableChanges() = default;

  // What the column would hold after the value was stored: text cut to the column's width and
  // padded to it where that is fixed, numbers rounded to its decimals, dates and times converted
  // into each other. Throws kValueDoesNotFit for a value that the column cannot hold, and
  // kStatementError ("Data type mismatch", or a null for a column without nulls).
  [[nodiscard]] virtual Value Stored(std::size_t column, const Value& value) const = 0;

  // Appends a row. Columns without a value are null where they take nulls, else blank; those with
  // automatic numbers get the next one. Gives the record number. Throws as Stored,
  // kIntegrityViolation naming the tag whose key another row has, kInUseByAnother, kTableDamaged.
  virtual std::uint32_t Insert(std::span<const ColumnValue> values) = 0;

  // Says that the rows of the run are about to be locked and changed in turn, so that they may be
  // locked together.
  virtual void Expect(const RowRun& run) = 0;
  // Locks the record and reads it anew, after the lock of another one was given up; false when it
  // is no record, or is deleted and the connection hides deleted rows. Throws kInUseByAnother when
  // the lock could not be had in time.
  virtual bool LockRow(std::uint32_t record_number) = 0;
  // The locked row, also after its update.
  [[nodiscard]] virtual const RowCursor& row() const = 0;
  virtual void Update(std::span<const ColumnValue> values) = 0;
  virtual void Delete() = 0;
  // Gives up the lock; nothing to do without one. Rows that are locked together are given up when
  // all of them have been, or after some milliseconds.
  virtual void UnlockRow() noexcept = 0;
};

// What expressions over rows need to know of them.
class RowShape {
 public:
  virtual ~RowShape() = default;

  [[nodiscard]] virtual const std::vector<Column>& columns() const = 0;
  [[nodiscard]] virtual CodePage code_page() const = 0;
  // The sequence in which text compares, for this code page.
  [[nodiscard]] virtual const Collation& collation() const = 0;
};

// An open table, its text compared by the connection's collating sequence. Lives as long as the
// statement that opened it.
class Table : public RowShape {
 public:
  [[nodiscard]] virtual std::unique_ptr<RowCursor> Scan() = 0;

  // Makes the table ready for changes. Throws before the first byte changes: kNoPermission for a
  // read-only connection or file, kTableDamaged, naming the reason, for a table whose rows, memo
  // and structural index could not all be kept whole. The changes refer to the table.
  [[nodiscard]] virtual std::unique_ptr<TableChanges> Change() = 0;
};

// Finds the tables that a statement names.
class TableFinder {
 public:
  virtual ~TableFinder() = default;

  // Opens a table by its name (without folder and ending, any case). Throws kNoSuchTable,
  // kTableDamaged, kInUseByAnother, each naming the file and what to do.
  virtual std::unique_ptr<Table> OpenTable(const std::wstring& name) = 0;
};

}  // namespace tdefault::tables
