// The library of the automation objects that tests need: registered like any other, test-only.
#include <windows.h>
// After windows.h.
#include <oaidl.h>

#include <array>
#include <string>

#include "automation/com_types.h"
#include "event_relay.h"
#include "late_bound_object.h"
#include "test_module.h"

namespace {

using namespace tdefault::component;
using tdefault::automation::ComPtr;

class Factory final : public IClassFactory {
 public:
  explicit Factory(IDispatch* (*make)()) : make_(make) {}
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
    made.Attach(make_());
    return made->QueryInterface(iid, object);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

 private:
  IDispatch* (*make_)();
};

struct Class {
  GUID id;
  const wchar_t* id_text;
  const wchar_t* programmatic_identifier;
  Factory factory;
};

std::array<Class, 2> classes = {
    Class{{0x5B0E5C1A, 0x3B1B, 0x4C57, {0x9A, 0x3E, 0x6C, 0x6A, 0x3C, 0x2F, 0x9D, 0x51}},
          L"{5B0E5C1A-3B1B-4C57-9A3E-6C6A3C2F9D51}",
          L"TovoDefaultsTest.EventRelay",
          Factory(NewEventRelay)},
    Class{{0x7D1C8F42, 0x05A6, 0x4E0B, {0x8E, 0x57, 0x21, 0xC9, 0x6B, 0x0D, 0x3F, 0xA4}},
          L"{7D1C8F42-05A6-4E0B-8E57-21C96B0D3FA4}",
          L"TovoDefaultsTest.Module",
          Factory(NewTestModule)}};

LSTATUS SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  return RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

std::wstring KeyOf(const Class& known) { return std::wstring(L"CLSID\\") + known.id_text; }

}  // namespace

STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, void** object) {
  *object = nullptr;
  for (Class& known : classes)
    if (known.id == class_id) return known.factory.QueryInterface(iid, object);
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return users == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
  wchar_t path[MAX_PATH];
  HMODULE library = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&DllRegisterServer), &library);
  GetModuleFileNameW(library, path, MAX_PATH);
  for (const Class& known : classes) {
    const std::wstring server = KeyOf(known) + L"\\InprocServer32";
    const std::wstring name = known.programmatic_identifier;
    if (SetText(server, nullptr, path) != ERROR_SUCCESS ||
        SetText(server, L"ThreadingModel", L"Apartment") != ERROR_SUCCESS ||
        SetText(name + L"\\CLSID", nullptr, known.id_text) != ERROR_SUCCESS)
      return E_FAIL;
  }
  return S_OK;
}

STDAPI DllUnregisterServer() {
  for (const Class& known : classes) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, KeyOf(known).c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, known.programmatic_identifier);
  }
  return S_OK;
}
