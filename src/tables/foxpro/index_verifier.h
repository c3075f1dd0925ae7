// Verifies a structural index: the trees of all tags, and every key against the rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"

namespace tdefault::tables::foxpro {

class RecordDecoder;

struct TagReport {
  std::wstring name;
  std::uint64_t key_count = 0;
  // Why the tag could not be compared with the rows, so that its tree alone was verified; empty
  // when it was compared.
  std::wstring not_compared;
  // The rows of which nobody can tell whether, or with what key, the tag should hold them: it may
  // have a key of theirs or not, and any one. The reason is that of the first of them and begins
  // with its number.
  std::uint64_t untold_rows = 0;
  std::wstring untold_reason;
  // One sentence each, without the tag's name; of many of one kind the first ones and their number.
  std::vector<std::wstring> findings;
};

struct IndexReport {
  // The record whose change was broken off by an error or the end of a process; 0 for none. The
  // index may agree with the rows all the same.
  std::uint32_t unfinished_record = 0;
  // About the file as a whole; one sentence each.
  std::vector<std::wstring> findings;
  std::vector<TagReport> tags;  // by name
};

// Reads both files and changes nothing. The rows are counted as the table's file counts them now.
// Keeps the keys of a bounded number of rows, of one tag at a time, so a large table is read
// several times. Throws FileFailure; damage is a finding. Others must not change the table
// meanwhile.
[[nodiscard]] IndexReport VerifyIndex(platform::File& index_file, const std::wstring& path,
                                      platform::File& table_file, const TableLayout& layout,
                                      const TableIdentity& table, const RecordDecoder& decoder);

}  // namespace tdefault::tables::foxpro
