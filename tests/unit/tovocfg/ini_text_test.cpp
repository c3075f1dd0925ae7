#include "tovocfg/ini_text.h"

#include <doctest/doctest.h>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tovocfg;
using tdefault::platform::simulation::Simulation;

namespace {

IniText Taken(std::string_view bytes) {
  Simulation machine;
  return TakeApart(bytes, machine.platform().session);
}

}  // namespace

TEST_CASE("entries are found as the profile calls find them") {
  const IniText text = Taken(
      "; comment\r\n[ S ] text\r\n k = \" v \" \r\n;c=1\r\nempty=\r\nnone\r\n=x\r\nq='a\"\r\n");
  REQUIRE(text.entries.size() == 3);
  CHECK(text.entries[0].section == L"S");
  CHECK(text.entries[0].key == L"k");
  CHECK(text.entries[0].value == L" v ");
  CHECK(text.entries[0].line == 3);
  CHECK(FindEntry(text, L"s", L"EMPTY")->value.empty());
  CHECK(FindEntry(text, L"S", L"q")->value == L"'a\"");
  CHECK(FindEntry(text, L"S", L"none") == nullptr);
  CHECK(FindEntry(text, L"S", L"c") == nullptr);
}

TEST_CASE("lines end in CR LF, LF or CR, and an end that is missing is seen") {
  for (const char* bytes : {"[S]\r\na=1\r\nb=2\r\n", "[S]\na=1\nb=2\n", "[S]\ra=1\rb=2\r"}) {
    const IniText text = Taken(bytes);
    REQUIRE(text.entries.size() == 2);
    CHECK(text.entries[1].line == 3);
    CHECK(text.ends_in_line_end);
  }
  CHECK_FALSE(Taken("[S]\r\na=1").ends_in_line_end);
  CHECK(Taken("").ends_in_line_end);
}

TEST_CASE("what the profile calls pass over is hidden, and why") {
  const IniText text = Taken("z=0\n[S]\na=1\nA=2\n[T]\na=3\n[s]\na=4\nb=5\n[T\nc=6\n");
  REQUIRE(text.entries.size() == 7);
  CHECK(text.entries[0].hidden == Hidden::kNoSection);
  CHECK(text.entries[1].hidden == Hidden::kNo);
  CHECK(text.entries[2].hidden == Hidden::kSecondKey);
  CHECK(text.entries[3].hidden == Hidden::kNo);
  CHECK(text.entries[4].hidden == Hidden::kSecondSection);
  CHECK(text.entries[5].hidden == Hidden::kSecondSection);
  CHECK(text.open_headers == std::vector<std::size_t>{10});
  CHECK(FindEntry(text, L"S", L"a")->value == L"1");
  CHECK(FindEntry(text, L"S", L"b") == nullptr);
}

TEST_CASE("encodings are told by their marks") {
  using namespace std::string_view_literals;
  CHECK_FALSE(Taken("[S]\na=b\n").looks_like_utf8);
  CHECK_FALSE(Taken("[S]\na=\xE9t\xE9\n").looks_like_utf8);
  CHECK(Taken("[S]\na=\xC3\xA9t\xC3\xA9\n").looks_like_utf8);
  CHECK(Taken("[S]\n").encoding == IniEncoding::kSystemCodePage);
  const IniText marked = Taken("\xEF\xBB\xBF[S]\na=1\n");
  CHECK(marked.encoding == IniEncoding::kUtf8Mark);
  CHECK(marked.section_on_first_line);
  CHECK_FALSE(Taken("\xEF\xBB\xBF\n[S]\n").section_on_first_line);
  const IniText wide = Taken("\xFF\xFE[\0S\0]\0\n\0a\0=\0\xE9\0\n\0"sv);
  CHECK(wide.encoding == IniEncoding::kUtf16);
  CHECK_FALSE(wide.has_nul);
  CHECK(FindEntry(wide, L"S", L"a")->value == L"\xE9");
  CHECK(Taken("\xFE\xFF\0[\0S\0]"sv).encoding == IniEncoding::kUtf16BigEndian);
  CHECK(Taken("[S]\na=1\0\0"sv).has_nul);
}
