// Random tables: columns of every type, tags of every kind, and values for them.
#pragma once

#include "model/model_table.h"
#include "model/random.h"

namespace tdefault::tests::model {

// What a table's random values are like.
struct TableHabits {
  bool plain_text = false;      // ASCII letters, digits and blanks only
  std::size_t wanted_rows = 0;  // from here on rows are rather changed than added
};

struct RandomTable {
  ModelTable table;
  TableHabits habits;
};

[[nodiscard]] RandomTable MakeTable(Random& random);

// A value that fits the column, never null. One in a few is like many others.
[[nodiscard]] Value RandomValue(Random& random, const ColumnSpec& column,
                                const TableHabits& habits);

}  // namespace tdefault::tests::model
