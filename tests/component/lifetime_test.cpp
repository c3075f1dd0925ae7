// Lifetime: threads and apartments, unloading, leaks.
#include <atomic>
#include <thread>

#include "allocation_counter.h"
#include "host.h"

using namespace tdefault::component;

namespace {

bool IsLoaded() { return GetModuleHandleW(L"tdefault.dll") != nullptr; }

// Asks the system to free unused libraries until ours is gone; false when it stays.
bool Unloads() {
  for (int tries = 0; tries < 100 && IsLoaded(); ++tries) {
    CoFreeUnusedLibrariesEx(0, 0);
    Sleep(10);
  }
  return !IsLoaded();
}

bool StaysLoaded() {
  for (int tries = 0; tries < 3; ++tries) CoFreeUnusedLibrariesEx(0, 0);
  return IsLoaded();
}

// Runs the work of one host: everything that a host can hold is held and let go.
void UseEverything(const Shop& shop) {
  const ComPtr<::_Options> options = OpenShop(shop);
  const LateBound late(options.Get());
  ComPtr<IUnknown> enumerator;
  REQUIRE(options->NewEnum(&enumerator) == S_OK);
  ComPtr<::_Reports> reports;
  REQUIRE(options->ReportTypes(&reports) == S_OK);
  SHORT count = 0;
  REQUIRE(options->get_Count(&count) == S_OK);
  for (int position = 1; position <= count; ++position) {
    const ComPtr<::_INIOption> option = OptionAt(options.Get(), position);
    static_cast<void>(Text(option.Get(), &::_INIOption::get_NewValue));
    ComPtr<::_cChoices> choices;
    REQUIRE(option->get_Choices(&choices) == S_OK);
    static_cast<void>(LateBound(choices.Get()).Try(L"Item", Arguments(1)));
  }
  for (int position = 1; position <= 4; ++position) {
    const LateBound report(LateBound(reports.Get()).Get(L"Item", Arguments(position)));
    static_cast<void>(report.Get(L"Picture"));
    static_cast<void>(report.Text(L"Description"));
  }
  // Failures as well: their texts and error information.
  CHECK(FAILED(late.Try(L"Item", Arguments(L"none")).code));
  CHECK(FAILED(late.Try(L"Item", Arguments(0)).code));
  EventHandler handler([](DISPID, const DISPPARAMS&) { return S_OK; });
  const DWORD cookie = Connect(options.Get(), __uuidof(::__Options), handler);
  Disconnect(options.Get(), __uuidof(::__Options), cookie);
  SetErrorInfo(0, nullptr);
}

// A flag that a thread sets when it is done, waited for with the message loop running.
class Done {
 public:
  Done() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Done() { CloseHandle(event_); }
  Done(const Done&) = delete;
  Done& operator=(const Done&) = delete;

  void Set() { SetEvent(event_); }
  void WaitPumping() {
    for (;;) {
      const DWORD what = MsgWaitForMultipleObjects(1, &event_, FALSE, 60000, QS_ALLINPUT);
      if (what != WAIT_OBJECT_0 + 1) return;
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) DispatchMessageW(&message);
    }
  }

 private:
  HANDLE event_;
};

}  // namespace

TEST_CASE("the library is unloaded when nothing of it is alive") {
  const Apartment apartment;
  const Shop shop;
  UseEverything(shop);
  CHECK(Unloads());
  // And can be used again.
  UseEverything(shop);
  CHECK(Unloads());
}

TEST_CASE("every kind of object keeps the library loaded") {
  const Apartment apartment;
  const Shop shop;
  const auto check = [&](const char* kind, const std::function<ComPtr<IUnknown>()>& make) {
    INFO(kind);
    ComPtr<IUnknown> held = make();
    REQUIRE(held);
    CHECK(StaysLoaded());
    held.Reset();
    CHECK(Unloads());
  };
  check("Options", [] { return CreateOptions(); });
  check("INIOption", [&] { return OptionAt(OpenShop(shop).Get(), 1); });
  check("Reports", [&]() -> ComPtr<IUnknown> {
    ComPtr<::_Reports> reports;
    OpenShop(shop)->ReportTypes(&reports);
    return reports;
  });
  check("Report", [&]() -> ComPtr<IUnknown> {
    ComPtr<::_Reports> reports;
    ComPtr<::_Report> report;
    OpenShop(shop)->ReportTypes(&reports);
    reports->Item(Argument(1).get(), &report);
    return report;
  });
  check("cChoices", [&]() -> ComPtr<IUnknown> {
    ComPtr<::_cChoices> choices;
    OptionAt(OpenShop(shop).Get(), 1)->get_Choices(&choices);
    return choices;
  });
  check("cChoice", [&]() -> ComPtr<IUnknown> {
    ComPtr<::_cChoices> choices;
    ComPtr<::_cChoice> choice;
    BSTR text = nullptr;
    OptionAt(OpenShop(shop).Get(), 1)->get_Choices(&choices);
    choices->Add(text, &text, &choice);
    return choice;
  });
  check("enumerator", [&] {
    ComPtr<IUnknown> enumerator;
    OpenShop(shop)->NewEnum(&enumerator);
    return enumerator;
  });
  check("connection point", [] { return PointOf(CreateOptions().Get(), __uuidof(::__Options)); });
  check("class object", []() -> ComPtr<IUnknown> {
    ComPtr<IClassFactory> factory;
    CoGetClassObject(__uuidof(::Options), CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory));
    return factory;
  });
}

TEST_CASE("a lock on the class object keeps the library loaded") {
  const Apartment apartment;
  ComPtr<IClassFactory> factory;
  REQUIRE(CoGetClassObject(__uuidof(::Options), CLSCTX_INPROC_SERVER, nullptr,
                           IID_PPV_ARGS(&factory)) == S_OK);
  CHECK(factory->LockServer(TRUE) == S_OK);
  factory.Reset();
  CHECK(StaysLoaded());
  REQUIRE(CoGetClassObject(__uuidof(::Options), CLSCTX_INPROC_SERVER, nullptr,
                           IID_PPV_ARGS(&factory)) == S_OK);
  CHECK(factory->LockServer(FALSE) == S_OK);
  factory.Reset();
  CHECK(Unloads());
}

TEST_CASE("no text or array is leaked by using every object") {
  const Apartment apartment;
  const Shop shop;
  // What the system keeps for itself is made in the first round.
  UseEverything(shop);
  AllocationCounter counter;
  REQUIRE(CoRegisterMallocSpy(&counter) == S_OK);
  const ComPtr<::_Options> keeps_loaded = CreateOptions();
  UseEverything(shop);
  const long after_one = counter.live();
  for (int round = 0; round < 3; ++round) UseEverything(shop);
  CHECK(counter.live() == after_one);
  CHECK(counter.made() > 1000);
  CoRevokeMallocSpy();
}

TEST_CASE("the data path set by one Options object holds for every other on its thread") {
  const Apartment apartment;
  const ComPtr<::_Options> one = CreateOptions();
  const ComPtr<::_Options> other = CreateOptions();
  REQUIRE(one->put_DataPath(Bstr(L"C:\\DATA\\").get()) == S_OK);
  CHECK(Text(other.Get(), &::_Options::get_DataPath) == "C:\\DATA");
  // Objects made later as well, while the library stays loaded.
  CHECK(Text(CreateOptions().Get(), &::_Options::get_DataPath) == "C:\\DATA");
  std::string elsewhere;
  std::thread thread([&] {
    const Apartment own;
    const ComPtr<::_Options> options = CreateOptions();
    options->put_DataPath(Bstr(L"D:\\OTHER").get());
    elsewhere = Text(options.Get(), &::_Options::get_DataPath);
  });
  thread.join();
  CHECK(elsewhere == "D:\\OTHER");
  CHECK(Text(one.Get(), &::_Options::get_DataPath) == "C:\\DATA");
}

TEST_CASE("a data path that was set ends with its thread") {
  const Apartment apartment;
  const ComPtr<::_Options> keeps_loaded = CreateOptions();
  DWORD ended = 0;
  std::thread first([&] {
    const Apartment own;
    ended = GetCurrentThreadId();
    CHECK(CreateOptions()->put_DataPath(Bstr(L"D:\\ENDED").get()) == S_OK);
  });
  first.join();
  // The system gives the number of a thread that has ended to a new one after a while.
  std::string found = "the number did not come again";
  for (int number = 0; number < 20000 && found != ""; ++number) {
    std::thread next([&] {
      if (GetCurrentThreadId() != ended) return;
      const Apartment own;
      const std::string path = Text(CreateOptions().Get(), &::_Options::get_DataPath);
      found = path == "D:\\ENDED" ? path : "";
    });
    next.join();
    if (found == "D:\\ENDED") break;
  }
  CHECK(found == "");
}

TEST_CASE("an object is used from another apartment through the type library's marshaler") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  IStream* stream = nullptr;
  REQUIRE(CoMarshalInterThreadInterfaceInStream(__uuidof(::_Options), options.Get(), &stream) ==
          S_OK);
  Done done;
  std::string data_path;
  std::string key;
  HRESULT failed = S_OK;
  std::thread thread([&] {
    const Apartment own;
    ComPtr<::_Options> proxy;
    if (CoGetInterfaceAndReleaseStream(stream, __uuidof(::_Options), proxy.ReceiveAny()) == S_OK) {
      data_path = Text(proxy.Get(), &::_Options::get_DataPath);
      ComPtr<::_INIOption> option;
      if (proxy->get_Item(Argument(1).get(), &option) == S_OK)
        key = Text(option.Get(), &::_INIOption::get_Key);
      ComPtr<::_INIOption> none;
      failed = proxy->get_Item(Argument(0).get(), &none);
    }
    proxy.Reset();
    done.Set();
  });
  done.WaitPumping();
  thread.join();
  CHECK(data_path == Utf8(shop.data()));
  CHECK(key == "DataPath");
  CHECK(failed == static_cast<HRESULT>(0x800A0005));
}

TEST_CASE("a host without apartments of its own gets its object in one") {
  const Shop shop;
  std::string key;
  std::thread thread([&] {
    const Apartment own(COINIT_MULTITHREADED);
    const ComPtr<::_Options> options = OpenShop(shop);
    key = Text(OptionAt(options.Get(), 1).Get(), &::_INIOption::get_Key);
  });
  thread.join();
  CHECK(key == "DataPath");
}
