// Scripts over tables in memory.
#pragma once

#include "sql/memory_tables.h"
#include "sql/script.h"

namespace tdefault::tests {

// The columns and rows of a table as a script writes it. Throws std::invalid_argument for a column
// or value that is not well-formed.
[[nodiscard]] MemoryTable ReadTable(const ScriptStore::TableText& text);
[[nodiscard]] Value ReadValue(const std::wstring& text, const tables::Column& column);

class MemoryStore final : public ScriptStore {
 public:
  void AddTable(const TableText& table) override;
  void SetCollation(const std::wstring& name) override;
  Result Run(const std::wstring& statement) override;
  MemoryTables& tables() { return tables_; }

 private:
  MemoryTables tables_;
};

}  // namespace tdefault::tests
