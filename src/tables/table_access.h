// Table access in the shape of ADO: what the object model needs of a store of FoxPro tables,
// whatever serves them. Values, names and rules follow ADO; calls that its users would find
// refused throw the Error that ADO raises (docs/errors.md).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/value.h"

namespace tdefault::tables {

// ADO's numbers.
enum class CursorLocation { kServer = 2, kClient = 3 };
enum class ConnectMode { kUnknown = 0, kRead = 1, kWrite = 2, kReadWrite = 3 };
enum class CursorType { kForwardOnly = 0, kKeyset = 1, kDynamic = 2, kStatic = 3 };
enum class LockType { kReadOnly = 1, kPessimistic = 2, kOptimistic = 3 };
enum class ObjectState { kClosed = 0, kOpen = 1 };

// One column of a recordset, showing its value in the current row. Lives as long as its recordset
// is open.
class Field {
 public:
  virtual ~Field() = default;

  [[nodiscard]] virtual const std::wstring& name() const = 0;

  // The column's width in characters or bytes, 2147483647 for a memo, picture or general column;
  // for other types ADO's size: numeric 19, double 8, integer 4, currency 8, logical 2, date 6,
  // date with time 16.
  [[nodiscard]] virtual std::int32_t defined_size() const = 0;

  // The length of the current row's value, in characters (text) or bytes; 0 for a null. Throws as
  // value().
  [[nodiscard]] virtual std::int32_t actual_size() const = 0;

  // The current row's value: fixed-width text blank-padded to the column's width, memo text as
  // stored, columns of the types N, F and B as double and those of type I as 32-bit integer, binary
  // columns as Bytes. Text columns marked as binary are text as well, in the table's code page. A
  // blank number is 0, a blank logical value false, a blank date the empty date. Throws
  // kNoCurrentRow at BOF or EOF, kTableDamaged for a value that cannot be decoded.
  [[nodiscard]] virtual Value value() const = 0;

  // The bytes that the table holds for the current row's text, memo or binary value; none for a
  // null. Throws TypeMismatch for a value of another type, and as value().
  [[nodiscard]] virtual Bytes bytes() const = 0;

  // Puts a value into the current row's copy, which Recordset::Update stores. Under pessimistic
  // locking the first value put into a row locks it until the row is stored or left. Text for
  // another type is converted by automation's rules, a date from month-day-year. Throws
  // kNoCurrentRow, kNotUpdatable where the recordset was opened read-only or its statement gives no
  // rows of one table, TypeMismatch, kValueDoesNotFit, kStatementError for a null that the column
  // does not take, kNoPermission, kInUseByAnother, kRowDeleted; the row is then as before.
  virtual void set_value(const Value& value) = 0;
};

class Connection;

// The rows of one query. Starts closed; destruction closes.
class Recordset {
 public:
  virtual ~Recordset() = default;

  // Takes effect at the next Open.
  virtual void set_cursor_location(CursorLocation location) = 0;

  // Runs `source` (an SQL statement that gives rows) on an open connection and stands on the first
  // row. Throws kObjectOpen when already open, kStatementError with the position in the statement,
  // kNoSuchTable, kTableDamaged, kInUseByAnother.
  virtual void Open(const std::wstring& source, Connection& connection, CursorType cursor_type,
                    LockType lock_type) = 0;
  virtual void Close() = 0;

  // Ends a fetch that is still running, if there is one; the rows fetched so far and the values put
  // into the current row stay.
  virtual void Cancel() = 0;

  [[nodiscard]] virtual ObjectState state() const = 0;

  // The state of the current row: 0 when it is unchanged, 2 while it is being edited.
  [[nodiscard]] virtual std::int32_t status() const = 0;

  // Before the first and behind the last row; both at once when there are no rows.
  [[nodiscard]] virtual bool bof() const = 0;
  [[nodiscard]] virtual bool eof() const = 0;

  // The number of rows; -1 for a forward-only or dynamic server cursor, which does not know. Throws
  // what MoveNext would throw in a pass over the rows; the current row stays.
  [[nodiscard]] virtual std::int32_t record_count() const = 0;

  // All moves store a row that is being edited first. MoveFirst and MoveLast throw kNoCurrentRow on
  // a recordset without rows.
  virtual void MoveFirst() = 0;
  virtual void MoveLast() = 0;
  // Past the last row is EOF; once more throws kNoCurrentRow.
  virtual void MoveNext() = 0;
  // Before the first row is BOF; once more throws kNoCurrentRow. MoveLast and MovePrevious throw
  // kCannotMoveBack on a forward-only server cursor.
  virtual void MovePrevious() = 0;

  // Shows only the rows that meet the criteria, and stands on the first of them; empty text shows
  // all rows again. Criteria are clauses FIELD OPERATOR VALUE (operators < > <= >= <> = LIKE)
  // joined by AND and OR, with parentheses, where a group joined by OR is not joined by AND to
  // others (docs/recordsets.md). Throws kInvalidArguments for other text; the recordset then keeps
  // its filter.
  virtual void set_filter(const std::wstring& criteria) = 0;

  // Searches forward from the current row, which counts, for a row that meets one clause; EOF when
  // there is none. Throws kInvalidArguments for other text, kNoCurrentRow.
  virtual void Find(const std::wstring& criteria) = 0;

  // Stores the values that were put into the current row; nothing to do without any. Throws
  // kValueDoesNotFit, kIntegrityViolation, kInUseByAnother, kTableDamaged, kNoPermission,
  // kRowDeleted and, under optimistic locking, kRowChanged when another changed the row meanwhile;
  // the row is then as before and still being edited.
  virtual void Update() = 0;
  // Drops them.
  virtual void CancelUpdate() = 0;

  [[nodiscard]] virtual std::int32_t field_count() const = 0;
  // By 0-based position or by name without regard to case; throws kNoSuchItem.
  [[nodiscard]] virtual Field& field(std::int32_t position) = 0;
  [[nodiscard]] virtual Field& field(const std::wstring& name) = 0;
};

// A data folder opened for statements. Starts closed; destruction closes.
class Connection {
 public:
  virtual ~Connection() = default;

  // These three take effect at the next Open. The string's parts are NAME=VALUE, separated by ";":
  // "Data Source" (the data folder), "Collating Sequence" (MACHINE, the default, or GENERAL),
  // "Deleted" (TRUE, the default, hides deleted rows); the parts "Provider", "SourceType" and
  // "Mode" are accepted.
  virtual void set_connection_string(const std::wstring& text) = 0;
  virtual void set_cursor_location(CursorLocation location) = 0;
  virtual void set_mode(ConnectMode mode) = 0;

  // Throws kObjectOpen when already open, kTableDamaged when the folder does not exist or a part of
  // the string is not known.
  virtual void Open() = 0;
  // Closes the recordsets opened on it, too.
  virtual void Close() = 0;
  [[nodiscard]] virtual ObjectState state() const = 0;

  // Runs a statement; the recordset is open and on its first row when the statement gives rows,
  // else closed. Throws as Recordset::Open, kObjectClosed, and, for statements that change rows, as
  // Recordset::Update. What was changed before an error in a later row stays changed.
  virtual std::unique_ptr<Recordset> Execute(const std::wstring& statement) = 0;

  // The number of rows that the last Execute changed; -1 for a statement that gives rows.
  [[nodiscard]] virtual std::int32_t records_affected() const = 0;
};

// Makes connections and recordsets of one kind.
class TableAccess {
 public:
  virtual ~TableAccess() = default;

  virtual std::unique_ptr<Connection> MakeConnection() = 0;
  virtual std::unique_ptr<Recordset> MakeRecordset() = 0;
};

}  // namespace tdefault::tables
