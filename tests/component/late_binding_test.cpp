// Calls by name, as scripts make them.
#include "host.h"

using namespace tdefault::component;

namespace {

// The arguments of Add up to Comment; what follows is optional.
std::vector<Variant> AddArguments() {
  return Arguments(true, L"Tax", L"Rate9", L"", 1, L"", L"The rate.");
}

std::vector<VARIANT> Plain(const std::vector<Variant>& arguments) {
  std::vector<VARIANT> plain;
  for (const Variant& argument : arguments) plain.push_back(argument.get());
  return plain;
}

// A key of the invoice layout, in the local INI file as it is now.
std::string Stored(const Shop& shop, const wchar_t* key) {
  std::wstring value(100, L'\0');
  value.resize(GetPrivateProfileStringW(L"InvoiceControl", key, L"", value.data(), 100,
                                        shop.local_ini().c_str()));
  return Utf8(value);
}

}  // namespace

TEST_CASE("the default member of Options is Item") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  CHECK(options.Id(L"Item") == DISPID_VALUE);
  VARIANT first = Argument(1).get();
  const Outcome by_default = options.Invoke(DISPID_VALUE, kCall, {&first, nullptr, 1, 0});
  REQUIRE(by_default.code == S_OK);
  CHECK(LateBound(by_default.value).Text(L"ID") ==
        LateBound(options.Get(L"Item", Arguments(1))).Text(L"ID"));
}

TEST_CASE("Item finds an option by position and by ID in another letter case") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const std::string id = LateBound(options.Get(L"Item", Arguments(2))).Text(L"ID");
  std::wstring other;
  for (const char character : id) other += static_cast<wchar_t>(tolower(character));
  CHECK(Utf8(other) != id);
  CHECK(LateBound(options.Get(L"Item", Arguments(other.c_str()))).Text(L"ID") == id);
  CHECK(LateBound(options.Get(L"Item", Arguments(2.0))).Text(L"ID") == id);
}

TEST_CASE("Item with a position or an ID that does not exist is an error") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const auto error = [&](auto index) { return options.Try(L"Item", Arguments(index)).error; };
  CHECK(error(0) == static_cast<HRESULT>(0x800A0005));
  CHECK(error(-1) == static_cast<HRESULT>(0x800A0005));
  CHECK(error(100000) == static_cast<HRESULT>(0x800A0005));
  CHECK(error(L"no such option") == static_cast<HRESULT>(0x800A0005));
}

TEST_CASE("the enumerator answers as a method, as a property and as both") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> early = OpenShop(shop);
  const LateBound options(early.Get());
  for (const int flags : {DISPATCH_METHOD, DISPATCH_PROPERTYGET, kCall + 0}) {
    const Outcome outcome = options.Invoke(DISPID_NEWENUM, static_cast<WORD>(flags), {});
    REQUIRE(outcome.code == S_OK);
    CHECK(outcome.value.get().vt == VT_UNKNOWN);
    ComPtr<IEnumVARIANT> enumerator;
    CHECK(outcome.value.get().punkVal->QueryInterface(IID_PPV_ARGS(&enumerator)) == S_OK);
  }
}

TEST_CASE("a member answers to its published kind only") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  CHECK(options.Invoke(L"Count", DISPATCH_PROPERTYGET, {}).code == S_OK);
  CHECK(options.Invoke(L"Count", DISPATCH_METHOD, {}).code == DISP_E_MEMBERNOTFOUND);
  const LateBound reports(options.Get(L"ReportTypes"));
  CHECK(reports.Invoke(L"Count", DISPATCH_METHOD, {}).code == S_OK);
  CHECK(reports.Invoke(L"Count", DISPATCH_PROPERTYGET, {}).code == DISP_E_MEMBERNOTFOUND);
  const LateBound option(options.Get(L"Item", Arguments(1)));
  const Variant text = Argument(L"x");
  CHECK(option.Invoke(L"Key", DISPATCH_PROPERTYPUT, {text.get()}).code == DISP_E_MEMBERNOTFOUND);
}

TEST_CASE("AddtnlProcError can be written and not read") {
  const Apartment apartment;
  const LateBound options(CreateOptions().Get());
  options.Put(L"AddtnlProcError", L"no stock");
  CHECK(options.Try(L"AddtnlProcError").code == DISP_E_MEMBERNOTFOUND);
}

TEST_CASE("unknown names, wrong counts and wrong types are refused as usual") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  auto* unknown = const_cast<wchar_t*>(L"Colour");
  DISPID id = 0;
  CHECK(options.get()->GetIDsOfNames(IID_NULL, &unknown, 1, LOCALE_USER_DEFAULT, &id) ==
        DISP_E_UNKNOWNNAME);
  CHECK(options.get()->GetIDsOfNames(IID_IUnknown, &unknown, 1, LOCALE_USER_DEFAULT, &id) ==
        DISP_E_UNKNOWNINTERFACE);
  CHECK(options.Try(L"Save", Arguments(1)).code == DISP_E_BADPARAMCOUNT);
  CHECK(options.Try(L"RemoveIniComment", Arguments(L"x")).code == DISP_E_PARAMNOTOPTIONAL);

  std::vector<Variant> arguments = AddArguments();
  arguments[4] = Argument(L"abc");
  const Outcome outcome = options.Try(L"Add", arguments);
  CHECK(outcome.code == DISP_E_TYPEMISMATCH);
  // Counted from the last argument.
  CHECK(outcome.wrong_argument == 2);
  arguments[4] = Argument(1);
  arguments.push_back(Argument(40000));
  CHECK(options.Try(L"Add", arguments).code == DISP_E_OVERFLOW);
}

TEST_CASE("omitted optional arguments of Add count as 0 and empty text") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const auto check = [](const LateBound& added, int minimum, int maximum, const char* text) {
    CHECK(added.Get(L"Minimum").get().iVal == minimum);
    CHECK(added.Get(L"Maximum").get().iVal == maximum);
    CHECK(added.Get(L"Decimals").get().iVal == 0);
    CHECK(added.Text(L"Default") == text);
  };
  check(LateBound(options.Get(L"Add", AddArguments())), 0, 0, "");
  std::vector<Variant> arguments = AddArguments();
  arguments.push_back(Omitted());
  arguments.push_back(Argument(9));
  arguments.push_back(Omitted());
  arguments.push_back(Argument(L"5"));
  check(LateBound(options.Get(L"Add", arguments)), 0, 9, "5");
}

TEST_CASE("arguments may be named, in any order") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  std::vector<wchar_t*> names;
  for (const wchar_t* name : {L"Add", L"Default", L"Maximum"})
    names.push_back(const_cast<wchar_t*>(name));
  std::vector<DISPID> ids(3);
  REQUIRE(options.get()->GetIDsOfNames(IID_NULL, names.data(), 3, LOCALE_USER_DEFAULT,
                                       ids.data()) == S_OK);
  // Named arguments stand first, the others behind them from the last to the first.
  const Variant default_value = Argument(L"7");
  const Variant maximum = Argument(70);
  std::vector<Variant> positional = AddArguments();
  std::vector<VARIANT> all = {default_value.get(), maximum.get()};
  for (auto at = positional.rbegin(); at != positional.rend(); ++at) all.push_back(at->get());
  const Outcome outcome =
      options.Invoke(ids[0], kCall, {all.data(), &ids[1], static_cast<UINT>(all.size()), 2});
  REQUIRE(outcome.code == S_OK);
  const LateBound added(outcome.value);
  CHECK(added.Text(L"Default") == "7");
  CHECK(added.Get(L"Maximum").get().iVal == 70);
  CHECK(added.Get(L"Minimum").get().iVal == 0);
  CHECK(added.Text(L"Key") == "Rate9");

  // A name that no parameter has, and a parameter given twice.
  std::vector<DISPID> unknown = {99, ids[2]};
  CHECK(
      options.Invoke(ids[0], kCall, {all.data(), unknown.data(), static_cast<UINT>(all.size()), 2})
          .code == DISP_E_PARAMNOTFOUND);
  std::vector<DISPID> twice = {0, ids[2]};
  CHECK(options.Invoke(ids[0], kCall, {all.data(), twice.data(), static_cast<UINT>(all.size()), 2})
            .code == DISP_E_PARAMNOTFOUND);
}

TEST_CASE("Add returns the changed Decimals to a caller that passes a variable") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  std::vector<Variant> arguments = AddArguments();
  arguments.push_back(Argument(0));
  arguments.push_back(Argument(0));
  std::vector<VARIANT> plain = Plain(arguments);
  Variant variable = Argument(2.6);
  plain.push_back(Reference(variable));
  const Outcome outcome = options.Invoke(L"Add", kCall, plain);
  REQUIRE(outcome.code == S_OK);
  CHECK(LateBound(outcome.value).Get(L"Decimals").get().iVal == 3);
  CHECK(variable.get().vt == VT_I2);
  CHECK(variable.get().iVal == 3);

  // A variable that holds the value already keeps its own type.
  variable = Argument(4);
  plain.back() = Reference(variable);
  CHECK(options.Invoke(L"Add", kCall, plain).code == S_OK);
  CHECK(variable.get().vt == VT_I4);

  // References of the exact and of another type.
  SHORT exact = 5;
  plain.back().vt = VT_BYREF | VT_I2;
  plain.back().piVal = &exact;
  CHECK(options.Invoke(L"Add", kCall, plain).code == S_OK);
  CHECK(exact == 5);
  double other = 1.5;
  plain.back().vt = VT_BYREF | VT_R8;
  plain.back().pdblVal = &other;
  CHECK(options.Invoke(L"Add", kCall, plain).code == S_OK);
  CHECK(other == 2.0);
}

TEST_CASE("text parameters by reference take a script's variable and give it back") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const LateBound choices(
      LateBound(FindOption(OpenShop(shop).Get(), "Defaults", "IdleMinutes").Get()).Get(L"Choices"));
  Variant description = Argument(12);
  const Variant item = Argument(L"1");
  const Outcome added = choices.Invoke(L"Add", kCall, {item.get(), Reference(description)});
  REQUIRE(added.code == S_OK);
  CHECK(LateBound(added.value).Text(L"Description") == "12");
}

TEST_CASE("SaveReports takes a script's variables and Refresh shows the layout it saved") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const LateBound reports(options.Get(L"ReportTypes"));
  const auto is_current = [&](const wchar_t* name) {
    const LateBound report(reports.Get(L"Item", Arguments(name)));
    return report.Get(L"CurrentReport").get().boolVal == VARIANT_TRUE;
  };
  REQUIRE(is_current(L"INV2"));
  Variant file = Argument(shop.local_ini().c_str());
  const Variant name = Argument(L"inv1");
  for (const int with_pricing : {0, 1}) {
    Variant pricing = Argument(with_pricing);
    const Outcome saved =
        reports.Invoke(L"SaveReports", kCall, {name.get(), Reference(pricing), Reference(file)});
    REQUIRE(saved.code == S_OK);
    CHECK(saved.value.get().vt == VT_BOOL);
    CHECK(saved.value.get().boolVal == VARIANT_FALSE);
    CHECK(Utf8(file) == Utf8(shop.local_ini()));
    CHECK(Stored(shop, L"InvoiceStyle") == "INV1");
    CHECK(Stored(shop, L"DedInvoiceStyle") == (with_pricing != 0 ? "INV1D" : "INV1D$"));
    CHECK(Stored(shop, L"FaxReport") == "inv1");
    // A number that is the truth value already keeps its type.
    CHECK(pricing.get().vt == (with_pricing != 0 ? VT_BOOL : VT_I4));
    if (with_pricing != 0) CHECK(pricing.get().boolVal == VARIANT_TRUE);
  }
  CHECK(is_current(L"INV2"));
  CHECK(reports.Try(L"Refresh").code == S_OK);
  CHECK(is_current(L"INV1"));
  CHECK(!is_current(L"INV2"));
}

TEST_CASE("results have the published types") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  CHECK(options.Get(L"Count").get().vt == VT_I2);
  CHECK(options.Get(L"Location").get().vt == VT_I4);
  CHECK(options.Get(L"DataPath").get().vt == VT_BSTR);
  const LateBound option(options.Get(L"Item", Arguments(1)));
  CHECK(option.Get(L"OptionType").get().vt == VT_I4);
  CHECK(option.Get(L"LocalINI").get().vt == VT_BOOL);
  CHECK(option.Get(L"LocalINI").get().boolVal == -1);
  CHECK(option.Get(L"Minimum").get().vt == VT_I2);
  CHECK(option.Get(L"Choices").get().vt == VT_DISPATCH);
}

TEST_CASE("a truth value assigned to a new value becomes the word") {
  const Apartment apartment;
  const Shop shop;
  const LateBound option(OptionAt(OpenShop(shop).Get(), 1).Get());
  const Variant yes = Argument(true);
  CHECK(option.Invoke(L"NewValue", DISPATCH_PROPERTYPUT, {yes.get()}).code == S_OK);
  CHECK(option.Text(L"NewValue") == "True");
  const Variant number = Argument(12);
  CHECK(option.Invoke(L"NewValue", DISPATCH_PROPERTYPUT, {number.get()}).code == S_OK);
  CHECK(option.Text(L"NewValue") == "12");
}

TEST_CASE("arguments for a member that gives an object go to the object's default member") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const LateBound report(options.Get(L"ReportTypes", Arguments(1)));
  CHECK(report.Text(L"ReportName") == "INV1");
  CHECK(options.Try(L"ReportTypes", Arguments(100)).error == static_cast<HRESULT>(0x800A0009));
}
