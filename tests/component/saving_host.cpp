// saving_host DATA LOCAL_INI KEY NAME: a host of a process of its own. Opens the shop; then, each
// time the event NAME-turn is set, loads it again, gives the option OPTIONS / KEY the number of the
// turn, saves and sets NAME-done. Ends when NAME-end is set, or with the turn at which something
// failed.
#include <windows.h>
// After windows.h.
#include <array>
#include <cwchar>
#include <string>

#include "automation/com_types.h"
#include "tdefault_h.h"

namespace {

using tdefault::automation::Bstr;
using tdefault::automation::ComPtr;

HANDLE Event(const std::wstring& name) {
  return OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, name.c_str());
}

ComPtr<::_Options> Open(const wchar_t* data, const wchar_t* local_ini) {
  ComPtr<::_Options> options;
  CoCreateInstance(__uuidof(::Options), nullptr, CLSCTX_INPROC_SERVER, __uuidof(::_Options),
                   options.ReceiveAny());
  if (!options) return nullptr;
  options->put_DataPath(Bstr(data).get());
  options->put_INIFile(Bstr(local_ini).get());
  VARIANT_BOOL ready = VARIANT_FALSE;
  const HRESULT opened = options->Initialize(&ready);
  return SUCCEEDED(opened) && ready != VARIANT_FALSE ? options : nullptr;
}

ComPtr<::_INIOption> Find(::_Options* options, const std::wstring& key) {
  SHORT count = 0;
  options->get_Count(&count);
  for (long position = 1; position <= count; ++position) {
    VARIANT index{};
    index.vt = VT_I4;
    index.lVal = position;
    ComPtr<::_INIOption> option;
    BSTR name = nullptr;
    if (FAILED(options->get_Item(index, &option)) || FAILED(option->get_Key(&name))) return nullptr;
    const bool found = key == name;
    SysFreeString(name);
    if (found) return option;
  }
  return nullptr;
}

bool Save(::_Options* options, const std::wstring& key, int turn) {
  if (FAILED(options->Refresh())) return false;
  const ComPtr<::_INIOption> option = Find(options, key);
  if (!option || FAILED(option->put_NewValue(Bstr(std::to_wstring(turn)).get()))) return false;
  VARIANT_BOOL saved = VARIANT_FALSE;
  return SUCCEEDED(options->Save(&saved)) && saved != VARIANT_FALSE;
}

int Run(wchar_t** arguments) {
  const std::wstring name = arguments[4];
  const std::array<HANDLE, 2> wake{Event(name + L"-end"), Event(name + L"-turn")};
  const HANDLE done = Event(name + L"-done");
  const ComPtr<::_Options> options = Open(arguments[1], arguments[2]);
  if (!options) return 1;
  SetEvent(done);
  for (int turn = 1;; ++turn) {
    const DWORD woken = WaitForMultipleObjects(2, wake.data(), FALSE, 120000);
    if (woken == WAIT_OBJECT_0) return 0;
    if (woken != WAIT_OBJECT_0 + 1 || !Save(options.Get(), arguments[3], turn)) return turn;
    SetEvent(done);
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 5) return 87;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const int result = Run(arguments);
  CoUninitialize();
  return result;
}
