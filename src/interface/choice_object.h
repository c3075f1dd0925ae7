// cChoice as hosts see it.
#pragma once

#include <memory>

#include "interface/automation_object.h"
#include "records/cChoices.h"

namespace tdefault::automation {

class ChoiceObject final : public AutomationObject<::_cChoice, ::cChoice> {
 public:
  using Core = records::cChoice;

  explicit ChoiceObject(std::shared_ptr<Core> core) : choice_(std::move(core)) {}

  STDMETHODIMP get_Item(BSTR* result) noexcept override;
  STDMETHODIMP get_Description(BSTR* result) noexcept override;

 private:
  ShownCore<Core, ChoiceObject> choice_;
};

}  // namespace tdefault::automation
