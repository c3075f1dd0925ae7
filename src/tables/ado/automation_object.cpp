#include "tables/ado/automation_object.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "automation/failure_information.h"
#include "base/error.h"

namespace tdefault::tables::ado {
namespace {

Error CreationFailure(const std::wstring& name, HRESULT result) {
  std::wstring text =
      L"An object of the class " + name + L" cannot be created (" + Hexadecimal(result) + L"). ";
  if (result == CO_E_NOTINITIALIZED) {
    text += L"COM is not initialised on this thread; the program has to call CoInitialize first.";
  } else {
    text +=
        L"The class, a part of Windows, is missing or damaged for programs of this bitness: repair "
        L"it, or set the environment variable TDEFAULT_TABLES to \"embedded\".";
  }
  return {result, name, text};
}

}  // namespace

VARIANT Argument(std::int32_t number) noexcept {
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_I4;
  argument.lVal = number;
  return argument;
}

VARIANT Argument(const Bstr& text) noexcept {
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_BSTR;
  argument.bstrVal = text.get();
  return argument;
}

VARIANT Argument(IDispatch* object) noexcept {
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_DISPATCH;
  argument.pdispVal = object;
  return argument;
}

VARIANT Argument(Variant& value) noexcept {
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_BYREF | VT_VARIANT;
  argument.pvarVal = &value.get();
  return argument;
}

AutomationObject AutomationObject::Create(const wchar_t* programmatic_identifier) {
  CLSID identifier{};
  ComPtr<IDispatch> object;
  HRESULT result = CLSIDFromProgID(programmatic_identifier, &identifier);
  if (SUCCEEDED(result))
    result = CoCreateInstance(identifier, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              object.ReceiveAny());
  if (SUCCEEDED(result) && !object) result = E_NOINTERFACE;
  if (FAILED(result)) throw CreationFailure(programmatic_identifier, result);
  return {std::move(object), programmatic_identifier};
}

AutomationObject::AutomationObject(ComPtr<IDispatch> object, std::wstring name)
    : object_(std::move(object)),
      name_(std::move(name)),
      numbers_(std::make_shared<MemberNumbers>()) {}

AutomationObject::AutomationObject(ComPtr<IDispatch> object, const AutomationObject& sibling)
    : object_(std::move(object)), name_(sibling.name_), numbers_(sibling.numbers_) {}

DISPID AutomationObject::NumberOf(const wchar_t* member) const {
  const auto known = numbers_->find(member);
  if (known != numbers_->end()) return known->second;
  DISPID number = DISPID_UNKNOWN;
  std::wstring changeable = member;  // what the call declares
  LPOLESTR name = changeable.data();
  const HRESULT result = object_->GetIDsOfNames(IID_NULL, &name, 1, kLocale, &number);
  if (FAILED(result)) {
    throw Error(result, name_,
                L"The object " + name_ + L" knows no member " + member + L" (" +
                    Hexadecimal(result) +
                    L"): its registration is damaged. Repair it, or set the environment variable "
                    L"TDEFAULT_TABLES to \"embedded\".");
  }
  numbers_->emplace(member, number);
  return number;
}

Variant AutomationObject::Invoke(const wchar_t* member, WORD kind, DISPPARAMS& arguments) const {
  const DISPID number = NumberOf(member);
  Variant result;
  FailureInformation exception;
  UINT wrong_argument = 0;
  const HRESULT called =
      object_->Invoke(number, IID_NULL, kLocale, kind, &arguments,
                      (kind & DISPATCH_PROPERTYPUT) != 0 ? nullptr : &result.get(),
                      exception.Receive(), &wrong_argument);
  if (SUCCEEDED(called)) return result;
  std::int32_t code = called;
  std::wstring source;
  std::wstring description;
  if (called == DISP_E_EXCEPTION) {
    exception.Complete();
    code = exception.number();
    source = exception.source();
    description = exception.description();
  }
  if (source.empty()) source = name_;
  if (description.empty())
    description = name_ + L"." + member + L" failed (" + Hexadecimal(code) +
                  L") and told no reason. See whether the provider VFPOLEDB.1 is installed for "
                  L"programs of this bitness, or set the environment variable TDEFAULT_TABLES to "
                  L"\"embedded\".";
  throw Error(code, source, description);
}

Variant AutomationObject::InvokeWith(const wchar_t* member, WORD kind,
                                     std::initializer_list<VARIANT> arguments) const {
  std::vector<VARIANT> backwards(arguments);
  std::reverse(backwards.begin(), backwards.end());
  DISPPARAMS parameters{};
  parameters.rgvarg = backwards.data();
  parameters.cArgs = static_cast<UINT>(backwards.size());
  return Invoke(member, kind, parameters);
}

Variant AutomationObject::Get(const wchar_t* member,
                              std::initializer_list<VARIANT> arguments) const {
  return InvokeWith(member, DISPATCH_PROPERTYGET, arguments);
}

void AutomationObject::Put(const wchar_t* member, const VARIANT& value) const {
  VARIANT argument = value;
  DISPID named = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&argument, &named, 1, 1};
  static_cast<void>(Invoke(member, DISPATCH_PROPERTYPUT, parameters));
}

Variant AutomationObject::Call(const wchar_t* member,
                               std::initializer_list<VARIANT> arguments) const {
  return InvokeWith(member, DISPATCH_METHOD, arguments);
}

Variant AutomationObject::GetAs(const wchar_t* member, VARTYPE type,
                                std::initializer_list<VARIANT> arguments) const {
  Variant value = Get(member, arguments);
  if (FAILED(VariantChangeTypeEx(&value.get(), &value.get(), kLocale, 0, type)))
    throw Error(error_number::kTableDamaged, name_,
                name_ + L"." + member + L" gave a value of an unexpected type.");
  return value;
}

std::int32_t AutomationObject::GetNumber(const wchar_t* member) const {
  return GetAs(member, VT_I4, {}).get().lVal;
}

bool AutomationObject::GetFlag(const wchar_t* member) const {
  return GetAs(member, VT_BOOL, {}).get().boolVal != VARIANT_FALSE;
}

std::wstring AutomationObject::GetText(const wchar_t* member) const {
  return TextOf(GetAs(member, VT_BSTR, {}).get().bstrVal);
}

ComPtr<IDispatch> AutomationObject::GetChild(const wchar_t* member,
                                             std::initializer_list<VARIANT> arguments) const {
  const Variant value = GetAs(member, VT_DISPATCH, arguments);
  if (value.get().pdispVal == nullptr)
    throw Error(error_number::kTableDamaged, name_, name_ + L"." + member + L" gave no object.");
  return value.get().pdispVal;
}

}  // namespace tdefault::tables::ado
