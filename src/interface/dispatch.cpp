#include "interface/dispatch.h"

#include <array>
#include <cstring>

#include "interface/conversions.h"
#include "interface/guard.h"

namespace tdefault::automation {

namespace {

// More than any member has.
constexpr UINT kMostParameters = 16;
// Automation's number for a member of Nothing.
constexpr long kObjectNotSet = 91;

// A function description on loan from a type description.
class Function {
 public:
  Function(ITypeInfo* type, UINT index) : type_(type) {
    if (FAILED(type_->GetFuncDesc(index, &description_))) description_ = nullptr;
  }
  ~Function() {
    if (description_ != nullptr) type_->ReleaseFuncDesc(description_);
  }
  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;

  explicit operator bool() const noexcept { return description_ != nullptr; }
  const FUNCDESC* operator->() const noexcept { return description_; }

 private:
  ITypeInfo* type_;
  FUNCDESC* description_ = nullptr;
};

struct Parameter {
  VARTYPE type = VT_EMPTY;
  bool by_reference = false;
  bool optional = false;
  const VARIANT* default_value = nullptr;
};

struct Argument {
  VARIANT* given = nullptr;  // null when omitted
  UINT position = 0;         // of `given` in the caller's array
  Variant value;             // of the declared type
  Variant before;  // a copy of `value`, of an object only, to tell what the member changes
};

// The type library's own types among the parameters are enumerations.
VARTYPE PlainType(VARTYPE type) {
  return type == VT_USERDEFINED ? static_cast<VARTYPE>(VT_I4) : type;
}

Parameter Describe(const ELEMDESC& element) {
  Parameter parameter;
  const WORD flags = element.paramdesc.wParamFlags;
  parameter.by_reference = element.tdesc.vt == VT_PTR;
  parameter.type = PlainType(parameter.by_reference ? element.tdesc.lptdesc->vt : element.tdesc.vt);
  parameter.optional = (flags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0;
  if ((flags & PARAMFLAG_FHASDEFAULT) != 0)
    parameter.default_value = &element.paramdesc.pparamdescex->varDefaultValue;
  return parameter;
}

// What a reference to a variant, which may hold a reference in turn, stands for in the end.
VARIANT* Follow(VARIANT* argument) {
  for (int depth = 0; depth < 4; ++depth) {
    if (argument->vt != (VT_BYREF | VT_VARIANT) || argument->pvarVal == nullptr) break;
    argument = argument->pvarVal;
  }
  return argument;
}

bool IsOmitted(const Argument& argument) {
  if (argument.given == nullptr) return true;
  const VARIANT* value = Follow(argument.given);
  return value->vt == VT_ERROR && value->scode == DISP_E_PARAMNOTFOUND;
}

// Automation has several codes for a value that is none of the wanted type, Nothing for a text or a
// type that it does not know for example; hosts name the argument for this one.
HRESULT ConversionResult(HRESULT result) {
  return result == DISP_E_BADVARTYPE || result == E_INVALIDARG ? DISP_E_TYPEMISMATCH : result;
}

HRESULT Convert(const VARIANT& given, VARTYPE type, LCID locale, VARIANT& value) {
  if (IsNullReference(given)) return E_POINTER;
  Variant plain;
  const HRESULT copied = VariantCopyInd(&plain.get(), ReadOnly(given));
  if (FAILED(copied)) return ConversionResult(copied);
  if (type == VT_VARIANT || plain.get().vt == type) {
    value = plain.Detach();
    return S_OK;
  }
  return ConversionResult(
      VariantChangeTypeEx(&value, &plain.get(), locale, VARIANT_ALPHABOOL, type));
}

HRESULT UseDefault(const Parameter& parameter, LCID locale, VARIANT& value) {
  if (!parameter.optional) return DISP_E_PARAMNOTOPTIONAL;
  if (parameter.default_value != nullptr)
    return Convert(*parameter.default_value, parameter.type, locale, value);
  const Variant nothing;
  return Convert(nothing.get(), parameter.type, locale, value);
}

UINT SizeOf(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    default:
      return 0;
  }
}

bool IsObject(const VARIANT& value) { return value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN; }

// Whether the member changed an argument for which an object was given.
bool IsChanged(const Argument& argument, LCID locale) {
  return VarCmp(ReadOnly(argument.before.get()), ReadOnly(argument.value.get()), locale, 0) !=
         VARCMP_EQ;
}

// Gives a by-reference parameter's value back to what the caller passed for it. A value that the
// caller's variable cannot hold is dropped: the call itself has succeeded.
void WriteBack(const VARIANT& value, LCID locale, VARIANT* given) {
  VARIANT* target = Follow(given);
  if ((target->vt & VT_BYREF) == 0) {
    const bool is_variable = target != given;
    if (is_variable && VarCmp(target, ReadOnly(value), locale, 0) != VARCMP_EQ)
      VariantCopy(target, ReadOnly(value));
    return;
  }
  const auto type = static_cast<VARTYPE>(target->vt & ~VT_BYREF);
  Variant converted;
  if (FAILED(Convert(value, type, locale, converted.get()))) return;
  if (type == VT_BSTR) {
    SysFreeString(*target->pbstrVal);
    *target->pbstrVal = converted.Detach().bstrVal;
  } else {
    std::memcpy(target->byref, &converted.get().byref, SizeOf(type));
  }
}

// One call: its arguments in the declared order, converted.
class Call {
 public:
  Call(const Function& function, const LateBoundCall& call)
      : call_(call), kind_(function->invkind) {
    // The result is no parameter here: the description is that of the late-bound member.
    count_ = static_cast<UINT>(function->cParams);
    if (count_ > kMostParameters) count_ = kMostParameters;
    for (UINT index = 0; index < count_; ++index)
      parameters_[index] = Describe(function->lprgelemdescParam[index]);
  }

  HRESULT Prepare() {
    const HRESULT assigned = Assign();
    if (FAILED(assigned)) return assigned;
    for (UINT index = 0; index < count_; ++index) {
      const HRESULT converted = ConvertArgument(index);
      if (SUCCEEDED(converted)) continue;
      if (call_.wrong_argument != nullptr) *call_.wrong_argument = arguments_[index].position;
      return converted;
    }
    return S_OK;
  }

  HRESULT Perform(ITypeInfo* type, void* object) {
    std::array<VARIANT, kMostParameters> values{};
    for (UINT index = 0; index < count_; ++index)
      values[count_ - 1 - index] = Pass(parameters_[index], arguments_[index].value.get());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS complete{values.data(), nullptr, count_, 0};
    if (kind_ == INVOKE_PROPERTYPUT) {
      complete.rgdispidNamedArgs = &put;
      complete.cNamedArgs = 1;
    }
    const HRESULT done = type->Invoke(object, call_.id, static_cast<WORD>(kind_), &complete,
                                      call_.result, call_.exception, nullptr);
    if (SUCCEEDED(done)) ReturnReferences();
    return done;
  }

 private:
  // Finds the caller's argument of each parameter: the named ones stand first in the array, the
  // others follow from the last to the first.
  HRESULT Assign() {
    const DISPPARAMS& given = *call_.arguments;
    const UINT positional = given.cArgs - given.cNamedArgs;
    if (positional > count_) return DISP_E_BADPARAMCOUNT;
    for (UINT index = 0; index < positional; ++index) Give(index, given.cArgs - 1 - index);
    for (UINT named = 0; named < given.cNamedArgs; ++named) {
      const DISPID name = given.rgdispidNamedArgs[named];
      const UINT index = name == DISPID_PROPERTYPUT ? count_ - 1 : static_cast<UINT>(name);
      if (index >= count_ || arguments_[index].given != nullptr) {
        if (call_.wrong_argument != nullptr) *call_.wrong_argument = named;
        return DISP_E_PARAMNOTFOUND;
      }
      Give(index, named);
    }
    return S_OK;
  }

  void Give(UINT parameter, UINT position) {
    arguments_[parameter].given = &call_.arguments->rgvarg[position];
    arguments_[parameter].position = position;
  }

  HRESULT ConvertArgument(UINT index) {
    Argument& argument = arguments_[index];
    const Parameter& parameter = parameters_[index];
    if (IsOmitted(argument)) return UseDefault(parameter, call_.locale, argument.value.get());
    const VARIANT* given = Follow(argument.given);
    const HRESULT converted = Convert(*given, parameter.type, call_.locale, argument.value.get());
    if (FAILED(converted) || !parameter.by_reference || !IsObject(*given)) return converted;
    return VariantCopy(&argument.before.get(), ReadOnly(argument.value.get()));
  }

  // The value or a reference to it; nothing is copied, the argument stays the owner.
  static VARIANT Pass(const Parameter& parameter, VARIANT& value) {
    if (!parameter.by_reference) return value;
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = static_cast<VARTYPE>(VT_BYREF | parameter.type);
    // Every member of the union starts at the same place.
    reference.byref = &value.byref;
    return reference;
  }

  void ReturnReferences() {
    for (UINT index = 0; index < count_; ++index) {
      const Argument& argument = arguments_[index];
      if (!parameters_[index].by_reference || IsOmitted(argument)) continue;
      if (IsObject(*Follow(argument.given)) && !IsChanged(argument, call_.locale)) continue;
      WriteBack(argument.value.get(), call_.locale, argument.given);
    }
  }

  const LateBoundCall& call_;
  INVOKEKIND kind_;
  UINT count_ = 0;
  std::array<Parameter, kMostParameters> parameters_{};
  std::array<Argument, kMostParameters> arguments_{};
};

bool GivesObject(const Function& function) {
  const TYPEDESC& result = function->elemdescFunc.tdesc;
  return result.vt == VT_PTR && result.lptdesc->vt == VT_USERDEFINED;
}

// What a script gets that uses a member of Nothing.
HRESULT ObjectNotSet(EXCEPINFO* exception) {
  if (exception == nullptr) return DISP_E_EXCEPTION;
  *exception = EXCEPINFO{};
  exception->scode = Hresult(kObjectNotSet);
  exception->bstrSource = SysAllocString(L"TovoDefaults");
  exception->bstrDescription = SysAllocString(L"Object variable or With block variable not set");
  return DISP_E_EXCEPTION;
}

// object.Choices(1): the arguments are for the default member of what the member gives.
HRESULT InvokeDefaultMember(ITypeInfo* type, void* object, const Function& function,
                            const LateBoundCall& call) {
  Variant owner;
  DISPPARAMS no_arguments{};
  const HRESULT got = type->Invoke(object, call.id, static_cast<WORD>(function->invkind),
                                   &no_arguments, &owner.get(), call.exception, nullptr);
  if (FAILED(got)) return got;
  if (owner.get().vt != VT_DISPATCH) return DISP_E_BADPARAMCOUNT;
  if (owner.get().pdispVal == nullptr) return ObjectNotSet(call.exception);
  const ComPtr<IDispatch> member = owner.get().pdispVal;
  return member->Invoke(DISPID_VALUE, IID_NULL, call.locale, call.flags, call.arguments,
                        call.result, call.exception, call.wrong_argument);
}

}  // namespace

HRESULT InvokeMember(const TypeDescription& description, void* object,
                     const LateBoundCall& call) noexcept {
  if (call.arguments == nullptr) return E_INVALIDARG;
  if (call.arguments->cNamedArgs > call.arguments->cArgs) return E_INVALIDARG;
  const std::optional<UINT> index = description.FindFunction(call.id, call.flags);
  if (!index) return DISP_E_MEMBERNOTFOUND;
  ITypeInfo* type = description.type();
  const Function function(type, *index);
  if (!function) return E_OUTOFMEMORY;
  if (function->cParams == 0 && call.arguments->cArgs > 0 && GivesObject(function))
    return InvokeDefaultMember(type, object, function, call);
  Call prepared(function, call);
  const HRESULT ready = prepared.Prepare();
  return FAILED(ready) ? ready : prepared.Perform(type, object);
}

}  // namespace tdefault::automation
