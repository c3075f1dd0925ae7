// What the system calls in the library.
#include <windows.h>
// After windows.h.
#include <olectl.h>

#include "interface/class_factory.h"
#include "interface/module.h"
#include "interface/registration.h"
#include "tdefault_h.h"

using namespace tdefault::automation;

// Only Options has a class object. The other classes are public, so that hosts can declare
// variables of them, but their objects come from Options; asking for their class object fails as
// for a class that the library does not have, which hosts report as "can't create object".
STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (class_id != __uuidof(::Options)) return CLASS_E_CLASSNOTAVAILABLE;
  return GetClassFactory(iid, object);
}

STDAPI DllCanUnloadNow() { return Module::Instance().InUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return Register(); }

STDAPI DllUnregisterServer() { return Unregister(); }

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_THREAD_DETACH) Module::Instance().ForgetCurrentThread();
  return TRUE;
}
