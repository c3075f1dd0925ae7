// A table as plain values in memory, with the rules of storing and of unique keys written down a
// second time, independently of the engine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/value.h"
#include "model/expression.h"
#include "tables/table_builder.h"

namespace tdefault::tests::model {

struct ModelTag {
  TagSpec spec;
  ExpressionPointer key;
  ExpressionPointer condition;  // null: none
};

// What a statement has to report.
struct Outcome {
  std::int32_t error = 0;  // its number; 0: done
  std::int32_t affected = 0;
};

struct Assignment {
  std::size_t column;
  ExpressionPointer value;
};

class ModelTable {
 public:
  // The value as a column keeps it, or the number of the error that refuses it.
  struct Kept {
    Value value = {};
    std::int32_t error = 0;
  };

  // `folds`: the sessions that change the table compare text by GENERAL.
  ModelTable(TableSpec spec, std::vector<ModelTag> tags, bool folds);

  [[nodiscard]] const TableSpec& spec() const { return spec_; }
  [[nodiscard]] const std::vector<ModelTag>& tags() const { return tags_; }
  [[nodiscard]] const std::vector<std::string>& names() const { return names_; }
  [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }
  [[nodiscard]] bool folds() const { return folds_; }

  // Positions of the rows that are not deleted and meet the condition (null: all).
  [[nodiscard]] std::vector<std::size_t> Matching(const ExpressionPointer& condition) const;

  Outcome Insert(std::span<const Assignment> values);
  Outcome Update(std::span<const Assignment> values, const ExpressionPointer& condition);
  Outcome UpdateRows(std::span<const Assignment> values, std::span<const std::size_t> positions);
  Outcome Delete(const ExpressionPointer& condition);

  // The automatic numbers of the last row as the table gave them: a number may be left out, but
  // never given twice. False when one was.
  [[nodiscard]] bool TakeNumbers(const std::vector<Value>& last_row);

 private:
  [[nodiscard]] Kept Stored(std::size_t column, const Value& value) const;
  [[nodiscard]] Value Ungiven(std::size_t column) const;
  [[nodiscard]] std::optional<Value> KeyOf(const ModelTag& tag, const Row& row) const;
  [[nodiscard]] bool Violates(const Row& row, std::size_t position) const;
  [[nodiscard]] std::int32_t LiteralError(std::span<const Assignment> values) const;
  [[nodiscard]] std::int32_t Assign(Row& row, std::span<const Assignment> values) const;

  TableSpec spec_;
  std::vector<ModelTag> tags_;
  std::vector<std::string> names_;
  bool folds_;
  std::vector<Row> rows_;
  std::vector<std::int64_t> next_numbers_;  // by column
};

}  // namespace tdefault::tests::model
