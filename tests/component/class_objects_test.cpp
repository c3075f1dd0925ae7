// Class objects, registration and the version resource.
#include <array>

#include "host.h"

using namespace tdefault::component;

namespace {

constexpr std::array<const GUID*, 5> kNotCreatable = {&__uuidof(::INIOption), &__uuidof(::Report),
                                                      &__uuidof(::Reports), &__uuidof(::cChoice),
                                                      &__uuidof(::cChoices)};
constexpr std::array<const GUID*, 8> kInterfaces = {
    &__uuidof(::_Options),  &__uuidof(::_INIOption), &__uuidof(::_Report),
    &__uuidof(::_Reports),  &__uuidof(::_cChoice),   &__uuidof(::_cChoices),
    &__uuidof(::__Options), &__uuidof(::__INIOption)};

std::wstring GuidText(REFGUID guid) {
  std::array<wchar_t, 39> text{};
  StringFromGUID2(guid, text.data(), 39);
  return text.data();
}

// The text of a key under HKEY_CLASSES_ROOT; "<none>" when it is not there.
std::string RegistryText(const std::wstring& key, const wchar_t* name = nullptr) {
  std::array<wchar_t, 1024> text{};
  DWORD size = sizeof text;
  if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text.data(),
                   &size) != ERROR_SUCCESS)
    return "<none>";
  return Utf8(text.data());
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

TEST_CASE("only Options can be created, the other classes have no class object") {
  const Apartment apartment;
  for (const GUID* id : kNotCreatable) {
    ComPtr<IClassFactory> factory;
    CHECK(CoGetClassObject(*id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)) ==
          CLASS_E_CLASSNOTAVAILABLE);
    CHECK(!factory);
    ComPtr<IUnknown> object;
    CHECK(CoCreateInstance(*id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)) ==
          CLASS_E_CLASSNOTAVAILABLE);
    CHECK(!object);
  }
  CHECK(CreateOptions());
}

TEST_CASE("Options is created by its programmatic identifier") {
  const Apartment apartment;
  CLSID id{};
  REQUIRE(CLSIDFromProgID(L"TovoDefaults.Options", &id) == S_OK);
  CHECK(id == __uuidof(::Options));
  LPOLESTR name = nullptr;
  REQUIRE(ProgIDFromCLSID(__uuidof(::Options), &name) == S_OK);
  CHECK(Utf8(name) == "TovoDefaults.Options");
  CoTaskMemFree(name);
}

TEST_CASE("the class object of Options refuses aggregation and interfaces it does not have") {
  const Apartment apartment;
  ComPtr<IClassFactory> factory;
  REQUIRE(CoGetClassObject(__uuidof(::Options), CLSCTX_INPROC_SERVER, nullptr,
                           IID_PPV_ARGS(&factory)) == S_OK);
  ComPtr<IUnknown> object;
  const ComPtr<::_Options> outer = CreateOptions();
  CHECK(factory->CreateInstance(outer.Get(), IID_PPV_ARGS(&object)) == CLASS_E_NOAGGREGATION);
  CHECK(factory->CreateInstance(nullptr, IID_IStream, object.ReceiveAny()) == E_NOINTERFACE);
  CHECK(!object);
  CHECK(factory->CreateInstance(nullptr, IID_IUnknown, nullptr) == E_POINTER);
}

TEST_CASE("registration writes the six classes with their threading model and type library") {
  const std::string library = Utf8(GuidText(LIBID_TovoDefaults));
  std::array<const GUID*, 6> classes{&__uuidof(::Options)};
  std::copy(kNotCreatable.begin(), kNotCreatable.end(), classes.begin() + 1);
  for (const GUID* id : classes) {
    const std::wstring key = L"CLSID\\" + GuidText(*id);
    CHECK(EndsWith(RegistryText(key + L"\\InprocServer32"), "tdefault.dll"));
    CHECK(RegistryText(key + L"\\InprocServer32", L"ThreadingModel") == "Apartment");
    CHECK(RegistryText(key + L"\\TypeLib") == library);
    CHECK(RegistryText(key + L"\\Version") == "104.0");
    const bool creatable = *id == __uuidof(::Options);
    CHECK(RegistryText(key + L"\\ProgID") == (creatable ? "TovoDefaults.Options" : "<none>"));
  }
  CHECK(RegistryText(L"TovoDefaults.Options\\CLSID") == Utf8(GuidText(__uuidof(::Options))));
}

TEST_CASE("registration writes the type library and its interfaces for every language") {
  const Apartment apartment;
  for (const LCID locale : {1033UL, 1031UL, 0UL}) {
    tdefault::component::ComPtr<ITypeLib> library;
    CHECK(LoadRegTypeLib(LIBID_TovoDefaults, 104, 0, locale, &library) == S_OK);
  }
  const std::string library = Utf8(GuidText(LIBID_TovoDefaults));
  for (const GUID* id : kInterfaces)
    CHECK(RegistryText(L"Interface\\" + GuidText(*id) + L"\\TypeLib") == library);
}

TEST_CASE("the version resource tells installers to register the library") {
  const Apartment apartment;
  const ComPtr<::_Options> options = CreateOptions();
  const HMODULE library = GetModuleHandleW(L"tdefault.dll");
  REQUIRE(library != nullptr);
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(library, path.data(), MAX_PATH);
  std::vector<BYTE> resource(GetFileVersionInfoSizeW(path.data(), nullptr));
  REQUIRE(GetFileVersionInfoW(path.data(), 0, static_cast<DWORD>(resource.size()),
                              resource.data()) != 0);
  void* value = nullptr;
  UINT length = 0;
  const auto text = [&](const wchar_t* name) {
    const std::wstring entry = L"\\StringFileInfo\\040904B0\\" + std::wstring(name);
    return VerQueryValueW(resource.data(), entry.c_str(), &value, &length) != 0
               ? Utf8(static_cast<const wchar_t*>(value))
               : "<none>";
  };
  CHECK(text(L"OLESelfRegister") == "");
  CHECK(text(L"ProductName") == "Tovo Defaults");
  CHECK(text(L"OriginalFilename") == "tdefault.dll");

  // File version major.minor.0.revision; Version is major.minor.revision.
  REQUIRE(VerQueryValueW(resource.data(), L"\\", &value, &length) != 0);
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
  CHECK(HIWORD(fixed->dwFileVersionLS) == 0);
  const std::string version = std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." +
                              std::to_string(LOWORD(fixed->dwFileVersionMS)) + "." +
                              std::to_string(LOWORD(fixed->dwFileVersionLS));
  CHECK(Text(options.Get(), &::_Options::Version) == version);
  CHECK(version == TDEFAULT_PROJECT_VERSION);
}
