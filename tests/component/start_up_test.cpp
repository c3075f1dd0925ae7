// Start-up as a host sees it: the failures with their numbers, sources and descriptions, and the
// question about a missing data folder.
#include <array>
#include <atomic>
#include <thread>

#include "host.h"
#include "message_boxes.h"

using namespace tdefault::component;

namespace {

// The program that runs these tests, without folder and ending: error sources begin with it.
constexpr char kProgram[] = "component_test";

struct Failure {
  HRESULT code = S_OK;
  std::string source;
  std::string description;
};

Failure Initialize(::_Options* options) {
  VARIANT_BOOL ready = VARIANT_TRUE;
  Failure failure;
  failure.code = options->Initialize(&ready);
  CHECK(ready == VARIANT_FALSE);
  const ErrorText text = TakeErrorInformation();
  failure.source = text.source;
  failure.description = text.description;
  return failure;
}

// First letter and every letter behind / \ : and blank in upper case, all others in lower case.
std::string DisplayCase(std::string path) {
  bool first = true;
  for (char& character : path) {
    character = static_cast<char>(first ? toupper(character) : tolower(character));
    first = character == '/' || character == '\\' || character == ':' || character == ' ';
  }
  return path;
}

// Gives the second row of the table the ID of the first.
void RepeatFirstId(const std::wstring& table) {
  const HANDLE file = CreateFileW(table.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  DWORD moved = 0;
  std::array<unsigned char, 12> header{};
  REQUIRE(ReadFile(file, header.data(), 12, &moved, nullptr) != 0);
  const DWORD first = header[8] + 256U * header[9] + 1;  // behind the deletion mark
  const DWORD length = header[10] + 256U * header[11];
  std::array<char, 36> id{};
  SetFilePointer(file, static_cast<LONG>(first), nullptr, FILE_BEGIN);
  REQUIRE(ReadFile(file, id.data(), 36, &moved, nullptr) != 0);
  SetFilePointer(file, static_cast<LONG>(first + length), nullptr, FILE_BEGIN);
  REQUIRE(WriteFile(file, id.data(), 36, &moved, nullptr) != 0);
  CloseHandle(file);
}

struct Question {
  std::string text;
  bool has_yes = false;
  bool has_no = false;
  bool has_cancel = false;
};

// Waits for the question about the data folder on another thread and answers it.
Question AnswerWhile(int answer, const std::function<void()>& body) {
  Question question;
  std::thread user([&] {
    HWND box = nullptr;
    for (int tries = 0; tries < 6000 && box == nullptr; ++tries) {
      Sleep(10);
      box = FindWindowW(L"#32770", L"Tovo Data Path Not Found");
    }
    if (box == nullptr) return;
    // The text's control is the one without a number.
    HWND text = GetDlgItem(box, 0xFFFF);
    for (int tries = 0; tries < 1000 && text == nullptr; ++tries) {
      Sleep(10);
      text = GetDlgItem(box, 0xFFFF);
    }
    question.text = WindowText(text);
    question.has_yes = GetDlgItem(box, IDYES) != nullptr;
    question.has_no = GetDlgItem(box, IDNO) != nullptr;
    question.has_cancel = GetDlgItem(box, IDCANCEL) != nullptr;
    PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(answer), 0);
  });
  body();
  user.join();
  return question;
}

}  // namespace

TEST_CASE("a missing table is error 53 and names the table in display case") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = CreateOptions(shop);
  REQUIRE(DeleteFileW(shop.table().c_str()) != 0);
  const Failure failure = Initialize(options.Get());
  CHECK(failure.code == static_cast<HRESULT>(0x800A0035));
  CHECK(failure.source == std::string(kProgram) + ":Class_Initialize");
  CHECK(failure.description ==
        "the table, '" + DisplayCase(Utf8(shop.table())) + "' was not found.");
}

TEST_CASE("a table that another process keeps from being written is error -2147221501") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = CreateOptions(shop);
  const HeldFile held(shop.table(), FILE_SHARE_READ);
  const Failure failure = Initialize(options.Get());
  CHECK(failure.code == -2147221501);
  CHECK(failure.source == "TDefault:Initialize");
  CHECK(failure.description ==
        "The file " + Utf8(shop.table()) +
            " can not bo opened for write access. Make sure this file is not "
            "read only and is located on a drive you have write access to");
}

TEST_CASE("a table that another process does not share at all is present and not writable") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = CreateOptions(shop);
  const HeldFile held(shop.table(), 0);
  CHECK(Initialize(options.Get()).code == -2147221501);
}

TEST_CASE("a repeated ID fails the load and leaves the options before it") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = CreateOptions(shop);
  RepeatFirstId(shop.table());
  const Failure failure = Initialize(options.Get());
  CHECK(failure.code == static_cast<HRESULT>(0x800A01C9));  // 457
  CHECK(failure.source == "InitOptCollection");
  CHECK(failure.description.rfind("InitOptCollection routine, line ", 0) == 0);
  CHECK(failure.description.find("; ") != std::string::npos);
  SHORT count = 0;
  CHECK(options->get_Count(&count) == S_OK);
  CHECK(count == 1);
}

TEST_CASE("an INI file that does not exist is error 53 and changes nothing") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  CHECK(options->put_INIFile(Bstr(shop.data() + L"\\none.ini").get()) ==
        static_cast<HRESULT>(0x800A0035));
  const ErrorText error = TakeErrorInformation();
  CHECK(error.source == std::string(kProgram) + ":SetINIFile");
  CHECK(error.description == "File not found");
  CHECK(Text(options.Get(), &::_Options::get_INIFile) == Utf8(shop.local_ini()));
}

TEST_CASE("the same error reaches a late-bound host as exception information") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const Variant name = Argument((shop.data() + L"\\none.ini").c_str());
  const Outcome outcome = options.Invoke(L"INIFile", DISPATCH_PROPERTYPUT, {name.get()});
  CHECK(outcome.code == DISP_E_EXCEPTION);
  CHECK(outcome.error == static_cast<HRESULT>(0x800A0035));
  CHECK(outcome.source == std::string(kProgram) + ":SetINIFile");
  CHECK(outcome.description == "File not found");
}

TEST_CASE("every object supports error information for its interfaces only") {
  const Apartment apartment;
  const ComPtr<::_Options> options = CreateOptions();
  ComPtr<ISupportErrorInfo> support;
  REQUIRE(options.As(&support) == S_OK);
  CHECK(support->InterfaceSupportsErrorInfo(__uuidof(::_Options)) == S_OK);
  CHECK(support->InterfaceSupportsErrorInfo(IID_IDispatch) == S_OK);
  CHECK(support->InterfaceSupportsErrorInfo(__uuidof(::_Reports)) == S_FALSE);
}

TEST_CASE("a member that succeeds leaves no error information of an earlier one") {
  const Apartment apartment;
  const Shop shop;
  const ComPtr<::_Options> options = OpenShop(shop);
  REQUIRE(FAILED(options->put_INIFile(Bstr(L"C:\\no\\such.ini").get())));
  CHECK(Text(options.Get(), &::_Options::get_DataPath) == Utf8(shop.data()));
  CHECK(TakeErrorInformation().description == "");
}

TEST_CASE("a missing data folder is asked about, and No and Cancel fail without an error") {
  const Apartment apartment;
  const Shop shop;
  for (const int answer : {IDNO, IDCANCEL}) {
    const ComPtr<::_Options> options = CreateOptions(shop);
    const std::wstring missing = shop.data() + L"\\nowhere";
    REQUIRE(options->put_DataPath(Bstr(missing).get()) == S_OK);
    VARIANT_BOOL ready = VARIANT_TRUE;
    HRESULT result = E_FAIL;
    const Question question = AnswerWhile(answer, [&] { result = options->Initialize(&ready); });
    CHECK(result == S_OK);
    CHECK(ready == VARIANT_FALSE);
    CHECK(question.text == "The data path, '" + Utf8(missing) +
                               "' was not found.\r\n\r\nDo you want " + kProgram +
                               " to seach for the path?");
    CHECK(question.has_yes);
    CHECK(question.has_no);
    CHECK(question.has_cancel);
    CHECK(Text(options.Get(), &::_Options::get_DataPath) == Utf8(missing));
    ComPtr<::_Reports> reports;
    CHECK(options->ReportTypes(&reports) == S_OK);
    CHECK(!reports);
  }
}
