#include "reports/Reports.h"

#include <utility>

#include "base/text.h"
#include "support/ini_values.h"
#include "support/locations.h"
#include "support/table_connection.h"

namespace tdefault::reports {
namespace {

constexpr const wchar_t* kSection = L"InvoiceControl";
constexpr const wchar_t* kLoadSource = L"InitRepCollection";

}  // namespace

Reports::Reports(platform::Platform& platform, tables::TableAccess& tables,
                 support::LocationState& location)
    : platform_(platform), tables_(tables), location_(location) {
  if (const std::int32_t number = InitRepCollection(); number != 0)
    throw Error(number, L"Reports:Class_Initialize",
                L"Reports initialization, 'InitRepCollection' failed.");
}

std::int16_t Reports::Count() const { return reports_.Count(L"Reports:Count"); }

std::shared_ptr<Report> Reports::Item(const Value& index) const {
  constexpr const wchar_t* kSource = L"Reports:Item";
  if (const auto* name = std::get_if<std::wstring>(&index)) return reports_.At(*name, kSource);
  return reports_.At(ToLong(index, kSource), kSource);
}

bool Reports::SaveReports(const std::wstring& report_name, bool show_pricing,
                          const std::wstring& ini_file) {
  const std::wstring upper = ToUpper(report_name);
  const std::wstring ded_style = upper + (show_pricing ? L"D" : L"D$");
  support::WriteIniValue(platform_.profile_files, kSection, L"InvoiceStyle", upper, ini_file);
  support::WriteIniValue(platform_.profile_files, kSection, L"DedInvoiceStyle", ded_style,
                         ini_file);
  // As passed, unlike the other two.
  support::WriteIniValue(platform_.profile_files, kSection, L"FaxReport", report_name, ini_file);
  // Hosts have always got false here, whatever happened.
  return false;
}

void Reports::Refresh() { InitRepCollection(); }

std::int32_t Reports::InitRepCollection() {
  reports_ = records::Collection<Report>();
  std::unique_ptr<tables::Connection> connection;
  std::unique_ptr<tables::Recordset> recordset;
  try {
    const std::wstring local_ini =
        support::GetIniPath(platform_, location_, support::LocalIniName(location_));
    const std::wstring current = support::ReadIniValue(
        platform_.profile_files, kSection, L"InvoiceStyle", local_ini, Value(std::wstring()));
    connection = tables_.MakeConnection();
    connection->set_cursor_location(tables::CursorLocation::kClient);
    connection->set_connection_string(
        support::ConnectionString(support::GetDataPath(platform_, location_)));
    connection->set_mode(tables::ConnectMode::kRead);
    connection->Open();
    recordset = tables_.MakeRecordset();
    recordset->set_cursor_location(tables::CursorLocation::kClient);
    recordset->Open(L"SELECT * FROM REPORTS", *connection, tables::CursorType::kForwardOnly,
                    tables::LockType::kReadOnly);
    ReadLayouts(*recordset, current);
    support::CloseRecordset(connection, recordset);
    return 0;
  } catch (const Error& error) {
    support::CloseAfterFailure(connection, recordset);
    return error.number();
  }
}

void Reports::ReadLayouts(tables::Recordset& recordset, const std::wstring& current) {
  for (; !recordset.eof(); recordset.MoveNext()) {
    auto report = std::make_shared<Report>();
    report->SetName(ToText(recordset.field(L"Name").value(), kLoadSource));
    report->SetDescription(ToText(recordset.field(L"Descipt").value(), kLoadSource));
    tables::Field& picture = recordset.field(L"Picture");
    if (picture.actual_size() >= 1) report->SetPicture(picture.bytes());
    report->SetReportName(ToText(recordset.field(L"ReportName").value(), kLoadSource));
    report->SetNewReport(report->ReportName());
    if (!current.empty() && EqualIgnoringCase(report->ReportName(), current))
      report->SetCurrentReport(true);
    reports_.Append(report, report->ReportName(), kLoadSource);
  }
}

}  // namespace tdefault::reports
