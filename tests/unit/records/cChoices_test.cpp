#include "records/cChoices.h"

#include <doctest/doctest.h>

#include <string>

#include "base/error.h"
#include "unit/readable.h"

using namespace tdefault;
using records::cChoices;
using testing::ErrorOf;
using testing::NumberOf;

TEST_CASE("a new choice list is empty") {
  const cChoices choices;
  CHECK(choices.Count() == 0);
  CHECK(choices.elements().empty());
}

TEST_CASE("choices keep the order in which they were added") {
  cChoices choices;
  choices.Add(L"1", L"Yes");
  choices.Add(L"0", L"No");
  CHECK(choices.Item(1)->Item() == L"1");
  CHECK(choices.Item(1)->Description() == L"Yes");
  CHECK(choices.Item(2)->Item() == L"0");
  CHECK(choices.Item(2)->Description() == L"No");
  CHECK(choices.elements()[0] == choices.Item(1));
  CHECK(choices.elements()[1] == choices.Item(2));
}

TEST_CASE("the same choice added twice is there twice") {
  cChoices choices;
  choices.Add(L"1", L"Yes");
  choices.Add(L"1", L"Yes");
  CHECK(choices.Count() == 2);
}

TEST_CASE("adding a choice gives the stored choice back") {
  cChoices choices;
  const auto added = choices.Add(L"a", L"b");
  CHECK(added == choices.Item(1));
}

TEST_CASE("the texts of a choice are kept exactly") {
  cChoices choices;
  const std::wstring item = L"  " + std::wstring(400, L'i') + L" ";
  CHECK(choices.Add(item, L" d ")->Item() == item);
  CHECK(choices.Item(1)->Description() == L" d ");
}

TEST_CASE("a position outside a choice list is a subscript out of range") {
  cChoices choices;
  choices.Add(L"1", L"");
  CHECK(NumberOf([&] { return choices.Item(0); }) == 9);
  CHECK(NumberOf([&] { return choices.Item(2); }) == 9);
  CHECK(NumberOf([&] { return choices.Item(-1); }) == 9);
  CHECK(ErrorOf([&] { return choices.Item(2); })->source() == L"cChoices:Item");
}

TEST_CASE("a text is no index into a choice list, even when it looks like a position") {
  cChoices choices;
  choices.Add(L"1", L"");
  CHECK(NumberOf([&] { return choices.Item(std::wstring(L"1")); }) == 5);
  CHECK(NumberOf([&] { return choices.Item(std::wstring()); }) == 5);
}

TEST_CASE("an index into a choice list converts as automation converts numbers") {
  cChoices choices;
  choices.Add(L"a", L"");
  choices.Add(L"b", L"");
  CHECK(choices.Item(1.5)->Item() == L"b");
  CHECK(choices.Item(2.5)->Item() == L"b");
  CHECK(choices.Item(Currency{10000})->Item() == L"a");
  CHECK(NumberOf([&] { return choices.Item(Null()); }) == 94);
  CHECK(NumberOf([&] { return choices.Item(Bytes()); }) == 13);
  CHECK(NumberOf([&] { return choices.Item(1e10); }) == 6);
}

TEST_CASE("a choice list longer than 32767 cannot be counted but can be read") {
  cChoices choices;
  for (int i = 0; i < 32767; ++i) choices.Add(L"x", L"");
  CHECK(choices.Count() == 32767);
  choices.Add(L"last", L"");
  CHECK(NumberOf([&] { static_cast<void>(choices.Count()); }) == 6);
  CHECK(ErrorOf([&] { static_cast<void>(choices.Count()); })->source() == L"cChoices:Count");
  CHECK(choices.Item(32768)->Item() == L"last");
}
