#include "interface/choices_object.h"

#include "interface/choice_object.h"

namespace tdefault::automation {

STDMETHODIMP ChoicesObject::NewEnum(IUnknown** result) noexcept {
  return Answer(result, [&] { return Enumerate<ChoiceObject>(choices_->elements()); });
}

STDMETHODIMP ChoicesObject::Count(SHORT* result) noexcept {
  return Answer(result, [&] { return choices_->Count(); });
}

STDMETHODIMP ChoicesObject::get_Item(VARIANT index, ::_cChoice** result) noexcept {
  return Answer(
      result, [&] { return Show<ChoiceObject>(choices_->Item(ToValue(index, L"cChoices:Item"))); });
}

STDMETHODIMP ChoicesObject::Add(BSTR item, BSTR* description, ::_cChoice** result) noexcept {
  return Answer(result, [&] {
    return Show<ChoiceObject>(choices_->Add(ToText(item), ToText(Given(description))));
  });
}

}  // namespace tdefault::automation
