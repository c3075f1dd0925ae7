#include "interface/reports_object.h"

#include "interface/report_object.h"

namespace tdefault::automation {

STDMETHODIMP ReportsObject::Count(SHORT* result) noexcept {
  return Answer(result, [&] { return reports_->Count(); });
}

STDMETHODIMP ReportsObject::Item(VARIANT index, ::_Report** result) noexcept {
  return Answer(
      result, [&] { return Show<ReportObject>(reports_->Item(ToValue(index, L"Reports:Item"))); });
}

STDMETHODIMP ReportsObject::NewEnum(IUnknown** result) noexcept {
  return Answer(result, [&] { return Enumerate<ReportObject>(reports_->elements()); });
}

STDMETHODIMP ReportsObject::SaveReports(BSTR report_name, VARIANT_BOOL* show_pricing,
                                        BSTR* ini_file, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] {
    return reports_->SaveReports(ToText(report_name), ToBool(Given(show_pricing)),
                                 ToText(Given(ini_file)));
  });
}

STDMETHODIMP ReportsObject::Refresh() noexcept {
  return Perform([&] { reports_->Refresh(); });
}

}  // namespace tdefault::automation
