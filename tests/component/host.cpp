#include "host.h"

#include <array>
#include <filesystem>
#include <system_error>

namespace tdefault::component {

namespace {

// The folder of the sample shop as this system names it; under Wine the host's file system is Z:.
std::wstring SampleFolder() {
  std::wstring path;
  for (const char* at = TDEFAULT_SAMPLE_SHOP; *at != '\0'; ++at)
    path += *at == '/' ? L'\\' : static_cast<wchar_t>(*at);
  return path.front() == L'\\' ? L"Z:" + path : path;
}

void CopyFolder(const std::wstring& from, const std::wstring& to) {
  REQUIRE(CreateDirectoryW(to.c_str(), nullptr) != 0);
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW((from + L"\\*").c_str(), &found);
  REQUIRE(search != INVALID_HANDLE_VALUE);
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      const std::wstring name = L"\\" + std::wstring(found.cFileName);
      REQUIRE(CopyFileW((from + name).c_str(), (to + name).c_str(), TRUE) != 0);
    }
  } while (FindNextFileW(search, &found) != 0);
  FindClose(search);
}

// With all that is in it.
void RemoveFolder(const std::wstring& folder) {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

std::wstring ProgramFolder() {
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
  const std::wstring file(path.data());
  return file.substr(0, file.find_last_of(L'\\'));
}

}  // namespace

std::string Utf8(std::wstring_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string converted(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, converted.data(), size, nullptr, nullptr);
  return converted;
}

std::string BstrText(BSTR text) { return Utf8(std::wstring_view(text, SysStringLen(text))); }

std::string Utf8(const Variant& text) {
  REQUIRE(text.get().vt == VT_BSTR);
  return BstrText(text.get().bstrVal);
}

Shop::Shop() {
  std::array<wchar_t, MAX_PATH> temporary{};
  GetTempPathW(MAX_PATH, temporary.data());
  folder_ = temporary.data() + UniqueName(L"tdefault-shop-");
  // What a process of the same number that was ended left.
  RemoveFolder(folder_);
  REQUIRE(CreateDirectoryW(folder_.c_str(), nullptr) != 0);
  CopyFolder(SampleFolder() + L"\\data", data());
  CopyFolder(SampleFolder() + L"\\workstation", folder_ + L"\\workstation");
}

Shop::~Shop() { RemoveFolder(folder_); }

std::wstring UniqueName(const wchar_t* prefix) {
  static int count = 0;
  return prefix + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

HANDLE StartProgram(const std::wstring& name, const std::wstring& arguments) {
  std::wstring command = L"\"" + ProgramFolder() + L"\\" + name + L".exe\" " + arguments;
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  REQUIRE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                         &start, &made) != 0);
  CloseHandle(made.hThread);
  return made.hProcess;
}

HeldFile::HeldFile(const std::wstring& path, DWORD share) {
  const std::wstring name = UniqueName(L"tdefault-held-");
  const HANDLE held = CreateEventW(nullptr, TRUE, FALSE, (name + L"-held").c_str());
  release_ = CreateEventW(nullptr, TRUE, FALSE, (name + L"-release").c_str());
  process_ =
      StartProgram(L"keep_open", L"\"" + path + L"\" " + std::to_wstring(share) + L" " + name);
  const std::array<HANDLE, 2> either{held, process_};
  const DWORD first = WaitForMultipleObjects(2, either.data(), FALSE, 60000);
  CloseHandle(held);
  // Anything else: the helper ended without holding the file.
  REQUIRE(first == WAIT_OBJECT_0);
}

HeldFile::~HeldFile() {
  SetEvent(release_);
  WaitForSingleObject(process_, 60000);
  CloseHandle(process_);
  CloseHandle(release_);
}

Variant Argument(const wchar_t* text) {
  Variant argument;
  argument.get().bstrVal = Bstr(text).Detach();
  argument.get().vt = VT_BSTR;
  return argument;
}

Variant Argument(int number) {
  Variant argument;
  argument.get().vt = VT_I4;
  argument.get().lVal = number;
  return argument;
}

Variant Argument(double number) {
  Variant argument;
  argument.get().vt = VT_R8;
  argument.get().dblVal = number;
  return argument;
}

Variant Argument(bool value) {
  Variant argument;
  argument.get().vt = VT_BOOL;
  argument.get().boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  return argument;
}

Variant Omitted() {
  Variant argument;
  argument.get().vt = VT_ERROR;
  argument.get().scode = DISP_E_PARAMNOTFOUND;
  return argument;
}

VARIANT Reference(Variant& variable) {
  VARIANT reference{};
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &variable.get();
  return reference;
}

LateBound::LateBound(IUnknown* object) {
  REQUIRE(object != nullptr);
  REQUIRE(object->QueryInterface(IID_PPV_ARGS(&object_)) == S_OK);
}

DISPID LateBound::Id(const wchar_t* name) const {
  auto* text = const_cast<wchar_t*>(name);
  DISPID id = DISPID_UNKNOWN;
  CHECK(object_->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id) == S_OK);
  return id;
}

Outcome LateBound::Invoke(DISPID id, WORD flags, DISPPARAMS arguments) const {
  Outcome outcome;
  EXCEPINFO exception{};
  outcome.code = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &arguments,
                                 &outcome.value.get(), &exception, &outcome.wrong_argument);
  if (outcome.code == DISP_E_EXCEPTION) {
    outcome.error = exception.scode;
    outcome.source = BstrText(exception.bstrSource);
    outcome.description = BstrText(exception.bstrDescription);
  }
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  return outcome;
}

Outcome LateBound::Invoke(const wchar_t* name, WORD flags,
                          const std::vector<VARIANT>& arguments) const {
  std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
  DISPID put = DISPID_PROPERTYPUT;
  const bool is_put = (flags & DISPATCH_PROPERTYPUT) != 0;
  return Invoke(Id(name), flags,
                {reversed.data(), is_put ? &put : nullptr, static_cast<UINT>(reversed.size()),
                 is_put ? 1U : 0U});
}

Outcome LateBound::Try(const wchar_t* name, const std::vector<Variant>& arguments) const {
  std::vector<VARIANT> plain;
  plain.reserve(arguments.size());
  for (const Variant& argument : arguments) plain.push_back(argument.get());
  return Invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, plain);
}

Variant LateBound::Get(const wchar_t* name, const std::vector<Variant>& arguments) const {
  Outcome outcome = Try(name, arguments);
  INFO(Utf8(name), ": ", outcome.description);
  CHECK(outcome.code == S_OK);
  return std::move(outcome.value);
}

void LateBound::Put(const wchar_t* name, const wchar_t* text) const {
  const Variant argument = Argument(text);
  const Outcome outcome = Invoke(name, DISPATCH_PROPERTYPUT, {argument.get()});
  INFO(Utf8(name), ": ", outcome.description);
  CHECK(outcome.code == S_OK);
}

ComPtr<::_Options> CreateOptions() {
  ComPtr<::_Options> options;
  REQUIRE(CoCreateInstance(__uuidof(::Options), nullptr, CLSCTX_INPROC_SERVER, __uuidof(::_Options),
                           options.ReceiveAny()) == S_OK);
  return options;
}

ComPtr<::_Options> CreateOptions(const Shop& shop) {
  ComPtr<::_Options> options = CreateOptions();
  REQUIRE(options->put_DataPath(Bstr(shop.data()).get()) == S_OK);
  REQUIRE(options->put_INIFile(Bstr(shop.local_ini()).get()) == S_OK);
  return options;
}

ComPtr<::_Options> OpenShop(const Shop& shop) {
  ComPtr<::_Options> options = CreateOptions(shop);
  VARIANT_BOOL ready = VARIANT_FALSE;
  REQUIRE(options->Initialize(&ready) == S_OK);
  REQUIRE(ready == VARIANT_TRUE);
  return options;
}

ComPtr<::_INIOption> OptionAt(::_Options* options, int position) {
  ComPtr<::_INIOption> option;
  REQUIRE(options->get_Item(Argument(position).get(), &option) == S_OK);
  return option;
}

ComPtr<::_INIOption> FindOption(::_Options* options, const std::string& section,
                                const std::string& key) {
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  for (int position = 1; position <= count; ++position) {
    ComPtr<::_INIOption> option = OptionAt(options, position);
    if (Text(option.Get(), &::_INIOption::get_Section) == section &&
        Text(option.Get(), &::_INIOption::get_Key) == key)
      return option;
  }
  FAIL("no option ", key, " in section ", section);
  return nullptr;
}

ErrorText TakeErrorInformation() {
  ComPtr<IErrorInfo> information;
  if (GetErrorInfo(0, &information) != S_OK) return {};
  BSTR source = nullptr;
  BSTR description = nullptr;
  information->GetSource(&source);
  information->GetDescription(&description);
  ErrorText text{BstrText(source), BstrText(description)};
  SysFreeString(source);
  SysFreeString(description);
  return text;
}

STDMETHODIMP EventHandler::QueryInterface(REFIID iid, void** object) {
  const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
  *object = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ComPtr<IConnectionPoint> PointOf(IUnknown* source, REFIID events) {
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  REQUIRE(source->QueryInterface(IID_PPV_ARGS(&container)) == S_OK);
  REQUIRE(container->FindConnectionPoint(events, &point) == S_OK);
  return point;
}

DWORD Connect(IUnknown* source, REFIID events, EventHandler& handler) {
  DWORD cookie = 0;
  REQUIRE(PointOf(source, events)->Advise(&handler, &cookie) == S_OK);
  return cookie;
}

void Disconnect(IUnknown* source, REFIID events, DWORD cookie) {
  CHECK(PointOf(source, events)->Unadvise(cookie) == S_OK);
}

}  // namespace tdefault::component
