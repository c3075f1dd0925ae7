// cChoices as hosts see it.
#pragma once

#include <memory>

#include "interface/automation_object.h"
#include "records/cChoices.h"

namespace tdefault::automation {

class ChoicesObject final : public AutomationObject<::_cChoices, ::cChoices> {
 public:
  using Core = records::cChoices;

  explicit ChoicesObject(std::shared_ptr<Core> core) : choices_(std::move(core)) {}

  STDMETHODIMP NewEnum(IUnknown** result) noexcept override;
  STDMETHODIMP Count(SHORT* result) noexcept override;
  STDMETHODIMP get_Item(VARIANT index, ::_cChoice** result) noexcept override;
  STDMETHODIMP Add(BSTR item, BSTR* description, ::_cChoice** result) noexcept override;

 private:
  ShownCore<Core, ChoicesObject> choices_;
};

}  // namespace tdefault::automation
