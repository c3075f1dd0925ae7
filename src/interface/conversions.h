// Between automation's types and those of the core.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "automation/com_types.h"
#include "base/error.h"
#include "base/value.h"
#include "records/INIOption.h"
#include "tdefault_h.h"

namespace tdefault::automation {

[[nodiscard]] inline std::wstring ToText(BSTR text) { return TextOf(text); }
[[nodiscard]] Error MissingReference();
[[nodiscard]] inline bool ToBool(VARIANT_BOOL value) noexcept { return value != VARIANT_FALSE; }

// Whether the argument is passed by reference and the reference, or one behind it, is null.
[[nodiscard]] bool IsNullReference(const VARIANT& argument) noexcept;

// What a host passed for an untyped argument: references followed, an object replaced by its
// default property. `source` names the member in errors. Throws TypeMismatch for an array, an
// object without a default property, or nothing at all; MissingReference for a null reference.
[[nodiscard]] Value ToValue(const VARIANT& argument, const std::wstring& source);

// How a member hands its result out. The target is cleared and its caller's from then on.
inline void Put(bool value, VARIANT_BOOL* result) noexcept {
  *result = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void Put(std::int16_t value, SHORT* result) noexcept { *result = value; }
inline void Put(std::int32_t value, LONG* result) noexcept { *result = value; }
inline void Put(records::KEY_TYPE value, ::KEY_TYPE* result) noexcept {
  *result = static_cast<::KEY_TYPE>(value);
}
void Put(const std::wstring& value, BSTR* result);
// An array of Byte; nothing stays Empty.
void Put(const std::optional<Bytes>& value, VARIANT* result);
template <class Interface>
void Put(ComPtr<Interface> value, Interface** result) noexcept {
  *result = value.Detach();
}

// The value of a by-reference argument that is not optional. Throws when there is none.
template <class T>
[[nodiscard]] T Given(const T* reference) {
  if (reference == nullptr) throw MissingReference();
  return *reference;
}

// A text that a member takes and gives back through one reference.
void Replace(const std::wstring& value, BSTR* text);

}  // namespace tdefault::automation
