// Reports as hosts see it.
#pragma once

#include <memory>

#include "interface/automation_object.h"
#include "reports/Reports.h"

namespace tdefault::automation {

class ReportsObject final : public AutomationObject<::_Reports, ::Reports> {
 public:
  using Core = reports::Reports;

  explicit ReportsObject(std::shared_ptr<Core> core) : reports_(std::move(core)) {}

  STDMETHODIMP Count(SHORT* result) noexcept override;
  STDMETHODIMP Item(VARIANT index, ::_Report** result) noexcept override;
  STDMETHODIMP NewEnum(IUnknown** result) noexcept override;
  STDMETHODIMP SaveReports(BSTR report_name, VARIANT_BOOL* show_pricing, BSTR* ini_file,
                           VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP Refresh() noexcept override;

 private:
  // The layouts read through it, and may outlive the catalogue and the host's thread.
  std::shared_ptr<HostThread> thread_ = Module::Instance().CurrentThread();
  ShownCore<Core, ReportsObject> reports_;
};

}  // namespace tdefault::automation
