#include "tovocfg/text.h"

#include <doctest/doctest.h>

namespace tovocfg {

TEST_CASE("characters are counted, not bytes") {
  CHECK(CountCharacters("") == 0);
  CHECK(CountCharacters("abc") == 3);
  CHECK(CountCharacters("Trois-Rivi\xC3\xA8res") == 14);
  CHECK(CountCharacters("\xE2\x82\xAC") == 1);
  CHECK(CountCharacters("\xF0\x9F\x9A\x97") == 1);
}

TEST_CASE("a malformed byte counts as one character") {
  CHECK(CountCharacters("a\xE9z") == 3);
  CHECK(CountCharacters("\xC3") == 1);
  CHECK(CountCharacters("\xE2\x82") == 2);
}

TEST_CASE("characters become the same bytes again") {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\x97";
  CHECK(FromCharacters(Characters(text)) == text);
}

TEST_CASE("UTF-16 becomes UTF-8 in either order of its bytes") {
  using namespace std::string_view_literals;
  CHECK(FromUtf16("a\0\xE9\0\xAC\x20\x3D\xD8\x97\xDE"sv, ByteOrder::kLowFirst) ==
        "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\x97");
  CHECK(FromUtf16("\0a\0\xE9\x20\xAC\xD8\x3D\xDE\x97"sv, ByteOrder::kHighFirst) ==
        "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\x97");
  CHECK(FromUtf16("", ByteOrder::kLowFirst).empty());
}

TEST_CASE("half a character of UTF-16 becomes a replacement and takes nothing else along") {
  using namespace std::string_view_literals;
  const std::string replacement = "\xEF\xBF\xBD";
  CHECK(FromUtf16("a\0b"sv, ByteOrder::kLowFirst) == "a" + replacement);
  CHECK(FromUtf16("\x3D\xD8x\0"sv, ByteOrder::kLowFirst) == replacement + "x");
  CHECK(FromUtf16("\x97\xDEx\0"sv, ByteOrder::kLowFirst) == replacement + "x");
  CHECK(FromUtf16("\x3D\xD8"sv, ByteOrder::kLowFirst) == replacement);
}

TEST_CASE("texts are the same in any letter case, accents included") {
  CHECK(SameText("Tax", "TAX"));
  CHECK(
      SameText("\xC3\x89"
               "cole",
               "\xC3\xA9"
               "COLE"));
  CHECK(SameText("\xC5\x92uvre", "\xC5\x93uvre"));
  CHECK_FALSE(SameText("\xC3\x97", "\xC3\xB7"));
  CHECK_FALSE(SameText("Tax", "Taxi"));
  CHECK_FALSE(SameText("e", "\xC3\xA9"));
}

TEST_CASE("blanks are taken off both ends only") {
  CHECK(Trimmed("  a b  ") == "a b");
  CHECK(Trimmed("   ").empty());
}

TEST_CASE("a text that is too wide ends in an ellipsis") {
  CHECK(Shortened("abcdef", 6) == "abcdef");
  CHECK(Shortened("abcdef", 4) == "abc\xE2\x80\xA6");
  CHECK(Shortened("\xC3\xA9\xC3\xA9\xC3\xA9", 2) == "\xC3\xA9\xE2\x80\xA6");
  CHECK(Shortened("ab", 0).empty());
}

TEST_CASE("a text is padded to its width in characters") {
  CHECK(Padded("\xC3\xA9", 3) == "\xC3\xA9  ");
  CHECK(Padded("abcd", 3) == "abcd");
}

TEST_CASE("lines end in any of the three ways") {
  CHECK(Lines("a\r\nb\nc\rd") == std::vector<std::string>{"a", "b", "c", "d"});
  CHECK(Lines("a\r\n\r\nb\r\n \r\n") == std::vector<std::string>{"a", "", "b"});
  CHECK(Lines("").empty());
}

TEST_CASE("splitting keeps empty parts") {
  CHECK(Split("a||b|", '|') == std::vector<std::string>{"a", "", "b", ""});
}

TEST_CASE("a character that has only begun is told from one that is complete") {
  CHECK(WholeCharacters("") == 0);
  CHECK(WholeCharacters("ab") == 2);
  CHECK(WholeCharacters("a\xC3") == 1);
  CHECK(WholeCharacters("a\xC3\xA9") == 3);
  CHECK(WholeCharacters("\xE2\x80") == 0);
  CHECK(WholeCharacters("x\xF0\x9F\x98") == 1);
  CHECK(WholeCharacters("x\xF0\x9F\x98\x80") == 5);
  CHECK(WholeCharacters("\xA9\xA9\xA9\xA9\xA9") == 5);
}

}  // namespace tovocfg
