#include "interface/choice_object.h"

namespace tdefault::automation {

STDMETHODIMP ChoiceObject::get_Item(BSTR* result) noexcept {
  return Answer(result, [&] { return choice_->Item(); });
}

STDMETHODIMP ChoiceObject::get_Description(BSTR* result) noexcept {
  return Answer(result, [&] { return choice_->Description(); });
}

}  // namespace tdefault::automation
