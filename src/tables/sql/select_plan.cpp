#include "tables/sql/select_plan.h"

#include <utility>

#include "base/text.h"
#include "tables/sql/comparison.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

constexpr std::int32_t kLongestTextColumn = 254;

void Describe(Column& column, char type, ColumnKind kind, std::int32_t length) {
  column.type = type;
  column.kind = kind;
  column.length = length;
}

// How the result describes an expression that is no plain column; `page` is that of text that comes
// from no table.
Column DescribeExpression(const BoundExpression& expression, std::size_t number,
                          const CodePage& page) {
  Column column;
  column.name = L"EXP_" + std::to_wstring(number);
  column.nullable = true;
  switch (expression.type()) {
    case ValueType::kLogical:
      Describe(column, 'L', ColumnKind::kLogical, 1);
      break;
    case ValueType::kNumber:
      Describe(column, 'B', ColumnKind::kNumber, 8);
      break;
    case ValueType::kDate:
      Describe(column, 'D', ColumnKind::kDate, 8);
      break;
    case ValueType::kDateTime:
      Describe(column, 'T', ColumnKind::kDateTime, 8);
      break;
    case ValueType::kBinary:
      Describe(column, 'W', ColumnKind::kBinary, 4);
      break;
    case ValueType::kText:
    case ValueType::kAny:
      if (expression.from_memo())
        Describe(column, 'M', ColumnKind::kMemo, 4);
      else
        Describe(column, 'C', ColumnKind::kText, kLongestTextColumn);
      column.code_page = expression.code_page().value_or(page);
      break;
  }
  return column;
}

}  // namespace

SelectPlan::SelectPlan(const SelectStatement& select, Scope* outer, OpenTables& tables)
    : scan_(select.table, outer, tables) {
  for (const SelectItem& item : select.items) BindItem(item);
  items_use_outer_ = scope().outer_uses() != 0;
  if (select.where != nullptr) scan_.BindConditions(*select.where);
}

void SelectPlan::BindItem(const SelectItem& item) {
  if (item.expression != nullptr) {
    BoundPointer bound = BindExpression(*item.expression, scope(), subselects());
    Column column = bound->column() != nullptr
                        ? *bound->column()
                        : DescribeExpression(*bound, items_.size() + 1, scan_.table().code_page());
    if (!item.alias.empty()) column.name = ToUpper(item.alias);
    items_.push_back({std::move(bound), std::move(column), !item.alias.empty(), item.position});
    return;
  }
  if (!item.star_qualifier.empty() && !EqualIgnoringCase(item.star_qualifier, scope().alias()))
    throw StatementError(item.position, L"there is no table or alias " +
                                            Quoted(item.star_qualifier) + L" behind FROM");
  for (const Column& column : scan_.table().columns()) {
    const Expression name{item.position, ColumnName{scope().alias(), column.name}};
    items_.push_back({BindExpression(name, scope(), subselects()), column, false, item.position});
  }
}

void SelectPlan::Restart() {
  scan_.Restart();
  seen_.clear();
}

void SelectPlan::Restart(RowCursor& cursor, std::span<const std::uint32_t> records) {
  scan_.Restart(cursor, records);
  seen_.clear();
}

bool SelectPlan::Next() {
  while (scan_.Next())
    if (!distinct_ || IsNew()) return true;
  return false;
}

bool SelectPlan::IsNew() {
  std::string keys;
  for (const Item& item : items_)
    AppendKey(keys, SortKey(item.expression->Evaluate(), scan_.table().collation()));
  return seen_.insert(std::move(keys)).second;
}

void SelectPlan::MakeDistinct() {
  for (const Item& item : items_) RequireSortable(*item.expression, L"DISTINCT", item.position);
  distinct_ = true;
}

void AppendKey(std::string& keys, const std::string& key) {
  keys += std::to_string(key.size());
  keys += ':';
  keys += key;
}

void RequireSortable(const BoundExpression& expression, std::wstring_view clause,
                     std::size_t position) {
  if (!expression.from_memo() && expression.type() != ValueType::kBinary) return;
  std::wstring text = L"memo and binary columns cannot be used with ";
  text += clause;
  throw StatementError(position, text);
}

}  // namespace tdefault::tables::sql
