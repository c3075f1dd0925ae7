#include "test_module.h"

#include <array>
#include <cwchar>
#include <iterator>
#include <string>

#include "automation/com_types.h"
#include "late_bound_object.h"

namespace tdefault::component {

namespace {

using automation::Bstr;
using automation::Variant;

constexpr LCID kUsEnglish = 1033;
constexpr HRESULT kRaised = static_cast<HRESULT>(0x800403EB);  // vbObjectError + 1003

// In the order of their numbers, from 1.
constexpr std::array<const wchar_t*, 8> kMethods = {L"Succeed", L"Fail",     L"Raise",   L"Nothing",
                                                    L"Perhaps", L"CallBack", L"Replace", L"B:C"};

HRESULT Raise(EXCEPINFO* exception, HRESULT code, const wchar_t* description) {
  if (exception == nullptr) return E_POINTER;
  *exception = EXCEPINFO{};
  exception->scode = code;
  exception->bstrSource = SysAllocString(L"TovoDefaultsTest.Module");
  exception->bstrDescription = SysAllocString(description);
  return DISP_E_EXCEPTION;
}

DISPID Find(IDispatch* object, const wchar_t* member) {
  DISPID id = DISPID_UNKNOWN;
  std::wstring name = member;
  LPOLESTR names = name.data();
  object->GetIDsOfNames(IID_NULL, &names, 1, kUsEnglish, &id);
  return id;
}

void LeaveError(IDispatch* catalogue, const std::wstring& text) {
  const Bstr owner(text);
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = owner.get();
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS arguments{&value, &put, 1, 1};
  catalogue->Invoke(Find(catalogue, L"AddtnlProcError"), IID_NULL, kUsEnglish, DISPATCH_PROPERTYPUT,
                    &arguments, nullptr, nullptr, nullptr);
}

void CallBack(IDispatch* catalogue) {
  DISPPARAMS none{};
  catalogue->Invoke(Find(catalogue, L"Refresh"), IID_NULL, kUsEnglish, DISPATCH_METHOD, &none,
                    nullptr, nullptr, nullptr);
  Variant count;
  catalogue->Invoke(Find(catalogue, L"Count"), IID_NULL, kUsEnglish, DISPATCH_PROPERTYGET, &none,
                    &count.get(), nullptr, nullptr);
  LeaveError(catalogue, std::to_wstring(count.get().iVal) + L" options");
}

class TestModule final : public LateBoundObject {
 public:
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = DISPID_UNKNOWN;
    for (std::size_t i = 0; i < kMethods.size(); ++i)
      if (_wcsicmp(*names, kMethods[i]) == 0) *ids = static_cast<DISPID>(i + 1);
    return *ids == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
  }

  STDMETHODIMP Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* arguments,
                      VARIANT* result, EXCEPINFO* exception, UINT*) override {
    const bool as_modules_are = locale == kUsEnglish && flags == DISPATCH_METHOD &&
                                arguments->cArgs == 1 && arguments->cNamedArgs == 0 &&
                                arguments->rgvarg[0].vt == (VT_BYREF | VT_DISPATCH);
    if (!as_modules_are) return Raise(exception, E_INVALIDARG, L"called in another way");
    return Run(id, *arguments->rgvarg[0].ppdispVal, result, exception);
  }

 private:
  static HRESULT Run(DISPID id, IDispatch*& catalogue, VARIANT* result, EXCEPINFO* exception) {
    result->vt = VT_BOOL;
    result->boolVal = VARIANT_TRUE;
    switch (id) {
      case 2:
        LeaveError(catalogue, L"no stock");
        result->boolVal = VARIANT_FALSE;
        return S_OK;
      case 3:
        result->vt = VT_EMPTY;
        return Raise(exception, kRaised, L"the printer is off");
      case 4:
        result->vt = VT_EMPTY;
        return S_OK;
      case 5:
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(L"perhaps");
        return S_OK;
      case 6:
        CallBack(catalogue);
        result->boolVal = VARIANT_FALSE;
        return S_OK;
      case 7:
        catalogue->Release();
        catalogue = nullptr;
        return S_OK;
      default:
        return S_OK;
    }
  }
};

}  // namespace

IDispatch* NewTestModule() { return new TestModule(); }

}  // namespace tdefault::component
