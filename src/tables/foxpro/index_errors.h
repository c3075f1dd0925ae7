// The errors of a structural index. Every text names the table, the index file and what to do.
#pragma once

#include <string>

#include "base/error.h"
#include "tables/foxpro/table_errors.h"

namespace tdefault::tables::foxpro {

// A file and the table that it belongs to, for errors about it.
struct IndexIdentity {
  const TableIdentity& table;
  std::wstring path;
};

// "tag NAME", or "the list of tags" for an empty name.
[[nodiscard]] std::wstring DescribeTag(const std::wstring& name);

// The tag's tree or header is not whole; `reason` goes on behind the tag's name and a colon.
[[nodiscard]] Error DamagedTag(const IndexIdentity& index, const std::wstring& tag,
                               const std::wstring& reason);

// The tag's keys could not be kept in step with the rows.
[[nodiscard]] Error TagNotKept(const IndexIdentity& index, const std::wstring& tag,
                               const std::wstring& reason);

// The tag does not hold what the row says.
[[nodiscard]] Error TagBehindRows(const IndexIdentity& index, const std::wstring& tag,
                                  const std::wstring& reason);

}  // namespace tdefault::tables::foxpro
