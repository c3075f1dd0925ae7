#include "interface/options_object.h"

#include "interface/ini_option_object.h"
#include "interface/reports_object.h"

namespace tdefault::automation {

namespace {

constexpr DISPID kModified = 1;
constexpr DISPID kStatus = 2;
constexpr DISPID kDLLError = 3;

// A text argument of an event; `text` stays the owner.
VARIANT TextArgument(const Bstr& text) {
  VARIANT argument{};
  argument.vt = VT_BSTR;
  argument.bstrVal = text.get();
  return argument;
}

}  // namespace

OptionsObject::OptionsObject()
    : thread_(Module::Instance().CurrentThread()),
      modules_(this, thread_->platform().session),
      options_(thread_->platform(), thread_->tables(), thread_->location()) {
  options_.ListenTo(this);
  options_.RunModulesOf(&modules_);
  options_.SearchWith(&thread_->data_folder_search());
}

void OptionsObject::Modified() { events().Fire(kModified, {}); }

void OptionsObject::Status(const std::wstring& program_status) {
  const Bstr text(program_status);
  events().Fire(kStatus, {TextArgument(text)});
}

void OptionsObject::DLLError(std::int32_t number, const std::wstring& description) {
  const Bstr text(description);
  VARIANT code{};
  code.vt = VT_I4;
  code.lVal = number;
  events().Fire(kDLLError, {code, TextArgument(text)});
}

STDMETHODIMP OptionsObject::get_Item(VARIANT index, ::_INIOption** result) noexcept {
  return Answer(result,
                [&] { return Show<INIOptionObject>(options_.Item(ToValue(index, L":Item"))); });
}

STDMETHODIMP OptionsObject::NewEnum(IUnknown** result) noexcept {
  return Answer(result, [&] { return Enumerate<INIOptionObject>(options_.elements()); });
}

STDMETHODIMP OptionsObject::get_Count(SHORT* result) noexcept {
  return Answer(result, [&] { return options_.Count(); });
}

STDMETHODIMP OptionsObject::put_DataPath(BSTR value) noexcept {
  return Perform([&] { options_.SetDataPath(ToText(value)); });
}

STDMETHODIMP OptionsObject::get_DataPath(BSTR* result) noexcept {
  return Answer(result, [&] { return options_.DataPath(); });
}

STDMETHODIMP OptionsObject::get_GlobalIni(BSTR* result) noexcept {
  return Answer(result, [&] { return options_.GlobalIni(); });
}

STDMETHODIMP OptionsObject::get_INIFile(BSTR* result) noexcept {
  return Answer(result, [&] { return options_.INIFile(); });
}

STDMETHODIMP OptionsObject::put_INIFile(BSTR value) noexcept {
  return Perform([&] { options_.SetINIFile(ToText(value)); });
}

STDMETHODIMP OptionsObject::get_Location(LONG* result) noexcept {
  return Answer(result, [&] { return options_.Location(); });
}

STDMETHODIMP OptionsObject::Add(VARIANT_BOOL local_ini, BSTR section, BSTR key, BSTR linkedfield,
                                ::KEY_TYPE option_type, BSTR choices, BSTR comment, SHORT minimum,
                                SHORT maximum, SHORT* decimals, BSTR default_value,
                                ::_INIOption** result) noexcept {
  return Answer(result, [&] {
    catalogue::NewOption definition;
    definition.local_ini = ToBool(local_ini);
    definition.section = ToText(section);
    definition.key = ToText(key);
    definition.linkedfield = ToText(linkedfield);
    definition.option_type = static_cast<records::KEY_TYPE>(option_type);
    definition.choices = ToText(choices);
    definition.comment = ToText(comment);
    definition.minimum = minimum;
    definition.maximum = maximum;
    definition.decimals = decimals == nullptr ? std::int16_t{0} : *decimals;
    definition.default_value = ToText(default_value);
    return Show<INIOptionObject>(options_.Add(definition));
  });
}

STDMETHODIMP OptionsObject::Save(VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.Save(); });
}

STDMETHODIMP OptionsObject::Refresh() noexcept {
  return Perform([&] { options_.Refresh(); });
}

STDMETHODIMP OptionsObject::CommentFile(BSTR ini_file, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.CommentFile(ToText(ini_file)); });
}

STDMETHODIMP OptionsObject::ClearIniComments(BSTR ini_file, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.ClearIniComments(ToText(ini_file)); });
}

STDMETHODIMP OptionsObject::RemoveIniComment(BSTR ini_file, BSTR comment,
                                             VARIANT_BOOL* result) noexcept {
  return Answer(result,
                [&] { return options_.RemoveIniComment(ToText(ini_file), ToText(comment)); });
}

STDMETHODIMP OptionsObject::ReportTypes(::_Reports** result) noexcept {
  return Answer(result, [&] { return Show<ReportsObject>(options_.ReportTypes()); });
}

STDMETHODIMP OptionsObject::SectionKeyExists(BSTR section, BSTR key, VARIANT_BOOL local_ini,
                                             BSTR* record_id, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] {
    std::wstring id = record_id == nullptr ? std::wstring() : ToText(*record_id);
    const bool exists =
        options_.SectionKeyExists(ToText(section), ToText(key), ToBool(local_ini), id);
    if (exists && record_id != nullptr) Replace(id, record_id);
    return exists;
  });
}

STDMETHODIMP OptionsObject::DeleteOption(BSTR id, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.DeleteOption(ToText(id)); });
}

STDMETHODIMP OptionsObject::put_AddtnlProcError(BSTR text) noexcept {
  return Perform([&] { options_.SetAddtnlProcError(ToText(text)); });
}

STDMETHODIMP OptionsObject::Version(BSTR* result) noexcept {
  return Answer(result, [&] { return options_.Version(); });
}

STDMETHODIMP OptionsObject::CommentINIKey(BSTR id, VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.CommentINIKey(ToText(id)); });
}

STDMETHODIMP OptionsObject::Initialize(VARIANT_BOOL* result) noexcept {
  return Answer(result, [&] { return options_.Initialize(); });
}

}  // namespace tdefault::automation
