// Options as hosts see it: the one object that they create.
#pragma once

#include <memory>

#include "catalogue/Options.h"
#include "interface/automation_modules.h"
#include "interface/automation_object.h"

namespace tdefault::automation {

class OptionsObject final : public EventSource<::_Options, ::Options, ::__Options>,
                            private catalogue::OptionsEvents {
 public:
  OptionsObject();

  STDMETHODIMP get_Item(VARIANT index, ::_INIOption** result) noexcept override;
  STDMETHODIMP NewEnum(IUnknown** result) noexcept override;
  STDMETHODIMP get_Count(SHORT* result) noexcept override;
  STDMETHODIMP put_DataPath(BSTR value) noexcept override;
  STDMETHODIMP get_DataPath(BSTR* result) noexcept override;
  STDMETHODIMP get_GlobalIni(BSTR* result) noexcept override;
  STDMETHODIMP get_INIFile(BSTR* result) noexcept override;
  STDMETHODIMP put_INIFile(BSTR value) noexcept override;
  STDMETHODIMP get_Location(LONG* result) noexcept override;
  // An omitted Decimals is a null pointer or a pointer to 0.
  STDMETHODIMP Add(VARIANT_BOOL local_ini, BSTR section, BSTR key, BSTR linkedfield,
                   ::KEY_TYPE option_type, BSTR choices, BSTR comment, SHORT minimum, SHORT maximum,
                   SHORT* decimals, BSTR default_value, ::_INIOption** result) noexcept override;
  STDMETHODIMP Save(VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP Refresh() noexcept override;
  STDMETHODIMP CommentFile(BSTR ini_file, VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP ClearIniComments(BSTR ini_file, VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP RemoveIniComment(BSTR ini_file, BSTR comment,
                                VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP ReportTypes(::_Reports** result) noexcept override;
  // An omitted RecId is a null pointer or a pointer to empty text.
  STDMETHODIMP SectionKeyExists(BSTR section, BSTR key, VARIANT_BOOL local_ini, BSTR* record_id,
                                VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP DeleteOption(BSTR id, VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP put_AddtnlProcError(BSTR text) noexcept override;
  STDMETHODIMP Version(BSTR* result) noexcept override;
  STDMETHODIMP CommentINIKey(BSTR id, VARIANT_BOOL* result) noexcept override;
  STDMETHODIMP Initialize(VARIANT_BOOL* result) noexcept override;

 private:
  ~OptionsObject() override = default;

  void Modified() override;
  void Status(const std::wstring& program_status) override;
  void DLLError(std::int32_t number, const std::wstring& description) override;

  std::shared_ptr<HostThread> thread_;
  AutomationModules modules_;
  catalogue::Options options_;
};

}  // namespace tdefault::automation
