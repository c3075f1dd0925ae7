#include "interface/conversions.h"

#include <cstring>
#include <limits>
#include <new>

namespace tdefault::automation {

namespace {

// The default property of an object; references and objects inside it are the caller's business.
Variant DefaultProperty(IDispatch* object, const std::wstring& source) {
  Variant value;
  DISPPARAMS no_arguments{};
  if (object == nullptr ||
      FAILED(object->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                            &no_arguments, &value.get(), nullptr, nullptr))) {
    throw TypeMismatch(source);
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

double FloatingPoint(const VARIANT& number, const std::wstring& source) {
  Variant converted;
  if (FAILED(VariantChangeType(&converted.get(), ReadOnly(number), 0, VT_R8)))
    throw TypeMismatch(source);
  return converted.get().dblVal;
}

Value PlainValue(const VARIANT& value, const std::wstring& source) {
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
      return WholeNumber(FloatingPoint(value, source));
    case VT_R4:
    case VT_R8:
    case VT_DATE:
    case VT_DECIMAL:
      return FloatingPoint(value, source);
    default:
      throw TypeMismatch(source);
  }
}

}  // namespace

Error MissingReference() {
  return {E_POINTER, L"TovoDefaults",
          L"An argument that is passed by reference is a null pointer."};
}

bool IsNullReference(const VARIANT& argument) noexcept {
  const VARIANT* value = &argument;
  // Automation follows a reference to a reference and no further; a chain longer than that is
  // refused by it without being followed.
  for (int depth = 0; depth < 4; ++depth) {
    if ((value->vt & VT_BYREF) == 0) return false;
    if (value->byref == nullptr) return true;
    if (value->vt != (VT_BYREF | VT_VARIANT)) return false;
    value = value->pvarVal;
  }
  return false;
}

Value ToValue(const VARIANT& argument, const std::wstring& source) {
  if (IsNullReference(argument)) throw MissingReference();
  Variant value;
  if (FAILED(VariantCopyInd(&value.get(), ReadOnly(argument)))) throw TypeMismatch(source);
  // An object may have an object as its default property; the depth is bounded against cycles.
  for (int depth = 0; value.get().vt == VT_DISPATCH && depth < 8; ++depth)
    value = DefaultProperty(value.get().pdispVal, source);
  return PlainValue(value.get(), source);
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
