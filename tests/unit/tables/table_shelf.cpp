#include "table_shelf.h"

namespace tdefault::tables::testing {
namespace {

constexpr wchar_t kFolder[] = L"C:\\Data";

}  // namespace

TableShelf::TableShelf(std::uint32_t ansi_code_page) {
  view_.ansi_code_page = ansi_code_page;
  machine_.AddFolder(kFolder);
}

void TableShelf::Put(std::string_view table, std::string_view memo) {
  machine_.PutFile(std::wstring(kFolder) + L"\\T.dbf", table);
  if (!memo.empty()) machine_.PutFile(std::wstring(kFolder) + L"\\T.fpt", memo);
}

std::unique_ptr<Table> TableShelf::Open(const std::wstring& name) {
  return foxpro::TableFolder(machine_.platform().files, kFolder, view_,
                             foxpro::LockPatience{machine_.platform().clock})
      .OpenTable(name);
}

std::vector<std::vector<Value>> TableShelf::Rows() {
  const auto table = Open();
  const auto cursor = table->Scan();
  std::vector<std::vector<Value>> rows;
  while (cursor->Next()) {
    auto& row = rows.emplace_back();
    for (std::size_t column = 0; column < table->columns().size(); ++column)
      row.push_back(cursor->Read(column));
  }
  return rows;
}

Value TableShelf::First() { return Rows().at(0).at(0); }

}  // namespace tdefault::tables::testing
