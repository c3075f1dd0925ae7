#include "tables/sql/query.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "tables/sql/change_plan.h"
#include "tables/sql/ordering.h"
#include "tables/sql/parser.h"
#include "tables/sql/select_plan.h"
#include "tables/sql/statement_error.h"

namespace tdefault::tables::sql {
namespace {

class SelectRows final : public Rows {
 public:
  SelectRows(const SelectStatement& select, TableFinder& finder)
      : tables_(finder), plan_(select, nullptr, tables_), ordering_(select, plan_) {
    if (select.distinct) plan_.MakeDistinct();
    for (const SelectPlan::Item& item : plan_.items()) columns_.push_back(item.column);
    if (!select.distinct) FindSource();
  }

  [[nodiscard]] const std::vector<Column>& columns() const override { return columns_; }

  bool Next() override {
    if (!started_) Start();
    if (ordering_.empty()) return plan_.Next();
    if (next_ == sorted_.size()) return false;
    ++next_;
    return true;
  }

  [[nodiscard]] Value Read(std::size_t column) const override {
    if (ordering_.empty()) return plan_.items()[column].expression->Evaluate();
    return sorted_[next_ - 1].values[column];
  }

  [[nodiscard]] std::optional<std::string_view> StoredText(std::size_t column) const override {
    if (source_.table == nullptr || !ordering_.empty()) return std::nullopt;
    return plan_.scan().row().StoredText(source_.columns[column]);
  }

  void Rewind() override { started_ = false; }

  [[nodiscard]] const Source* source() const override {
    return source_.table == nullptr ? nullptr : &source_;
  }

  [[nodiscard]] std::uint32_t record_number() const override {
    if (ordering_.empty()) return plan_.scan().row().record_number();
    return sorted_[next_ - 1].record_number;
  }

 private:
  struct SortedRow {
    std::vector<std::string> keys;
    std::vector<Value> values;
    std::uint32_t record_number;
  };

  void FindSource() {
    Table& table = plan_.scan().table();
    std::vector<std::size_t> positions;
    for (const SelectPlan::Item& item : plan_.items()) {
      const Column* column = item.expression->column();
      if (column == nullptr) return;
      positions.push_back(static_cast<std::size_t>(column - table.columns().data()));
    }
    source_ = {&table, std::move(positions)};
  }

  void Start() {
    ++tables_.run().generation;
    sorted_.clear();
    next_ = 0;
    plan_.Restart();
    if (!ordering_.empty()) Collect();
    started_ = true;
  }

  // Rows with equal keys stay in record order.
  void Collect() {
    while (plan_.Next()) {
      SortedRow row{ordering_.KeysOfRow(), {}, plan_.scan().row().record_number()};
      row.values.reserve(plan_.items().size());
      for (const SelectPlan::Item& item : plan_.items())
        row.values.push_back(item.expression->Evaluate());
      sorted_.push_back(std::move(row));
    }
    std::stable_sort(sorted_.begin(), sorted_.end(),
                     [this](const SortedRow& left, const SortedRow& right) {
                       return ordering_.Before(left.keys, right.keys);
                     });
  }

  OpenTables tables_;
  SelectPlan plan_;
  Ordering ordering_;
  std::vector<Column> columns_;
  Source source_;
  bool started_ = false;
  std::vector<SortedRow> sorted_;
  std::size_t next_ = 0;
};

}  // namespace

Outcome Execute(const std::wstring& statement, TableFinder& finder) {
  const Statement parsed = ParseStatement(statement);
  if (const auto* select = std::get_if<SelectStatement>(&parsed))
    return {std::make_unique<SelectRows>(*select, finder), -1};
  OpenTables tables(finder);
  if (const auto* insert = std::get_if<InsertStatement>(&parsed))
    return {nullptr, RunInsert(*insert, tables)};
  if (const auto* update = std::get_if<UpdateStatement>(&parsed))
    return {nullptr, RunUpdate(*update, tables)};
  return {nullptr, RunDelete(std::get<DeleteStatement>(parsed), tables)};
}

std::unique_ptr<Rows> ExecuteQuery(const std::wstring& statement, TableFinder& finder) {
  const Statement parsed = ParseStatement(statement);
  if (const auto* select = std::get_if<SelectStatement>(&parsed))
    return std::make_unique<SelectRows>(*select, finder);
  throw StatementError(std::visit([](const auto& other) { return other.position; }, parsed),
                       L"expected SELECT; a statement that changes rows gives none");
}

}  // namespace tdefault::tables::sql
