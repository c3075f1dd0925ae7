// Scripts over tables in memory.
#pragma once

#include "sql/memory_tables.h"
#include "sql/script.h"

namespace tdefault::tests {

class MemoryStore final : public ScriptStore {
 public:
  // Throws std::invalid_argument for a column or value that is not well-formed.
  void AddTable(const TableText& table) override;
  void SetCollation(const std::wstring& name) override;
  Result Run(const std::wstring& statement) override;
  MemoryTables& tables() { return tables_; }

 private:
  MemoryTables tables_;
};

}  // namespace tdefault::tests
