#include "base/error.h"

#include <doctest/doctest.h>

#include <string>

using namespace tdefault;

TEST_CASE("an error carries number, source and description") {
  const Error error(53, L":SetINIFile", L"File not found");
  CHECK(error.number() == 53);
  CHECK(error.source() == L":SetINIFile");
  CHECK(error.description() == L"File not found");
  CHECK(std::string(error.what()) == "53 [:SetINIFile] File not found");
}

TEST_CASE("the object-error base and the data access codes are the published numbers") {
  CHECK(error_number::kObjectError == -2147221504);
  CHECK(error_number::kObjectError + 1 == -2147221503);
  CHECK(error_number::kObjectError + 3 == -2147221501);
  CHECK(static_cast<std::uint32_t>(error_number::kNoCurrentRow) == 0x800A0BCD);
  CHECK(static_cast<std::uint32_t>(error_number::kStatementError) == 0x80040E14);
}

TEST_CASE("automation run-time errors keep their numbers and texts") {
  CHECK(InvalidArgument(L"x").number() == 5);
  CHECK(Overflow(L"x").number() == 6);
  CHECK(SubscriptOutOfRange(L"x").number() == 9);
  CHECK(TypeMismatch(L"x").number() == 13);
  CHECK(InvalidUseOfNull(L"x").number() == 94);
  CHECK(KeyAlreadyInUse(L"x").number() == 457);
  CHECK(Overflow(L"x").description() == L"Overflow");
  CHECK(Overflow(L"Options:Count").source() == L"Options:Count");
}
