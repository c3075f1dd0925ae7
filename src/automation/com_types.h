// Owners of automation's counted values. The compiler's own wrl/client.h is not used: its Attach
// takes a reference too many.
#pragma once

#include <windows.h>
// After windows.h.
#include <oleauto.h>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tdefault::automation {

// A counted reference to an interface, or null.
template <class Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  // Takes a reference of its own.
  ComPtr(Interface* object) : object_(object) {  // NOLINT(google-explicit-constructor)
    if (object_ != nullptr) object_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.Get()) {}
  ComPtr(ComPtr&& other) noexcept : object_(other.Detach()) {}
  template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, Interface*>>>
  // NOLINTNEXTLINE(google-explicit-constructor)
  ComPtr(const ComPtr<Derived>& other) : ComPtr(other.Get()) {}
  template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, Interface*>>>
  // NOLINTNEXTLINE(google-explicit-constructor)
  ComPtr(ComPtr<Derived>&& other) noexcept : object_(other.Detach()) {}
  ~ComPtr() { Reset(); }

  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  [[nodiscard]] Interface* Get() const noexcept { return object_; }
  Interface* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  // Where a call that hands out a reference writes it; what was held is released first.
  [[nodiscard]] Interface** operator&() noexcept {  // NOLINT(google-runtime-operator)
    Reset();
    return &object_;
  }

  // The same for calls that name the interface apart.
  [[nodiscard]] void** ReceiveAny() noexcept { return reinterpret_cast<void**>(&*this); }

  void Reset() noexcept {
    if (Interface* released = Detach(); released != nullptr) released->Release();
  }
  // Takes over a reference that is the caller's.
  void Attach(Interface* object) noexcept {
    Reset();
    object_ = object;
  }
  // Gives the reference to the caller.
  [[nodiscard]] Interface* Detach() noexcept { return std::exchange(object_, nullptr); }

  template <class Other>
  [[nodiscard]] HRESULT As(Other** other) const noexcept {
    return object_->QueryInterface(__uuidof(Other), reinterpret_cast<void**>(other));
  }

 private:
  Interface* object_ = nullptr;
};

// A null BSTR is empty text here, too.
[[nodiscard]] inline std::wstring TextOf(BSTR text) {
  return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

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
