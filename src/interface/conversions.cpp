#include "interface/conversions.h"

#include <cstring>
#include <limits>
#include <new>

namespace tdefault::automation {

namespace {

// The default property of an object; references and objects inside it are the caller's business.
Variant DefaultProperty(IDispatch* object) {
  Variant value;
  DISPPARAMS no_arguments{};
  if (object == nullptr ||
      FAILED(object->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                            &no_arguments, &value.get(), nullptr, nullptr))) {
    throw TypeMismatch(L"");
  }
  return value;
}

// Numbers that 32 bits hold stay whole numbers; others become floating point.
Value WholeNumber(double number) {
  if (number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::int32_t>::max()) {
    return number;
  }
  return static_cast<std::int32_t>(number);
}

double FloatingPoint(const VARIANT& number) {
  Variant converted;
  if (FAILED(VariantChangeType(&converted.get(), ReadOnly(number), 0, VT_R8)))
    throw TypeMismatch(L"");
  return converted.get().dblVal;
}

Value PlainValue(const VARIANT& value) {
  switch (value.vt) {
    case VT_NULL:
      return Null{};
    case VT_BOOL:
      return ToBool(value.boolVal);
    case VT_BSTR:
      return ToText(value.bstrVal);
    case VT_CY:
      return Currency{value.cyVal.int64};
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
      return WholeNumber(FloatingPoint(value));
    case VT_R4:
    case VT_R8:
    case VT_DATE:
    case VT_DECIMAL:
      return FloatingPoint(value);
    default:
      throw TypeMismatch(L"");
  }
}

}  // namespace

std::wstring ToText(BSTR text) {
  return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

Error MissingReference() {
  return {E_POINTER, L"TovoDefaults",
          L"An argument that is passed by reference is a null pointer."};
}

Value ToValue(const VARIANT& argument) {
  Variant value;
  if (FAILED(VariantCopyInd(&value.get(), ReadOnly(argument)))) throw TypeMismatch(L"");
  // An object may have an object as its default property; the depth is bounded against cycles.
  for (int depth = 0; value.get().vt == VT_DISPATCH && depth < 8; ++depth)
    value = DefaultProperty(value.get().pdispVal);
  return PlainValue(value.get());
}

void Put(const std::wstring& value, BSTR* result) { *result = Bstr(value).Detach(); }

void Put(const std::optional<Bytes>& value, VARIANT* result) {
  if (!value) return;
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(value->size()));
  if (array == nullptr) throw std::bad_alloc();
  void* elements = nullptr;
  if (FAILED(SafeArrayAccessData(array, &elements))) {
    SafeArrayDestroy(array);
    throw std::bad_alloc();
  }
  if (!value->empty()) std::memcpy(elements, value->data(), value->size());
  SafeArrayUnaccessData(array);
  result->vt = VT_ARRAY | VT_UI1;
  result->parray = array;
}

void Replace(const std::wstring& value, BSTR* text) {
  Bstr replacement(value);
  SysFreeString(*text);
  *text = replacement.Detach();
}

}  // namespace tdefault::automation
