#include "tables/foxpro/index_errors.h"

namespace tdefault::tables::foxpro {

std::wstring DescribeTag(const std::wstring& name) {
  return name.empty() ? L"the list of tags" : L"tag " + name;
}

Error DamagedTag(const IndexIdentity& index, const std::wstring& tag, const std::wstring& reason) {
  return RefusedFile(index.table, index.path,
                     L"the index is damaged, " + DescribeTag(tag) + L": " + reason,
                     L"The table can be read but not changed; rebuild the index with REINDEX in "
                     L"FoxPro, or delete the index and create its tags again.");
}

Error TagNotKept(const IndexIdentity& index, const std::wstring& tag, const std::wstring& reason) {
  return RefusedFile(index.table, index.path, DescribeTag(tag) + L" cannot be kept: " + reason,
                     L"The table can be read but not changed; change it with FoxPro, or delete "
                     L"the tag there.");
}

Error TagBehindRows(const IndexIdentity& index, const std::wstring& tag,
                    const std::wstring& reason) {
  return RefusedFile(
      index.table, index.path,
      L"the index does not agree with the rows, " + DescribeTag(tag) + L": " + reason,
      L"The table can be read but not changed; rebuild the index with REINDEX in FoxPro.");
}

}  // namespace tdefault::tables::foxpro
