// The tags of an index file and their headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/code_page.h"
#include "tables/foxpro/index_errors.h"
#include "tables/foxpro/index_pages.h"

namespace tdefault::tables::foxpro {

// Where the header of a tag stands.
struct TagPlace {
  std::wstring name;
  std::uint32_t header_offset = 0;
};

struct IndexTag {
  std::wstring name;
  std::uint32_t header_offset = 0;
  std::uint32_t root = 0;
  std::size_t key_length = 0;  // the byte for null included
  std::uint8_t signature = 0;
  bool unique = false;     // of equal keys the first is kept only
  bool candidate = false;  // no two rows may have the same key
  bool nullable = false;   // keys begin with a byte that is zero for null
  bool descending = false;
  std::wstring collation;  // empty: the bytes as they are
  std::wstring expression;
  std::wstring condition;  // empty: every row has a key
};

// The shape of the tree of all tags, whose record numbers are the offsets of their headers.
[[nodiscard]] TreeShape DirectoryShape();

// The tags in the order of their names. `shape` is that of the directory and outlives the pages.
// REQUIRES: pages.Refresh() was called. Throws FileFailure and DamagedTag.
[[nodiscard]] std::vector<TagPlace> ReadTagPlaces(IndexPages& pages, const IndexIdentity& index,
                                                  const TreeShape& shape, CodePage code_page);

// Throws FileFailure; DamagedTag for a header that cannot be one, TagNotKept for one of a kind that
// is not read.
[[nodiscard]] IndexTag ReadTag(IndexPages& pages, const IndexIdentity& index, const TagPlace& place,
                               CodePage code_page);

}  // namespace tdefault::tables::foxpro
