#include "interface/conversions.h"

#include <doctest/doctest.h>

#include <cstdint>
#include <functional>

using namespace tdefault;
using namespace tdefault::automation;

namespace {

VARIANT Make(VARTYPE type, const std::function<void(VARIANT&)>& fill) {
  VARIANT value{};
  value.vt = type;
  fill(value);
  return value;
}

constexpr wchar_t kSource[] = L"Class:Member";

Value ValueOf(const VARIANT& argument) { return ToValue(argument, kSource); }

std::int32_t ErrorOf(const VARIANT& argument) {
  try {
    static_cast<void>(ValueOf(argument));
  } catch (const Error& error) {
    CHECK(error.source() == (error.number() == E_POINTER ? L"TovoDefaults" : kSource));
    return error.number();
  }
  return 0;
}

}  // namespace

TEST_CASE("whole numbers of every width become 32-bit numbers") {
  CHECK(ValueOf(Make(VT_I2, [](VARIANT& v) { v.iVal = -7; })) == Value(std::int32_t{-7}));
  CHECK(ValueOf(Make(VT_UI1, [](VARIANT& v) { v.bVal = 200; })) == Value(std::int32_t{200}));
  CHECK(ValueOf(Make(VT_I4, [](VARIANT& v) { v.lVal = 7; })) == Value(std::int32_t{7}));
  CHECK(ValueOf(Make(VT_I8, [](VARIANT& v) { v.llVal = 7; })) == Value(std::int32_t{7}));
  CHECK(ValueOf(Make(VT_I8, [](VARIANT& v) { v.llVal = 1LL << 40; })) == Value(1099511627776.0));
}

TEST_CASE("other values keep their kind") {
  CHECK(ValueOf(Make(VT_R8, [](VARIANT& v) { v.dblVal = 1.5; })) == Value(1.5));
  CHECK(ValueOf(Make(VT_BOOL, [](VARIANT& v) { v.boolVal = VARIANT_TRUE; })) == Value(true));
  CHECK(ValueOf(Make(VT_NULL, [](VARIANT&) {})) == Value(Null{}));
  CHECK(ValueOf(Make(VT_CY, [](VARIANT& v) { v.cyVal.int64 = 12345; })) == Value(Currency{12345}));
  const Bstr text(L"id");
  CHECK(ValueOf(Make(VT_BSTR, [&](VARIANT& v) { v.bstrVal = text.get(); })) ==
        Value(std::wstring(L"id")));
}

TEST_CASE("references are followed") {
  VARIANT inner = Make(VT_I4, [](VARIANT& v) { v.lVal = 7; });
  CHECK(ValueOf(Make(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &inner; })) ==
        Value(std::int32_t{7}));
  LONG number = 8;
  CHECK(ValueOf(Make(VT_BYREF | VT_I4, [&](VARIANT& v) { v.plVal = &number; })) ==
        Value(std::int32_t{8}));
}

TEST_CASE("what is no value of an index is a type mismatch") {
  CHECK(ErrorOf(Make(VT_EMPTY, [](VARIANT&) {})) == 13);
  CHECK(ErrorOf(Make(VT_ERROR, [](VARIANT& v) { v.scode = DISP_E_PARAMNOTFOUND; })) == 13);
  CHECK(ErrorOf(Make(VT_DISPATCH, [](VARIANT& v) { v.pdispVal = nullptr; })) == 13);
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 2);
  CHECK(ErrorOf(Make(VT_ARRAY | VT_I4, [&](VARIANT& v) { v.parray = array; })) == 13);
  SafeArrayDestroy(array);
}

TEST_CASE("a null reference is refused, behind another reference too") {
  const auto none = [](VARIANT& v) { v.byref = nullptr; };
  for (const int type : {VT_I4 + 0, VT_BSTR + 0, VT_VARIANT + 0, VT_DISPATCH + 0, VT_ARRAY | VT_I4})
    CHECK(ErrorOf(Make(static_cast<VARTYPE>(VT_BYREF | type), none)) == E_POINTER);
  VARIANT inner = Make(VT_BYREF | VT_I4, none);
  CHECK(ErrorOf(Make(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &inner; })) == E_POINTER);
}

TEST_CASE("a value of a type that does not exist is a type mismatch") {
  CHECK(ErrorOf(Make(static_cast<VARTYPE>(77), [](VARIANT&) {})) == 13);
}

TEST_CASE("a null text is empty and a text may hold any character") {
  CHECK(ToText(nullptr).empty());
  const std::wstring text(L"a\0b", 3);
  CHECK(ToText(Bstr(text).get()) == text);
}

TEST_CASE("bytes become an array, no bytes an empty one, and nothing stays Empty") {
  VARIANT picture{};
  Put(Bytes{1, 2, 3}, &picture);
  REQUIRE(picture.vt == (VT_ARRAY | VT_UI1));
  CHECK(picture.parray->rgsabound[0].cElements == 3);
  VariantClear(&picture);
  Put(Bytes{}, &picture);
  REQUIRE(picture.vt == (VT_ARRAY | VT_UI1));
  CHECK(picture.parray->rgsabound[0].cElements == 0);
  VariantClear(&picture);
  Put(std::optional<Bytes>(), &picture);
  CHECK(picture.vt == VT_EMPTY);
}
