#include "tables/sql/change_plan.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "tables/sql/row_mark.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

// A new row is not made of rows that the same statement reads.
class NoSubselects final : public SubselectBinder {
 public:
  explicit NoSubselects(std::wstring_view place) : place_(place) {}

  std::unique_ptr<Subselect> Bind(const SelectStatement& select, Scope& /*outer*/,
                                  SubselectUse /*use*/) override {
    std::wstring text = L"a subselect cannot stand in ";
    text += place_;
    throw StatementError(select.position, text);
  }

 private:
  std::wstring_view place_;
};

void CheckType(const Column& column, ValueType type, std::size_t position) {
  const ValueType wanted = TypeOf(column);
  if (type == ValueType::kAny || type == wanted || (IsDay(type) && IsDay(wanted))) return;
  std::wstring text = L"Data type mismatch: column " + column.name + L" takes ";
  text += Describe(wanted);
  text += L", found ";
  text += Describe(type);
  throw StatementError(position, text);
}

// Whether the column takes this very value, as far as it is no matter of its size.
void CheckValue(const Column& column, const Value& value, std::size_t position) {
  if (!IsNull(value)) return CheckType(column, TypeOf(value), position);
  if (!column.nullable)
    throw StatementError(position, L"column " + column.name + L" does not take nulls");
}

// A column that is given a value.
struct Target {
  std::size_t column;
  BoundPointer value;
};

void RefuseSecond(std::vector<bool>& named, std::size_t column, const Column& description,
                  std::size_t position) {
  if (named[column])
    throw StatementError(position, L"column " + description.name + L" is named twice");
  named[column] = true;
}

// The current row with the values that it has been given so far.
class EditedRow final : public RowCursor {
 public:
  // All values are given up.
  void Begin(const RowCursor& row) {
    row_ = &row;
    values_.clear();
  }
  void Set(std::size_t column, Value value) { values_.push_back({column, std::move(value)}); }
  [[nodiscard]] const std::vector<ColumnValue>& values() const { return values_; }

  // It stands on one row and does not move.
  bool Next() override { return false; }
  bool Seek(std::uint32_t /*record_number*/) override { return false; }

  [[nodiscard]] std::uint32_t record_number() const override { return row_->record_number(); }

  [[nodiscard]] Value Read(std::size_t column) const override {
    const auto given = std::find_if(values_.begin(), values_.end(),
                                    [column](const auto& value) { return value.column == column; });
    return given == values_.end() ? row_->Read(column) : given->value;
  }

 private:
  const RowCursor* row_ = nullptr;
  std::vector<ColumnValue> values_;
};

// The error with the number of rows that keep their change.
Error AfterChanges(const Error& error, std::int64_t count) {
  std::wstring text = error.description();
  text += count == 1 ? L" 1 row was" : L" " + std::to_wstring(count) + L" rows were";
  text += L" changed before.";
  return {error.number(), error.source(), std::move(text)};
}

// Behind the last of the rows from `begin` that stand side by side.
std::size_t EndOfRun(const std::vector<RowMark>& rows, std::size_t begin) {
  std::size_t end = begin + 1;
  while (end < rows.size() && rows[end].record_number == rows[end - 1].record_number + 1) ++end;
  return end;
}

// The two passes of UPDATE and DELETE.
class RowChanger {
 public:
  RowChanger(const TableName& name, const Expression* where, OpenTables& tables)
      : scan_(name, nullptr, tables) {
    if (where != nullptr) scan_.BindConditions(*where);
  }
  virtual ~RowChanger() = default;
  RowChanger(const RowChanger&) = delete;
  RowChanger& operator=(const RowChanger&) = delete;

  std::int64_t Run() {
    const std::unique_ptr<TableChanges> changes = scan_.table().Change();
    Prepare(*changes);
    const RowMarker marker(scan_.scope().own_columns());
    std::vector<RowMark> found;
    for (scan_.Restart(); scan_.Next();) {
      found.push_back(marker.Mark(scan_.row()));
      Rehearse(*changes, scan_.row());
    }
    std::int64_t count = 0;
    try {
      const std::vector<std::size_t> columns = ChangedColumns();
      for (std::size_t i = 0, end = 0; i < found.size(); ++i) {
        if (i == end) {
          end = EndOfRun(found, i);
          const auto rows = static_cast<std::uint32_t>(end - i);
          changes->Expect({found[i].record_number, rows, columns});
        }
        if (ChangeRow(*changes, marker, found[i])) ++count;
      }
    } catch (const Error& error) {
      throw AfterChanges(error, count);
    }
    return count;
  }

 protected:
  // Before the first row.
  virtual void Prepare(const TableChanges& /*changes*/) {}
  // Finds out, without writing, whether the row can be changed.
  virtual void Rehearse(const TableChanges& /*changes*/, const RowCursor& /*row*/) {}
  // Those that rows are given values for; none where rows are deleted.
  [[nodiscard]] virtual std::vector<std::size_t> ChangedColumns() const { return {}; }
  // Changes the locked row.
  virtual void Change(TableChanges& changes) = 0;

  FilteredScan& scan() { return scan_; }

 private:
  bool ChangeRow(TableChanges& changes, const RowMarker& marker, const RowMark& mark) {
    if (!changes.LockRow(mark.record_number)) return false;
    scan_.StandOn(changes.row());
    const bool same = marker.Mark(changes.row()) == mark;
    const bool accepted = same || scan_.Accepts();
    if (accepted) Change(changes);
    changes.UnlockRow();
    return accepted;
  }

  FilteredScan scan_;
};

class Updater final : public RowChanger {
 public:
  Updater(const UpdateStatement& statement, OpenTables& tables)
      : RowChanger(statement.table, statement.where.get(), tables) {
    NoSubselects no_subselects(L"SET");
    Scope& scope = scan().scope();
    const std::vector<Column>& columns = scan().table().columns();
    std::vector<bool> named(columns.size());
    for (const Assignment& assignment : statement.assignments) {
      const std::size_t column = scope.FindOwn(assignment.column, assignment.position);
      RefuseSecond(named, column, columns[column], assignment.position);
      BoundPointer value = BindExpression(*assignment.value, scope, no_subselects);
      CheckType(columns[column], value->type(), value->position());
      if (const Value* constant = value->constant())
        CheckValue(columns[column], *constant, value->position());
      targets_.push_back({column, std::move(value)});
    }
  }

 private:
  void Prepare(const TableChanges& changes) override {
    for (const Target& target : targets_) {
      const Value* constant = target.value->constant();
      constants_.push_back(constant == nullptr ? Value()
                                               : changes.Stored(target.column, *constant));
      all_constant_ = all_constant_ && constant != nullptr;
    }
  }

  void Rehearse(const TableChanges& changes, const RowCursor& row) override {
    if (!all_constant_) Evaluate(changes, row);
  }

  [[nodiscard]] std::vector<std::size_t> ChangedColumns() const override {
    std::vector<std::size_t> columns;
    for (const Target& target : targets_) columns.push_back(target.column);
    return columns;
  }

  void Change(TableChanges& changes) override {
    Evaluate(changes, changes.row());
    changes.Update(row_.values());
  }

  // The values of the row, each computed from those before it.
  void Evaluate(const TableChanges& changes, const RowCursor& row) {
    const std::vector<Column>& columns = scan().table().columns();
    row_.Begin(row);
    scan().StandOn(row_);
    for (std::size_t i = 0; i < targets_.size(); ++i) {
      const auto& [column, expression] = targets_[i];
      if (expression->constant() != nullptr) {
        row_.Set(column, constants_[i]);
        continue;
      }
      const Value value = expression->Evaluate();
      CheckValue(columns[column], value, expression->position());
      row_.Set(column, changes.Stored(column, value));
    }
    scan().StandOn(row);
  }

  std::vector<Target> targets_;
  std::vector<Value> constants_;  // as stored, of the targets whose value is one
  bool all_constant_ = true;
  EditedRow row_;
};

class Deleter final : public RowChanger {
 public:
  Deleter(const DeleteStatement& statement, OpenTables& tables)
      : RowChanger(statement.table, statement.where.get(), tables) {}

 private:
  void Change(TableChanges& changes) override { changes.Delete(); }
};

// The columns that an INSERT gives values, in its order.
std::vector<std::size_t> InsertedColumns(const InsertStatement& statement, const Scope& scope) {
  const std::vector<Column>& columns = scope.table().columns();
  std::vector<std::size_t> inserted;
  std::vector<bool> named(columns.size());
  for (const InsertStatement::Target& target : statement.columns) {
    const std::size_t column = scope.FindOwn({{}, target.name}, target.position);
    RefuseSecond(named, column, columns[column], target.position);
    inserted.push_back(column);
  }
  if (statement.columns.empty())
    for (std::size_t i = 0; i < columns.size(); ++i) inserted.push_back(i);
  const std::size_t values = statement.values.size();
  if (values == inserted.size()) return inserted;
  std::wstring text = std::to_wstring(values) + (values == 1 ? L" value" : L" values");
  text += L" for " + std::to_wstring(inserted.size());
  text += inserted.size() == 1 ? L" column" : L" columns";
  text += statement.columns.empty() ? L" of table " + scope.alias() : L"";
  const bool surplus = values > inserted.size();
  throw StatementError(surplus ? statement.values[inserted.size()]->position : statement.end, text);
}

}  // namespace

std::int64_t RunInsert(const InsertStatement& statement, OpenTables& tables) {
  FilteredScan scan(statement.table, nullptr, tables);
  Table& table = scan.table();
  Scope& scope = scan.scope();
  const std::vector<std::size_t> inserted = InsertedColumns(statement, scope);
  scope.RefuseColumns(L"VALUES cannot read columns; put text in quotation marks");
  NoSubselects no_subselects(L"VALUES");
  std::vector<ColumnValue> values;
  for (std::size_t i = 0; i < inserted.size(); ++i) {
    const Column& column = table.columns()[inserted[i]];
    const BoundPointer value = BindExpression(*statement.values[i], scope, no_subselects);
    CheckType(column, value->type(), value->position());
    values.push_back({inserted[i], value->Evaluate()});
    CheckValue(column, values.back().value, value->position());
  }
  table.Change()->Insert(values);
  return 1;
}

std::int64_t RunUpdate(const UpdateStatement& statement, OpenTables& tables) {
  return Updater(statement, tables).Run();
}

std::int64_t RunDelete(const DeleteStatement& statement, OpenTables& tables) {
  return Deleter(statement, tables).Run();
}

}  // namespace tdefault::tables::sql
