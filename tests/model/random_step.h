// Random changes of a model's table: statements with all that they say, and edits of single rows.
#pragma once

#include <string>
#include <vector>

#include "model/model_table.h"
#include "model/random.h"
#include "model/random_table.h"

namespace tdefault::tests::model {

enum class StepKind { kInsert, kUpdate, kDelete, kSelect, kEdit };

struct Step {
  StepKind kind = StepKind::kSelect;
  std::wstring statement = {};       // of kEdit: the query whose rows are edited
  ExpressionPointer condition = {};  // null: all rows
  std::vector<Assignment> values = {};
  std::size_t position = 0;  // of kEdit: which of the query's rows
  bool cancelled = false;    // of kEdit
};

[[nodiscard]] Step MakeStep(Random& random, const RandomTable& made);

// What the step does to the model.
[[nodiscard]] Outcome Apply(const Step& step, ModelTable& table);

}  // namespace tdefault::tests::model
