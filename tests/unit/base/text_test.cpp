#include "base/text.h"

#include <doctest/doctest.h>

using namespace tdefault;

TEST_CASE("case folding covers the letters of every supported code page") {
  CHECK(ToUpper(L'a') == L'A');
  CHECK(ToUpper(static_cast<wchar_t>(0x00E9)) == 0x00C9);
  CHECK(ToUpper(static_cast<wchar_t>(0x00FF)) == 0x0178);
  CHECK(ToUpper(static_cast<wchar_t>(0x0142)) == 0x0141);
  CHECK(ToUpper(static_cast<wchar_t>(0x044F)) == 0x042F);
  CHECK(ToUpper(static_cast<wchar_t>(0x0451)) == 0x0401);
  CHECK(ToLower(static_cast<wchar_t>(0x0178)) == 0x00FF);
  CHECK(ToUpper(static_cast<wchar_t>(0x00D7)) == 0x00D7);
  CHECK(ToUpper(static_cast<wchar_t>(0x00F7)) == 0x00F7);
}

TEST_CASE("replacing finds the text without regard to case") {
  CHECK(ReplaceIgnoringCase(L"a%DATAPATH%b%dataPath%", L"%DataPath%", L"x") == L"axbx");
  CHECK(ReplaceIgnoringCase(L"aaa", L"aa", L"b") == L"ba");
}
