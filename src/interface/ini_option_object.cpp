#include "interface/ini_option_object.h"

#include "interface/choices_object.h"

namespace tdefault::automation {

namespace {

constexpr DISPID kINIModified = 1;

}  // namespace

INIOptionObject::INIOptionObject(std::shared_ptr<Core> core) : option_(std::move(core)) {
  option_->ListenToModified([this](bool modified) { FireINIModified(modified); });
}

INIOptionObject::~INIOptionObject() { option_->ListenToModified({}); }

void INIOptionObject::FireINIModified(bool modified) noexcept {
  const ComPtr<IUnknown> alive(Identity());
  VARIANT argument{};
  argument.vt = VT_BOOL;
  Put(modified, &argument.boolVal);
  events().Fire(kINIModified, {argument});
}

STDMETHODIMP INIOptionObject::get_ID(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->ID(); });
}

STDMETHODIMP INIOptionObject::get_LocalINI(VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return option_->LocalINI(); });
}

STDMETHODIMP INIOptionObject::get_Section(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->Section(); });
}

STDMETHODIMP INIOptionObject::get_Key(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->Key(); });
}

STDMETHODIMP INIOptionObject::get_Linkedfield(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->Linkedfield(); });
}

STDMETHODIMP INIOptionObject::get_OptionType(::KEY_TYPE* result) noexcept {
  return Answer(result, [&] { return option_->OptionType(); });
}

STDMETHODIMP INIOptionObject::get_Choices(::_cChoices** result) noexcept {
  return Answer(result, [&] { return Show<ChoicesObject>(option_->Choices()); });
}

STDMETHODIMP INIOptionObject::get_Minimum(SHORT* result) noexcept {
  return Answer(result, [&] { return option_->Minimum(); });
}

STDMETHODIMP INIOptionObject::get_Maximum(SHORT* result) noexcept {
  return Answer(result, [&] { return option_->Maximum(); });
}

STDMETHODIMP INIOptionObject::get_Default(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->Default(); });
}

STDMETHODIMP INIOptionObject::get_Comment(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->Comment(); });
}

STDMETHODIMP INIOptionObject::get_CurrentValue(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->CurrentValue(); });
}

STDMETHODIMP INIOptionObject::get_NewValue(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->NewValue(); });
}

STDMETHODIMP INIOptionObject::put_NewValue(BSTR value) noexcept {
  return Perform([&] { option_->SetNewValue(ToText(value)); });
}

STDMETHODIMP INIOptionObject::get_Decimals(SHORT* result) noexcept {
  return Answer(result, [&] { return option_->Decimals(); });
}

STDMETHODIMP INIOptionObject::get_AdditionalProc(BSTR* result) noexcept {
  return Answer(result, [&] { return option_->AdditionalProc(); });
}

STDMETHODIMP INIOptionObject::get_Commented(VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return option_->Commented(); });
}

}  // namespace tdefault::automation
