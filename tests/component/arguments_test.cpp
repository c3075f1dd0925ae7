// Arguments that hosts should not pass, what becomes of variables, and what an object answers to.
#include <ocidl.h>

#include "host.h"

using namespace tdefault::component;

namespace {

constexpr auto kTypeMismatch = static_cast<HRESULT>(0x800A000D);
constexpr auto kObjectNotSet = static_cast<HRESULT>(0x800A005B);

Variant Nothing() {
  Variant nothing;
  nothing.get().vt = VT_DISPATCH;
  nothing.get().pdispVal = nullptr;
  return nothing;
}

// A value of a type that automation does not know.
VARIANT OfUnknownType() {
  VARIANT unknown{};
  unknown.vt = 77;
  return unknown;
}

// The required arguments of Add in declared order; `odd` in place of the one at `position`.
std::vector<VARIANT> AddArguments(const std::vector<Variant>& usual, std::size_t position,
                                  const VARIANT& odd) {
  std::vector<VARIANT> arguments;
  for (const Variant& argument : usual) arguments.push_back(argument.get());
  arguments[position] = odd;
  return arguments;
}

// An object whose default property is a text.
class TextObject final : public IDispatch {
 public:
  explicit TextObject(const wchar_t* text) : text_(text) {}
  virtual ~TextObject() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    if (id != DISPID_VALUE || result == nullptr) return DISP_E_MEMBERNOTFOUND;
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocString(text_);
    return S_OK;
  }

  [[nodiscard]] ULONG references() const { return references_; }

 private:
  const wchar_t* text_;
  ULONG references_ = 1;
};

Variant Holding(TextObject& object) {
  Variant variable;
  object.AddRef();
  variable.get().vt = VT_DISPATCH;
  variable.get().pdispVal = &object;
  return variable;
}

}  // namespace

TEST_CASE("arguments for a member that gives Nothing are the error of a variable not set") {
  const Apartment apartment;
  const ComPtr<::_Options> early = CreateOptions();
  const LateBound options(early.Get());
  const Outcome outcome = options.Try(L"ReportTypes", Arguments(1));
  CHECK(outcome.code == DISP_E_EXCEPTION);
  CHECK(outcome.error == kObjectNotSet);
  CHECK(outcome.source == "TovoDefaults");
  CHECK(outcome.description == "Object variable or With block variable not set");
  // A caller without interest in the texts.
  VARIANT first = Argument(1).get();
  DISPPARAMS arguments{&first, nullptr, 1, 0};
  CHECK(options.get()->Invoke(options.Id(L"ReportTypes"), IID_NULL, LOCALE_USER_DEFAULT, kCall,
                              &arguments, nullptr, nullptr, nullptr) == DISP_E_EXCEPTION);
  // A member that gives no object takes no arguments at all.
  CHECK(options.Try(L"Version", Arguments(1)).code == DISP_E_BADPARAMCOUNT);
  CHECK(options.Try(L"Count", Arguments(1)).code == DISP_E_BADPARAMCOUNT);
}

TEST_CASE("Nothing and values of unknown types are mismatches of the argument they are given for") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const Variant nothing = Nothing();
  const std::vector<Variant> usual = Arguments(true, L"Tax", L"Rate9", L"", 1, L"", L"The rate.");
  SHORT before = options.Get(L"Count").get().iVal;
  for (std::size_t position = 0; position < usual.size(); ++position) {
    CAPTURE(position);
    for (const VARIANT& odd : {nothing.get(), OfUnknownType()}) {
      const Outcome outcome = options.Invoke(L"Add", kCall, AddArguments(usual, position, odd));
      CHECK(outcome.code == DISP_E_TYPEMISMATCH);
      // Counted from the last argument.
      CHECK(outcome.wrong_argument == usual.size() - 1 - position);
    }
  }
  CHECK(options.Get(L"Count").get().iVal == before);
  const std::string path = options.Text(L"DataPath");
  for (const int flags :
       {DISPATCH_PROPERTYPUT + 0, DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF}) {
    const Outcome outcome = options.Invoke(L"DataPath", static_cast<WORD>(flags), {nothing.get()});
    CHECK(outcome.code == DISP_E_TYPEMISMATCH);
    CHECK(outcome.wrong_argument == 0);
  }
  CHECK(options.Text(L"DataPath") == path);
}

TEST_CASE("an index of no use is error 13 of the Item that was asked") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> early = OpenShop(shop);
  const LateBound options(early.Get());
  const LateBound reports(options.Get(L"ReportTypes"));
  const LateBound choices(LateBound(options.Get(L"Item", Arguments(1))).Get(L"Choices"));
  const auto check = [](const LateBound& collection, const char* source) {
    const auto refuses = [&](const VARIANT& index) {
      const Outcome outcome = collection.Invoke(L"Item", kCall, {index});
      CHECK(outcome.code == DISP_E_EXCEPTION);
      CHECK(outcome.error == kTypeMismatch);
      CHECK(outcome.source == source);
      CHECK(outcome.description == "Type mismatch");
    };
    refuses(Variant().get());
    refuses(Nothing().get());
    Variant array;
    array.get().parray = SafeArrayCreateVector(VT_I4, 0, 2);
    array.get().vt = VT_ARRAY | VT_I4;
    refuses(array.get());
  };
  check(options, ":Item");
  check(reports, "Reports:Item");
  check(choices, "cChoices:Item");
}

TEST_CASE("a null reference as an argument is refused, late and early bound") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> early = OpenShop(shop);
  const LateBound options(early.Get());
  VARIANT none{};
  none.vt = VT_BYREF | VT_I4;
  VARIANT behind{};
  behind.vt = VT_BYREF | VT_VARIANT;
  behind.pvarVal = &none;
  for (const VARIANT& index : {none, behind}) {
    const Outcome outcome = options.Invoke(L"Item", kCall, {index});
    CHECK(outcome.code == E_POINTER);
    CHECK(outcome.wrong_argument == 0);
    ComPtr<::_INIOption> option;
    CHECK(early->get_Item(index, &option) == E_POINTER);
    CHECK(!option);
    CHECK(TakeErrorInformation().source == "TovoDefaults");
  }
}

TEST_CASE("a variable that holds an object keeps it when the member changes nothing") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const LateBound choices(LateBound(options.Get(L"Item", Arguments(1))).Get(L"Choices"));
  TextObject object(L"3");
  {
    Variant variable = Holding(object);
    const Variant item = Argument(L"1");
    const Outcome added = choices.Invoke(L"Add", kCall, {item.get(), Reference(variable)});
    REQUIRE(added.code == S_OK);
    CHECK(LateBound(added.value).Text(L"Description") == "3");
    CHECK(variable.get().vt == VT_DISPATCH);
    CHECK(variable.get().pdispVal == &object);

    std::vector<Variant> usual =
        Arguments(true, L"Tax", L"Rate9", L"", 1, L"", L"The rate.", 0, 9, 0);
    const Outcome option =
        options.Invoke(L"Add", kCall, AddArguments(usual, 9, Reference(variable)));
    REQUIRE(option.code == S_OK);
    CHECK(LateBound(option.value).Get(L"Decimals").get().iVal == 3);
    CHECK(variable.get().vt == VT_DISPATCH);
    CHECK(variable.get().pdispVal == &object);
  }
  CHECK(object.references() == 1);
}

TEST_CASE("NewValue takes a value with and without leave to assign an object") {
  const Apartment apartment;
  const Shop shop;
  const LateBound option(OptionAt(OpenShop(shop).Get(), 1).Get());
  const Variant text = Argument(L"by value");
  const auto put = [&](int flags, const VARIANT& value) {
    DISPID name = DISPID_PROPERTYPUT;
    VARIANT argument = value;
    return option.Invoke(option.Id(L"NewValue"), static_cast<WORD>(flags), {&argument, &name, 1, 1})
        .code;
  };
  CHECK(put(DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF, text.get()) == S_OK);
  CHECK(option.Text(L"NewValue") == "by value");
  // An object assigned as a value counts as its default property.
  TextObject object(L"of an object");
  CHECK(put(DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF, Holding(object).get()) == S_OK);
  CHECK(option.Text(L"NewValue") == "of an object");
  CHECK(put(DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF, Nothing().get()) ==
        DISP_E_TYPEMISMATCH);
  CHECK(put(DISPATCH_PROPERTYPUTREF, Holding(object).get()) == DISP_E_MEMBERNOTFOUND);
  CHECK(option.Text(L"NewValue") == "of an object");
}

TEST_CASE("members that only compiled hosts use are not offered by name or number") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> early = OpenShop(shop);
  const LateBound options(early.Get());
  for (const wchar_t* name : {L"QueryInterface", L"AddRef", L"Release", L"GetTypeInfoCount",
                              L"GetTypeInfo", L"GetIDsOfNames", L"Invoke"}) {
    CAPTURE(Utf8(name));
    auto* text = const_cast<wchar_t*>(name);
    DISPID id = 0;
    CHECK(options.get()->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id) ==
          DISP_E_UNKNOWNNAME);
    CHECK(id == DISPID_UNKNOWN);
  }
  for (const DISPID id :
       {0x60000000, 0x60000001, 0x60000002, 0x60010000, 0x60010001, 0x60010002, 0x60010003}) {
    CAPTURE(id);
    CHECK(options.Invoke(id, kCall, {}).code == DISP_E_MEMBERNOTFOUND);
  }
  // Known ones are still found with the names of their parameters.
  std::vector<wchar_t*> names;
  for (const wchar_t* name : {L"add", L"section", L"colour"})
    names.push_back(const_cast<wchar_t*>(name));
  std::vector<DISPID> ids(3);
  CHECK(options.get()->GetIDsOfNames(IID_NULL, names.data(), 3, LOCALE_USER_DEFAULT, ids.data()) ==
        DISP_E_UNKNOWNNAME);
  CHECK(ids == std::vector<DISPID>{options.Id(L"Add"), 1, DISPID_UNKNOWN});
}

TEST_CASE("every object describes its interface for late binding") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> early = OpenShop(shop);
  const LateBound options(early.Get());
  const Variant option = options.Get(L"Item", Arguments(1));
  const Variant choices = LateBound(option).Get(L"Choices");
  const Variant reports = options.Get(L"ReportTypes");
  const Variant report = options.Get(L"ReportTypes", Arguments(1));
  const auto check = [](IDispatch* object, REFGUID iid) {
    UINT count = 0;
    CHECK(object->GetTypeInfoCount(&count) == S_OK);
    CHECK(count == 1);
    CHECK(object->GetTypeInfoCount(nullptr) == E_POINTER);
    ComPtr<ITypeInfo> type;
    REQUIRE(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &type) == S_OK);
    TYPEATTR* attributes = nullptr;
    REQUIRE(type->GetTypeAttr(&attributes) == S_OK);
    CHECK(attributes->guid == iid);
    CHECK(attributes->typekind == TKIND_DISPATCH);
    CHECK((attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0);
    type->ReleaseTypeAttr(attributes);
    auto* left = reinterpret_cast<ITypeInfo*>(object);
    CHECK(object->GetTypeInfo(1, LOCALE_USER_DEFAULT, &left) == DISP_E_BADINDEX);
    CHECK(left == nullptr);
    CHECK(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr) == E_POINTER);
  };
  check(options.get(), __uuidof(::_Options));
  check(option.get().pdispVal, __uuidof(::_INIOption));
  check(choices.get().pdispVal, __uuidof(::_cChoices));
  check(reports.get().pdispVal, __uuidof(::_Reports));
  check(report.get().pdispVal, __uuidof(::_Report));
}

TEST_CASE("every interface of an object leads to the same identity and to all the others") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = OptionAt(options.Get(), 1);
  const auto check = [](IUnknown* object, REFIID dual) {
    const std::vector<IID> interfaces = {dual,
                                         IID_IDispatch,
                                         IID_ISupportErrorInfo,
                                         IID_IProvideClassInfo,
                                         IID_IProvideClassInfo2,
                                         IID_IConnectionPointContainer};
    ComPtr<IUnknown> identity;
    REQUIRE(object->QueryInterface(IID_PPV_ARGS(&identity)) == S_OK);
    for (const IID& from : interfaces) {
      ComPtr<IUnknown> pointer;
      REQUIRE(object->QueryInterface(from, pointer.ReceiveAny()) == S_OK);
      ComPtr<IUnknown> same;
      REQUIRE(pointer->QueryInterface(IID_PPV_ARGS(&same)) == S_OK);
      CHECK(same.Get() == identity.Get());
      for (const IID& to : interfaces) {
        ComPtr<IUnknown> other;
        CHECK(pointer->QueryInterface(to, other.ReceiveAny()) == S_OK);
      }
      void* none = object;
      CHECK(pointer->QueryInterface(IID_IStream, &none) == E_NOINTERFACE);
      CHECK(none == nullptr);
      CHECK(pointer->QueryInterface(IID_IUnknown, nullptr) == E_POINTER);
    }
    ComPtr<ISupportErrorInfo> support;
    REQUIRE(object->QueryInterface(IID_PPV_ARGS(&support)) == S_OK);
    CHECK(support->InterfaceSupportsErrorInfo(dual) == S_OK);
    CHECK(support->InterfaceSupportsErrorInfo(IID_IDispatch) == S_OK);
    CHECK(support->InterfaceSupportsErrorInfo(IID_IConnectionPointContainer) == S_FALSE);
  };
  check(options.Get(), __uuidof(::_Options));
  check(option.Get(), __uuidof(::_INIOption));
}
