// INIOption as hosts see it.
#pragma once

#include <memory>

#include "interface/automation_object.h"
#include "records/INIOption.h"

namespace tdefault::automation {

class INIOptionObject final : public EventSource<::_INIOption, ::INIOption, ::__INIOption> {
 public:
  using Core = records::INIOption;

  explicit INIOptionObject(std::shared_ptr<Core> core);

  STDMETHODIMP get_ID(BSTR* result) noexcept override;
  STDMETHODIMP get_LocalINI(VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP get_Section(BSTR* result) noexcept override;
  STDMETHODIMP get_Key(BSTR* result) noexcept override;
  STDMETHODIMP get_Linkedfield(BSTR* result) noexcept override;
  STDMETHODIMP get_OptionType(::KEY_TYPE* result) noexcept override;
  STDMETHODIMP get_Choices(::_cChoices** result) noexcept override;
  STDMETHODIMP get_Minimum(SHORT* result) noexcept override;
  STDMETHODIMP get_Maximum(SHORT* result) noexcept override;
  STDMETHODIMP get_Default(BSTR* result) noexcept override;
  STDMETHODIMP get_Comment(BSTR* result) noexcept override;
  STDMETHODIMP get_CurrentValue(BSTR* result) noexcept override;
  STDMETHODIMP get_NewValue(BSTR* result) noexcept override;
  STDMETHODIMP put_NewValue(BSTR value) noexcept override;
  STDMETHODIMP get_Decimals(SHORT* result) noexcept override;
  STDMETHODIMP get_AdditionalProc(BSTR* result) noexcept override;
  STDMETHODIMP get_Commented(VARIANT_BOOL* result) noexcept override;

 private:
  ~INIOptionObject() override;

  void FireINIModified(bool modified) noexcept;

  ShownCore<Core, INIOptionObject> option_;
};

}  // namespace tdefault::automation
