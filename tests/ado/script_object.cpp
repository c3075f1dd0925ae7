#include "ado/script_object.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/text.h"

namespace tdefault::tests {
namespace {

constexpr LCID kUsEnglish = 1033;

// Errors that were raised with their texts to be filled in later.
Error& LateError() {
  static Error error(0, L"", L"");
  return error;
}

BSTR TextOrNone(const std::wstring& text) { return text.empty() ? nullptr : Bstr(text).Detach(); }

HRESULT __stdcall FillIn(EXCEPINFO* exception) {
  exception->bstrSource = TextOrNone(LateError().source());
  exception->bstrDescription = TextOrNone(LateError().description());
  return S_OK;
}

void Tell(const Error& error, bool late, EXCEPINFO* exception) {
  if (exception == nullptr) return;
  *exception = EXCEPINFO{};
  if (error.number() >= 0 && error.number() < 65536)
    exception->wCode = static_cast<WORD>(error.number());
  else
    exception->scode = error.number();
  LateError() = error;
  if (late)
    exception->pfnDeferredFillIn = FillIn;
  else
    FillIn(exception);
}

std::wstring Shown(const VARIANT& argument) {
  if (argument.vt == VT_DISPATCH) return L"object";
  if ((argument.vt & VT_BYREF) != 0) return L"reference";
  if (argument.vt == VT_BSTR) return L"'" + TextOf(argument) + L"'";
  Variant text;
  if (FAILED(
          VariantChangeTypeEx(&text.get(), automation::ReadOnly(argument), kUsEnglish, 0, VT_BSTR)))
    return L"type " + std::to_wstring(argument.vt);
  return TextOf(text.get());
}

}  // namespace

std::wstring TextOf(const VARIANT& text) {
  if (text.vt != VT_BSTR) throw TypeMismatch(L"stand-in");
  return text.bstrVal == nullptr ? std::wstring()
                                 : std::wstring(text.bstrVal, SysStringLen(text.bstrVal));
}

Variant NumberVariant(std::int32_t number) {
  Variant variant;
  variant.get().vt = VT_I4;
  variant.get().lVal = number;
  return variant;
}

Variant FlagVariant(bool flag) {
  Variant variant;
  variant.get().vt = VT_BOOL;
  variant.get().boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  return variant;
}

Variant TextVariant(const std::wstring& text) {
  Variant variant;
  variant.get().bstrVal = Bstr(text).Detach();
  variant.get().vt = VT_BSTR;
  return variant;
}

Variant ObjectVariant(IDispatch* object) {
  Variant variant;
  object->AddRef();
  variant.get().pdispVal = object;
  variant.get().vt = VT_DISPATCH;
  return variant;
}

Variant BytesVariant(const Bytes& bytes) {
  Variant variant;
  variant.get().parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  variant.get().vt = VT_ARRAY | VT_UI1;
  void* data = nullptr;
  SafeArrayAccessData(variant.get().parray, &data);
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  SafeArrayUnaccessData(variant.get().parray);
  return variant;
}

ScriptObject::ScriptObject(StandInState& state, std::wstring name)
    : state_(state), name_(std::move(name)) {
  ++state_.live_objects;
}

ScriptObject::~ScriptObject() { --state_.live_objects; }

void ScriptObject::HasProperty(const wchar_t* name, Method get, Setter put) {
  const WORD kinds =
      static_cast<WORD>(put ? DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT : DISPATCH_PROPERTYGET);
  members_.push_back({name, kinds, std::move(get), std::move(put)});
}

void ScriptObject::HasMethod(const wchar_t* name, Method call) {
  members_.push_back({name, DISPATCH_METHOD, std::move(call), nullptr});
}

STDMETHODIMP ScriptObject::QueryInterface(REFIID iid, void** object) {
  const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
  *object = known ? static_cast<IDispatch*>(this) : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) ScriptObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP ScriptObject::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

STDMETHODIMP ScriptObject::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** type) {
  *type = nullptr;
  return DISP_E_BADINDEX;
}

STDMETHODIMP ScriptObject::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* names, UINT count, LCID locale,
                                         DISPID* numbers) {
  if (locale != kUsEnglish) return DISP_E_UNKNOWNLCID;
  if (count != 1) return DISP_E_UNKNOWNNAME;
  ++state_.names_asked;
  const auto found = std::find_if(members_.begin(), members_.end(), [names](const Member& member) {
    return EqualIgnoringCase(member.name, *names);
  });
  if (found == members_.end()) return DISP_E_UNKNOWNNAME;
  *numbers = static_cast<DISPID>(found - members_.begin()) + 1;
  return S_OK;
}

STDMETHODIMP ScriptObject::Invoke(DISPID number, REFIID /*iid*/, LCID locale, WORD kind,
                                  DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                  UINT* /*wrong_argument*/) {
  if (locale != kUsEnglish) return DISP_E_UNKNOWNLCID;
  if (number < 1 || number > static_cast<DISPID>(members_.size())) return DISP_E_MEMBERNOTFOUND;
  const Member& member = members_[static_cast<std::size_t>(number) - 1];
  if ((member.kinds & kind) == 0) return DISP_E_MEMBERNOTFOUND;
  // The last reference may be given up while the member runs.
  const ComPtr<IDispatch> self(this);
  try {
    return Run(member, kind, *arguments, result);
  } catch (const Error& error) {
    Tell(error, state_.tells_errors_late, exception);
    return DISP_E_EXCEPTION;
  }
}

HRESULT ScriptObject::Run(const Member& member, WORD kind, const DISPPARAMS& arguments,
                          VARIANT* result) const {
  std::vector<VARIANT> forwards(arguments.rgvarg, arguments.rgvarg + arguments.cArgs);
  std::reverse(forwards.begin(), forwards.end());
  std::wstring call = name_ + L"." + member.name;
  const bool puts = (kind & DISPATCH_PROPERTYPUT) != 0;
  const wchar_t* separator = puts ? L" = " : L" ";
  for (const VARIANT& argument : forwards) {
    call += separator + Shown(argument);
    separator = L", ";
  }
  state_.calls.push_back(call);
  if (puts) {
    const bool named = arguments.cNamedArgs == 1 && arguments.rgdispidNamedArgs != nullptr &&
                       arguments.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
    if (!named || forwards.size() != 1) return DISP_E_BADPARAMCOUNT;
    member.put(forwards.front());
    return S_OK;
  }
  Variant value = member.get(forwards);
  if (result != nullptr) *result = value.Detach();
  return S_OK;
}

}  // namespace tdefault::tests
