#include "tovocfg/event_sink.h"

#include "tdefault_h.h"

namespace tovocfg {

namespace {

// The events' numbers in the type library.
constexpr DISPID kModified = 1;
constexpr DISPID kStatus = 2;
constexpr DISPID kDllError = 3;

std::wstring TextOf(const VARIANT& value) {
  if (value.vt != VT_BSTR || value.bstrVal == nullptr) return {};
  return {value.bstrVal, SysStringLen(value.bstrVal)};
}

}  // namespace

HRESULT EventSink::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch) && iid != __uuidof(__Options))
    return E_NOINTERFACE;
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG EventSink::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT EventSink::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT EventSink::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** /*info*/) {
  return E_NOTIMPL;
}

HRESULT EventSink::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* /*names*/, UINT /*count*/,
                                 LCID /*locale*/, DISPID* /*ids*/) {
  return E_NOTIMPL;
}

HRESULT EventSink::Invoke(DISPID member, REFIID /*iid*/, LCID /*locale*/, WORD /*flags*/,
                          DISPPARAMS* parameters, VARIANT* /*result*/, EXCEPINFO* /*error*/,
                          UINT* /*bad_argument*/) {
  const UINT count = parameters == nullptr ? 0 : parameters->cArgs;
  if (member == kModified) {
    listener_.modified();
  } else if (member == kStatus && count == 1) {
    listener_.status(TextOf(parameters->rgvarg[0]));
  } else if (member == kDllError && count == 2) {
    // Arguments come in reverse order.
    const VARIANT& number = parameters->rgvarg[1];
    listener_.dll_error(number.vt == VT_I4 ? number.lVal : 0, TextOf(parameters->rgvarg[0]));
  } else {
    return DISP_E_MEMBERNOTFOUND;
  }
  return S_OK;
}

}  // namespace tovocfg
