#include "base/fixed_text.h"

#include <doctest/doctest.h>

#include <string>

using namespace tdefault;

TEST_CASE("a fixed field keeps the first characters up to its capacity") {
  FixedText<5> field;
  field.Assign(L"abcdefgh");
  CHECK(field.Trimmed() == L"abcde");
}

TEST_CASE("a fixed field reads back without surrounding blanks and keeps inner ones") {
  FixedText<10> field;
  CHECK(field.Trimmed().empty());
  field.Assign(L"  a b  ");
  CHECK(field.Trimmed() == L"a b");
  field.Assign(L"\t5 ");
  CHECK(field.Trimmed() == L"\t5");
  field.Assign(L"     ");
  CHECK(field.Trimmed().empty());
}

TEST_CASE("blanks in front count against the capacity of a fixed field") {
  FixedText<3> field;
  field.Assign(L"  abc");
  CHECK(field.Trimmed() == L"a");
}
