// Plain-text scripts of statements with what they have to give. The format is described in
// tests/sql/README.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/value.h"

namespace tdefault::tests {

// What a script works on: tables in memory (memory_store.h), tables behind a connection
// (tests/tables/access_store.h).
class ScriptStore {
 public:
  virtual ~ScriptStore() = default;

  struct TableText {
    std::wstring name;
    std::vector<std::wstring> columns;            // "NAME TYPE(WIDTH,DECIMALS) [NOT NULL]"
    std::vector<std::wstring> tags;               // what stands behind "tag" or "tags"
    std::vector<std::vector<std::wstring>> rows;  // values as written
  };

  // What a statement gave.
  struct Result {
    std::vector<std::wstring> columns;  // as the cases "columns" show them
    std::vector<std::vector<Value>> rows;
    std::int32_t changed = -1;  // the number of rows it changed; -1 for one that gives rows
  };

  // Replaces the table of this name. Throws std::invalid_argument for what is not well-formed.
  virtual void AddTable(const TableText& table) = 0;
  // "machine" or "general".
  virtual void SetCollation(const std::wstring& name) = 0;
  // Throws what the statement throws.
  virtual Result Run(const std::wstring& statement) = 0;

  // How the store shows a column that a case "columns" describes: a store that does not know all of
  // the description gives what it does know.
  [[nodiscard]] virtual std::wstring ColumnShown(const std::wstring& described) const {
    return described;
  }

  // One line of a case "recordset", and what it gave. Throws std::invalid_argument for a command
  // that is not known; errors of the recordset are thrown on.
  virtual std::wstring RunCommand(const std::wstring& command);
  // Closes what the commands of a case have opened.
  virtual void EndCase() {}
};

struct ScriptOutcome {
  std::size_t cases = 0;
  std::vector<std::string> failures;  // "FILE:LINE: what differs"
};

// Runs every case of the script; `name` begins the failures' texts. A line that the format does not
// know is a failure too.
[[nodiscard]] ScriptOutcome RunScript(const std::string& name, const std::string& text,
                                      ScriptStore& store);

// An error as cases show it: "error NoCurrentRow: TEXT". The names are those of error_number
// without the k.
[[nodiscard]] std::wstring ShowError(const Error& error);

// The values with " | " between them.
[[nodiscard]] std::wstring ShowRow(const std::vector<Value>& row);

// A value as scripts write it: 'text', 12.5, .T., 2001-03-07, {} for the empty date, NULL, 0xAB.
[[nodiscard]] std::wstring ShowValue(const Value& value);

}  // namespace tdefault::tests
