// Report as hosts see it.
#pragma once

#include <memory>

#include "interface/automation_object.h"
#include "reports/Reports.h"

namespace tdefault::automation {

class ReportObject final : public AutomationObject<::_Report, ::Report> {
 public:
  using Core = reports::Report;

  explicit ReportObject(std::shared_ptr<Core> core) : report_(std::move(core)) {}

  STDMETHODIMP get_Name(BSTR* result) noexcept override;
  STDMETHODIMP get_Description(BSTR* result) noexcept override;
  STDMETHODIMP get_Picture(VARIANT* result) noexcept override;
  STDMETHODIMP get_ReportName(BSTR* result) noexcept override;
  STDMETHODIMP get_CurrentReport(VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP get_NewReport(BSTR* result) noexcept override;
  STDMETHODIMP put_NewReport(BSTR value) noexcept override;

 private:
  ShownCore<Core, ReportObject> report_;
};

}  // namespace tdefault::automation
