#include "records/collection.h"

#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "unit/readable.h"

using namespace tdefault;
using records::Collection;
using testing::ErrorOf;
using testing::NumberOf;

TEST_CASE("a key finds its element in any letter case") {
  Collection<int> collection;
  collection.Append(std::make_shared<int>(1), L"Abc", L"Test");
  collection.Append(std::make_shared<int>(2), L"ABD", L"Test");
  CHECK(*collection.At(L"aBC", L"Test") == 1);
  CHECK(*collection.At(L"abd", L"Test") == 2);
}

TEST_CASE("a key that is taken adds nothing") {
  Collection<int> collection;
  collection.Append(std::make_shared<int>(1), L"Abc", L"Test");
  const auto error = ErrorOf([&] { collection.Append(std::make_shared<int>(2), L"ABC", L"Test"); });
  REQUIRE(error);
  CHECK(error->number() == 457);
  CHECK(error->source() == L"Test");
  CHECK(collection.elements().size() == 1);
  CHECK(*collection.At(L"abc", L"Test") == 1);
}

TEST_CASE("an unknown key is an invalid argument and an unknown position out of range") {
  Collection<int> collection;
  collection.Append(std::make_shared<int>(1), L"a", L"Test");
  CHECK(NumberOf([&] { static_cast<void>(collection.At(L"b", L"Test")); }) == 5);
  CHECK(NumberOf([&] { static_cast<void>(collection.At(0, L"Test")); }) == 9);
  CHECK(NumberOf([&] { static_cast<void>(collection.At(2, L"Test")); }) == 9);
  CHECK(NumberOf([&] { static_cast<void>(collection.At(-2147483647, L"Test")); }) == 9);
}
