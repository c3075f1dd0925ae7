// A host that finds the library through its manifest only:
//   registration_free_host INI_FILE DATA_FOLDER [apartments]
// Opens the shop, changes an option and saves it; with the word apartments, uses the catalogue from
// another apartment before, which takes the type library and the marshallers that the manifest
// names. Prints what it saw; ends with 1 at the first call that fails.
#include <windows.h>
// After windows.h.
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tdefault_h.h"

namespace {

void Check(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::printf("FAILED %s: %08lX\n", what, static_cast<unsigned long>(result));
  std::fflush(stdout);
  std::exit(1);
}

// Waits for an event while this thread's objects can be called from others.
void WaitServing(HANDLE event) {
  while (MsgWaitForMultipleObjects(1, &event, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
}

short CountFromAnotherApartment(_Options* options) {
  IStream* stream = nullptr;
  Check(CoMarshalInterThreadInterfaceInStream(__uuidof(_Options), options, &stream), "marshal");
  const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  short count = 0;
  std::thread other([&] {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "apartment");
    _Options* proxy = nullptr;
    Check(CoGetInterfaceAndReleaseStream(stream, __uuidof(_Options),
                                         reinterpret_cast<void**>(&proxy)),
          "unmarshal");
    Check(proxy->get_Count(&count), "Count through the proxy");
    proxy->Release();
    CoUninitialize();
    SetEvent(done);
  });
  WaitServing(done);
  other.join();
  CloseHandle(done);
  return count;
}

void UseOtherApartment(_Options* options) {
  ITypeLib* library = nullptr;
  Check(LoadRegTypeLib(LIBID_TovoDefaults, 104, 0, 0x409, &library), "LoadRegTypeLib");
  library->Release();
  std::printf("options from another apartment: %d\n", CountFromAnotherApartment(options));
}

_INIOption* Find(_Options* options, const wchar_t* section, const wchar_t* key) {
  short count = 0;
  Check(options->get_Count(&count), "Count");
  for (short position = 1; position <= count; ++position) {
    VARIANT index;
    VariantInit(&index);
    index.vt = VT_I2;
    index.iVal = position;
    _INIOption* option = nullptr;
    Check(options->get_Item(index, &option), "Item");
    BSTR its_section = nullptr;
    BSTR its_key = nullptr;
    Check(option->get_Section(&its_section), "Section");
    Check(option->get_Key(&its_key), "Key");
    const bool found = lstrcmpiW(its_section, section) == 0 && lstrcmpiW(its_key, key) == 0;
    SysFreeString(its_section);
    SysFreeString(its_key);
    if (found) return option;
    option->Release();
  }
  Check(E_FAIL, "looking for the option");
  return nullptr;
}

void Save(_Options* options) {
  _INIOption* option = Find(options, L"Tax", L"Rate1");
  const BSTR value = SysAllocString(L"7.125");
  Check(option->put_NewValue(value), "NewValue");
  SysFreeString(value);
  option->Release();
  VARIANT_BOOL saved = VARIANT_FALSE;
  Check(options->Save(&saved), "Save");
  std::printf("saved: %s\n", saved != VARIANT_FALSE ? "yes" : "no");
}

void OpenShop(_Options* options, const wchar_t* ini_file, const wchar_t* data_folder) {
  const BSTR file = SysAllocString(ini_file);
  const BSTR folder = SysAllocString(data_folder);
  Check(options->put_INIFile(file), "INIFile");
  Check(options->put_DataPath(folder), "DataPath");
  SysFreeString(file);
  SysFreeString(folder);
  VARIANT_BOOL opened = VARIANT_FALSE;
  Check(options->Initialize(&opened), "Initialize");
  std::printf("opened: %s\n", opened != VARIANT_FALSE ? "yes" : "no");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 3 && count != 4) return 2;
  Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx");
  CLSID class_id;
  Check(CLSIDFromProgID(L"TovoDefaults.Options", &class_id), "CLSIDFromProgID");
  _Options* options = nullptr;
  Check(CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(_Options),
                         reinterpret_cast<void**>(&options)),
        "CoCreateInstance");
  OpenShop(options, arguments[1], arguments[2]);
  if (count == 4) UseOtherApartment(options);
  Save(options);
  options->Release();
  CoUninitialize();
  std::printf("done\n");
  return 0;
}
