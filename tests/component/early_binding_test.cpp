// The dual interfaces through their vtables, as compiled hosts use them.
#include "host.h"

using namespace tdefault::component;

TEST_CASE("a compiled host reads an option through the dual interface") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  LONG location = 0;
  CHECK(options->get_Location(&location) == S_OK);
  CHECK(location == 3);
  CHECK(Text(options.Get(), &::_Options::get_DataPath) == Utf8(shop.data()));
  CHECK(Text(options.Get(), &::_Options::get_GlobalIni) == Utf8(shop.global_ini()));
  CHECK(Text(options.Get(), &::_Options::get_INIFile) == Utf8(shop.local_ini()));

  const ComPtr<::_INIOption> option = FindOption(options.Get(), "Defaults", "DataPath");
  CHECK(Text(option.Get(), &::_INIOption::get_CurrentValue) == "C:\\SHOP\\DATA");
  CHECK(Text(option.Get(), &::_INIOption::get_ID).size() == 36);
  VARIANT_BOOL local = VARIANT_FALSE;
  CHECK(option->get_LocalINI(&local) == S_OK);
  CHECK(local == VARIANT_TRUE);
  ::KEY_TYPE type = STRING_VALUE;
  CHECK(option->get_OptionType(&type) == S_OK);
  CHECK(type == PATH_VALUE);
}

TEST_CASE("a new value of 100 characters keeps its first 80") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = OptionAt(options.Get(), 1);
  CHECK(option->put_NewValue(Bstr(std::wstring(100, L'x')).get()) == S_OK);
  CHECK(Text(option.Get(), &::_INIOption::get_NewValue) == std::string(80, 'x'));
  CHECK(option->put_NewValue(nullptr) == S_OK);
  CHECK(Text(option.Get(), &::_INIOption::get_NewValue) == "");
}

TEST_CASE("a null pointer for a result is refused") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  CHECK(options->get_Count(nullptr) == E_POINTER);
  CHECK(options->get_DataPath(nullptr) == E_POINTER);
  CHECK(options->get_Item(Argument(1).get(), nullptr) == E_POINTER);
  CHECK(options->NewEnum(nullptr) == E_POINTER);
  CHECK(options->ReportTypes(nullptr) == E_POINTER);
  CHECK(options->QueryInterface(IID_IUnknown, nullptr) == E_POINTER);
}

TEST_CASE("a failed member clears its result") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  auto* left = reinterpret_cast<::_INIOption*>(options.Get());
  CHECK(options->get_Item(Argument(100000).get(), &left) == static_cast<HRESULT>(0x800A0005));
  CHECK(left == nullptr);
}

TEST_CASE("a compiled host adds an option with and without a reference for Decimals") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const auto add = [&](SHORT* decimals) {
    ComPtr<::_INIOption> added;
    REQUIRE(options->Add(VARIANT_TRUE, Bstr(L"Tax").get(), Bstr(L"Rate9").get(), nullptr,
                         NUMERIC_VALUE, nullptr, Bstr(L"The rate.").get(), -5, 100, decimals,
                         Bstr(L"7").get(), &added) == S_OK);
    SHORT read = -1;
    CHECK(added->get_Decimals(&read) == S_OK);
    return read;
  };
  SHORT decimals = 2;
  CHECK(add(&decimals) == 2);
  CHECK(decimals == 2);
  CHECK(add(nullptr) == 0);
}

TEST_CASE("a missing by-reference argument that is not optional is refused") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  ComPtr<::_Reports> reports;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  VARIANT_BOOL saved = VARIANT_TRUE;
  CHECK(reports->SaveReports(Bstr(L"INV1").get(), nullptr, nullptr, &saved) == E_POINTER);
  CHECK(saved == VARIANT_FALSE);
}

TEST_CASE("a layout's picture is an array of bytes") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  ComPtr<::_Reports> reports;
  ComPtr<::_Report> report;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  REQUIRE(reports->Item(Argument(L"inv1").get(), &report) == S_OK);
  Variant picture;
  REQUIRE(report->get_Picture(&picture.get()) == S_OK);
  REQUIRE(picture.get().vt == (VT_ARRAY | VT_UI1));
  LONG last = 0;
  CHECK(SafeArrayGetUBound(picture.get().parray, 1, &last) == S_OK);
  CHECK(last > 100);
  BYTE first = 0;
  LONG position = 0;
  CHECK(SafeArrayGetElement(picture.get().parray, &position, &first) == S_OK);
  CHECK(first == 'B');  // a Windows bitmap
}

TEST_CASE("each object tells its class and its default events") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = OptionAt(options.Get(), 1);
  ComPtr<::_Reports> reports;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  const auto check = [](IUnknown* object, REFGUID class_id, REFGUID events) {
    ComPtr<IProvideClassInfo2> provider;
    REQUIRE(object->QueryInterface(IID_PPV_ARGS(&provider)) == S_OK);
    ComPtr<ITypeInfo> type;
    REQUIRE(provider->GetClassInfo(&type) == S_OK);
    TYPEATTR* attributes = nullptr;
    REQUIRE(type->GetTypeAttr(&attributes) == S_OK);
    CHECK(attributes->typekind == TKIND_COCLASS);
    CHECK(attributes->guid == class_id);
    type->ReleaseTypeAttr(attributes);
    GUID source{};
    const bool has_events = !(events == GUID{});
    CHECK(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &source) ==
          (has_events ? S_OK : E_INVALIDARG));
    CHECK(source == events);
    CHECK(provider->GetGUID(99, &source) == E_INVALIDARG);
  };
  check(options.Get(), __uuidof(::Options), __uuidof(::__Options));
  check(option.Get(), __uuidof(::INIOption), __uuidof(::__INIOption));
  check(reports.Get(), __uuidof(::Reports), GUID{});
}
