#include "interface/registration.h"

#include <olectl.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

#include "interface/module.h"
#include "tdefault_h.h"

namespace tdefault::automation {

namespace {

constexpr wchar_t kVersion[] = L"104.0";
// Version numbers of type libraries are hexadecimal in the registry.
constexpr wchar_t kLibraryVersionKey[] = L"68.0";
constexpr wchar_t kProgId[] = L"TovoDefaults.Options";

// The system keeps classes and interfaces in a view of the registry for either bitness. Where it
// knows one bitness only, both are the same.
#ifdef _WIN64
constexpr wchar_t kSystemKey[] = L"win64";
constexpr REGSAM kOwnView = KEY_WOW64_64KEY;
constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
#else
constexpr wchar_t kSystemKey[] = L"win32";
constexpr REGSAM kOwnView = KEY_WOW64_32KEY;
constexpr REGSAM kOtherView = KEY_WOW64_64KEY;
#endif

struct PublishedClass {
  const GUID* id;
  const wchar_t* name;
  const wchar_t* prog_id;  // null for a class that hosts do not create
};

constexpr PublishedClass kClasses[] = {
    {&__uuidof(::Options), L"TovoDefaults.Options", kProgId},
    {&__uuidof(::INIOption), L"TovoDefaults.INIOption", nullptr},
    {&__uuidof(::Report), L"TovoDefaults.Report", nullptr},
    {&__uuidof(::Reports), L"TovoDefaults.Reports", nullptr},
    {&__uuidof(::cChoice), L"TovoDefaults.cChoice", nullptr},
    {&__uuidof(::cChoices), L"TovoDefaults.cChoices", nullptr},
};

constexpr const GUID* kInterfaces[] = {&__uuidof(::_Options),  &__uuidof(::_INIOption),
                                       &__uuidof(::_Report),   &__uuidof(::_Reports),
                                       &__uuidof(::_cChoice),  &__uuidof(::_cChoices),
                                       &__uuidof(::__Options), &__uuidof(::__INIOption)};

std::wstring GuidText(REFGUID guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return text;
}

std::wstring ClassKey(const PublishedClass& published) {
  return L"CLSID\\" + GuidText(*published.id);
}

std::wstring LibraryKey() { return L"TypeLib\\" + GuidText(LIBID_TovoDefaults); }

// Remembers the first failure of several steps.
class Outcome {
 public:
  void Note(HRESULT result) noexcept {
    if (SUCCEEDED(result_)) result_ = result;
  }
  [[nodiscard]] HRESULT result() const noexcept { return result_; }

 private:
  HRESULT result_ = S_OK;
};

// Creates the key under HKEY_CLASSES_ROOT where needed; a null name is the key's own value.
HRESULT SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return HRESULT_FROM_WIN32(
      RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(), bytes));
}

// A key that is not there is no failure.
HRESULT RemoveTree(const std::wstring& key, REGSAM view = kOwnView) {
  HKEY opened = nullptr;
  LSTATUS removed = RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0,
                                  KEY_READ | KEY_WRITE | DELETE | view, &opened);
  if (removed == ERROR_SUCCESS) {
    removed = RegDeleteTreeW(opened, nullptr);
    RegCloseKey(opened);
  }
  if (removed == ERROR_SUCCESS) removed = RegDeleteKeyExW(HKEY_CLASSES_ROOT, key.c_str(), view, 0);
  return removed == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(removed);
}

// Whether the key has a subkey other than `ignored`; a key that is not there has none.
bool HasOtherSubkeys(const std::wstring& key, std::initializer_list<std::wstring_view> ignored) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
    return false;
  bool found = false;
  wchar_t name[256];
  for (DWORD index = 0; !found; ++index) {
    DWORD length = 256;
    if (RegEnumKeyExW(opened, index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS)
      break;
    found =
        std::find(ignored.begin(), ignored.end(), std::wstring_view(name, length)) == ignored.end();
  }
  RegCloseKey(opened);
  return found;
}

// Whether the library of the other bitness is registered. To be asked when this one no longer is:
// where the system knows one bitness only, it would be found itself.
bool OtherBitnessIsRegistered() {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, ClassKey(kClasses[0]).c_str(), 0, KEY_READ | kOtherView,
                    &opened) != ERROR_SUCCESS)
    return false;
  RegCloseKey(opened);
  return true;
}

HRESULT RegisterClass(const PublishedClass& published, const std::wstring& path) {
  Outcome outcome;
  const std::wstring key = ClassKey(published);
  outcome.Note(SetText(key, nullptr, published.name));
  outcome.Note(SetText(key + L"\\InprocServer32", nullptr, path));
  outcome.Note(SetText(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"));
  outcome.Note(SetText(key + L"\\TypeLib", nullptr, GuidText(LIBID_TovoDefaults)));
  outcome.Note(SetText(key + L"\\Version", nullptr, kVersion));
  if (published.prog_id != nullptr) {
    outcome.Note(SetText(key + L"\\ProgID", nullptr, published.prog_id));
    outcome.Note(SetText(key + L"\\Programmable", nullptr, L""));
    outcome.Note(SetText(published.prog_id, nullptr, published.name));
    outcome.Note(
        SetText(published.prog_id + std::wstring(L"\\CLSID"), nullptr, GuidText(*published.id)));
  }
  return outcome.result();
}

// The library's own language is US English. Its entry is repeated for the neutral language, because
// a system in another language looks for its own and then for the neutral one only.
HRESULT RegisterLibrary(const std::wstring& path) {
  ComPtr<ITypeLib> library;
  HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
  if (FAILED(result)) return result;
  std::wstring full_path = path;
  std::wstring folder = path.substr(0, path.find_last_of(L'\\') + 1);
  result = RegisterTypeLib(library.Get(), full_path.data(), folder.data());
  if (FAILED(result)) return result;
  return SetText(LibraryKey() + L"\\" + kLibraryVersionKey + L"\\0\\" + kSystemKey, nullptr, path);
}

// Removes the library's entry of one language for this bitness, and the language with the last.
HRESULT RemoveLanguage(const std::wstring& language) {
  const HRESULT removed = RemoveTree(language + L"\\" + kSystemKey);
  if (FAILED(removed) || HasOtherSubkeys(language, {})) return removed;
  return RemoveTree(language);
}

HRESULT RemoveInterfaces(REGSAM view) {
  Outcome outcome;
  for (const GUID* id : kInterfaces) outcome.Note(RemoveTree(L"Interface\\" + GuidText(*id), view));
  return outcome.result();
}

// The other bitness of the library may be registered under the same identifier: only what is ours
// goes. UnRegisterTypeLib does not promise to leave the other's interfaces, without which its
// objects are not passed between apartments.
HRESULT UnregisterLibrary() {
  Outcome outcome;
  const std::wstring version = LibraryKey() + L"\\" + kLibraryVersionKey;
  for (const wchar_t* language : {L"\\0", L"\\409"})
    outcome.Note(RemoveLanguage(version + language));
  outcome.Note(RemoveInterfaces(kOwnView));
  if (HasOtherSubkeys(version, {L"FLAGS", L"HELPDIR"})) return outcome.result();
  // Registering a library of 64 bits makes the interfaces of both.
  outcome.Note(RemoveInterfaces(kOtherView));
  outcome.Note(RemoveTree(version));
  if (!HasOtherSubkeys(LibraryKey(), {})) outcome.Note(RemoveTree(LibraryKey()));
  return outcome.result();
}

}  // namespace

HRESULT Register() noexcept {
  try {
    Outcome outcome;
    const std::wstring path = ModulePath();
    for (const PublishedClass& published : kClasses) {
      if (FAILED(RegisterClass(published, path))) outcome.Note(SELFREG_E_CLASS);
    }
    if (FAILED(RegisterLibrary(path))) outcome.Note(SELFREG_E_TYPELIB);
    if (FAILED(outcome.result())) static_cast<void>(Unregister());
    return outcome.result();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT Unregister() noexcept {
  try {
    Outcome outcome;
    for (const PublishedClass& published : kClasses) {
      if (FAILED(RemoveTree(ClassKey(published)))) outcome.Note(SELFREG_E_CLASS);
    }
    // Both bitnesses have the one name.
    if (!OtherBitnessIsRegistered() && FAILED(RemoveTree(kProgId))) outcome.Note(SELFREG_E_CLASS);
    if (FAILED(UnregisterLibrary())) outcome.Note(SELFREG_E_TYPELIB);
    return outcome.result();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace tdefault::automation
