// Lists that the suite keeps in its tables for options to choose from.
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "support/ini_values.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

// The entries under the location's header CUSTOMER BUSINESS TYPE: a header is a row of type 0, and
// an entry's type is the number of its header.
std::wstring BusinessTypeQuery(const std::wstring& location) {
  return L"SELECT Idnumber, Text FROM OPTIONS WHERE Type = "
         L"(SELECT DISTINCT Idnumber FROM OPTIONS WHERE UPPER(Text)="
         L"'CUSTOMER BUSINESS TYPE' And Type = 0 And Location = " +
         location + L") And Location = " + location + L" ORDER BY Idnumber";
}

}  // namespace

std::shared_ptr<records::cChoices> Options::InsuranceTypes() const {
  constexpr const wchar_t* kSource = L":InsuranceTypes";
  auto choices = std::make_shared<records::cChoices>();
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    connection = support::OpenConnection(tables_, DataPath(), tables::CursorLocation::kClient,
                                         tables::ConnectMode::kRead);
    const std::wstring location = support::GetCompanyNumber(platform_.profile_files, INIFile());
    recordset = connection->Execute(BusinessTypeQuery(location));
    for (; !recordset->eof(); recordset->MoveNext()) {
      std::wstring item = ToText(recordset->field(L"IDNumber").value(), kSource);
      const std::wstring text = ToText(recordset->field(L"Text").value(), kSource);
      choices->Add(std::move(item), std::wstring(TrimBlanks(text)));
    }
    support::CloseRecordset(connection, recordset);
  } catch (const Error&) {
    support::CloseAfterFailure(connection, recordset);
  }
  return choices;
}

}  // namespace tdefault::catalogue
