// The sample shop with a definition table and INI files of the test's own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/value.h"
#include "integration/sample_shop.h"
#include "support/table_connection.h"

namespace tdefault::testing {

// The recorded connection string of every connection to the sample shop.
inline const std::wstring kConnectionString =
    L"connection string Provider=VFPOLEDB.1;SourceType=dbf;Data Source=C:\\SHOP\\DATA;"
    L"Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;";

class DefinitionShop : public SampleShop {
 public:
  DefinitionShop() {
    machine.PutFile(kShopLocalIni,
                    "[Defaults]\r\nDataPath=C:\\SHOP\\DATA\r\n[Companyname]\r\nLocation=3\r\n");
    machine.PutFile(kShopGlobalIni, "[GLOBAL]\r\n");
    Run(L"DELETE FROM DEFAULTS");
  }

  // Runs a statement that gives no rows.
  void Run(const std::wstring& statement) {
    const auto connection = Connect();
    connection->Execute(statement);
  }

  // The texts of the rows that a query gives.
  std::vector<std::vector<std::wstring>> Rows(const std::wstring& query) {
    const auto connection = Connect();
    const auto recordset = connection->Execute(query);
    std::vector<std::vector<std::wstring>> rows;
    for (; !recordset->eof(); recordset->MoveNext()) {
      std::vector<std::wstring>& row = rows.emplace_back();
      for (std::int32_t column = 0; column < recordset->field_count(); ++column)
        row.push_back(ToText(recordset->field(column).value(), L"test"));
    }
    return rows;
  }

  // A definition with an ID, where its value stands, and its comment.
  void Define(const std::wstring& id, bool local_ini, const std::wstring& section,
              const std::wstring& key, const std::wstring& comment) {
    Run(L"INSERT INTO DEFAULTS (Id,Localini,Inisection,Key,Linkfield,type,choices,minimum,maximum,"
        L"decimals,default,comment,addtnlproc) VALUES ('" +
        id + L"'," + (local_ini ? L".T." : L".F.") + L",'" + section + L"','" + Doubled(key) +
        L"','',0,'',0,0,0,'','" + Doubled(comment) + L"','')");
  }

  [[nodiscard]] std::string Content(const std::wstring& path) const {
    return machine.Contents(path).value_or("(missing)");
  }

 private:
  static std::wstring Doubled(const std::wstring& text) {
    return ReplaceIgnoringCase(ReplaceIgnoringCase(text, L"'", L"''"), L"\r\n",
                               L"'+CHR(13)+CHR(10)+'");
  }

  std::unique_ptr<tables::Connection> Connect() {
    return support::OpenConnection(tables, kShopFolder, tables::CursorLocation::kClient,
                                   tables::ConnectMode::kReadWrite);
  }
};

}  // namespace tdefault::testing
