// A save that changes the kit choice, as a host sees it: events, table and kit program.
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host.h"

using namespace tdefault::component;

namespace {

namespace fs = std::filesystem;

constexpr wchar_t kProgramKey[] =
    L"Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram";
const std::string kRunning = "Status(Running external program to modify kits, please wait ...)";

// What the user's registry says of a kit program, for as long as it lives.
class Registration {
 public:
  Registration(const std::wstring& path, const std::wstring& program,
               const std::wstring& parameters) {
    RegDeleteTreeW(HKEY_CURRENT_USER, kProgramKey);
    Set(L"Path", path);
    Set(L"Program", program);
    if (!parameters.empty()) Set(L"Parms", parameters);
  }
  ~Registration() { RegDeleteTreeW(HKEY_CURRENT_USER, kProgramKey); }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  static void Set(const wchar_t* name, const std::wstring& text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    REQUIRE(RegSetKeyValueW(HKEY_CURRENT_USER, kProgramKey, name, REG_SZ, text.c_str(), bytes) ==
            ERROR_SUCCESS);
  }
};

// A kit program in a folder of its own; it records its command line and how it was started.
class KitProgram {
 public:
  explicit KitProgram(const std::wstring& name) {
    folder_ = fs::temp_directory_path() / (name + std::to_wstring(GetCurrentProcessId()));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    std::array<wchar_t, MAX_PATH> own{};
    GetModuleFileNameW(nullptr, own.data(), MAX_PATH);
    fs::copy_file(fs::path(own.data()).parent_path().parent_path() / "programs" / "record_run.exe",
                  folder_ / "run.exe");
  }
  ~KitProgram() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  KitProgram(const KitProgram&) = delete;
  KitProgram& operator=(const KitProgram&) = delete;

  [[nodiscard]] std::wstring folder() const { return folder_.wstring(); }
  [[nodiscard]] std::wstring path() const { return folder() + L"\\run.exe"; }
  // Empty when it has not run.
  [[nodiscard]] std::string command_line() const { return Recorded("run.exe.txt"); }
  [[nodiscard]] std::string start() const { return Recorded("run.exe.start.txt"); }

 private:
  [[nodiscard]] std::string Recorded(const char* name) const {
    std::ifstream file(folder_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  fs::path folder_;
};

// Notes every event with its arguments while it lives.
class Events {
 public:
  explicit Events(::_Options* options)
      : options_(options),
        handler_([this](DISPID event, const DISPPARAMS& arguments) {
          Note(event, arguments);
          return S_OK;
        }),
        cookie_(Connect(options, __uuidof(::__Options), handler_)) {}
  ~Events() { Disconnect(options_, __uuidof(::__Options), cookie_); }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  [[nodiscard]] const std::vector<std::string>& list() const { return list_; }

 private:
  void Note(DISPID event, const DISPPARAMS& arguments) {
    if (event == 1) list_.emplace_back("Modified()");
    if (event == 2) list_.push_back("Status(" + BstrText(arguments.rgvarg[0].bstrVal) + ")");
    // From the last argument to the first.
    if (event == 3)
      list_.push_back("DLLError(" + std::to_string(arguments.rgvarg[1].lVal) + ", " +
                      BstrText(arguments.rgvarg[0].bstrVal) + ")");
  }

  ::_Options* options_;
  std::vector<std::string> list_;
  EventHandler handler_;
  DWORD cookie_;
};

VARIANT_BOOL SaveChoice(::_Options* options, const wchar_t* choice) {
  const ComPtr<::_INIOption> option = FindOption(options, "OPTIONS", "KITCHOICE");
  REQUIRE(option->put_NewValue(Bstr(choice).get()) == S_OK);
  VARIANT_BOOL saved = VARIANT_FALSE;
  CHECK(options->Save(&saved) == S_OK);
  return saved;
}

std::string BytesOf(const std::wstring& path) {
  std::ifstream file(fs::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::wstring NeedTable(const Shop& shop) { return shop.data() + L"\\need.dbf"; }

// A window of the host, which notes that a message has reached it.
class Window {
 public:
  Window() {
    handle_ = CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              GetModuleHandleW(nullptr), nullptr);
    REQUIRE(handle_ != nullptr);
    SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&received_));
    SetWindowLongPtrW(handle_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Window::Receive));
  }
  ~Window() { DestroyWindow(handle_); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  void Post() const { REQUIRE(PostMessageW(handle_, WM_APP, 0, 0)); }
  [[nodiscard]] int received() const { return received_; }

 private:
  static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
    auto* received = reinterpret_cast<int*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (received != nullptr && message == WM_APP) ++*received;
    return DefWindowProcW(window, message, wide, parameter);
  }

  HWND handle_ = nullptr;
  int received_ = 0;
};

using Texts = std::vector<std::string>;

}  // namespace

TEST_CASE("without a kit program a kit choice rewrites table Need and clears the status") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string before = BytesOf(NeedTable(shop));
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"0") == VARIANT_TRUE);
  CHECK(events.list() == Texts{"Status()", "Modified()"});
  const std::string table = BytesOf(NeedTable(shop));
  REQUIRE(table.size() == before.size());
  const auto word = [&](std::size_t place) {
    return static_cast<unsigned char>(table[place]) +
           256U * static_cast<unsigned char>(table[place + 1]);
  };
  // Records: mark, NEED 1, CHANGED 8, CHANGEDBY 6, CHANGSTAT 2, HW_PART_ID 12, ...
  std::size_t kits = 0;
  for (std::size_t at = word(8); at + word(10) <= table.size(); at += word(10)) {
    const std::string hardware = table.substr(at + 18, 4);
    const bool is_kit = hardware == "HWAH" || hardware == "hwah";
    if (!is_kit || table[at] == '*') {
      CHECK(table.substr(at, word(10)) == before.substr(at, word(10)));
      continue;
    }
    ++kits;
    CHECK(table.substr(at, 2) == " T");
    CHECK(table.substr(at + 10, 8) == "  -121 1");
  }
  CHECK(kits > 10);
}

TEST_CASE(
    "a registered kit program is run to its end with its command line, between two statuses") {
  const Apartment apartment;
  const Shop shop;
  const KitProgram program(L"tdefault-kits-");
  const Registration registration(program.folder(), L"run.exe", L"300");
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string before = BytesOf(NeedTable(shop));
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_TRUE);
  // It writes its file after a while, and its answer, 42, says nothing.
  CHECK(program.command_line() == Utf8(program.path() + L" 300"));
  CHECK(events.list() == Texts{kRunning, "Status()", "Modified()"});
  CHECK(BytesOf(NeedTable(shop)) == before);
}

TEST_CASE("a kit program is started shown, at normal priority and in the host's current folder") {
  const Apartment apartment;
  const Shop shop;
  const KitProgram program(L"tdefault-kits-");
  const Registration registration(program.folder(), L"run.exe", L"0");
  const ComPtr<::_Options> options = OpenShop(shop);
  const fs::path folder = fs::current_path();
  fs::current_path(shop.data());
  // A program that is started without a priority class takes over this one; under Wine every one
  // is told that it has the normal one.
  CHECK(SetPriorityClass(GetCurrentProcess(), IDLE_PRIORITY_CLASS));
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_TRUE);
  CHECK(SetPriorityClass(GetCurrentProcess(), NORMAL_PRIORITY_CLASS));
  const std::wstring expected = L"show " + std::to_wstring(SW_SHOW) + L"\npriority " +
                                std::to_wstring(NORMAL_PRIORITY_CLASS) + L"\nfolder " +
                                fs::current_path().wstring() + L"\n";
  fs::current_path(folder);
  CHECK(program.start() == Utf8(expected));
}

TEST_CASE("without parameters the command line ends in a blank, and one backslash is enough") {
  const Apartment apartment;
  const Shop shop;
  const KitProgram program(L"tdefault-kits-");
  const Registration registration(program.folder() + L"\\", L"run.exe", L"");
  const ComPtr<::_Options> options = OpenShop(shop);
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_TRUE);
  CHECK(program.command_line() == Utf8(program.path() + L" "));
}

TEST_CASE("a kit program that is not there is told by DLLError, and nothing is changed") {
  const Apartment apartment;
  const Shop shop;
  const Registration registration(shop.data(), L"missing.exe", L"/all");
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string table = BytesOf(NeedTable(shop));
  const std::string global = BytesOf(shop.global_ini());
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_FALSE);
  CHECK(events.list() == Texts{"DLLError(53, The specified kit update program, '" +
                                   Utf8(shop.data()) + "\\missing.exe' was not found)",
                               "Status()"});
  CHECK(BytesOf(NeedTable(shop)) == table);
  CHECK(BytesOf(shop.global_ini()) == global);
}

TEST_CASE("a kit program with a blank in its path is announced and not started") {
  const Apartment apartment;
  const Shop shop;
  const KitProgram program(L"tdefault kits ");
  const Registration registration(program.folder(), L"run.exe", L"0");
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string global = BytesOf(shop.global_ini());
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_FALSE);
  CHECK(events.list() == Texts{kRunning, "Status()"});
  CHECK(program.command_line().empty());
  CHECK(BytesOf(shop.global_ini()) == global);
}

TEST_CASE("a file that is no program fails the save") {
  const Apartment apartment;
  const Shop shop;
  const Registration registration(shop.data(), L"TOVOGBL.INI", L"");
  const ComPtr<::_Options> options = OpenShop(shop);
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_FALSE);
  CHECK(events.list() == Texts{kRunning, "Status()"});
}

TEST_CASE("the host's messages are handled while its kit program runs, and only then") {
  const Apartment apartment;
  const Shop shop;
  const KitProgram program(L"tdefault-kits-");
  const ComPtr<::_Options> options = OpenShop(shop);
  const Window window;
  window.Post();
  CHECK(SaveChoice(options.Get(), L"0") == VARIANT_TRUE);
  CHECK(window.received() == 0);
  const Registration registration(program.folder(), L"run.exe", L"0");
  CHECK(SaveChoice(options.Get(), L"2") == VARIANT_TRUE);
  CHECK(window.received() == 1);
}

TEST_CASE("a kit choice that is no number clears the kit parts") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string table = BytesOf(NeedTable(shop));
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"") == VARIANT_TRUE);
  CHECK(events.list() == Texts{"Status()", "Modified()"});
  const std::string cleared = BytesOf(NeedTable(shop));
  CHECK(cleared != table);
  CHECK(SaveChoice(options.Get(), L"3") == VARIANT_TRUE);
  CHECK(BytesOf(NeedTable(shop)) == cleared);
}

TEST_CASE("a kit choice equal to 0 and not written 0 fails the save without a text") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  const std::string table = BytesOf(NeedTable(shop));
  const Events events(options.Get());
  CHECK(SaveChoice(options.Get(), L"00") == VARIANT_FALSE);
  CHECK(events.list() == Texts{"Status()"});
  CHECK(BytesOf(NeedTable(shop)) == table);
}
