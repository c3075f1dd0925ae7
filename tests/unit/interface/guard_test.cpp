#include "interface/guard.h"

#include <doctest/doctest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "tdefault_h.h"

using namespace tdefault;
using namespace tdefault::automation;

namespace {

struct Information {
  GUID interface_id{};
  std::string source;
  std::string description;
};

// What the thread's error information says; empty texts when there is none.
Information TakeInformation() {
  Information taken;
  ComPtr<IErrorInfo> information;
  if (GetErrorInfo(0, &information) != S_OK) return taken;
  BSTR source = nullptr;
  BSTR description = nullptr;
  information->GetGUID(&taken.interface_id);
  information->GetSource(&source);
  information->GetDescription(&description);
  taken.source = ToUtf8(std::wstring(source, SysStringLen(source)));
  taken.description = ToUtf8(std::wstring(description, SysStringLen(description)));
  SysFreeString(source);
  SysFreeString(description);
  return taken;
}

HRESULT Run(void (*body)()) { return Guard(__uuidof(::_Options), body); }

}  // namespace

TEST_CASE("numbers below 65536 become automation result codes, negative ones pass") {
  CHECK(Hresult(5) == static_cast<HRESULT>(0x800A0005));
  CHECK(Hresult(457) == static_cast<HRESULT>(0x800A01C9));
  CHECK(Hresult(65535) == static_cast<HRESULT>(0x800AFFFF));
  CHECK(Hresult(0) == static_cast<HRESULT>(0x800A0000));
  CHECK(Hresult(-2147221501) == static_cast<HRESULT>(0x80040003));
  CHECK(Hresult(E_NOTIMPL) == E_NOTIMPL);
}

TEST_CASE("a number that is no result code is never success") { CHECK(Hresult(65536) == E_FAIL); }

TEST_CASE("an error leaves its source and description for the interface") {
  CHECK(Run([] { throw Error(53, L"here", L"gone"); }) == static_cast<HRESULT>(0x800A0035));
  const Information information = TakeInformation();
  CHECK(information.interface_id == __uuidof(::_Options));
  CHECK(information.source == "here");
  CHECK(information.description == "gone");
}

TEST_CASE("success leaves no information of an earlier failure") {
  CHECK(FAILED(Run([] { throw Error(53, L"here", L"gone"); })));
  CHECK(Run([] {}) == S_OK);
  CHECK(TakeInformation().description == "");
}

TEST_CASE("lack of memory and unexpected failures have result codes of their own") {
  CHECK(Run([] { throw std::bad_alloc(); }) == E_OUTOFMEMORY);
  CHECK(TakeInformation().description == "");
  CHECK(Run([] { throw std::logic_error("row 7"); }) == E_UNEXPECTED);
  CHECK(TakeInformation().description.find("row 7") != std::string::npos);
  CHECK(Run([] { throw 7; }) == E_UNEXPECTED);
}
