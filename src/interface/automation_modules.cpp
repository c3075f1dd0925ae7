#include "interface/automation_modules.h"

#include <cstdint>
#include <utility>

#include "automation/failure_information.h"
#include "base/error.h"
#include "interface/conversions.h"
#include "support/system_errors.h"

namespace tdefault::automation {

namespace {

// US English: a module finds its methods and reads its arguments so, whatever the user's settings.
constexpr LCID kLocale = 1033;

// Numbers of the automation run-time.
constexpr std::int32_t kCannotCreate = 429;
constexpr std::int32_t kNoAutomation = 430;
constexpr std::int32_t kNoSuchMember = 438;
constexpr std::int32_t kNoNamedArguments = 446;
constexpr std::int32_t kArgumentMissing = 449;
constexpr std::int32_t kWrongArguments = 450;

// A result code as users know it: those of the automation run-time by their short number.
std::int32_t NumberOf(HRESULT result) noexcept {
  constexpr std::uint32_t kRunTime = 0x800A0000;
  const auto code = static_cast<std::uint32_t>(result);
  if ((code & 0xFFFF0000U) == kRunTime) return static_cast<std::int32_t>(code & 0xFFFFU);
  switch (result) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      return kNoSuchMember;
    case DISP_E_TYPEMISMATCH:
      return error_number::kTypeMismatch;
    case DISP_E_OVERFLOW:
      return error_number::kOverflow;
    case DISP_E_BADPARAMCOUNT:
      return kWrongArguments;
    case DISP_E_PARAMNOTOPTIONAL:
      return kArgumentMissing;
    case DISP_E_NONAMEDARGS:
      return kNoNamedArguments;
    default:
      return result;
  }
}

// The reference to the catalogue that a method gets. A method may put another object in its place,
// so it is one of its own.
class CatalogueReference {
 public:
  explicit CatalogueReference(IDispatch* catalogue) noexcept : object_(catalogue) {
    object_->AddRef();
  }
  ~CatalogueReference() {
    if (object_ != nullptr) object_->Release();
  }
  CatalogueReference(const CatalogueReference&) = delete;
  CatalogueReference& operator=(const CatalogueReference&) = delete;

  [[nodiscard]] VARIANT Argument() noexcept {
    VARIANT argument;
    VariantInit(&argument);
    argument.vt = VT_BYREF | VT_DISPATCH;
    argument.ppdispVal = &object_;
    return argument;
  }

 private:
  IDispatch* object_;
};

class AutomationModule final : public catalogue::ProcessingModule {
 public:
  AutomationModule(ComPtr<IDispatch> object, std::wstring identifier, IDispatch* catalogue,
                   platform::Session& session)
      : object_(std::move(object)),
        identifier_(std::move(identifier)),
        catalogue_(catalogue),
        session_(session) {}

  [[nodiscard]] Value Call(const std::wstring& method) override {
    const DISPID member = FindMember(method);
    CatalogueReference reference(catalogue_);
    VARIANT argument = reference.Argument();
    DISPPARAMS arguments{&argument, nullptr, 1, 0};
    Variant result;
    FailureInformation failure;
    const HRESULT called = object_->Invoke(member, IID_NULL, kLocale, DISPATCH_METHOD, &arguments,
                                           &result.get(), failure.Receive(), nullptr);
    if (FAILED(called)) throw Failure(called, failure, method);
    if (result.get().vt == VT_EMPTY) return false;
    return ToValue(result.get(), identifier_);
  }

 private:
  [[nodiscard]] DISPID FindMember(const std::wstring& method) const {
    DISPID member = DISPID_UNKNOWN;
    std::wstring changeable = method;  // what the call declares
    LPOLESTR name = changeable.data();
    const HRESULT found = object_->GetIDsOfNames(IID_NULL, &name, 1, kLocale, &member);
    if (FAILED(found)) throw Failure(found, method);
    return member;
  }

  // What the object told, or else the result code in words.
  [[nodiscard]] Error Failure(HRESULT called, FailureInformation& told,
                              const std::wstring& method) const {
    if (called != DISP_E_EXCEPTION) return Failure(called, method);
    told.Complete();
    const std::wstring source = told.source().empty() ? identifier_ : told.source();
    if (!told.description().empty()) return {NumberOf(told.number()), source, told.description()};
    return Failure(told.number(), method);
  }

  [[nodiscard]] Error Failure(HRESULT result, const std::wstring& method) const {
    const std::int32_t number = NumberOf(result);
    switch (number) {
      case kNoSuchMember:
        return {number, identifier_, L"Object doesn't support this property or method: " + method};
      case kWrongArguments:
        return {number, identifier_,
                L"Wrong number of arguments: " + method + L" has to take one, the catalogue"};
      case error_number::kTypeMismatch:
        return {number, identifier_,
                L"Type mismatch: " + method + L" has to take the catalogue, an object"};
      default:
        return {number, identifier_,
                support::SystemErrorText(session_, result) + L" (" + method + L", " +
                    Hexadecimal(result) + L")"};
    }
  }

  ComPtr<IDispatch> object_;
  std::wstring identifier_;
  IDispatch* catalogue_;
  platform::Session& session_;
};

}  // namespace

std::unique_ptr<catalogue::ProcessingModule> AutomationModules::Create(
    const std::wstring& identifier) {
  CLSID class_identifier{};
  HRESULT result = CLSIDFromProgID(identifier.c_str(), &class_identifier);
  ComPtr<IUnknown> object;
  if (SUCCEEDED(result))
    result = CoCreateInstance(class_identifier, nullptr, CLSCTX_SERVER, IID_IUnknown,
                              object.ReceiveAny());
  if (FAILED(result)) {
    throw Error(kCannotCreate, identifier,
                L"ActiveX component can't create object: " + identifier +
                    L" is not registered for programs of this bitness, or cannot start (" +
                    Hexadecimal(result) + L")");
  }
  if (!object) return nullptr;
  ComPtr<IDispatch> automation;
  if (FAILED(object.As(&automation)) || !automation)
    throw Error(kNoAutomation, identifier, L"Class does not support Automation: " + identifier);
  return std::make_unique<AutomationModule>(std::move(automation), identifier, catalogue_,
                                            session_);
}

}  // namespace tdefault::automation
