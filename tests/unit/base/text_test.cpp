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

TEST_CASE("trimming takes blanks only") {
  CHECK(TrimBlanks(L"  a b  ") == L"a b");
  CHECK(TrimBlanks(L"\ta\t") == L"\ta\t");
  CHECK(TrimBlanks(L"   ").empty());
  CHECK(TrimTrailingBlanks(L" a ") == L" a");
}

TEST_CASE("splitting keeps empty pieces") {
  CHECK(Split(L"a\r\n\r\nb", L"\r\n") == std::vector<std::wstring>{L"a", L"", L"b"});
  CHECK(Split(L"", L"|") == std::vector<std::wstring>{L""});
  CHECK(Split(L"|", L"|") == std::vector<std::wstring>{L"", L""});
}

TEST_CASE("comparing without regard to case orders by upper-case characters") {
  CHECK(CompareIgnoringCase(L"abc", L"ABC") == 0);
  CHECK(CompareIgnoringCase(L"a", L"B") < 0);
  CHECK(CompareIgnoringCase(L"ab", L"A") > 0);
  CHECK_FALSE(EqualIgnoringCase(L"a", L"a "));
}

TEST_CASE("UTF-8 converts there and back, malformed input becomes the replacement character") {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  CHECK(ToUtf8(FromUtf8(text)) == text);
  CHECK(ToUtf8(FromUtf8("\xFF")) == "\xEF\xBF\xBD");
  CHECK(ToUtf8(FromUtf8("\xC0\x80")) == "\xEF\xBF\xBD\xEF\xBF\xBD");
  CHECK(ToUtf8(FromUtf8("\xE2\x82")) == "\xEF\xBF\xBD\xEF\xBF\xBD");
  CHECK(ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))) == "\xEF\xBF\xBD");
}
