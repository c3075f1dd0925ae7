#include "event_relay.h"

#include <dispex.h>
#include <ocidl.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "automation/com_types.h"
#include "late_bound_object.h"

namespace tdefault::component {

namespace {

using automation::ComPtr;

// Calls a method of a script's object by name. Scripts' classes want IDispatchEx and variables by
// reference to a variant.
void CallHandler(IDispatch* handler, BSTR name, const DISPPARAMS& arguments) {
  DISPPARAMS passed = arguments;
  ComPtr<IDispatchEx> extended;
  DISPID id = DISPID_UNKNOWN;
  if (SUCCEEDED(handler->QueryInterface(IID_PPV_ARGS(&extended)))) {
    if (SUCCEEDED(extended->GetDispID(name, fdexNameCaseInsensitive, &id)))
      extended->InvokeEx(id, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &passed, nullptr, nullptr,
                         nullptr);
  } else if (SUCCEEDED(handler->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id))) {
    handler->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &passed, nullptr, nullptr,
                    nullptr);
  }
}

class Sink final : public LateBoundObject {
 public:
  Sink(ComPtr<ITypeInfo> events, IDispatch* handler)
      : events_(std::move(events)), handler_(handler) {}

  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    BSTR name = nullptr;
    UINT count = 0;
    if (events_->GetNames(id, &name, 1, &count) == S_OK && count == 1)
      CallHandler(handler_.Get(), name, *arguments);
    SysFreeString(name);
    return S_OK;
  }

 private:
  ComPtr<ITypeInfo> events_;
  ComPtr<IDispatch> handler_;
};

class Relay final : public LateBoundObject {
 public:
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids =
        CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, *names, -1, L"Connect", -1) == CSTR_EQUAL
            ? kConnect
        : CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, *names, -1, L"Disconnect", -1) ==
                CSTR_EQUAL
            ? kDisconnect
            : DISPID_UNKNOWN;
    return *ids == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
  }

  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    if (id == kDisconnect) {
      Disconnect();
      return S_OK;
    }
    if (id != kConnect || arguments->cArgs != 2) return DISP_E_BADPARAMCOUNT;
    return Connect(ObjectIn(&arguments->rgvarg[1]), ObjectIn(&arguments->rgvarg[0]));
  }

 private:
  static constexpr DISPID kConnect = 1;
  static constexpr DISPID kDisconnect = 2;

  ~Relay() override { Disconnect(); }

  static IDispatch* ObjectIn(VARIANT* argument) {
    while (argument->vt == (VT_BYREF | VT_VARIANT)) argument = argument->pvarVal;
    if (argument->vt == (VT_BYREF | VT_DISPATCH)) return *argument->ppdispVal;
    return argument->vt == VT_DISPATCH ? argument->pdispVal : nullptr;
  }

  HRESULT Connect(IDispatch* source, IDispatch* handler) {
    if (source == nullptr || handler == nullptr) return E_INVALIDARG;
    Disconnect();
    ComPtr<IProvideClassInfo2> provider;
    ComPtr<ITypeInfo> class_type;
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> events;
    ComPtr<IConnectionPointContainer> container;
    GUID iid{};
    UINT index = 0;
    HRESULT result = source->QueryInterface(IID_PPV_ARGS(&provider));
    if (SUCCEEDED(result)) result = provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &iid);
    if (SUCCEEDED(result)) result = provider->GetClassInfo(&class_type);
    if (SUCCEEDED(result)) result = class_type->GetContainingTypeLib(&library, &index);
    if (SUCCEEDED(result)) result = library->GetTypeInfoOfGuid(iid, &events);
    if (SUCCEEDED(result)) result = source->QueryInterface(IID_PPV_ARGS(&container));
    if (SUCCEEDED(result)) result = container->FindConnectionPoint(iid, &point_);
    if (FAILED(result)) return result;
    ComPtr<IDispatch> sink;
    sink.Attach(new Sink(std::move(events), handler));
    return point_->Advise(sink.Get(), &cookie_);
  }

  void Disconnect() {
    if (point_) point_->Unadvise(cookie_);
    point_.Reset();
  }

  ComPtr<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

}  // namespace

IDispatch* NewEventRelay() { return new Relay(); }

}  // namespace tdefault::component
