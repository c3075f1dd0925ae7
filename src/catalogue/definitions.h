// Rows of the definition table, one at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "records/INIOption.h"
#include "tables/table_access.h"

namespace tdefault::catalogue {

// Where a definition's value is, and what stands above it there.
struct StoredDefinition {
  std::wstring section;
  std::wstring key;
  std::wstring comment;
  bool local_ini = false;
};

// The definition with that ID, its texts trimmed; absent when there is none. The ID goes into the
// statement as it is. The recordset it was read from is left to the caller.
[[nodiscard]] std::optional<StoredDefinition> FindDefinition(
    tables::Connection& connection, std::unique_ptr<tables::Recordset>& recordset,
    const std::wstring& id);

// Adds the option's definition to the table of the data folder. False when that fails. Choices and
// comment may hold any text; the other texts go into the statement as they are, so that an
// apostrophe in one of them makes it fail.
bool InsertDefinition(tables::TableAccess& tables, const std::wstring& data_path,
                      const records::INIOption& option);

}  // namespace tdefault::catalogue
