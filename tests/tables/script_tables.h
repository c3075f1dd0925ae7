// The files of tables that scripts describe, encoded without the engine's help.
#pragma once

#include <string>

#include "sql/script.h"
#include "tables/table_builder.h"

namespace tdefault::tests {

// The table with its rows; without them when it has tags, whose keys are not made here. Throws
// std::invalid_argument for what is not well-formed.
[[nodiscard]] BuiltTable FilesOfTable(const ScriptStore::TableText& text);

// The statement that inserts a row with these values, as written in the script.
[[nodiscard]] std::wstring InsertStatement(const ScriptStore::TableText& text, std::size_t row);

}  // namespace tdefault::tests
