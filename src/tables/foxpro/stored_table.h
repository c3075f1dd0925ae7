// A table as one statement sees it, and the tables of a data folder.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tables/foxpro/table_files.h"
#include "tables/row_source.h"

namespace tdefault::tables::foxpro {

// Shows the records that were there when the statement opened it.
class StoredTable final : public Table {
 public:
  explicit StoredTable(std::shared_ptr<TableFiles> table);

  StoredTable(const StoredTable&) = delete;
  StoredTable& operator=(const StoredTable&) = delete;

  [[nodiscard]] const std::vector<Column>& columns() const override { return columns_; }
  [[nodiscard]] CodePage code_page() const override { return table_->layout().code_page; }
  [[nodiscard]] const Collation& collation() const override { return table_->collation(); }

  // The cursor refers to the table.
  [[nodiscard]] std::unique_ptr<RowCursor> Scan() override;
  [[nodiscard]] std::unique_ptr<TableChanges> Change() override;

 private:
  class Cursor;

  const std::shared_ptr<TableFiles> table_;
  const std::uint32_t record_count_;
  std::vector<Column> columns_;
};

// The tables of one data folder. Those that were opened stay open from statement to statement.
class TableFolder final : public TableFinder {
 public:
  // `files` and the clock outlive the folder and its tables; `path` comes without a backslash at
  // its end.
  TableFolder(platform::Files& files, std::wstring path, const TableView& view,
              const LockPatience& patience);

  std::unique_ptr<Table> OpenTable(const std::wstring& name) override;

  // Returns when what was written has reached the disk. Throws what the first of the files that
  // does not get there gives; the others are brought there all the same.
  void Flush();

 private:
  [[nodiscard]] std::shared_ptr<TableFiles> Find(const std::wstring& name);

  platform::Files& files_;
  std::wstring path_;
  TableView view_;
  LockPatience patience_;
  std::map<std::wstring, std::shared_ptr<TableFiles>> open_;  // by upper-case name
};

}  // namespace tdefault::tables::foxpro
