// Prints a type library as its clients read it, one line a fact: dump_typelib FILE. Runs under Wine
// or Windows; FILE may be a library of the other bitness. Slots count from the start of the vtable,
// so both bitnesses print the same.
#include <windows.h>
// After windows.h.
#include <oleauto.h>
#include <wrl/client.h>

#include <cstdio>
#include <string>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

struct NamedFlag {
  unsigned value;
  const char* name;
};

std::string Utf8(const wchar_t* text) {
  if (text == nullptr) return {};
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string converted(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, converted.data(), size, nullptr, nullptr);
  converted.pop_back();
  return converted;
}

std::string GuidText(const GUID& guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return Utf8(text);
}

// The names of the bits that are set; a bit without a name is shown as a number.
std::string FlagText(unsigned flags, const std::vector<NamedFlag>& names) {
  std::string text;
  const auto add = [&text](const std::string& name) {
    if (!text.empty()) text.append(",");
    text.append(name);
  };
  for (const auto& [value, name] : names) {
    if ((flags & value) == 0) continue;
    add(name);
    flags &= ~value;
  }
  if (flags != 0) add(std::to_string(flags));
  return text.empty() ? "none" : text;
}

const std::vector<NamedFlag> kTypeFlags = {{TYPEFLAG_FAPPOBJECT, "appobject"},
                                           {TYPEFLAG_FCANCREATE, "cancreate"},
                                           {TYPEFLAG_FLICENSED, "licensed"},
                                           {TYPEFLAG_FPREDECLID, "predeclid"},
                                           {TYPEFLAG_FHIDDEN, "hidden"},
                                           {TYPEFLAG_FCONTROL, "control"},
                                           {TYPEFLAG_FDUAL, "dual"},
                                           {TYPEFLAG_FNONEXTENSIBLE, "nonextensible"},
                                           {TYPEFLAG_FOLEAUTOMATION, "oleautomation"},
                                           {TYPEFLAG_FRESTRICTED, "restricted"},
                                           {TYPEFLAG_FAGGREGATABLE, "aggregatable"},
                                           {TYPEFLAG_FREPLACEABLE, "replaceable"},
                                           {TYPEFLAG_FDISPATCHABLE, "dispatchable"}};
const std::vector<NamedFlag> kImplementationFlags = {{IMPLTYPEFLAG_FDEFAULT, "default"},
                                                     {IMPLTYPEFLAG_FSOURCE, "source"},
                                                     {IMPLTYPEFLAG_FRESTRICTED, "restricted"}};
const std::vector<NamedFlag> kFunctionFlags = {{FUNCFLAG_FRESTRICTED, "restricted"},
                                               {FUNCFLAG_FHIDDEN, "hidden"}};
const std::vector<NamedFlag> kParameterFlags = {{PARAMFLAG_FIN, "in"},
                                                {PARAMFLAG_FOUT, "out"},
                                                {PARAMFLAG_FRETVAL, "retval"},
                                                {PARAMFLAG_FOPT, "optional"},
                                                {PARAMFLAG_FHASDEFAULT, "default"}};

std::string NameOf(ITypeInfo* type, MEMBERID member = MEMBERID_NIL) {
  BSTR name = nullptr;
  type->GetDocumentation(member, &name, nullptr, nullptr, nullptr);
  std::string text = Utf8(name);
  SysFreeString(name);
  return text;
}

std::string TypeText(ITypeInfo* type, const TYPEDESC& description) {
  switch (description.vt) {
    case VT_PTR:
      return TypeText(type, *description.lptdesc) + "*";
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> used;
      if (FAILED(type->GetRefTypeInfo(description.hreftype, &used))) return "?";
      return NameOf(used.Get());
    }
    case VT_I2:
      return "Integer";
    case VT_I4:
      return "Long";
    case VT_BOOL:
      return "Boolean";
    case VT_BSTR:
      return "String";
    case VT_VARIANT:
      return "Variant";
    case VT_UNKNOWN:
      return "IUnknown";
    case VT_VOID:
      return "void";
    case VT_HRESULT:
      return "HRESULT";
    default:
      return "vt" + std::to_string(description.vt);
  }
}

std::string DefaultText(const VARIANT& value) {
  if (value.vt == VT_BSTR) return std::string("\"").append(Utf8(value.bstrVal)).append("\"");
  VARIANT text;
  VariantInit(&text);
  if (FAILED(VariantChangeTypeEx(&text, const_cast<VARIANT*>(&value), 1033, 0, VT_BSTR)))
    return "?";
  std::string result = Utf8(text.bstrVal) + " of type " + std::to_string(value.vt);
  VariantClear(&text);
  return result;
}

std::string KindText(INVOKEKIND kind) {
  switch (kind) {
    case INVOKE_FUNC:
      return "method";
    case INVOKE_PROPERTYGET:
      return "get";
    case INVOKE_PROPERTYPUT:
      return "let";
    default:
      return "set";
  }
}

void PrintFunction(ITypeInfo* type, const FUNCDESC& function) {
  BSTR names[32] = {};
  UINT count = 0;
  type->GetNames(function.memid, names, 32, &count);
  std::printf("  slot %d id %08lX %s %s", function.oVft / static_cast<int>(sizeof(void*)),
              static_cast<unsigned long>(function.memid), KindText(function.invkind).c_str(),
              Utf8(names[0]).c_str());
  std::printf(" returns %s flags %s", TypeText(type, function.elemdescFunc.tdesc).c_str(),
              FlagText(function.wFuncFlags, kFunctionFlags).c_str());
  std::printf(" convention %d optional variants %d\n", static_cast<int>(function.callconv),
              function.cParamsOpt);
  for (int index = 0; index < function.cParams; ++index) {
    const ELEMDESC& parameter = function.lprgelemdescParam[index];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    // A property's value has no name of its own in GetNames.
    const bool named = static_cast<UINT>(index) + 1 < count;
    std::printf("    %s %s [%s]", named ? Utf8(names[index + 1]).c_str() : "-",
                TypeText(type, parameter.tdesc).c_str(), FlagText(flags, kParameterFlags).c_str());
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0)
      std::printf(" = %s", DefaultText(parameter.paramdesc.pparamdescex->varDefaultValue).c_str());
    std::printf("\n");
  }
  for (UINT index = 0; index < count; ++index) SysFreeString(names[index]);
}

void PrintConstants(ITypeInfo* type, const TYPEATTR& attributes) {
  for (UINT index = 0; index < attributes.cVars; ++index) {
    VARDESC* constant = nullptr;
    if (FAILED(type->GetVarDesc(index, &constant))) continue;
    std::printf("  %s = %s\n", NameOf(type, constant->memid).c_str(),
                DefaultText(*constant->lpvarValue).c_str());
    type->ReleaseVarDesc(constant);
  }
}

void PrintImplemented(ITypeInfo* type, const TYPEATTR& attributes) {
  for (UINT index = 0; index < attributes.cImplTypes; ++index) {
    HREFTYPE reference = 0;
    INT flags = 0;
    ComPtr<ITypeInfo> implemented;
    if (FAILED(type->GetRefTypeOfImplType(index, &reference)) ||
        FAILED(type->GetImplTypeFlags(index, &flags)) ||
        FAILED(type->GetRefTypeInfo(reference, &implemented)))
      continue;
    std::printf("  implements %s flags %s\n", NameOf(implemented.Get()).c_str(),
                FlagText(static_cast<unsigned>(flags), kImplementationFlags).c_str());
  }
}

const char* KindText(TYPEKIND kind) {
  switch (kind) {
    case TKIND_ENUM:
      return "enum";
    case TKIND_INTERFACE:
      return "interface";
    case TKIND_DISPATCH:
      return "dispinterface";
    case TKIND_COCLASS:
      return "coclass";
    case TKIND_ALIAS:
      return "alias";
    default:
      return "other";
  }
}

// `half` names the half of a dual interface that this is.
void PrintType(ITypeInfo* type, const char* half) {
  TYPEATTR* attributes = nullptr;
  if (FAILED(type->GetTypeAttr(&attributes))) return;
  std::printf("\n%s %s %s%s flags %s\n", KindText(attributes->typekind), NameOf(type).c_str(),
              GuidText(attributes->guid).c_str(), half,
              FlagText(attributes->wTypeFlags, kTypeFlags).c_str());
  PrintConstants(type, *attributes);
  PrintImplemented(type, *attributes);
  for (UINT index = 0; index < attributes->cFuncs; ++index) {
    FUNCDESC* function = nullptr;
    if (FAILED(type->GetFuncDesc(index, &function))) continue;
    // The dispatch half repeats the seven members of IDispatch.
    const bool inherited = *half != '\0' && (function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0;
    if (!inherited) PrintFunction(type, *function);
    type->ReleaseFuncDesc(function);
  }
  const bool dual = (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
  const bool dispatch_half = attributes->typekind == TKIND_DISPATCH;
  type->ReleaseTypeAttr(attributes);
  if (!dual || !dispatch_half) return;
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> vtable;
  if (SUCCEEDED(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)) &&
      SUCCEEDED(type->GetRefTypeInfo(reference, &vtable)))
    PrintType(vtable.Get(), " vtable half");
}

void PrintLibrary(ITypeLib* library) {
  TLIBATTR* attributes = nullptr;
  if (FAILED(library->GetLibAttr(&attributes))) return;
  BSTR name = nullptr;
  library->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  std::printf("library %s %s version %u.%u locale %lu flags %u\n", Utf8(name).c_str(),
              GuidText(attributes->guid).c_str(), attributes->wMajorVerNum,
              attributes->wMinorVerNum, static_cast<unsigned long>(attributes->lcid),
              static_cast<unsigned>(attributes->wLibFlags));
  SysFreeString(name);
  library->ReleaseTLibAttr(attributes);
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    ComPtr<ITypeInfo> type;
    TYPEATTR* type_attributes = nullptr;
    if (FAILED(library->GetTypeInfo(index, &type)) || FAILED(type->GetTypeAttr(&type_attributes)))
      continue;
    const bool dual = (type_attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
    type->ReleaseTypeAttr(type_attributes);
    PrintType(type.Get(), dual ? " dispatch half" : "");
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) {
    std::fputs("usage: dump_typelib FILE\n", stderr);
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  ComPtr<ITypeLib> library;
  const HRESULT loaded = LoadTypeLibEx(arguments[1], REGKIND_NONE, &library);
  if (FAILED(loaded)) {
    std::fprintf(stderr, "dump_typelib: error %08lX loading the library\n",
                 static_cast<unsigned long>(loaded));
    return 1;
  }
  PrintLibrary(library.Get());
  return 0;
}
