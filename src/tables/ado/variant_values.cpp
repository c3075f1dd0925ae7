#include "tables/ado/variant_values.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

#include "base/error.h"
#include "base/text.h"
#include "tables/ado/automation_object.h"

namespace tdefault::tables::ado {
namespace {

constexpr wchar_t kFieldClass[] = L"Field";
// Automation's dates count from 1899-12-30.
constexpr std::int32_t kAutomationDayZero = 2415019;

bool IsDateType(DataType type) {
  return type == DataType::kDate || type == DataType::kDatabaseDate || type == DataType::kTimestamp;
}

bool IsTextType(DataType type) {
  return type == DataType::kChar || type == DataType::kVarChar || type == DataType::kLongVarChar ||
         type == DataType::kWideChar || type == DataType::kVarWideChar ||
         type == DataType::kLongVarWideChar;
}

bool IsBinaryType(DataType type) {
  return type == DataType::kBinary || type == DataType::kVarBinary ||
         type == DataType::kLongVarBinary;
}

bool IsNumberType(DataType type) {
  return type == DataType::kInteger || type == DataType::kDouble || type == DataType::kCurrency ||
         type == DataType::kNumeric;
}

// The fraction is a time of day also in front of the first day, where the number is negative.
DateTime ToDateTime(double date) {
  const double day = std::trunc(date);
  DateTime result;
  result.date.julian_day = kAutomationDayZero + static_cast<std::int32_t>(day);
  const double time = std::round(std::fabs(date - day) * kMillisecondsPerDay);
  if (time >= kMillisecondsPerDay) {
    ++result.date.julian_day;
  } else {
    result.milliseconds = static_cast<std::int32_t>(time);
  }
  const bool empty = result.date.julian_day == kAutomationDayZero && result.milliseconds == 0;
  return empty ? DateTime{} : result;
}

double ToAutomationDate(DateTime date_time) {
  if (date_time.empty()) return 0.0;
  const double day = date_time.date.julian_day - kAutomationDayZero;
  const double time = static_cast<double>(date_time.milliseconds) / kMillisecondsPerDay;
  return day < 0 ? day - time : day + time;
}

Value DateValue(double date, DataType type) {
  const DateTime date_time = ToDateTime(date);
  const bool with_time =
      type == DataType::kTimestamp || (!IsDateType(type) && date_time.milliseconds != 0);
  if (with_time) return date_time;
  return date_time.date;
}

// Access to the bytes of a vector of bytes while it lives.
class ArrayBytes {
 public:
  explicit ArrayBytes(SAFEARRAY* array) : array_(array) {
    if (FAILED(SafeArrayAccessData(array_, &data_))) throw TypeMismatch(kFieldClass);
  }
  ~ArrayBytes() { SafeArrayUnaccessData(array_); }
  ArrayBytes(const ArrayBytes&) = delete;
  ArrayBytes& operator=(const ArrayBytes&) = delete;

  [[nodiscard]] std::uint8_t* data() const noexcept { return static_cast<std::uint8_t*>(data_); }

 private:
  SAFEARRAY* array_;
  void* data_ = nullptr;
};

Bytes BytesOfArray(SAFEARRAY* array) {
  LONG first = 0;
  LONG last = -1;
  if (array == nullptr || SafeArrayGetDim(array) != 1 ||
      FAILED(SafeArrayGetLBound(array, 1, &first)) || FAILED(SafeArrayGetUBound(array, 1, &last)))
    throw TypeMismatch(kFieldClass);
  if (last < first) return {};
  const ArrayBytes bytes(array);
  return {bytes.data(), bytes.data() + (last - first + 1)};
}

bool IsByteArray(const VARIANT& variant) { return variant.vt == (VT_ARRAY | VT_UI1); }

std::wstring Decode(const Bytes& bytes) {
  if (bytes.empty()) return {};
  const auto* const narrow = reinterpret_cast<const char*>(bytes.data());
  const int length = static_cast<int>(bytes.size());
  std::wstring text(
      static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, narrow, length, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, narrow, length, text.data(), static_cast<int>(text.size()));
  return text;
}

Bytes Encode(const std::wstring& text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  Bytes bytes(static_cast<std::size_t>(
      WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr)));
  WideCharToMultiByte(CP_ACP, 0, text.data(), length, reinterpret_cast<char*>(bytes.data()),
                      static_cast<int>(bytes.size()), nullptr, nullptr);
  return bytes;
}

double ToDouble(const VARIANT& variant) {
  Variant number;
  if (FAILED(VariantChangeTypeEx(&number.get(), automation::ReadOnly(variant), kLocale, 0, VT_R8)))
    throw TypeMismatch(kFieldClass);
  return number.get().dblVal;
}

// Columns of whole numbers give 32 bits; whatever else comes as a whole number follows its size.
Value NumberValue(const VARIANT& variant, DataType type) {
  const double number = ToDouble(variant);
  const bool floating = variant.vt == VT_R4 || variant.vt == VT_R8 || variant.vt == VT_DECIMAL;
  if (type == DataType::kDouble || type == DataType::kNumeric) return number;
  if (floating && type != DataType::kInteger) return number;
  if (number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::int32_t>::max())
    return number;
  return static_cast<std::int32_t>(number);
}

void PutText(const std::wstring& text, VARIANT& variant) {
  variant.bstrVal = Bstr(text).Detach();
  variant.vt = VT_BSTR;
}

void PutBytes(const Bytes& bytes, VARIANT& variant) {
  SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  if (array == nullptr) throw std::bad_alloc();
  variant.vt = VT_ARRAY | VT_UI1;
  variant.parray = array;
  if (!bytes.empty()) std::memcpy(ArrayBytes(array).data(), bytes.data(), bytes.size());
}

void PutDate(DateTime date_time, VARIANT& variant) {
  variant.date = ToAutomationDate(date_time);
  variant.vt = VT_DATE;
}

void PutNumber(double number, VARIANT& variant) {
  variant.dblVal = number;
  variant.vt = VT_R8;
}

void PutFlag(bool flag, VARIANT& variant) {
  variant.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  variant.vt = VT_BOOL;
}

void PutTextFor(std::wstring text, DataType type, VARIANT& variant) {
  if (IsNumberType(type)) {
    const auto number = ParseNumber(text);
    if (!number) throw TypeMismatch(kFieldClass);
    return PutNumber(*number, variant);
  }
  if (type == DataType::kBoolean) return PutFlag(ToBoolean(text, kFieldClass), variant);
  if (IsDateType(type)) {
    DATE date = 0;
    if (!TrimBlanks(text).empty() &&
        FAILED(VarDateFromStr(text.data(), kLocale, LOCALE_NOUSEROVERRIDE, &date)))
      throw TypeMismatch(kFieldClass);
    variant.date = date;
    variant.vt = VT_DATE;
    return;
  }
  if (IsBinaryType(type)) return PutBytes(Encode(text), variant);
  PutText(text, variant);
}

}  // namespace

Value ToValue(const VARIANT& variant, DataType type) {
  if (IsByteArray(variant)) {
    Bytes bytes = BytesOfArray(variant.parray);
    if (type == DataType::kBinary) return Decode(bytes);
    return bytes;
  }
  switch (variant.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return Null{};
    case VT_BSTR:
      return TextOf(variant.bstrVal);
    case VT_BOOL:
      return variant.boolVal != VARIANT_FALSE;
    case VT_CY:
      return Currency{variant.cyVal.int64};
    case VT_DATE:
      return DateValue(variant.date, type);
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
    case VT_R4:
    case VT_R8:
    case VT_DECIMAL:
      return NumberValue(variant, type);
    default:
      throw TypeMismatch(kFieldClass);
  }
}

Bytes ToBytes(const VARIANT& variant) {
  if (variant.vt == VT_NULL || variant.vt == VT_EMPTY) return {};
  if (IsByteArray(variant)) return BytesOfArray(variant.parray);
  if (variant.vt != VT_BSTR) throw TypeMismatch(kFieldClass);
  return Encode(TextOf(variant.bstrVal));
}

Variant ToVariant(const Value& value, DataType type) {
  Variant result;
  VARIANT& variant = result.get();
  const auto put = [&variant, type](const auto& held) {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, Null>) {
      variant.vt = VT_NULL;
    } else if constexpr (std::is_same_v<Held, std::wstring>) {
      PutTextFor(held, type, variant);
    } else if constexpr (std::is_same_v<Held, Bytes>) {
      PutBytes(held, variant);
    } else if (IsTextType(type) || IsBinaryType(type)) {
      PutTextFor(ToText(Value(held), kFieldClass), type, variant);
    } else if constexpr (std::is_same_v<Held, bool>) {
      PutFlag(held, variant);
    } else if constexpr (std::is_same_v<Held, std::int32_t>) {
      variant.lVal = held;
      variant.vt = VT_I4;
    } else if constexpr (std::is_same_v<Held, double>) {
      PutNumber(held, variant);
    } else if constexpr (std::is_same_v<Held, Currency>) {
      variant.cyVal.int64 = held.ten_thousandths;
      variant.vt = VT_CY;
    } else if constexpr (std::is_same_v<Held, Date>) {
      PutDate({held, 0}, variant);
    } else {
      static_assert(std::is_same_v<Held, DateTime>);
      PutDate(held, variant);
    }
  };
  std::visit(put, value);
  return result;
}

}  // namespace tdefault::tables::ado
