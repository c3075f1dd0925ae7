#include "base/code_page.h"

#include <doctest/doctest.h>

#include <string>

using namespace tdefault;

TEST_CASE("the five code pages are carried and no other") {
  for (const std::uint32_t number : {437U, 850U, 1250U, 1251U, 1252U})
    CHECK(CodePage::Find(number)->number() == number);
  CHECK_FALSE(CodePage::Find(0));
  CHECK_FALSE(CodePage::Find(65001));
}

TEST_CASE("every byte of every code page decodes and encodes back to itself") {
  for (const std::uint32_t number : {437U, 850U, 1250U, 1251U, 1252U}) {
    const CodePage page = *CodePage::Find(number);
    for (unsigned byte = 0; byte < 256; ++byte) {
      const wchar_t character = page.Decode(static_cast<unsigned char>(byte));
      REQUIRE(page.Encode(character) == static_cast<unsigned char>(byte));
    }
  }
}

TEST_CASE("the same byte is another letter on another page") {
  CHECK(CodePage::Find(1252)->Decode(0xE9) == 0x00E9);
  CHECK(CodePage::Find(437)->Decode(0x82) == 0x00E9);
  CHECK(CodePage::Find(850)->Decode(0x9D) == 0x00D8);
  CHECK(CodePage::Find(1250)->Decode(0xB3) == 0x0142);
  CHECK(CodePage::Find(1251)->Decode(0xFF) == 0x044F);
  CHECK(CodePage::Find(1252)->Decode(0x80) == 0x20AC);
}

TEST_CASE("a character that the page lacks becomes a question mark") {
  const std::wstring text = {L'a', static_cast<wchar_t>(0x0142), L'b'};
  CHECK(CodePage::Find(1252)->Encode(text) == "a?b");
  CHECK_FALSE(CodePage::Find(1252)->Encode(static_cast<wchar_t>(0x0142)));
}
