// Objects of other libraries, used late bound as script hosts use them.
#pragma once

#include "automation/failure_information.h"
// After windows.h.
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tdefault::tables::ado {

using automation::Bstr;
using automation::ComPtr;
using automation::FailureInformation;
using automation::Hexadecimal;
using automation::TextOf;
using automation::Variant;

// US English: names and conversions must not depend on the user's settings.
inline constexpr LCID kLocale = 1033;
// The option of Execute and Open by which a source is a statement.
inline constexpr std::int32_t kCommandText = 1;

// One object and the numbers of its members, which are asked for once. Used on the thread that made
// it. An error that the object raises becomes an Error with the same number, source and
// description; where the object tells no more than a result code, the text names the member and
// what to do.
class AutomationObject {
 public:
  // A new object of that class. Throws the system's code with a text that says what to do: COM is
  // not initialised on the thread, the class is not registered, or cannot be created.
  [[nodiscard]] static AutomationObject Create(const wchar_t* programmatic_identifier);

  // `name` is what error texts call the object.
  AutomationObject(ComPtr<IDispatch> object, std::wstring name);
  // Another object of the same class as `sibling`: it has the same members.
  AutomationObject(ComPtr<IDispatch> object, const AutomationObject& sibling);

  [[nodiscard]] IDispatch* dispatch() const noexcept { return object_.Get(); }
  [[nodiscard]] const std::wstring& name() const noexcept { return name_; }

  // The arguments stay their owners'. `member` is a literal.
  Variant Get(const wchar_t* member, std::initializer_list<VARIANT> arguments = {}) const;
  void Put(const wchar_t* member, const VARIANT& value) const;
  Variant Call(const wchar_t* member, std::initializer_list<VARIANT> arguments = {}) const;

  // Properties of the usual types. They throw kTableDamaged for a value of another type.
  [[nodiscard]] std::int32_t GetNumber(const wchar_t* member) const;
  [[nodiscard]] bool GetFlag(const wchar_t* member) const;
  [[nodiscard]] std::wstring GetText(const wchar_t* member) const;
  [[nodiscard]] ComPtr<IDispatch> GetChild(const wchar_t* member,
                                           std::initializer_list<VARIANT> arguments = {}) const;

 private:
  using MemberNumbers = std::map<std::wstring_view, DISPID>;

  [[nodiscard]] DISPID NumberOf(const wchar_t* member) const;
  Variant Invoke(const wchar_t* member, WORD kind, DISPPARAMS& arguments) const;
  Variant InvokeWith(const wchar_t* member, WORD kind,
                     std::initializer_list<VARIANT> arguments) const;
  [[nodiscard]] Variant GetAs(const wchar_t* member, VARTYPE type,
                              std::initializer_list<VARIANT> arguments) const;

  ComPtr<IDispatch> object_;
  std::wstring name_;
  std::shared_ptr<MemberNumbers> numbers_;
};

// Arguments for one call. What they refer to stays its owner's.
[[nodiscard]] VARIANT Argument(std::int32_t number) noexcept;
[[nodiscard]] VARIANT Argument(const Bstr& text) noexcept;
[[nodiscard]] VARIANT Argument(IDispatch* object) noexcept;
// By reference.
[[nodiscard]] VARIANT Argument(Variant& value) noexcept;

}  // namespace tdefault::tables::ado
