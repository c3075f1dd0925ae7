// The model's rows as text, for messages and for programs that read the files independently.
#pragma once

#include <string>

#include "base/value.h"
#include "model/model_table.h"

namespace tdefault::tests::model {

[[nodiscard]] std::string Show(const Value& value);

// One line per value of the rows that are not deleted, as tests/fixtures/dump_tables.py prints
// them.
[[nodiscard]] std::string DumpRows(const std::string& name, const ModelTable& table);

// One line per tag whose order bytes alone settle: the tag's name, then the numbers of all its
// records, ascending by key. Tags that keep only the first of equal keys are left out: which one
// that is depends on their past.
[[nodiscard]] std::string DumpOrder(const ModelTable& table);

}  // namespace tdefault::tests::model
