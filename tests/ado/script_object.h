// An object of the stand-in for ADO: members by name only, errors as exception information.
#pragma once

#include "ado/stand_in.h"
// After windows.h.
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "base/error.h"

namespace tdefault::tests {

using automation::Bstr;
using automation::ComPtr;
using automation::Variant;

class ScriptObject : public IDispatch {
 public:
  ScriptObject(const ScriptObject&) = delete;
  ScriptObject& operator=(const ScriptObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** type) override;
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* numbers) override;
  STDMETHODIMP Invoke(DISPID number, REFIID iid, LCID locale, WORD kind, DISPPARAMS* arguments,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrong_argument) override;

 protected:
  // In declared order; those left out at the end are missing.
  using Arguments = std::span<const VARIANT>;
  using Method = std::function<Variant(Arguments)>;
  using Setter = std::function<void(const VARIANT&)>;

  ScriptObject(StandInState& state, std::wstring name);
  virtual ~ScriptObject();

  // For the constructors.
  void HasProperty(const wchar_t* name, Method get, Setter put = nullptr);
  void HasMethod(const wchar_t* name, Method call);

  [[nodiscard]] StandInState& state() const noexcept { return state_; }

 private:
  struct Member {
    std::wstring name;
    WORD kinds = 0;
    Method get;  // or call
    Setter put;
  };

  [[nodiscard]] HRESULT Run(const Member& member, WORD kind, const DISPPARAMS& arguments,
                            VARIANT* result) const;

  StandInState& state_;
  std::wstring name_;
  std::vector<Member> members_;  // a number is the position, from 1
  ULONG references_ = 1;
};

[[nodiscard]] std::wstring TextOf(const VARIANT& text);
[[nodiscard]] Variant NumberVariant(std::int32_t number);
[[nodiscard]] Variant FlagVariant(bool flag);
[[nodiscard]] Variant TextVariant(const std::wstring& text);
// Takes a reference of its own.
[[nodiscard]] Variant ObjectVariant(IDispatch* object);
[[nodiscard]] Variant BytesVariant(const Bytes& bytes);

}  // namespace tdefault::tests
