#include "interface/report_object.h"

namespace tdefault::automation {

STDMETHODIMP ReportObject::get_Name(BSTR* result) noexcept {
  return Answer(result, [&] { return report_->Name(); });
}

STDMETHODIMP ReportObject::get_Description(BSTR* result) noexcept {
  return Answer(result, [&] { return report_->Description(); });
}

STDMETHODIMP ReportObject::get_Picture(VARIANT* result) noexcept {
  return Answer(result, [&] { return report_->Picture(); });
}

STDMETHODIMP ReportObject::get_ReportName(BSTR* result) noexcept {
  return Answer(result, [&] { return report_->ReportName(); });
}

STDMETHODIMP ReportObject::get_CurrentReport(VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return report_->CurrentReport(); });
}

STDMETHODIMP ReportObject::get_NewReport(BSTR* result) noexcept {
  return Answer(result, [&] { return report_->NewReport(); });
}

STDMETHODIMP ReportObject::put_NewReport(BSTR value) noexcept {
  return Perform([&] { report_->SetNewReport(ToText(value)); });
}

}  // namespace tdefault::automation
