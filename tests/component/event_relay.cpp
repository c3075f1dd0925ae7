// A test-only automation object "TovoDefaultsTest.EventRelay" that hands the events of an object to
// the methods of a script's object of the same names. Wine's script hosts cannot connect events
// themselves (WScript.ConnectObject).
//
//   Set relay = CreateObject("TovoDefaultsTest.EventRelay")
//   relay.Connect options, handler      ' handler.Modified, handler.Status text, ...
//   relay.Disconnect
#include <windows.h>
// After windows.h.
#include <dispex.h>
#include <ocidl.h>

#include <atomic>
#include <iterator>
#include <string>
#include <vector>

#include "automation/com_types.h"

namespace {

using tdefault::automation::ComPtr;

// {5B0E5C1A-3B1B-4C57-9A3E-6C6A3C2F9D51}
constexpr GUID kClassId = {
    0x5B0E5C1A, 0x3B1B, 0x4C57, {0x9A, 0x3E, 0x6C, 0x6A, 0x3C, 0x2F, 0x9D, 0x51}};
constexpr wchar_t kClassKey[] = L"CLSID\\{5B0E5C1A-3B1B-4C57-9A3E-6C6A3C2F9D51}";
constexpr wchar_t kProgId[] = L"TovoDefaultsTest.EventRelay";

std::atomic<long> users = 0;

// What all late-bound objects here share.
class LateBoundObject : public IDispatch {
 public:
  LateBoundObject() { ++users; }
  LateBoundObject(const LateBoundObject&) = delete;
  LateBoundObject& operator=(const LateBoundObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }

 protected:
  virtual ~LateBoundObject() { --users; }

 private:
  ULONG references_ = 1;
};

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

class Factory final : public IClassFactory {
 public:
  virtual ~Factory() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override {
    ComPtr<IDispatch> made;
    made.Attach(new Relay());
    return made->QueryInterface(iid, object);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

Factory factory;

LSTATUS SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  return RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, void** object) {
  *object = nullptr;
  return class_id == kClassId ? factory.QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return users == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
  wchar_t path[MAX_PATH];
  HMODULE library = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&DllRegisterServer), &library);
  GetModuleFileNameW(library, path, MAX_PATH);
  const std::wstring server = kClassKey + std::wstring(L"\\InprocServer32");
  const bool done =
      SetText(server, nullptr, path) == ERROR_SUCCESS &&
      SetText(server, L"ThreadingModel", L"Apartment") == ERROR_SUCCESS &&
      SetText(kProgId + std::wstring(L"\\CLSID"), nullptr, kClassKey + 6) == ERROR_SUCCESS;
  return done ? S_OK : E_FAIL;
}

STDAPI DllUnregisterServer() {
  RegDeleteTreeW(HKEY_CLASSES_ROOT, kClassKey);
  RegDeleteTreeW(HKEY_CLASSES_ROOT, kProgId);
  return S_OK;
}
