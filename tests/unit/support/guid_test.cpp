#include "support/guid.h"

#include <doctest/doctest.h>

#include <set>
#include <string>

#include "platform/simulation/simulation.h"
#include "unit/readable.h"

using namespace tdefault;
using platform::Guid;
using platform::simulation::Simulation;

namespace {

std::wstring GuidTextOf(const Guid& guid) {
  Simulation machine;
  machine.AddGuid(guid);
  return support::CGetGUID(machine.platform().guid_source).GetGUID();
}

bool HasGuidForm(const std::wstring& text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    const bool digit = (text[i] >= L'0' && text[i] <= L'9') || (text[i] >= L'A' && text[i] <= L'F');
    if (hyphen ? text[i] != L'-' : !digit) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("an identifier is upper-case hexadecimal in five groups") {
  CHECK(
      GuidTextOf({0x708ac166, 0x84dc, 0x11d4, {0xb2, 0x62, 0x10, 0x50, 0xda, 0x55, 0x96, 0xb9}}) ==
      L"708AC166-84DC-11D4-B262-1050DA5596B9");
}

TEST_CASE("the first three groups of an identifier are padded with zeros") {
  CHECK(GuidTextOf({0x1, 0x2, 0x3, {0x80, 0x62, 0x10, 0x50, 0xda, 0x55, 0x96, 0xb9}}) ==
        L"00000001-0002-0003-8062-1050DA5596B9");
  CHECK(GuidTextOf({0, 0, 0, {0x80, 0x62, 0x10, 0x50, 0xda, 0x55, 0x96, 0xb9}}) ==
        L"00000000-0000-0000-8062-1050DA5596B9");
}

TEST_CASE("a byte below ten is padded with a zero") {
  CHECK(GuidTextOf({1, 2, 3, {0x00, 0x05, 0x09, 0x00, 0x01, 0x02, 0x03, 0x04}}) ==
        L"00000001-0002-0003-0005-090001020304");
}

TEST_CASE(
    "a byte from ten to fifteen gives one digit and the last group repeats the one before it") {
  // The bytes give B2 62 10 C DA 55 96 B9, one digit short: the last twelve begin with the 2 that
  // ends the first four.
  CHECK(GuidTextOf({1, 2, 3, {0xb2, 0x62, 0x10, 0x0c, 0xda, 0x55, 0x96, 0xb9}}) ==
        L"00000001-0002-0003-B262-210CDA5596B9");
  CHECK(GuidTextOf({1, 2, 3, {0x0a, 0x0b, 0x0c, 0x0f, 0xda, 0x55, 0x96, 0xb9}}) ==
        L"00000001-0002-0003-ABCF-ABCFDA5596B9");
}

TEST_CASE("an identifier always has its form") {
  Simulation machine(7);
  support::CGetGUID source(machine.platform().guid_source);
  for (int i = 0; i < 2000; ++i) {
    const std::wstring text = source.GetGUID();
    CAPTURE(text);
    CHECK(HasGuidForm(text));
  }
}

TEST_CASE("identifiers differ from call to call") {
  Simulation machine;
  support::CGetGUID source(machine.platform().guid_source);
  std::set<std::wstring> seen;
  for (int i = 0; i < 500; ++i) CHECK(seen.insert(source.GetGUID()).second);
}

TEST_CASE("an identifier too short for its form is passed over") {
  Simulation machine;
  machine.AddGuid({1, 2, 3, {0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x11, 0x22, 0x33}});
  machine.AddGuid({9, 2, 3, {0x80, 0x62, 0x10, 0x50, 0xda, 0x55, 0x96, 0xb9}});
  CHECK(support::CGetGUID(machine.platform().guid_source).GetGUID() ==
        L"00000009-0002-0003-8062-1050DA5596B9");
}

TEST_CASE("a system that makes no identifier gives empty text") {
  Simulation machine;
  machine.SetGuidSourceFailing(true);
  CHECK(support::CGetGUID(machine.platform().guid_source).GetGUID().empty());
}
