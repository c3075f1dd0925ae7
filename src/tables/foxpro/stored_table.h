// A table file, with its memo file, opened for reading.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/collation.h"
#include "tables/foxpro/memo_file.h"
#include "tables/foxpro/record_decoder.h"
#include "tables/foxpro/table_errors.h"
#include "tables/foxpro/table_layout.h"
#include "tables/foxpro/table_locks.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// How a connection sees its tables.
struct TableView {
  CollatingSequence sequence = CollatingSequence::kMachine;
  bool hides_deleted = true;
  std::uint32_t ansi_code_page = 1252;  // of tables without a code page mark
};

// Holds the files open, so that others may read and write them meanwhile, until it is destroyed.
class StoredTable final : public Table {
 public:
  // Opens `identity.path` and, for a table with memo columns, the memo file beside it. Throws what
  // TableFinder::OpenTable throws.
  StoredTable(platform::Files& files, TableIdentity identity, const TableView& view);

  StoredTable(const StoredTable&) = delete;
  StoredTable& operator=(const StoredTable&) = delete;

  [[nodiscard]] const std::vector<Column>& columns() const override { return columns_; }
  [[nodiscard]] CodePage code_page() const override { return layout_.code_page; }
  [[nodiscard]] const Collation& collation() const override { return *collation_; }

  // The cursor refers to the table.
  [[nodiscard]] std::unique_ptr<RowCursor> Scan() override;
  [[nodiscard]] std::unique_ptr<TableChanges> Change() override;

 private:
  class Cursor;

  const TableIdentity identity_;
  const bool hides_deleted_;
  std::unique_ptr<platform::File> file_;
  TableLayout layout_;
  std::unique_ptr<MemoFile> memo_;
  RecordDecoder decoder_;
  std::vector<Column> columns_;
  std::unique_ptr<Collation> collation_;
};

// The tables of one data folder.
class TableFolder final : public TableFinder {
 public:
  // `files` and the clock outlive the folder and its tables; `path` comes without a backslash at
  // its end.
  TableFolder(platform::Files& files, std::wstring path, const TableView& view,
              const LockPatience& patience);

  std::unique_ptr<Table> OpenTable(const std::wstring& name) override;

 private:
  platform::Files& files_;
  std::wstring path_;
  TableView view_;
  LockPatience patience_;
};

}  // namespace tdefault::tables::foxpro
