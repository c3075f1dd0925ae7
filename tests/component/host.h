// What a host program of these tests needs: an apartment, a shop of its own to work on, the
// library's objects early and late bound, and a handler for their events.
#pragma once

#include <windows.h>
// After windows.h.
#include <doctest/doctest.h>
#include <ocidl.h>
#include <olectl.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "automation/com_types.h"
#include "tdefault_h.h"

namespace tdefault::component {

using automation::Bstr;
using automation::ComPtr;
using automation::Variant;

// Texts are compared as UTF-8, which doctest can print.
[[nodiscard]] std::string Utf8(std::wstring_view text);
[[nodiscard]] std::string BstrText(BSTR text);
[[nodiscard]] std::string Utf8(const Variant& text);  // REQUIRES: a text

class Apartment {
 public:
  explicit Apartment(DWORD model = COINIT_APARTMENTTHREADED) { CoInitializeEx(nullptr, model); }
  ~Apartment() { CoUninitialize(); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
};

// A method or a property with arguments, as script hosts call it.
inline constexpr WORD kCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

// A copy of the sample shop in a throw-away folder.
class Shop {
 public:
  Shop();
  ~Shop();
  Shop(const Shop&) = delete;
  Shop& operator=(const Shop&) = delete;

  [[nodiscard]] std::wstring data() const { return folder_ + L"\\data"; }
  [[nodiscard]] std::wstring local_ini() const { return folder_ + L"\\workstation\\TOVO.INI"; }
  [[nodiscard]] std::wstring global_ini() const { return data() + L"\\TOVOGBL.INI"; }
  [[nodiscard]] std::wstring table() const { return data() + L"\\DEFAULTS.dbf"; }

 private:
  std::wstring folder_;
};

// The prefix and what no other process of this machine has.
[[nodiscard]] std::wstring UniqueName(const wchar_t* prefix);
// Starts a program that lies beside this one. The handle is the caller's to close.
[[nodiscard]] HANDLE StartProgram(const std::wstring& name, const std::wstring& arguments);

// Holds a file open in another process, which shares it as FILE_SHARE_* says.
class HeldFile {
 public:
  HeldFile(const std::wstring& path, DWORD share);
  ~HeldFile();
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE release_ = nullptr;
  HANDLE process_ = nullptr;
};

// A value as an argument.
[[nodiscard]] Variant Argument(const wchar_t* text);
[[nodiscard]] Variant Argument(int number);
[[nodiscard]] Variant Argument(double number);
[[nodiscard]] Variant Argument(bool value);
[[nodiscard]] Variant Omitted();
// A reference to a variant, as scripts pass their variables.
[[nodiscard]] VARIANT Reference(Variant& variable);

template <class... Values>
[[nodiscard]] std::vector<Variant> Arguments(Values... values) {
  std::vector<Variant> list;
  (list.push_back(Argument(values)), ...);
  return list;
}

struct Outcome {
  HRESULT code = S_OK;
  Variant value;
  UINT wrong_argument = 99;
  HRESULT error = S_OK;  // of the exception information
  std::string source;
  std::string description;
};

// An object used by name only.
class LateBound {
 public:
  explicit LateBound(IUnknown* object);
  // Of an object in a variant.
  explicit LateBound(const Variant& object) : LateBound(object.get().pdispVal) {}

  // `arguments` in declared order.
  [[nodiscard]] Outcome Invoke(const wchar_t* name, WORD flags,
                               const std::vector<VARIANT>& arguments) const;
  [[nodiscard]] Outcome Invoke(DISPID id, WORD flags, DISPPARAMS arguments) const;
  [[nodiscard]] Outcome Try(const wchar_t* name, const std::vector<Variant>& arguments = {}) const;
  // These check that the member succeeds.
  [[nodiscard]] Variant Get(const wchar_t* name, const std::vector<Variant>& arguments = {}) const;
  [[nodiscard]] std::string Text(const wchar_t* name) const { return Utf8(Get(name)); }
  void Put(const wchar_t* name, const wchar_t* text) const;

  [[nodiscard]] DISPID Id(const wchar_t* name) const;
  [[nodiscard]] IDispatch* get() const { return object_.Get(); }

 private:
  ComPtr<IDispatch> object_;
};

[[nodiscard]] ComPtr<::_Options> CreateOptions();
// Created, pointed at the shop and initialised.
[[nodiscard]] ComPtr<::_Options> OpenShop(const Shop& shop);
// Pointed at the shop, not yet initialised.
[[nodiscard]] ComPtr<::_Options> CreateOptions(const Shop& shop);

[[nodiscard]] ComPtr<::_INIOption> OptionAt(::_Options* options, int position);
// The option of a section and key.
[[nodiscard]] ComPtr<::_INIOption> FindOption(::_Options* options, const std::string& section,
                                              const std::string& key);

// What a text member returns; it must succeed.
template <class Object>
[[nodiscard]] std::string Text(Object* object, HRESULT (STDMETHODCALLTYPE Object::*member)(BSTR*)) {
  BSTR text = nullptr;
  const HRESULT result = (object->*member)(&text);
  CHECK(result == S_OK);
  const std::string utf8 = BstrText(text);
  SysFreeString(text);
  return utf8;
}

// The error information that the last failed call left for the thread.
struct ErrorText {
  std::string source;
  std::string description;
};
[[nodiscard]] ErrorText TakeErrorInformation();

// Receives events; counts its references to show that they balance.
class EventHandler final : public IDispatch {
 public:
  using Call = std::function<HRESULT(DISPID, const DISPPARAMS&)>;

  explicit EventHandler(Call call) : call_(std::move(call)) {}
  virtual ~EventHandler() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    return call_(id, *arguments);
  }

  [[nodiscard]] ULONG references() const { return references_; }

 private:
  Call call_;
  ULONG references_ = 1;
};

// The connection point of an object for an event interface; it must have one.
[[nodiscard]] ComPtr<IConnectionPoint> PointOf(IUnknown* source, REFIID events);
[[nodiscard]] DWORD Connect(IUnknown* source, REFIID events, EventHandler& handler);
void Disconnect(IUnknown* source, REFIID events, DWORD cookie);

}  // namespace tdefault::component
