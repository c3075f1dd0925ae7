// Plain-text scripts of statements with what they have to give. The format is described in
// tests/sql/README.md.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tables/row_source.h"

namespace tdefault::tests {

// What a script works on. Scripts over other stores bring their own.
class ScriptStore {
 public:
  virtual ~ScriptStore() = default;

  struct TableText {
    std::wstring name;
    std::vector<std::wstring> columns;            // "NAME TYPE(WIDTH,DECIMALS)"
    std::vector<std::vector<std::wstring>> rows;  // values as written
  };

  virtual void AddTable(const TableText& table) = 0;
  // "machine" or "general".
  virtual void SetCollation(const std::wstring& name) = 0;
  virtual tables::TableFinder& finder() = 0;
};

struct ScriptOutcome {
  std::size_t cases = 0;
  std::vector<std::string> failures;  // "FILE:LINE: what differs"
};

// Runs every case of the script; `name` begins the failures' texts. A line that the format does not
// know is a failure too.
[[nodiscard]] ScriptOutcome RunScript(const std::string& name, const std::string& text,
                                      ScriptStore& store);

// A value as scripts write it: 'text', 12.5, .T., 2001-03-07, {} for the empty date, NULL, 0xAB.
[[nodiscard]] std::wstring ShowValue(const Value& value);

}  // namespace tdefault::tests
