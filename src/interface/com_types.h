// Owners of automation's counted values. Interface pointers are held in ComPtr.
#pragma once

#include <windows.h>
// After windows.h.
#include <oleauto.h>
#include <wrl/client.h>

#include <new>
#include <string_view>
#include <utility>

namespace tdefault::automation {

using Microsoft::WRL::ComPtr;

// A BSTR of our own. A null BSTR is empty text, as everywhere in automation.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::wstring_view text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (text_ == nullptr) throw std::bad_alloc();
  }
  ~Bstr() { SysFreeString(text_); }

  Bstr(Bstr&& other) noexcept : text_(other.Detach()) {}
  Bstr& operator=(Bstr&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;

  [[nodiscard]] BSTR get() const noexcept { return text_; }
  [[nodiscard]] BSTR Detach() noexcept { return std::exchange(text_, nullptr); }

 private:
  BSTR text_ = nullptr;
};

// A VARIANT of our own, empty at first.
class Variant {
 public:
  Variant() noexcept { VariantInit(&value_); }
  ~Variant() { VariantClear(&value_); }

  Variant(Variant&& other) noexcept : value_(other.Detach()) {}
  Variant& operator=(Variant&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;

  [[nodiscard]] VARIANT& get() noexcept { return value_; }
  [[nodiscard]] const VARIANT& get() const noexcept { return value_; }
  // Gives the value away and is empty then.
  [[nodiscard]] VARIANT Detach() noexcept {
    const VARIANT given = value_;
    VariantInit(&value_);
    return given;
  }

 private:
  VARIANT value_;
};

// For calls that only read a value but declare it changeable.
[[nodiscard]] inline VARIANT* ReadOnly(const VARIANT& value) noexcept {
  return const_cast<VARIANT*>(&value);
}

}  // namespace tdefault::automation
