// The option's event, which no member raises by itself.
#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "interface/ini_option_object.h"

using namespace tdefault;
using namespace tdefault::automation;

namespace {

// Writes down each INIModified.
class Handler final : public IDispatch {
 public:
  virtual ~Handler() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == __uuidof(::__INIOption);
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    CHECK(id == 1);
    REQUIRE(arguments->cArgs == 1);
    REQUIRE(arguments->rgvarg[0].vt == VT_BOOL);
    calls += arguments->rgvarg[0].boolVal == VARIANT_TRUE ? "true " : "false ";
    return S_OK;
  }

  std::string calls;
};

}  // namespace

TEST_CASE("setting the changed flag raises INIModified with it, also when it stays the same") {
  const auto option = std::make_shared<records::INIOption>();
  const ComPtr<::_INIOption> object = Show<INIOptionObject>(option);
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  REQUIRE(object.As(&container) == S_OK);
  REQUIRE(container->FindConnectionPoint(__uuidof(::__INIOption), &point) == S_OK);
  Handler handler;
  DWORD cookie = 0;
  REQUIRE(point->Advise(&handler, &cookie) == S_OK);
  option->SetModified(true);
  option->SetModified(true);
  option->SetModified(false);
  CHECK(handler.calls == "true true false ");
  REQUIRE(point->Unadvise(cookie) == S_OK);
  option->SetModified(true);
  CHECK(handler.calls == "true true false ");
}

TEST_CASE("an option that outlives its automation object raises nothing") {
  const auto option = std::make_shared<records::INIOption>();
  ComPtr<::_INIOption> object = Show<INIOptionObject>(option);
  object.Reset();
  option->SetModified(true);
  CHECK(option->Modified());
  CHECK(Show<INIOptionObject>(option));
}

TEST_CASE("nothing is shown for no object") {
  CHECK(!Show<INIOptionObject>(std::shared_ptr<records::INIOption>()));
}
