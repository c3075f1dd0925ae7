// Events and connection points.
#include "host.h"

using namespace tdefault::component;

namespace {

constexpr DISPID kModified = 1;
constexpr DISPID kDLLError = 3;

VARIANT_BOOL Save(::_Options* options) {
  VARIANT_BOOL saved = VARIANT_FALSE;
  CHECK(options->Save(&saved) == S_OK);
  return saved;
}

std::string ContentsOf(const std::wstring& path) {
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  std::string bytes(GetFileSize(file, nullptr), '\0');
  DWORD read = 0;
  ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
  CloseHandle(file);
  return bytes;
}

}  // namespace

TEST_CASE("Modified is raised once after a save, when the files are written") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = FindOption(options.Get(), "Defaults", "WorkstationName");
  REQUIRE(option->put_NewValue(Bstr(L"BACK OFFICE 7").get()) == S_OK);
  int calls = 0;
  EventHandler handler([&](DISPID event, const DISPPARAMS& arguments) {
    ++calls;
    CHECK(event == kModified);
    CHECK(arguments.cArgs == 0);
    CHECK(ContentsOf(shop.local_ini()).find("WorkstationName=BACK OFFICE 7") != std::string::npos);
    return S_OK;
  });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == 1);
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
  CHECK(handler.references() == 1);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == 1);
}

TEST_CASE("a save that fails with an error raises DLLError with number and text, not Modified") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const HeldFile held(shop.global_ini(), 0);
  std::string text;
  int calls = 0;
  EventHandler handler([&](DISPID event, const DISPPARAMS& arguments) {
    ++calls;
    CHECK(event == kDLLError);
    REQUIRE(arguments.cArgs == 2);
    // From the last argument to the first.
    CHECK(arguments.rgvarg[1].vt == VT_I4);
    // Permission denied.
    CHECK(arguments.rgvarg[1].lVal == 70);
    REQUIRE(arguments.rgvarg[0].vt == VT_BSTR);
    text = BstrText(arguments.rgvarg[0].bstrVal);
    return S_OK;
  });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  CHECK(Save(options.Get()) == VARIANT_FALSE);
  CHECK(calls == 1);
  const std::string start = Utf8(L"MakeTempCopy:SaveChanges, The file '" + shop.global_ini() +
                                 L"' could not be copied to '" + shop.data() + L"\\tov");
  CHECK(text.substr(0, start.size()) == start);
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
}

TEST_CASE("a handler that fails disturbs neither the save nor the other handlers") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  std::string calls;
  EventHandler failing([&](DISPID, const DISPPARAMS&) {
    calls += "failing ";
    return E_FAIL;
  });
  EventHandler good([&](DISPID, const DISPPARAMS&) {
    calls += "good";
    return S_OK;
  });
  const DWORD one = Connect(options.Get(), __uuidof(::__Options), failing);
  const DWORD two = Connect(options.Get(), __uuidof(::__Options), good);
  CHECK(one != two);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == "failing good");
  Disconnect(options.Get(), __uuidof(::__Options), one);
  Disconnect(options.Get(), __uuidof(::__Options), two);
}

TEST_CASE("a handler may disconnect itself and others while it is called") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  DWORD one = 0;
  DWORD two = 0;
  std::string calls;
  EventHandler second([&](DISPID, const DISPPARAMS&) {
    calls += "second ";
    return S_OK;
  });
  EventHandler first([&](DISPID, const DISPPARAMS&) {
    calls += "first ";
    Disconnect(options.Get(), __uuidof(::__Options), one);
    Disconnect(options.Get(), __uuidof(::__Options), two);
    return S_OK;
  });
  one = Connect(options.Get(), __uuidof(::__Options), first);
  two = Connect(options.Get(), __uuidof(::__Options), second);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == "first ");
  CHECK(first.references() == 1);
  CHECK(second.references() == 1);
}

TEST_CASE("a handler connected while an event is raised is called from the next one on") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  std::string calls;
  DWORD late_cookie = 0;
  EventHandler late([&](DISPID, const DISPPARAMS&) {
    calls += "late ";
    return S_OK;
  });
  EventHandler early([&](DISPID, const DISPPARAMS&) {
    calls += "early ";
    if (late_cookie == 0) late_cookie = Connect(options.Get(), __uuidof(::__Options), late);
    return S_OK;
  });
  const DWORD early_cookie = Connect(options.Get(), __uuidof(::__Options), early);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == "early ");
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == "early early late ");
  Disconnect(options.Get(), __uuidof(::__Options), early_cookie);
  Disconnect(options.Get(), __uuidof(::__Options), late_cookie);
}

TEST_CASE("a handler may let go of the last reference to the object that calls it") {
  const Apartment apartment;
  const Shop shop;
  ComPtr<::_Options> options = OpenShop(shop);
  ::_Options* object = options.Get();
  EventHandler handler([&](DISPID, const DISPPARAMS&) {
    options.Reset();
    return S_OK;
  });
  static_cast<void>(Connect(object, __uuidof(::__Options), handler));
  CHECK(Save(object) == VARIANT_TRUE);
  // The object has ended and let go of its handler.
  CHECK(handler.references() == 1);
}

TEST_CASE("a handler may use the catalogue while Modified is raised") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  SHORT seen = 0;
  EventHandler handler([&](DISPID, const DISPPARAMS&) {
    CHECK(options->Refresh() == S_OK);
    CHECK(options->get_Count(&seen) == S_OK);
    return S_OK;
  });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(seen > 100);
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
}

TEST_CASE("a handler may save again while Modified is raised") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const auto set = [&](const wchar_t* value) {
    const auto option = FindOption(options.Get(), "Defaults", "WorkstationName");
    REQUIRE(option->put_NewValue(Bstr(value).get()) == S_OK);
  };
  int calls = 0;
  EventHandler handler([&](DISPID event, const DISPPARAMS&) {
    CHECK(event == kModified);
    if (++calls > 1) return S_OK;
    // The handler sees the catalogue from before the save until it is loaded again.
    set(L"SECOND");
    CHECK(Save(options.Get()) == VARIANT_TRUE);
    return S_OK;
  });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  set(L"FIRST");
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == 2);
  CHECK(ContentsOf(shop.local_ini()).find("WorkstationName=SECOND") != std::string::npos);
  const auto saved = FindOption(options.Get(), "Defaults", "WorkstationName");
  CHECK(Text(saved.Get(), &::_INIOption::get_CurrentValue) == "SECOND");
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
}

TEST_CASE("error information that a handler leaves is not taken for that of the save") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  int calls = 0;
  EventHandler handler([&](DISPID, const DISPPARAMS&) {
    ++calls;
    ComPtr<ICreateErrorInfo> made;
    ComPtr<IErrorInfo> information;
    REQUIRE(CreateErrorInfo(&made) == S_OK);
    wchar_t text[] = L"the handler's own";
    REQUIRE(made->SetDescription(text) == S_OK);
    REQUIRE(made.As(&information) == S_OK);
    REQUIRE(SetErrorInfo(0, information.Get()) == S_OK);
    return E_FAIL;
  });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  CHECK(Save(options.Get()) == VARIANT_TRUE);
  CHECK(calls == 1);
  ComPtr<IErrorInfo> left;
  CHECK(GetErrorInfo(0, &left) == S_FALSE);
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
}

TEST_CASE("connection points tell their interface, owner and connections") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const ComPtr<::_INIOption> option = OptionAt(options.Get(), 1);
  const auto check = [](IUnknown* source, REFIID events) {
    ComPtr<IConnectionPointContainer> container;
    REQUIRE(source->QueryInterface(IID_PPV_ARGS(&container)) == S_OK);
    ComPtr<IConnectionPoint> none;
    CHECK(container->FindConnectionPoint(IID_IDispatch, &none) == CONNECT_E_NOCONNECTION);
    CHECK(container->FindConnectionPoint(events, nullptr) == E_POINTER);
    ComPtr<IEnumConnectionPoints> points;
    REQUIRE(container->EnumConnectionPoints(&points) == S_OK);
    ComPtr<IConnectionPoint> point;
    REQUIRE(points->Next(1, &point, nullptr) == S_OK);
    ComPtr<IConnectionPoint> more;
    CHECK(points->Next(1, &more, nullptr) == S_FALSE);
    IID iid{};
    CHECK(point->GetConnectionInterface(&iid) == S_OK);
    CHECK(iid == events);
    ComPtr<IConnectionPointContainer> owner;
    CHECK(point->GetConnectionPointContainer(&owner) == S_OK);
    CHECK(owner.Get() == container.Get());

    EventHandler handler([](DISPID, const DISPPARAMS&) { return S_OK; });
    DWORD cookie = 0;
    CHECK(point->Advise(nullptr, &cookie) == E_POINTER);
    REQUIRE(point->Advise(&handler, &cookie) == S_OK);
    ComPtr<IEnumConnections> connections;
    REQUIRE(point->EnumConnections(&connections) == S_OK);
    CONNECTDATA connection{};
    REQUIRE(connections->Next(1, &connection, nullptr) == S_OK);
    CHECK(connection.dwCookie == cookie);
    CHECK(connection.pUnk == static_cast<IUnknown*>(&handler));
    connection.pUnk->Release();
    connections.Reset();
    CHECK(point->Unadvise(cookie) == S_OK);
    CHECK(point->Unadvise(cookie) == CONNECT_E_NOCONNECTION);
    CHECK(handler.references() == 1);
  };
  check(options.Get(), __uuidof(::__Options));
  check(option.Get(), __uuidof(::__INIOption));
}

TEST_CASE("only an object for late binding can be connected") {
  const Apartment apartment;
  const ComPtr<::_Options> options = CreateOptions();
  ComPtr<IStream> no_handler;
  REQUIRE(CreateStreamOnHGlobal(nullptr, TRUE, &no_handler) == S_OK);
  DWORD cookie = 1;
  CHECK(PointOf(options.Get(), __uuidof(::__Options))->Advise(no_handler.Get(), &cookie) ==
        CONNECT_E_CANNOTCONNECT);
  CHECK(cookie == 0);
}
